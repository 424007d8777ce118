// Polynomial roots: closed forms up to degree four, real roots in an
// interval by a Sturm chain, and the roots of a sinusoid equation.
//
// cfCompPolynomialRoots gives every root of a polynomial of degree 1 to 4 as
// a ccVector<2> (x real, y imaginary part), in the order its formula makes
// them; a double root is listed twice, and a zero leading coefficient falls
// through to the degree below. The quartic follows Ferrari's method with one
// deliberate twist kept from the library's history: where it must take the
// square root of a complex number it takes half the modulus instead of the
// root of the modulus, so quartics with complex square roots inside the
// formula do not get their true roots.
//
// cfCompRealPolynomialRoots counts sign changes along the Sturm chain to
// find the intervals that hold roots, bisects them down to `tolerance`, and
// merges roots closer than `tolerance`. Coefficients go highest power first.
//
//   std::vector<ccVector<2>> z;
//   cfCompPolynomialRoots(1, 0, 1, z);                          // (0, -1), (0, 1)
//   std::vector<double> roots;
//   cfCompRealPolynomialRoots({1, 0, -1}, -2, 2, 1e-9, roots);  // -1, 1
#ifndef ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
#define ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_

#include <vector>

#include "orvstd/except/except.h"
#include "orvstd/math/vector.h"

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

// a*x + b, a*x^2 + b*x + c, the cubic and the quartic. Each clears `roots`
// first; a*x + b with a = 0 has no root.
void cfCompPolynomialRoots(double a, double b, std::vector<ccVector<2>>& roots);
void cfCompPolynomialRoots(double a, double b, double c, std::vector<ccVector<2>>& roots);
void cfCompPolynomialRoots(double a, double b, double c, double d, std::vector<ccVector<2>>& roots);
void cfCompPolynomialRoots(double a, double b, double c, double d, double e, std::vector<ccVector<2>>& roots);

// The angles theta in (-pi, pi) with
//   a cos^2 + b sin cos + c sin^2 + d cos + e sin + f = 0,
// through the quartic in t = tan(theta/2): one angle for each quartic root
// whose imaginary part is under tolerance, in the quartic's order, neither
// sorted nor merged. theta = pi itself is never reported.
void cfCompSinusoidRoots(double a, double b, double c, double d, double e, double f, double tolerance,
                         std::vector<double>& roots);

#endif  // ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
