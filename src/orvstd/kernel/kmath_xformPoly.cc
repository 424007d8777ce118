#include "orvstd/kernel/kmath_xformPoly.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "orvstd/kernel/internal/kmath_dense.h"
#include "orvstd/kernel/ksys_memory.h"

namespace {

constexpr int kMaxTerms = 21;  // monomials of degree 5

// Index of the monomial x^(d-j) y^j.
constexpr int term(int d, int j) { return d * (d + 1) / 2 + j; }

c_Int32 checkOrder(c_Int32 order, c_Int32 lowest) {
  if (order < lowest) return kmath_badArgument;
  if (order > kmath_xformPolyMaxOrder) return kmath_notImplemented;
  return 0;
}

// Evaluates both components by Horner's rule: in x for each power of y,
// then in y over those.
kmath_vect horner(double const* c, int order, double x, double y) {
  double rx = 0, ry = 0;
  for (int j = order; j >= 0; --j) {
    double qx = c[2 * term(order, j)], qy = c[2 * term(order, j) + 1];
    for (int d = order - 1; d >= j; --d) {
      qx = qx * x + c[2 * term(d, j)];
      qy = qy * x + c[2 * term(d, j) + 1];
    }
    rx = rx * y + qx;
    ry = ry * y + qy;
  }
  return kmath_vect{rx, ry};
}

void derivs(double const* c, int order, double* dx, double* dy) {
  int const m = kmath_xformPolySize(order - 1);
  std::fill(dx, dx + m, 0.0);
  std::fill(dy, dy + m, 0.0);
  for (int d = 1; d <= order; ++d)
    for (int j = 0; j <= d; ++j) {
      int const k = 2 * term(d, j);
      if (int const px = d - j; px > 0) {
        dx[2 * term(d - 1, j)] = px * c[k];
        dx[2 * term(d - 1, j) + 1] = px * c[k + 1];
      }
      if (j > 0) {
        dy[2 * term(d - 1, j - 1)] = j * c[k];
        dy[2 * term(d - 1, j - 1) + 1] = j * c[k + 1];
      }
    }
}

// Centre and half-range of one coordinate: the affine change that brings
// it to [-1, 1].
struct Axis {
  double centre, half;
  double scaled(double v) const { return (v - centre) / half; }
};

Axis axisOf(kmath_vect const* p, int count, double kmath_vect::*coord) {
  double lo = p[0].*coord, hi = lo;
  for (int i = 1; i < count; ++i) {
    lo = std::min(lo, p[i].*coord);
    hi = std::max(hi, p[i].*coord);
  }
  // Halved before combining so that extreme finite values do not overflow.
  Axis a{lo / 2 + hi / 2, hi / 2 - lo / 2};
  if (!(a.half > 0)) a.half = 1;  // one value: the rank test decides
  return a;
}

// Largest |coordinate| over half-range: how much rounding of the stored
// values is magnified in the scaled problem.
double magnification(Axis a) { return std::max(1.0, (std::fabs(a.centre) + a.half) / a.half); }

void monomials(double u, double v, int order, double* out) {
  double pu[kmath_xformPolyMaxOrder + 1], pv[kmath_xformPolyMaxOrder + 1];
  pu[0] = pv[0] = 1;
  for (int k = 1; k <= order; ++k) {
    pu[k] = pu[k - 1] * u;
    pv[k] = pv[k - 1] * v;
  }
  for (int d = 0; d <= order; ++d)
    for (int j = 0; j <= d; ++j) out[term(d, j)] = pu[d - j] * pv[j];
}

// Rewrites the scaled polynomial (in u = (x - cx)/hx, v = (y - cy)/hy, with
// output = centre + half * value per component) in x and y, by binomial
// expansion of each monomial.
void unscale(double const* sx, double const* sy, int order, Axis ax, Axis ay, Axis outX, Axis outY,
             double* c) {
  static constexpr double kBinomial[6][6] = {{1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}, {1, 4, 6, 4, 1},
                                             {1, 5, 10, 10, 5, 1}};
  double negCx[kmath_xformPolyMaxOrder + 1], negCy[kmath_xformPolyMaxOrder + 1];
  double invHx[kmath_xformPolyMaxOrder + 1], invHy[kmath_xformPolyMaxOrder + 1];
  negCx[0] = negCy[0] = invHx[0] = invHy[0] = 1;
  for (int k = 1; k <= order; ++k) {
    negCx[k] = negCx[k - 1] * -ax.centre;
    negCy[k] = negCy[k - 1] * -ay.centre;
    invHx[k] = invHx[k - 1] / ax.half;
    invHy[k] = invHy[k - 1] / ay.half;
  }
  std::fill(c, c + kmath_xformPolySize(order), 0.0);
  for (int d = 0; d <= order; ++d)
    for (int j = 0; j <= d; ++j) {
      int const a = d - j, b = j;
      double const fx = sx[term(d, j)] * outX.half, fy = sy[term(d, j)] * outY.half;
      if (fx == 0 && fy == 0) continue;
      double const scale = invHx[a] * invHy[b];
      for (int i = 0; i <= a; ++i)
        for (int l = 0; l <= b; ++l) {
          double const w = scale * kBinomial[a][i] * negCx[a - i] * kBinomial[b][l] * negCy[b - l];
          int const k = 2 * term(i + l, l);
          c[k] += fx * w;
          c[k + 1] += fy * w;
        }
    }
  c[0] += outX.centre;
  c[1] += outY.centre;
}

}  // namespace

