#include "orvstd/math/internal/nm_decompose.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

#include "orvstd/except/assert.h"

namespace {

constexpr int kSvdIterations = 100;
constexpr int kSymIterations = 30;
constexpr int kGeneralIterations = 30;
constexpr double kEps = DBL_EPSILON;

// Off-diagonal entries are negligible when small beside their neighbours,
// so that a block of small values keeps its digits, or when subnormal:
// there a relative test would only meet underflow. The matrix's greatest
// entry is near 1 by then (see kUnscaledLow), so the floor is far below
// anything it can feel.
constexpr double kFloor = DBL_MIN;

// A sum of squares in this range has neither overflowed nor lost the digits
// of its smaller terms to underflow, so its square root is the norm as it
// stands; outside it the norm is taken again with scaling.
constexpr double kSquaresLow = 0x1p-900;
constexpr double kSquaresHigh = 0x1p900;

// A matrix whose greatest entry lies in this range is worked on as it is;
// any other is first scaled by a power of two (exact), so that the squares
// formed in the shifts can neither overflow nor underflow.
constexpr double kUnscaledLow = 0x1p-256;
constexpr double kUnscaledHigh = 0x1p256;

// sqrt(a² + b²) without overflow or destructive underflow.
inline double pythag(double a, double b) {
  double const t = a * a + b * b;
  if (t > kSquaresLow && t < kSquaresHigh) return std::sqrt(t);
  return std::hypot(a, b);
}

// The Euclidean norm of x(0) .. x(n-1), taken plainly and, when the plain
// sum leaves the safe range, again relative to the greatest magnitude.
template <class At>
double safeNorm(int n, At x) {
  double s = 0;
  for (int i = 0; i < n; ++i) s += x(i) * x(i);
  if (s > kSquaresLow && s < kSquaresHigh) return std::sqrt(s);
  double big = 0;
  for (int i = 0; i < n; ++i) big = std::max(big, std::fabs(x(i)));
  if (big == 0) return 0;
  s = 0;
  for (int i = 0; i < n; ++i) {
    double const r = x(i) / big;
    s += r * r;
  }
  return big * std::sqrt(s);
}

// A plane rotation with c = p/r, s = q/r, r = |(p, q)|; the identity when
// both are zero.
struct Rotation {
  double c, s, r;
};

inline Rotation rotationOf(double p, double q) {
  double const r = pythag(p, q);
  if (r == 0) return {1, 0, 0};
  return {p / r, q / r, r};
}

// H = I - tau·u·uᵀ with u(0) = 1 maps (x0, rest) to (beta, 0, ..., 0); the
// rest of u is the rest of x divided by `divisor` (not multiplied by its
// reciprocal, which overflows when the divisor is subnormal). tau = 0
// (H = I) when the rest is already zero.
struct Reflector {
  double tau, beta, divisor;
};

inline Reflector reflectorOf(double x0, double restNorm) {
  if (restNorm == 0) return {0, x0, 1};
  double const beta = -std::copysign(pythag(x0, restNorm), x0);
  return {(beta - x0) / beta, beta, x0 - beta};
}

// The power of two by which a matrix whose greatest entry is maxAbs is
// scaled before the work, as an exponent; 0 when none is needed.
int scaleExponent(double maxAbs) {
  if (maxAbs == 0 || (maxAbs >= kUnscaledLow && maxAbs <= kUnscaledHigh)) return 0;
  int e = 0;
  std::frexp(maxAbs, &e);
  return -e;
}

// Greatest magnitude of a[i][j] for i in [0, rows) and j in [0, cols(i));
// false when an entry is not finite.
template <class Cols>
bool maxAbsOf(double const* const* a, int rows, Cols cols, double& maxAbs) {
  maxAbs = 0;
  for (int i = 0; i < rows; ++i) {
    double const* row = a[i];
    int const n = cols(i);
    for (int j = 0; j < n; ++j) {
      if (!std::isfinite(row[j])) return false;
      maxAbs = std::max(maxAbs, std::fabs(row[j]));
    }
  }
  return true;
}

template <class Cols>
void scaleBy(double* const* a, int rows, Cols cols, int exponent) {
  for (int i = 0; i < rows; ++i) {
    double* row = a[i];
    int const n = cols(i);
    for (int j = 0; j < n; ++j) row[j] = std::ldexp(row[j], exponent);
  }
}

void unscale(double* x, int n, int exponent) {
  if (exponent == 0) return;
  for (int i = 0; i < n; ++i) x[i] = std::ldexp(x[i], -exponent);
}

void transposeSquare(double* const* a, int n) {
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j) std::swap(a[i][j], a[j][i]);
}

