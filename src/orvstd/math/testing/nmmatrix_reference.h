// The numpy reference cases of testdata/nmmatrix.inc (written by
// testdata/gen_nmmatrix.py), as the ccNMMatrix tests read them. Test-only.
//
//   for (LinearCase const& c : kLinearCases) ... nmMatrix(c.n, c.n, c.a) ...
#ifndef ORVSTD_MATH_TESTING_NMMATRIX_REFERENCE_H_
#define ORVSTD_MATH_TESTING_NMMATRIX_REFERENCE_H_

#include <vector>

// A square system: A, right-hand sides B (n by k), numpy's determinant,
// 2-norm condition number, inverse and solution.
struct LinearCase {
  char const* name;
  int n, k;
  bool symmetric;
  std::vector<double> a, b;
  double det, cond;
  std::vector<double> inv, x;
};
// The damped pseudoinverse at one condition number.
struct PinvAt {
  double cond;
  int rows, cols;
  std::vector<double> p;
};
// A, its singular values in descending order (zero-padded when wide), and
// pseudoinverses.
struct SvdCase {
  char const* name;
  int rows, cols;
  std::vector<double> a, singular;
  std::vector<PinvAt> pinv;
};
// A and its eigenvalues sorted by (re, im).
struct EigenCase {
  char const* name;
  int n;
  bool symmetric;
  std::vector<double> a, re, im;
};
// Metric A, start x0, constraints C·x = e; the nearest x and the results
// of the two older formulas.
struct ConstraintCase {
  std::vector<double> a, x0, c, e, x, x2, xold;
};
// [A C; Cᵀ B]·[x; y] = [d; e] and its y.
struct PartialCase {
  std::vector<double> a, b, c, d, e, y;
};

#include "orvstd/math/testdata/nmmatrix.inc"

#endif  // ORVSTD_MATH_TESTING_NMMATRIX_REFERENCE_H_