c_Int32 kmath_xformPolySize(c_Int32 order) {
  return order < 0 || order > kmath_xformPolyMaxOrder ? 0 : (order + 1) * (order + 2);
}

c_Int32 kmath_xformPolyTermCount(c_Int32 order) { return kmath_xformPolySize(order) / 2; }

c_Int32 kmath_xformPolyMinOrder_(double const* coefficients, c_Int32 maxOrder) {
  if (c_Int32 rc = checkOrder(maxOrder, 1); rc < 0) return rc;
  KSTD_ASSERT(coefficients != nullptr);
  for (int d = maxOrder; d > 1; --d)
    for (int j = 0; j <= d; ++j) {
      int const k = 2 * term(d, j);
      // Written so that NaN counts as a term.
      if (!(coefficients[k] == 0) || !(coefficients[k + 1] == 0)) return d;
    }
  return 1;
}

c_Int32 kmath_xformPolyMapPoint_(double const* coefficients, c_Int32 order, kmath_vect in, kmath_vect* out) {
  if (c_Int32 rc = checkOrder(order, 0); rc < 0) return rc;
  KSTD_ASSERT(coefficients != nullptr && out != nullptr);
  *out = horner(coefficients, order, in.x, in.y);
  return 0;
}

c_Int32 kmath_xformPolyDerivs_(double const* coefficients, c_Int32 order, double* xDerivs, double* yDerivs) {
  if (c_Int32 rc = checkOrder(order, 1); rc < 0) return rc;
  KSTD_ASSERT(coefficients != nullptr && xDerivs != nullptr && yDerivs != nullptr);
  derivs(coefficients, order, xDerivs, yDerivs);
  return 0;
}