// Rows x and y of length n become c·x + s·y and c·y - s·x.
inline void rotateRows(double* x, double* y, int n, double c, double s) {
  for (int j = 0; j < n; ++j) {
    double const p = x[j], q = y[j];
    x[j] = c * p + s * q;
    y[j] = c * q - s * p;
  }
}

// Columns i and j of the m rows become c·ci + s·cj and c·cj - s·ci.
inline void rotateColumns(double* const* a, int m, int i, int j, double c, double s) {
  for (int r = 0; r < m; ++r) {
    double* row = a[r];
    double const p = row[i], q = row[j];
    row[i] = c * p + s * q;
    row[j] = c * q - s * p;
  }
}

// ---- Singular values ------------------------------------------------------

// Householder bidiagonalisation: d gets the diagonal, e[i] the entry above
// d[i] (e[0] = 0). Column i below the diagonal keeps the left reflector with
// its tau on the diagonal; row i right of the superdiagonal keeps the right
// reflector with its tau on the superdiagonal.
void bidiagonalise(double* const* a, int m, int n, double* d, double* e) {
  e[0] = 0;
  for (int i = 0; i < n; ++i) {
    double* const rowI = a[i];
    // Left: zero column i below the diagonal. e[i+1..] is free until the
    // right step below, and holds the column products meanwhile.
    Reflector const left =
        reflectorOf(rowI[i], safeNorm(m - i - 1, [&](int k) { return a[i + 1 + k][i]; }));
    d[i] = left.beta;
    if (left.tau != 0) {
      for (int k = i + 1; k < m; ++k) a[k][i] /= left.divisor;
      for (int j = i + 1; j < n; ++j) e[j] = rowI[j];
      for (int k = i + 1; k < m; ++k) {
        double const u = a[k][i];
        if (u == 0) continue;
        double const* row = a[k];
        for (int j = i + 1; j < n; ++j) e[j] += u * row[j];
      }
      for (int j = i + 1; j < n; ++j) {
        e[j] *= left.tau;
        rowI[j] -= e[j];
      }
      for (int k = i + 1; k < m; ++k) {
        double const u = a[k][i];
        if (u == 0) continue;
        double* row = a[k];
        for (int j = i + 1; j < n; ++j) row[j] -= u * e[j];
      }
    }
    rowI[i] = left.tau;
    if (i + 1 >= n) continue;

    // Right: zero row i right of the superdiagonal.
    Reflector const right =
        reflectorOf(rowI[i + 1], safeNorm(n - i - 2, [&](int k) { return rowI[i + 2 + k]; }));
    e[i + 1] = right.beta;
    if (right.tau != 0) {
      for (int j = i + 2; j < n; ++j) rowI[j] /= right.divisor;
      for (int k = i + 1; k < m; ++k) {
        double* row = a[k];
        double s = row[i + 1];
        for (int j = i + 2; j < n; ++j) s += row[j] * rowI[j];
        s *= right.tau;
        row[i + 1] -= s;
        for (int j = i + 2; j < n; ++j) row[j] -= s * rowI[j];
      }
    }
    rowI[i + 1] = right.tau;
  }
}

