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
