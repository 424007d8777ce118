// Real roots of polynomials of degree two to four in closed form, and of any
// degree through the eigenvalues of the companion matrix.
//
// The closed forms decide with fixed relative tolerances whether a root is
// real or repeated, and then report it in the order its formula makes it; a
// repeated root is listed once for each time the formula produces it (the
// cubic's double root twice). Nothing is sorted. They are the solvers the
// fitters use, so their thresholds are part of their behaviour:
//
//   double r1, r2;
//   int n = cfSolveQuadratic(1, -3, 2, &r1, &r2);   // 2: r1 = 2, r2 = 1
//   std::vector<double> r;
//   cfSolveCubic(-6, 11, -6, r);                    // 3: about 1, 3, 2
//   cfSolveMaxDegreeQuartic(0, 0, 1, -3, 2, r);     // degree 2: 2, {2, 1}
//   std::vector<double> re, im;
//   cfSolvePolynomial({-2, 3}, re, im);             // x^2 - 3x + 2: 2 real roots
//
// The complex roots of degree one to four and the roots of a polynomial in
// an interval are in polynomial_root_finder.h, a different family.
#ifndef ORVSTD_MATH_POLY_SOLVE_H_
#define ORVSTD_MATH_POLY_SOLVE_H_

#include <vector>

// a x^2 + b x + c = 0. Returns the number of real roots: 0 (outputs left
// alone), 1 (a double root or a linear equation; both outputs hold it) or 2.
// a and b both exactly 0 raise ccMathError::Singular. A discriminant
// negative by no more than 100 ulps of its larger term counts as zero.
int cfSolveQuadratic(double a, double b, double c, double* r1, double* r2);

// x^3 + a x^2 + b x + c = 0. Returns 1 or 3 and sizes r to match. Three
// roots come in trigonometric order; a double root (the discriminant within
// 1e-14 of its terms) appears twice, after the single one.
int cfSolveCubic(double a, double b, double c, std::vector<double>& r);

// x^4 + a x^3 + b x^2 + c x + d = 0 by Ferrari's method. Returns 0, 1, 2 or
// 4 and leaves exactly those roots in r. x^4 + d with d < 0 (and a, b, c
// negligible beside d) gives its positive root alone. A root that is
// exactly double in both factors (x^4, (x - 1)^4) is not reported.
int cfSolveQuartic(double a, double b, double c, double d, std::vector<double>& r);

// The root of the quartic above with the least absolute value, the earlier
// one on a tie. Returns 0 with *x untouched when there is none.
int cfFindMinQuartic(double a, double b, double c, double d, double* x);

// a x^4 + b x^3 + c x^2 + d x + e = 0 where leading coefficients up to
// 1e-12 of the largest one in magnitude are dropped. Returns the count; a
// quadratic leaves r of size 2 whatever its count (zeros where no root).
int cfSolveMaxDegreeQuartic(double a, double b, double c, double d, double e, std::vector<double>& r);

// The eigenvalues of the n-by-n matrix with ones on the superdiagonal and
// `coefficients` (n of them) as its last row: the roots of
// x^n - c[n-1] x^(n-1) - ... - c[1] x - c[0], so the coefficients of a
// monic polynomial go in negated, lowest power first. re and im get all n
// roots, the real ones (|im| < 1e-14) moved to the front in the order they
// were found; returns their number. ccNMMatrix::unstableErr when the
// eigenvalue iteration does not converge or a coefficient is not finite.
int cfSolvePolynomial(std::vector<double> const& coefficients, std::vector<double>& re, std::vector<double>& im);

#endif  // ORVSTD_MATH_POLY_SOLVE_H_