// Vᵀ, the product of the right reflectors in reverse order, into v.
void accumulateVTransposed(double const* const* a, int n, double* const* v) {
  for (int r = 0; r < n; ++r)
    for (int c = 0; c < n; ++c) v[r][c] = r == c ? 1 : 0;
  for (int i = n - 3; i >= 0; --i) {
    double const* u = a[i];
    double const tau = u[i + 1];
    if (tau == 0) continue;
    // Rows up to i are unit rows that the reflector leaves alone.
    for (int r = i + 1; r < n; ++r) {
      double* row = v[r];
      double s = row[i + 1];
      for (int j = i + 2; j < n; ++j) s += row[j] * u[j];
      s *= tau;
      row[i + 1] -= s;
      for (int j = i + 2; j < n; ++j) row[j] -= s * u[j];
    }
  }
}

// U, the first n columns of the product of the left reflectors, built in
// place over them, last first. Row i right of the diagonal is zero in the
// partial product, so it holds the column products meanwhile.
void accumulateU(double* const* a, int m, int n) {
  for (int i = n - 1; i >= 0; --i) {
    double* const rowI = a[i];
    double const tau = rowI[i];
    for (int j = i + 1; j < n; ++j) rowI[j] = 0;
    if (tau == 0) {
      rowI[i] = 1;
      for (int k = i + 1; k < m; ++k) a[k][i] = 0;
      continue;
    }
    for (int k = i + 1; k < m; ++k) {
      double const u = a[k][i];
      if (u == 0) continue;
      double const* row = a[k];
      for (int j = i + 1; j < n; ++j) rowI[j] += u * row[j];
    }
    for (int j = i + 1; j < n; ++j) rowI[j] *= -tau;
    for (int k = i + 1; k < m; ++k) {
      double const u = a[k][i];
      if (u == 0) continue;
      double* row = a[k];
      for (int j = i + 1; j < n; ++j) row[j] += u * rowI[j];
    }
    rowI[i] = 1 - tau;
    for (int k = i + 1; k < m; ++k) a[k][i] *= -tau;
  }
}

// Whether x is negligible beside its neighbours p and q.
inline bool negligible(double x, double p, double q) {
  double const ax = std::fabs(x);
  return ax <= kEps * (std::fabs(p) + std::fabs(q)) || ax <= kFloor;
}

// The eigenvalue of the symmetric [t11 t12; t12 t22] nearer to t22.
inline double wilkinsonShift(double t11, double t12, double t22) {
  double const delta = (t11 - t22) / 2;
  double const den = delta + std::copysign(pythag(delta, t12), delta);
  return den == 0 ? t22 : t22 - t12 * (t12 / den);
}

