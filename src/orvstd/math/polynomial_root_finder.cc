#include "orvstd/math/polynomial_root_finder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "orvstd/except/assert.h"

cmErrorFamilyDefine(ccPolynomialRootFinder::Errors)
cmErrorDefine(ccPolynomialRootFinder::BadParams)

namespace {

// Coefficients this small count as zero.
constexpr double kNegligible = 1e-8;

using Poly = std::vector<double>;  // highest power first

// Counts the recursive calls of the bisection; kept for inspection in a
// debugger, read by nothing.
c_Int32 recursionCount = 0;

double evaluate(Poly const& p, double x) {
  double v = 0;
  for (double c : p) v = v * x + c;
  return v;
}

// The remainder of a divided by b (b's leading coefficient nonzero),
// negated, without leading terms under kNegligible but at least one term.
Poly negatedRemainder(Poly a, Poly const& b) {
  std::size_t const nb = b.size();
  for (std::size_t i = 0; i + nb <= a.size(); ++i) {
    double const q = a[i] / b[0];
    for (std::size_t k = 0; k < nb; ++k) a[i + k] -= q * b[k];
  }
  Poly rem(a.end() - static_cast<std::ptrdiff_t>(nb - 1), a.end());
  std::size_t lead = 0;
  while (lead + 1 < rem.size() && std::fabs(rem[lead]) < kNegligible) ++lead;
  rem.erase(rem.begin(), rem.begin() + static_cast<std::ptrdiff_t>(lead));
  for (double& c : rem) c = -c;
  return rem;
}

std::vector<Poly> sturmChain(Poly const& p) {
  cmAssert(p.size() >= 2);
  std::vector<Poly> chain{p};
  Poly derivative(p.size() - 1);
  std::size_t const degree = p.size() - 1;
  for (std::size_t i = 0; i < degree; ++i) derivative[i] = p[i] * static_cast<double>(degree - i);
  chain.push_back(std::move(derivative));
  while (chain.back().size() >= 2) chain.push_back(negatedRemainder(chain[chain.size() - 2], chain.back()));
  return chain;
}

// Sign changes along the chain at x; a zero value counts as positive.
int signChanges(std::vector<Poly> const& chain, double x) {
  int changes = 0;
  bool negative = evaluate(chain[0], x) < 0;
  for (std::size_t i = 1; i < chain.size(); ++i) {
    bool const n = evaluate(chain[i], x) < 0;
    if (n != negative) ++changes;
    negative = n;
  }
  return changes;
}

struct Bisection {
  std::vector<Poly> const& chain;
  double tolerance;
  std::vector<double>& found;

  void run(double low, double high, int changesLow, int changesHigh) {
    ++recursionCount;
    if (changesLow - changesHigh == 0) return;
    double const mid = 0.5 * (low + high);
    // The second test stops a tolerance below the spacing of doubles from
    // bisecting forever.
    if (high - low >= tolerance && low < mid && mid < high) {
      int const changesMid = signChanges(chain, mid);
      run(low, mid, changesLow, changesMid);
      run(mid, high, changesMid, changesHigh);
      return;
    }
    // Narrow: one root for the interval, however many changes it holds.
    double const vLow = evaluate(chain[0], low);
    double const vHigh = evaluate(chain[0], high);
    if (vLow * vHigh >= 0) {
      found.push_back(mid);
    } else {
      double const f = vLow / (vLow - vHigh);
      found.push_back(low * (1 - f) + high * f);
    }
  }
};

}  // namespace

void cfCompRealPolynomialRoots(std::vector<double> const& coefficients, double low, double high, double tolerance,
                               std::vector<double>& roots) {
  cmAssert(tolerance > 0);
  roots.clear();
  std::size_t lead = 0;
  while (lead < coefficients.size() && std::fabs(coefficients[lead]) < kNegligible) ++lead;
  if (lead == coefficients.size()) {
    roots.push_back((low + high) * 0.5);
    return;
  }
  if (lead + 1 == coefficients.size()) return;
  Poly const p(coefficients.begin() + static_cast<std::ptrdiff_t>(lead), coefficients.end());

  std::vector<Poly> const chain = sturmChain(p);
  std::vector<double> found;
  recursionCount = 0;
  Bisection{chain, tolerance, found}.run(low, high, signChanges(chain, low), signChanges(chain, high));

  std::sort(found.begin(), found.end());
  for (std::size_t i = 0; i < found.size();) {
    std::size_t j = i + 1;
    while (j < found.size() && found[j] - found[i] <= tolerance) ++j;
    roots.push_back(j - i == 1 ? found[i] : 0.5 * (found[i] + found[j - 1]));
    i = j;
  }
}

// The closed forms ---------------------------------------------------------

namespace {

using Roots = std::vector<ccVector<2>>;

constexpr double kSqrt3 = 1.7320508075688772;

// The real cube root with the sign put back (pow takes no negative base).
double signedCbrt(double x) { return x < 0 ? -std::pow(-x, 1.0 / 3.0) : std::pow(x, 1.0 / 3.0); }

// The root of a real number, imaginary for a negative one.
ccVector<2> rootOfReal(double w) { return w >= 0 ? ccVector<2>(std::sqrt(w), 0) : ccVector<2>(0, std::sqrt(-w)); }

// Half the angle of (x, y) at half its modulus: not the principal square
// root, whose length would be the root of the modulus. Kept as it is; the
// quartic's results depend on it.
ccVector<2> complexRoot(double x, double y) {
  double const m = x * x + y * y;
  if (m == 0) return ccVector<2>(x, y);
  return ccVector<2>(0.5 * std::sqrt(m), ccVector<2>(x, y).angle() * 0.5);
}

}  // namespace

