#include "orvstd/kernel/kmath_xformPerspective.h"

#include <algorithm>
#include <cmath>

#include "orvstd/kernel/internal/kmath_dense.h"

namespace {

double determinant(double const* h) {
  return h[0] * (h[4] * h[8] - h[5] * h[7]) - h[1] * (h[3] * h[8] - h[5] * h[6]) +
         h[2] * (h[3] * h[7] - h[4] * h[6]);
}

bool allFinite(double const* v, int n) {
  for (int i = 0; i < n; ++i)
    if (!std::isfinite(v[i])) return false;
  return true;
}

void setIdentity(kmath_xformPerspective* self) {
  static constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  std::copy(kIdentity, kIdentity + 9, self->h);
}

// (a * b), 3x3 row-major.
void multiply(double const* a, double const* b, double* out) {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) out[3 * i + j] = a[3 * i] * b[j] + a[3 * i + 1] * b[3 + j] + a[3 * i + 2] * b[6 + j];
}

// Moves a point set to its centroid and scales it to a mean distance of
// sqrt 2 from there: T = [[s, 0, -s cx], [0, s, -s cy], [0, 0, 1]].
struct Normaliser {
  double cx = 0, cy = 0, s = 1;
  kmath_vect apply(kmath_vect p) const { return kmath_vect{s * (p.x - cx), s * (p.y - cy)}; }
};

bool normaliserOf(kmath_vect const* p, int count, Normaliser* out) {
  double sx = 0, sy = 0;
  for (int i = 0; i < count; ++i) {
    sx += p[i].x / count;
    sy += p[i].y / count;
  }
  double mean = 0;
  for (int i = 0; i < count; ++i) mean += std::hypot(p[i].x - sx, p[i].y - sy) / count;
  if (!std::isfinite(sx) || !std::isfinite(sy) || !(mean > 0) || !std::isfinite(mean)) return false;
  *out = Normaliser{sx, sy, std::sqrt(2.0) / mean};
  return std::isfinite(out->s);
}

// h scaled so that h8 is 1, or to unit norm with the largest element
// positive when h8 is too small to divide by.
void normaliseScale(double* h) {
  double norm = 0, largest = 0;
  for (int i = 0; i < 9; ++i) {
    norm = std::hypot(norm, h[i]);
    if (std::fabs(h[i]) > std::fabs(largest)) largest = h[i];
  }
  double const divisor = std::fabs(h[8]) >= 1e-8 * norm ? h[8] : std::copysign(norm, largest);
  for (int i = 0; i < 9; ++i) h[i] /= divisor;
}

double unitNormDeterminant(double const* h) {
  double norm = 0;
  for (int i = 0; i < 9; ++i) norm = std::hypot(norm, h[i]);
  double u[9];
  for (int i = 0; i < 9; ++i) u[i] = h[i] / norm;
  return determinant(u);
}

}  // namespace

c_Int32 kmath_xformPerspective_construct(kmath_xformPerspective* self) {
  KSTD_ASSERT(self != nullptr);
  setIdentity(self);
  return 0;
}

c_Int32 kmath_xformPerspective_constructMatrix(kmath_xformPerspective* self, double const* matrix9) {
  KSTD_ASSERT(self != nullptr && matrix9 != nullptr);
  setIdentity(self);
  if (!allFinite(matrix9, 9)) return kmath_badArgument;
  std::copy(matrix9, matrix9 + 9, self->h);
  return 0;
}

c_Int32 kmath_xformPerspective_construct4Points(kmath_xformPerspective* self, kmath_vect p0, kmath_vect p1,
                                                kmath_vect p2, kmath_vect p3) {
  KSTD_ASSERT(self != nullptr);
  setIdentity(self);
  double const in[8] = {p0.x, p0.y, p1.x, p1.y, p2.x, p2.y, p3.x, p3.y};
  if (!allFinite(in, 8)) return kmath_singular;
  // A regular map keeps three corners of the square off one line, so no
  // three of the images may be collinear.
  kmath_vect const p[4] = {p0, p1, p2, p3};
  for (int skip = 0; skip < 4; ++skip) {
    kmath_vect const& a = p[skip == 0 ? 1 : 0];
    kmath_vect const& b = p[skip <= 1 ? 2 : 1];
    kmath_vect const& c = p[skip <= 2 ? 3 : 2];
    if ((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x) == 0) return kmath_singular;
  }
  // The square-to-quadrilateral closed form: the perspective row (g, h)
  // solves a 2x2 system, then the affine part follows from p0, p1, p3.
  double const sx = p0.x - p1.x + p2.x - p3.x, sy = p0.y - p1.y + p2.y - p3.y;
  double const dx1 = p1.x - p2.x, dx2 = p3.x - p2.x, dy1 = p1.y - p2.y, dy2 = p3.y - p2.y;
  double const den = dx1 * dy2 - dx2 * dy1;
  if (den == 0) return kmath_singular;
  double const g = (sx * dy2 - dx2 * sy) / den, h = (dx1 * sy - sx * dy1) / den;
  double m[9] = {p1.x - p0.x + g * p1.x, p3.x - p0.x + h * p3.x, p0.x,
                 p1.y - p0.y + g * p1.y, p3.y - p0.y + h * p3.y, p0.y,
                 g,                      h,                      1};
  if (determinant(m) == 0 || !allFinite(m, 9)) return kmath_singular;
  std::copy(m, m + 9, self->h);
  return 0;
}