// Implicit shifted QR on the bidiagonal (d, e) until every e is negligible;
// rotations go into the columns of U (a, m rows) and the rows of Vᵀ (vt).
bool diagonaliseBidiagonal(double* d, double* e, int m, int n, double* const* a,
                           double* const* vt) {
  for (int k = n - 1; k >= 0; --k) {
    for (int iter = 0;; ++iter) {
      // The block l..k whose superdiagonal is not negligible. A negligible
      // d[l-1] instead lets e[l] be rotated out of row l-1 to the right.
      int l = k;
      bool zeroDiagonal = false;
      for (; l > 0; --l) {
        if (negligible(e[l], d[l - 1], d[l])) {
          e[l] = 0;
          break;
        }
        if (negligible(d[l - 1], e[l - 1], e[l])) {
          zeroDiagonal = true;
          break;
        }
      }
      if (zeroDiagonal) {
        double f = e[l];
        e[l] = 0;
        for (int j = l; j <= k && f != 0; ++j) {
          Rotation const g = rotationOf(d[j], f);
          d[j] = g.r;
          rotateColumns(a, m, j, l - 1, g.c, g.s);
          if (j < k) {
            f = -g.s * e[j + 1];
            e[j + 1] *= g.c;
          }
        }
      }
      if (l == k) {
        if (d[k] < 0) {
          d[k] = -d[k];
          for (int j = 0; j < n; ++j) vt[k][j] = -vt[k][j];
        }
        break;
      }
      if (iter == kSvdIterations) return false;

      // Shift from the trailing 2x2 of BᵀB, on values brought near 1 so
      // that their squares are safe.
      double const ek1 = k - 1 > l ? e[k - 1] : 0;
      double const sc = std::max({std::fabs(d[k]), std::fabs(d[k - 1]), std::fabs(e[k]),
                                  std::fabs(ek1), std::fabs(d[l]), std::fabs(e[l + 1])});
      double const dk = d[k] / sc, dk1 = d[k - 1] / sc, ek = e[k] / sc, fk1 = ek1 / sc;
      double const mu = wilkinsonShift(dk1 * dk1 + fk1 * fk1, dk1 * ek, dk * dk + ek * ek);
      double const dl = d[l] / sc;
      double y = dl * dl - mu;
      double z = dl * (e[l + 1] / sc);

      for (int i = l; i < k; ++i) {
        // From the right on columns i, i+1: zero the bulge above in row
        // i-1 (or start the chase), and make one below in row i+1.
        Rotation const g = rotationOf(y, z);
        if (i > l) e[i] = g.r;
        double const di = g.c * d[i] + g.s * e[i + 1];
        double const ei = g.c * e[i + 1] - g.s * d[i];
        double const bulge = g.s * d[i + 1];
        double const di1 = g.c * d[i + 1];
        rotateRows(vt[i], vt[i + 1], n, g.c, g.s);
        // From the left on rows i, i+1: zero the bulge below, making one
        // in row i two right of the diagonal.
        Rotation const h = rotationOf(di, bulge);
        d[i] = h.r;
        e[i + 1] = h.c * ei + h.s * di1;
        d[i + 1] = h.c * di1 - h.s * ei;
        rotateColumns(a, m, i, i + 1, h.c, h.s);
        if (i + 1 < k) {
          y = e[i + 1];
          z = h.s * e[i + 2];
          e[i + 2] *= h.c;
        }
      }
    }
  }
  return true;
}

// ---- Symmetric eigenvalues ------------------------------------------------

// Householder tridiagonalisation of the lower triangle: d gets the
// diagonal, e[i] the entry between i and i+1 (e[n-1] = 0). Row i right of
// the diagonal keeps reflector i with its tau on the superdiagonal; d past
// step i holds the products of the current step.
void tridiagonalise(double* const* a, int n, double* d, double* e) {
  for (int k = 0; k + 2 < n; ++k) {
    double* const u = a[k];
    d[k] = u[k];
    Reflector const r = reflectorOf(a[k + 1][k], safeNorm(n - k - 2, [&](int i) { return a[k + 2 + i][k]; }));
    e[k] = r.beta;
    if (r.tau == 0) {
      u[k + 1] = 0;
      continue;
    }
    u[k + 1] = 1;
    for (int i = k + 2; i < n; ++i) u[i] = a[i][k] / r.divisor;
    // p = tau·A·u over the trailing block, A being its lower triangle.
    double* const p = d;
    for (int i = k + 1; i < n; ++i) p[i] = 0;
    for (int i = k + 1; i < n; ++i) {
      double const* row = a[i];
      double const ui = u[i];
      double s = 0;
      for (int j = k + 1; j < i; ++j) {
        s += row[j] * u[j];
        p[j] += row[j] * ui;
      }
      p[i] += s + row[i] * ui;
    }
    double pu = 0;
    for (int i = k + 1; i < n; ++i) {
      p[i] *= r.tau;
      pu += p[i] * u[i];
    }
    // w = p - (tau/2)(pᵀu)·u, then A -= u·wᵀ + w·uᵀ.
    double const half = r.tau / 2 * pu;
    for (int i = k + 1; i < n; ++i) p[i] -= half * u[i];
    for (int i = k + 1; i < n; ++i) {
      double* row = a[i];
      double const ui = u[i], wi = p[i];
      for (int j = k + 1; j <= i; ++j) row[j] -= ui * p[j] + wi * u[j];
    }
    u[k + 1] = r.tau;
  }
  if (n >= 2) {
    d[n - 2] = a[n - 2][n - 2];
    e[n - 2] = a[n - 1][n - 2];
  }
  d[n - 1] = a[n - 1][n - 1];
  e[n - 1] = 0;
}