void cfCompPolynomialRoots(double a, double b, Roots& roots) {
  roots.clear();
  if (a == 0) return;
  roots.emplace_back(-b / a, 0);
}

void cfCompPolynomialRoots(double a, double b, double c, Roots& roots) {
  if (a == 0) return cfCompPolynomialRoots(b, c, roots);
  roots.clear();
  double const k = 1 / (2 * a);
  double const disc = b * b - 4 * a * c;
  if (disc >= 0) {
    double const s = std::sqrt(disc);
    roots.emplace_back((-b - s) * k, 0);
    roots.emplace_back((-b + s) * k, 0);
  } else {
    double const s = std::sqrt(-disc);
    roots.emplace_back(-b * k, -s * k);
    roots.emplace_back(-b * k, s * k);
  }
}

void cfCompPolynomialRoots(double a, double b, double c, double d, Roots& roots) {
  if (a == 0) return cfCompPolynomialRoots(b, c, d, roots);
  roots.clear();
  double const A = b / a, B = c / a, C = d / a;
  // The depressed cubic y^3 + p*y + q with x = y - t.
  double const t = A / 3;
  double const p = B - A * t;
  double const q = t * (2 * t * t - B) + C;
  double const h = q / 2;
  double const r = p / 3;
  double const D = h * h + r * r * r;
  if (D > 0) {
    double const s = std::sqrt(D);
    double const u = signedCbrt(s - h);
    double const v = -signedCbrt(s + h);
    roots.emplace_back(u + v - t, 0);
    roots.emplace_back(-0.5 * (u + v) - t, 0.5 * (u - v) * kSqrt3);
    roots.emplace_back(-0.5 * (u + v) - t, -0.5 * (u - v) * kSqrt3);
  } else if (D == 0) {
    double const w = -signedCbrt(h);
    roots.emplace_back(2 * w - t, 0);
    roots.emplace_back(-w - t, 0);
    roots.emplace_back(-w - t, 0);
  } else {
    // Three real roots, by the trigonometric form. Both branches give the
    // same three roots; they differ in which comes first.
    double const g = std::sqrt(-D);
    double const m = std::pow(h * h - D, 1.0 / 6.0);
    double const theta = q >= 0 ? 3.141592653589793 - std::atan2(g, h) / 3 : std::atan2(g, -h) / 3;
    double const cs = m * std::cos(theta);
    double const e = m * std::sin(theta) * kSqrt3;
    roots.emplace_back(2 * cs - t, 0);
    roots.emplace_back(-cs + e - t, 0);
    roots.emplace_back(-cs - e - t, 0);
  }
}

void cfCompPolynomialRoots(double a, double b, double c, double d, double e, Roots& roots) {
  if (a == 0) return cfCompPolynomialRoots(b, c, d, e, roots);
  double const a1 = b / a, a2 = c / a, a3 = d / a, a4 = e / a;
  Roots resolvent;
  cfCompPolynomialRoots(1, -a2, a1 * a3 - 4 * a4, (4 * a2 - a1 * a1) * a4 - a3 * a3, resolvent);
  cmAssert(resolvent[0].y() == 0);
  double const shift = -a2 + a1 * a1 / 4;
  double y = resolvent[0].x();
  for (std::size_t i = 1; i < resolvent.size(); ++i)
    if (resolvent[i].y() == 0 && std::fabs(resolvent[i].x() + shift) > std::fabs(y + shift)) y = resolvent[i].x();
  double const s = y - a2 + a1 * a1 / 4;
  double const R = std::sqrt(std::fabs(s));

  ccVector<2> D, E;
  if (R != 0) {
    double const P = 0.75 * a1 * a1 - 2 * a2 - s;
    double const Q = (4 * a1 * a2 - 8 * a3 - a1 * a1 * a1) / (4 * R);
    if (s >= 0) {
      D = rootOfReal(P + Q);
      E = rootOfReal(P - Q);
    } else {
      D = complexRoot(P, -Q);
      E = complexRoot(P, Q);
    }
  } else {
    double const P = 0.75 * a1 * a1 - 2 * a2;
    double const W = y * y - 4 * a4;
    if (W >= 0) {
      double const w = 2 * std::sqrt(W);
      D = rootOfReal(P + w);
      E = rootOfReal(P - w);
    } else {
      double const w = 2 * std::sqrt(-W);
      D = complexRoot(P, w);
      E = complexRoot(P, -w);
    }
  }
  ccVector<2> const base(-0.25 * a1, 0);
  ccVector<2> const H = s >= 0 ? ccVector<2>(0.5 * R, 0) : ccVector<2>(0, 0.5 * R);
  roots.clear();
  roots.push_back(base + H + D * 0.5);
  roots.push_back(base + H - D * 0.5);
  roots.push_back(base - H + E * 0.5);
  roots.push_back(base - H - E * 0.5);
}

void cfCompSinusoidRoots(double a, double b, double c, double d, double e, double f, double tolerance,
                         std::vector<double>& roots) {
  roots.clear();
  Roots t;
  cfCompPolynomialRoots(a - d + f, 2 * (e - b), 2 * (-a + 2 * c + f), 2 * (b + e), a + d + f, t);
  for (ccVector<2> const& z : t)
    if (std::fabs(z.y()) < tolerance) roots.push_back(2 * std::atan(z.x()));
}
