#include "orvstd/math/poly_solve.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "orvstd/except/assert.h"
#include "orvstd/math/math_error.h"
#include "orvstd/math/nmmatrix.h"

namespace {

constexpr double kEpsilon = 2.220446049250313e-16;

// sign(v)·|v|^(1/3) with sign(0) = +1, so a zero never turns into -0.
double signedCubeRoot(double v) { return v < 0 ? -std::cbrt(-v) : std::cbrt(std::fabs(v)); }

}  // namespace

int cfSolveQuadratic(double a, double b, double c, double* r1, double* r2) {
  if (a == 0 && b == 0) throw ccMathError::Singular();
  if (a == 0) {
    *r1 = *r2 = -c / b;
    return 1;
  }
  double const disc = b * b - 4 * a * c;
  if (disc < -100 * std::max(std::fabs(4 * a * c), b * b) * kEpsilon) return 0;
  double const s = disc >= 0 ? std::sqrt(disc) : 0;
  if (s == 0) {
    *r1 = *r2 = -0.5 * b / a;
    return 1;
  }
  // The root of larger magnitude comes from q without cancellation, the
  // other from c/q.
  if (b >= 0) {
    double const q = -0.5 * (b + s);
    cmAssert(q != 0);
    *r1 = c / q;
    *r2 = q / a;
  } else {
    double const q = -0.5 * (b - s);
    cmAssert(q != 0);
    *r1 = q / a;
    *r2 = c / q;
  }
  return 2;
}

int cfSolveCubic(double a, double b, double c, std::vector<double>& r) {
  double const Q = (a * a - 3 * b) / 9;
  double const R = (2 * a * a * a - 9 * a * b + 27 * c) / 54;
  double const Q3 = Q * Q * Q;
  double const D = Q3 - R * R;
  double const tol = std::fabs(Q3 + R * R) * 1e-14;
  double const shift = a / 3;
  if (D > tol) {
    double const theta = std::acos(R / std::sqrt(Q3));
    double const m = -2 * std::sqrt(Q);
    double const twoPi = 2 * std::numbers::pi;
    r.resize(3);
    r[0] = m * std::cos(theta / 3) - shift;
    r[1] = m * std::cos((theta + twoPi) / 3) - shift;
    r[2] = m * std::cos((theta - twoPi) / 3) - shift;
    return 3;
  }
  if (D >= -tol) {
    double const s = signedCubeRoot(R);
    r.resize(3);
    r[0] = -2 * s - shift;
    r[1] = r[2] = s - shift;
    return 3;
  }
  double const w = std::sqrt(-D);
  r.resize(1);
  r[0] = signedCubeRoot(-R + w) + signedCubeRoot(-R - w) - shift;
  return 1;
}

int cfSolveQuartic(double a, double b, double c, double d, std::vector<double>& r) {
  r.clear();
  std::vector<double> ys;
  cfSolveCubic(-b, a * c - 4 * d, (4 * b - a * a) * d - c * c, ys);
  std::sort(ys.begin(), ys.end(), std::greater<double>());

  double const a2 = a * a;
  double const quarterA = a / 4;
  for (double const y : ys) {
    double const S = a2 / 4 - b + y;
    double const tol = std::fabs(a2 / 4 - b - y) * 1e-14;
    double const t = 3 * a2 / 4 - 2 * b - std::fabs(S);
    if (S < -tol) continue;
    double const R = S > 0 ? std::sqrt(S) : 0;
    double T = 0;
    if (S >= tol) {
      if (R != 0) {
        T = (4 * a * b - 8 * c - a2 * a) / (4 * R);
      } else if (std::fabs(a) < 1e-14 * std::fabs(d) && std::fabs(b) < 1e-14 * std::fabs(d) &&
                 std::fabs(c) < 1e-14 * std::fabs(d) && d < 0) {
        r.assign(1, std::sqrt(std::sqrt(-d)));
        return 1;
      }
    } else {
      double const u = y * y - 4 * d;
      double const tol2 = std::fabs(y * y + 4 * d) * 1e-14;
      if (u < -tol2) continue;
      T = u > 0 ? 2 * std::sqrt(u) : 0;
    }
    double const D2 = t + T;
    double const E2 = t - T;
    if (D2 > -std::fabs(E2) * 1e-14) {
      double const D = D2 < 0 ? 0 : std::sqrt(D2);
      r.push_back(-quarterA + (R + D) / 2);
      r.push_back(-quarterA + (R - D) / 2);
    }
    if (E2 > -std::fabs(D2) * 1e-14) {
      double const E = E2 < 0 ? 0 : std::sqrt(E2);
      r.push_back(-quarterA - (R + E) / 2);
      r.push_back(-quarterA - (R - E) / 2);
    }
    if (!r.empty()) return static_cast<int>(r.size());
  }
  return 0;
}

int cfFindMinQuartic(double a, double b, double c, double d, double* x) {
  std::vector<double> r;
  if (cfSolveQuartic(a, b, c, d, r) == 0) return 0;
  double best = r[0];
  for (double const v : r)
    if (std::fabs(v) < std::fabs(best)) best = v;
  *x = best;
  return 1;
}

int cfSolveMaxDegreeQuartic(double a, double b, double c, double d, double e, std::vector<double>& r) {
  double const scale = std::max({std::fabs(a), std::fabs(b), std::fabs(c), std::fabs(d), std::fabs(e)});
  double const limit = 1e-12 * scale;
  if (std::fabs(a) > limit) return cfSolveQuartic(b / a, c / a, d / a, e / a, r);
  if (std::fabs(b) > limit) return cfSolveCubic(c / b, d / b, e / b, r);
  if (std::fabs(c) > limit) {
    r.assign(2, 0.0);
    return cfSolveQuadratic(c, d, e, &r[0], &r[1]);
  }
  if (std::fabs(d) > limit) {
    r.assign(1, -e / d);
    return 1;
  }
  r.clear();
  return 0;
}

int cfSolvePolynomial(std::vector<double> const& coefficients, std::vector<double>& re, std::vector<double>& im) {
  if (coefficients.size() > 0x7FFFFFFFu) throw ccNMMatrix::sizeErr();
  int const n = static_cast<int>(coefficients.size());
  re.clear();
  im.clear();
  if (n == 0) return 0;
  ccNMMatrix companion(n, n, 0.0);
  for (int i = 0; i + 1 < n; ++i) companion[i][i + 1] = 1;
  for (int j = 0; j < n; ++j) companion[n - 1][j] = coefficients[static_cast<std::size_t>(j)];
  companion.eigenvalues(false, re, im);
  std::size_t real = 0;
  for (std::size_t k = 0; k < re.size(); ++k) {
    if (std::fabs(im[k]) < 1e-14) {
      std::swap(re[real], re[k]);
      std::swap(im[real], im[k]);
      ++real;
    }
  }
  return static_cast<int>(real);
}