// Qᵀ, the product of the reflectors in reverse order, built in place over
// them: before reflector k is applied, row and column k+1 become unit ones,
// their old contents being spent.
void accumulateQTransposed(double* const* a, int n) {
  for (int k = n - 2; k >= -1; --k) {
    int const t = k + 1;
    for (int j = t; j < n; ++j) a[t][j] = j == t ? 1 : 0;
    for (int i = t + 1; i < n; ++i) a[i][t] = 0;
    if (k < 0 || k + 2 >= n) continue;
    double const* u = a[k];
    double const tau = u[k + 1];
    if (tau == 0) continue;
    for (int r = k + 1; r < n; ++r) {
      double* row = a[r];
      double s = row[k + 1];
      for (int j = k + 2; j < n; ++j) s += row[j] * u[j];
      s *= tau;
      row[k + 1] -= s;
      for (int j = k + 2; j < n; ++j) row[j] -= s * u[j];
    }
  }
}

// Implicit QL with the shift of the leading 2x2 of each block; with `xt`
// the rotations go into its rows.
bool diagonaliseTridiagonal(double* d, double* e, int n, double* const* xt) {
  for (int l = 0; l < n; ++l) {
    for (int iter = 0;; ++iter) {
      int m = l;
      for (; m + 1 < n; ++m) {
        if (negligible(e[m], d[m], d[m + 1])) {
          e[m] = 0;
          break;
        }
      }
      if (m == l) break;
      if (iter == kSymIterations) return false;

      double const delta = (d[l + 1] - d[l]) / (2 * e[l]);
      double const mu = d[l] - e[l] / (delta + std::copysign(pythag(delta, 1), delta));
      double p = d[m] - mu;
      double q = e[m - 1];
      for (int i = m - 1; i >= l; --i) {
        // Rotation in the plane (i, i+1) that zeroes q in row i against p
        // in row i+1: the start of the chase, then the bulge above.
        Rotation const g = rotationOf(p, q);
        if (i < m - 1) e[i + 1] = g.r;
        double const a0 = d[i], b0 = e[i], c0 = d[i + 1];
        double const cc = g.c * g.c, ss = g.s * g.s, cs = g.c * g.s;
        d[i] = cc * a0 - 2 * cs * b0 + ss * c0;
        d[i + 1] = ss * a0 + 2 * cs * b0 + cc * c0;
        e[i] = cs * (a0 - c0) + (cc - ss) * b0;
        if (xt) rotateRows(xt[i], xt[i + 1], n, g.c, -g.s);
        if (i > l) {
          p = e[i];
          q = g.s * e[i - 1];
          e[i - 1] *= g.c;
        }
      }
    }
  }
  return true;
}

// ---- General eigenvalues --------------------------------------------------

// Similarity by Gaussian elimination with row pivoting down to upper
// Hessenberg form; the multipliers are not kept.
void toHessenberg(double* const* a, int n) {
  for (int m = 1; m + 1 < n; ++m) {
    int pivot = m;
    double x = 0;
    for (int j = m; j < n; ++j) {
      if (std::fabs(a[j][m - 1]) > std::fabs(x)) {
        x = a[j][m - 1];
        pivot = j;
      }
    }
    if (pivot != m) {
      for (int j = m - 1; j < n; ++j) std::swap(a[pivot][j], a[m][j]);
      for (int i = 0; i < n; ++i) std::swap(a[i][pivot], a[i][m]);
    }
    if (x == 0) continue;
    for (int i = m + 1; i < n; ++i) {
      double y = a[i][m - 1];
      if (y == 0) continue;
      y /= x;
      a[i][m - 1] = 0;
      double* row = a[i];
      double const* rowM = a[m];
      for (int j = m; j < n; ++j) row[j] -= y * rowM[j];
      for (int r = 0; r < n; ++r) a[r][m] += y * a[r][i];
    }
  }
}