c_Int32 kmath_xformPerspective_constructPoints(kmath_xformPerspective* self, kmath_vect const* from,
                                               kmath_vect const* to, c_Int32 count) {
  KSTD_ASSERT(self != nullptr);
  setIdentity(self);
  if (count < 4) return kmath_badArgument;
  KSTD_ASSERT(from != nullptr && to != nullptr);
  for (int i = 0; i < count; ++i) {
    double const v[4] = {from[i].x, from[i].y, to[i].x, to[i].y};
    if (!allFinite(v, 4)) return kmath_singular;
  }
  Normaliser nf, nt;
  if (!normaliserOf(from, count, &nf) || !normaliserOf(to, count, &nt)) return kmath_singular;

  // Two rows per pair, H' (in normalised coordinates) taking p to q:
  //   [-x -y -1  0  0  0  qx*x qx*y qx]
  //   [ 0  0  0 -x -y -1  qy*x qy*y qy]
  kxRowTriangle triangle(9, 0);
  for (int i = 0; i < count; ++i) {
    kmath_vect const p = nf.apply(from[i]), q = nt.apply(to[i]);
    double r0[9] = {-p.x, -p.y, -1, 0, 0, 0, q.x * p.x, q.x * p.y, q.x};
    double r1[9] = {0, 0, 0, -p.x, -p.y, -1, q.y * p.x, q.y * p.y, q.y};
    triangle.addRow(r0);
    triangle.addRow(r1);
  }
  kxSvd svd;
  if (!svd.decompose(triangle)) return kmath_singular;
  int const k = svd.smallest();
  double second = svd.sigma(svd.largest());
  for (int j = 0; j < 9; ++j)
    if (j != k) second = std::min(second, svd.sigma(j));
  if (!(second > 1e-12 * svd.sigma(svd.largest()))) return kmath_singular;
  double hn[9];
  for (int i = 0; i < 9; ++i) hn[i] = svd.v(i, k);

  // H = Tto^-1 H' Tfrom.
  double const tFrom[9] = {nf.s, 0, -nf.s * nf.cx, 0, nf.s, -nf.s * nf.cy, 0, 0, 1};
  double const tToInv[9] = {1 / nt.s, 0, nt.cx, 0, 1 / nt.s, nt.cy, 0, 0, 1};
  double tmp[9], h[9];
  multiply(hn, tFrom, tmp);
  multiply(tToInv, tmp, h);
  normaliseScale(h);
  if (!allFinite(h, 9) || !(std::fabs(unitNormDeterminant(h)) > 1e-12)) return kmath_singular;
  std::copy(h, h + 9, self->h);
  return 0;
}

c_Int32 kmath_xformPerspective_assign(kmath_xformPerspective* self, kmath_xformPerspective const* src) {
  KSTD_ASSERT(self != nullptr && src != nullptr);
  std::copy(src->h, src->h + 9, self->h);
  return 0;
}

c_Int32 kmath_xformPerspective_getMatrix(kmath_xformPerspective const* self, double* matrix9) {
  KSTD_ASSERT(self != nullptr && matrix9 != nullptr);
  std::copy(self->h, self->h + 9, matrix9);
  return 0;
}


c_Int32 kmath_xformPerspective_getLinearXform(kmath_xformPerspective const* self, kmath_vect at,
                                              kmath_xformLinear* out) {
  KSTD_ASSERT(out != nullptr);
  kmath_vect f;
  if (c_Int32 rc = kmath_xformPerspective_mapPoint(self, at, &f); rc < 0) return rc;
  double const* h = self->h;
  double const w = h[6] * at.x + h[7] * at.y + h[8];
  // d(X/w) = (dX - (X/w) dw) / w
  kmath_matrix const m{(h[0] - f.x * h[6]) / w, (h[1] - f.x * h[7]) / w, (h[3] - f.y * h[6]) / w,
                       (h[4] - f.y * h[7]) / w};
  kmath_xformLinear const l{{f.x - (m.e00 * at.x + m.e01 * at.y), f.y - (m.e10 * at.x + m.e11 * at.y)}, m};
  double const v[6] = {l.trans.x, l.trans.y, m.e00, m.e01, m.e10, m.e11};
  if (std::isfinite(at.x) && std::isfinite(at.y) && !allFinite(v, 6)) return kmath_mapsToInfinity;
  *out = l;
  return 0;
}

c_Int32 kmath_xformPerspective_getIsLinear(kmath_xformPerspective const* self) {
  KSTD_ASSERT(self != nullptr);
  return self->h[6] == 0 && self->h[7] == 0 && self->h[8] != 0 ? 1 : 0;
}

c_Int32 kmath_xformPerspective_getIsSingular(kmath_xformPerspective const* self) {
  KSTD_ASSERT(self != nullptr);
  return determinant(self->h) == 0 ? 1 : 0;
}

c_Int32 kmath_xformPerspective_getInverse(kmath_xformPerspective const* self, kmath_xformPerspective* out) {
  KSTD_ASSERT(self != nullptr && out != nullptr);
  double const* h = self->h;
  double const det = determinant(h);
  if (det == 0) return kmath_singular;
  double const adj[9] = {h[4] * h[8] - h[5] * h[7], h[2] * h[7] - h[1] * h[8], h[1] * h[5] - h[2] * h[4],
                         h[5] * h[6] - h[3] * h[8], h[0] * h[8] - h[2] * h[6], h[2] * h[3] - h[0] * h[5],
                         h[3] * h[7] - h[4] * h[6], h[1] * h[6] - h[0] * h[7], h[0] * h[4] - h[1] * h[3]};
  double inv[9];
  for (int i = 0; i < 9; ++i) inv[i] = adj[i] / det;
  if (!allFinite(inv, 9)) return kmath_singular;
  std::copy(inv, inv + 9, out->h);
  return 0;
}

c_Int32 kmath_xformPerspective_destruct(kmath_xformPerspective* self) {
  KSTD_ASSERT(self != nullptr);
  return 0;
}
