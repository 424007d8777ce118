// Polynomial roots: real roots in an interval by a Sturm chain.
//
// cfCompRealPolynomialRoots counts sign changes along the Sturm chain to
// find the intervals that hold roots, bisects them down to `tolerance`, and
// merges roots closer than `tolerance`. Coefficients go highest power first.
//
//   std::vector<double> roots;
//   cfCompRealPolynomialRoots({1, 0, -1}, -2, 2, 1e-9, roots);  // -1, 1
#ifndef ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
#define ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_

#include <vector>

#include "orvstd/except/except.h"

class ccPolynomialRootFinder {
 public:
  cmErrorFamily(Errors, ccException);
  // Declared for archives and callers; the root functions raise nothing.
  cmErrorClass(BadParams, Errors, 0x10006000);
};

// The real roots in [low, high], ascending, appended to `roots` after
// clearing it. With every coefficient under 1e-8 in magnitude the answer is
// the middle of the interval; a nonzero constant has none. A root as close
// as `tolerance` to another is merged with it. tolerance must be positive.
void cfCompRealPolynomialRoots(std::vector<double> const& coefficients, double low, double high, double tolerance,
                               std::vector<double>& roots);

#endif  // ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