// Eigenvalues of [a b; c d] into re[0..1], im[0..1], a complex pair with
// the positive imaginary part first.
void eigen2x2(double a, double b, double c, double d, double* re, double* im) {
  double const sc = std::max({std::fabs(a), std::fabs(b), std::fabs(c), std::fabs(d)});
  im[0] = im[1] = 0;
  if (sc == 0) {
    re[0] = re[1] = 0;
    return;
  }
  a /= sc;
  b /= sc;
  c /= sc;
  d /= sc;
  double const p = (a - d) / 2;
  double const bc = b * c;
  double const disc = p * p + bc;
  if (disc >= 0) {
    // The larger root first; the other by the product, not by difference.
    double const z = p + std::copysign(std::sqrt(disc), p);
    re[0] = (d + z) * sc;
    re[1] = (z != 0 ? d - bc / z : d) * sc;
  } else {
    re[0] = re[1] = (d + p) * sc;
    im[0] = std::sqrt(-disc) * sc;
    im[1] = -im[0];
  }
}

// One Francis double-shift step on the active block lo..hi of the upper
// Hessenberg h, the shifts being the roots of x² - sum·x + product. All
// three are given divided by `scale` (product by its square), a magnitude
// of the block's leading entries, so that the first column is formed from
// values near 1 and neither under- nor overflows.
void francisStep(double* const* h, int lo, int hi, double sum, double product, double scale) {
  double const h00 = h[lo][lo] / scale, h01 = h[lo][lo + 1] / scale, h10 = h[lo + 1][lo] / scale;
  double const h11 = h[lo + 1][lo + 1] / scale, h21 = h[lo + 2][lo + 1] / scale;
  // First column of H² - sum·H + product·I.
  double x = h00 * h00 + h01 * h10 - sum * h00 + product;
  double y = h10 * (h00 + h11 - sum);
  double z = h10 * h21;
  for (int k = lo; k < hi; ++k) {
    bool const three = k + 2 <= hi;
    if (k > lo) {
      x = h[k][k - 1];
      y = h[k + 1][k - 1];
      z = three ? h[k + 2][k - 1] : 0;
    }
    double const sc = std::fabs(x) + std::fabs(y) + std::fabs(z);
    if (sc == 0) continue;
    x /= sc;
    y /= sc;
    z /= sc;
    double const beta = -std::copysign(std::sqrt(x * x + y * y + z * z), x);
    double const tau = (beta - x) / beta;
    double const u1 = y / (x - beta), u2 = z / (x - beta);
    if (k > lo) {
      h[k][k - 1] = beta * sc;
      h[k + 1][k - 1] = 0;
      if (three) h[k + 2][k - 1] = 0;
    }
    double* r0 = h[k];
    double* r1 = h[k + 1];
    if (three) {
      double* r2 = h[k + 2];
      for (int j = k; j <= hi; ++j) {
        double const s = tau * (r0[j] + u1 * r1[j] + u2 * r2[j]);
        r0[j] -= s;
        r1[j] -= s * u1;
        r2[j] -= s * u2;
      }
      int const last = std::min(k + 3, hi);
      for (int i = lo; i <= last; ++i) {
        double* row = h[i];
        double const s = tau * (row[k] + u1 * row[k + 1] + u2 * row[k + 2]);
        row[k] -= s;
        row[k + 1] -= s * u1;
        row[k + 2] -= s * u2;
      }
    } else {
      for (int j = k; j <= hi; ++j) {
        double const s = tau * (r0[j] + u1 * r1[j]);
        r0[j] -= s;
        r1[j] -= s * u1;
      }
      for (int i = lo; i <= hi; ++i) {
        double* row = h[i];
        double const s = tau * (row[k] + u1 * row[k + 1]);
        row[k] -= s;
        row[k + 1] -= s * u1;
      }
    }
  }
}