c_Int32 kmath_xformPolyLinearXform_(double const* coefficients, c_Int32 order, kmath_vect at,
                                    double const* xDerivs, double const* yDerivs, kmath_xformLinear* out) {
  if (c_Int32 rc = checkOrder(order, 1); rc < 0) return rc;
  KSTD_ASSERT(coefficients != nullptr && out != nullptr);
  double const* c = coefficients;
  if (order == 1) {
    // Exactly the map, not P(at) - J at rounded.
    *out = kmath_xformLinear{{c[0], c[1]}, {c[2], c[4], c[3], c[5]}};
    return 0;
  }
  double dxLocal[30], dyLocal[30];  // kmath_xformPolySize(4)
  if (xDerivs == nullptr || yDerivs == nullptr) {
    derivs(c, order, dxLocal, dyLocal);
    xDerivs = dxLocal;
    yDerivs = dyLocal;
  }
  kmath_vect const p = horner(c, order, at.x, at.y);
  kmath_vect const gx = horner(xDerivs, order - 1, at.x, at.y);  // image of the x axis
  kmath_vect const gy = horner(yDerivs, order - 1, at.x, at.y);
  kmath_matrix const m{gx.x, gy.x, gx.y, gy.y};
  *out = kmath_xformLinear{{p.x - (m.e00 * at.x + m.e01 * at.y), p.y - (m.e10 * at.x + m.e11 * at.y)}, m};
  return 0;
}

c_Int32 kmath_xformPolyFit_(kmath_vect const* from, kmath_vect const* to, c_Int32 count, c_Int32 order,
                            double** coefficientsOut, c_Int32* coefficientCountOut) {
  KSTD_ASSERT(coefficientsOut != nullptr && coefficientCountOut != nullptr);
  *coefficientsOut = nullptr;
  *coefficientCountOut = 0;
  if (c_Int32 rc = checkOrder(order, 1); rc < 0) return rc;
  if (count < 0) return kmath_badArgument;
  int const terms = kmath_xformPolyTermCount(order);
  if (count < terms) return kmath_noFit;
  KSTD_ASSERT(from != nullptr && to != nullptr);
  for (int i = 0; i < count; ++i)
    if (!std::isfinite(from[i].x) || !std::isfinite(from[i].y) || !std::isfinite(to[i].x) ||
        !std::isfinite(to[i].y))
      return kmath_noFit;

  Axis const ax = axisOf(from, count, &kmath_vect::x), ay = axisOf(from, count, &kmath_vect::y);
  Axis const outX = axisOf(to, count, &kmath_vect::x), outY = axisOf(to, count, &kmath_vect::y);
  kxRowTriangle triangle(terms, 2);
  double row[kxDenseMaxWidth];
  for (int i = 0; i < count; ++i) {
    double const u = ax.scaled(from[i].x), v = ay.scaled(from[i].y);
    monomials(u, v, order, row);
    row[terms] = outX.scaled(to[i].x);
    row[terms + 1] = outY.scaled(to[i].y);
    triangle.addRow(row);
  }
  kxSvd svd;
  if (!svd.decompose(triangle)) return kmath_noFit;
  double const cond = svd.condition();
  if (!(cond < 1e12)) return kmath_noFit;

  double sx[kMaxTerms], sy[kMaxTerms];
  svd.solve(triangle, 0, sx);
  svd.solve(triangle, 1, sy);
  double const magnify = std::max({magnification(ax), magnification(ay), magnification(outX), magnification(outY)});
  double const negligible = std::min(1e-6, 256 * DBL_EPSILON * cond * magnify);
  for (int d = order; d > 1; --d) {
    bool allSmall = true;
    for (int j = 0; j <= d; ++j)
      allSmall = allSmall && std::fabs(sx[term(d, j)]) <= negligible && std::fabs(sy[term(d, j)]) <= negligible;
    if (!allSmall) break;
    for (int j = 0; j <= d; ++j) sx[term(d, j)] = sy[term(d, j)] = 0;
  }

  double c[42];  // kmath_xformPolySize(5)
  unscale(sx, sy, order, ax, ay, outX, outY, c);
  int const size = kmath_xformPolySize(order);
  for (int k = 0; k < size; ++k)
    if (!std::isfinite(c[k])) return kmath_noFit;
  void* block = nullptr;
  if (c_Int32 rc = ksys_memory_alloc_internal(sizeof(double) * static_cast<std::size_t>(size), &block); rc < 0)
    return rc;
  std::copy(c, c + size, static_cast<double*>(block));
  *coefficientsOut = static_cast<double*>(block);
  *coefficientCountOut = size;
  return 0;
}