bool hessenbergEigenvalues(double* const* h, int n, double* re, double* im) {
  double norm = 0;
  for (int i = 0; i < n; ++i)
    for (int j = std::max(i - 1, 0); j < n; ++j) norm += std::fabs(h[i][j]);

  int hi = n - 1;
  int iter = 0;
  while (hi >= 0) {
    int l = hi;
    for (; l > 0; --l) {
      double const hll = std::fabs(h[l - 1][l - 1]) + std::fabs(h[l][l]);
      if (negligible(h[l][l - 1], hll, hll == 0 ? norm : 0)) {
        h[l][l - 1] = 0;
        break;
      }
    }
    if (l == hi) {
      re[hi] = h[hi][hi];
      im[hi] = 0;
      --hi;
      iter = 0;
      continue;
    }
    if (l == hi - 1) {
      eigen2x2(h[hi - 1][hi - 1], h[hi - 1][hi], h[hi][hi - 1], h[hi][hi], re + hi - 1, im + hi - 1);
      hi -= 2;
      iter = 0;
      continue;
    }
    if (iter == kGeneralIterations) return false;
    ++iter;
    // Everything the first column is formed from, divided by its greatest
    // magnitude, which is not 0: h[l+1][l] is not negligible.
    double const a = h[hi - 1][hi - 1], b = h[hi - 1][hi], c = h[hi][hi - 1], d = h[hi][hi];
    double const special = std::fabs(c) + std::fabs(h[hi - 1][hi - 2]);
    double const scale = std::max({std::fabs(a), std::fabs(b), std::fabs(c), std::fabs(d), special,
                                   std::fabs(h[l][l]), std::fabs(h[l][l + 1]), std::fabs(h[l + 1][l]),
                                   std::fabs(h[l + 1][l + 1]), std::fabs(h[l + 2][l + 1])});
    double sum = 0, product = 0;
    if (iter % 10 == 0) {
      // An exceptional shift breaks the cycles the standard one can fall
      // into (a cyclic permutation, for one).
      double const s = special / scale;
      sum = 1.5 * s;
      product = s * s;
    } else {
      sum = a / scale + d / scale;
      product = (a / scale) * (d / scale) - (b / scale) * (c / scale);
    }
    francisStep(h, l, hi, sum, product, scale);
  }
  return true;
}

}  // namespace

bool cf_SvdDecompose(double* const* a, int m, int n, double* w, double* const* v, double* work) {
  cmAssert(n >= 0 && m >= n);
  if (n == 0) return true;
  auto const all = [n](int) { return n; };
  double maxAbs = 0;
  if (!maxAbsOf(a, m, all, maxAbs)) return false;
  int const exponent = scaleExponent(maxAbs);
  if (exponent != 0) scaleBy(a, m, all, exponent);

  bidiagonalise(a, m, n, w, work);
  accumulateVTransposed(a, n, v);
  accumulateU(a, m, n);
  bool const ok = diagonaliseBidiagonal(w, work, m, n, a, v);
  transposeSquare(v, n);
  unscale(w, n, exponent);
  return ok;
}

bool cf_SymEigen(double* const* a, int n, double* d, bool wantVectors, double* work) {
  cmAssert(n >= 0);
  if (n == 0) return true;
  auto const lower = [](int i) { return i + 1; };
  double maxAbs = 0;
  if (!maxAbsOf(a, n, lower, maxAbs)) return false;
  int const exponent = scaleExponent(maxAbs);
  if (exponent != 0) scaleBy(a, n, lower, exponent);

  tridiagonalise(a, n, d, work);
  if (wantVectors) accumulateQTransposed(a, n);
  bool const ok = diagonaliseTridiagonal(d, work, n, wantVectors ? a : nullptr);
  if (wantVectors) transposeSquare(a, n);
  unscale(d, n, exponent);
  return ok;
}

bool cf_GeneralEigen(double* const* a, int n, double* re, double* im) {
  cmAssert(n >= 0);
  if (n == 0) return true;
  auto const all = [n](int) { return n; };
  double maxAbs = 0;
  if (!maxAbsOf(a, n, all, maxAbs)) return false;
  int const exponent = scaleExponent(maxAbs);
  if (exponent != 0) scaleBy(a, n, all, exponent);

  toHessenberg(a, n);
  bool const ok = hessenbergEigenvalues(a, n, re, im);
  unscale(re, n, exponent);
  unscale(im, n, exponent);
  return ok;
}
