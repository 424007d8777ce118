// ccNMMatrix numerics against numpy (testdata/gen_nmmatrix.py): the LU
// determinant and inverse with their pivot rules, and the quadratic form
// of the constraint solvers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "orvstd/math/nmmatrix.h"
#include "orvstd/math/testing/nmmatrix_helpers.h"
#include "orvstd/math/testing/nmmatrix_reference.h"

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();

// LU ----------------------------------------------------------------------------------------

TEST(NMMatrixLU, DeterminantAndInverseAgreeWithNumpy) {
  for (LinearCase const& c : kLinearCases) {
    SCOPED_TRACE(c.name);
    ccNMMatrix const a = nmMatrix(c.n, c.n, c.a);
    // Backward-stable on both sides: errors grow with the condition number.
    EXPECT_NEAR(a.determinant(), c.det, 50 * kEps * c.cond * std::fabs(c.det));
    ccNMMatrix const inv = a.inverse();
    EXPECT_TRUE(sameElements(inv, nmMatrix(c.n, c.n, c.inv), 50 * kEps * c.cond * maxAbs(c.inv)));
    EXPECT_TRUE(sameElements(inv * a, ccNMMatrix::I(c.n), 50 * kEps * c.cond));
  }
}

TEST(NMMatrixLU, PivotIsTheLastGreatestScaledRowAndAZeroPivotBecomesTiny) {
  // Both rows scale to the same pivot value 0.5: the later row wins, one
  // exchange (sign −1), and the second pivot 4 − 0.5·4·2 = 0 becomes 1e-20.
  // Taking the first row instead would give +1e-20.
  ccNMMatrix const singular = nmMatrix(2, 2, {1, 2, 2, 4});
  EXPECT_EQ(singular.determinant(), -2e-20);
  // No zero row, so no failure: the tiny pivot shows in the inverse.
  EXPECT_TRUE(sameElements(singular.inverse(), nmMatrix(2, 2, {-2e20, 1e20, 1e20, -5e19}), 1e5));
  // A zero first column needs the exchange to go on at all.
  ccNMMatrix const p = nmMatrix(3, 3, {0, 2, 1, 1, 0, 0, 3, 1, 2});
  EXPECT_DOUBLE_EQ(p.determinant(), -3.0);  // -2·(2 − 0) + 1·(1 − 0)
}

TEST(NMMatrixLU, ZeroRowsAndShapes) {
  ccNMMatrix const zeroRow = nmMatrix(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 6});
  EXPECT_EQ(zeroRow.determinant(), 0.0);
  EXPECT_THROW(zeroRow.inverse(), ccNMMatrix::unstableErr);
  EXPECT_EQ(ccNMMatrix(4, 4, 0.0).determinant(), 0.0);
  EXPECT_THROW(ccNMMatrix(4, 4, 0.0).inverse(), ccNMMatrix::unstableErr);
  // A column of zeros is not a zero row: the equal rows exchange (tie,
  // later row), the pivot 0 becomes 1e-20 and the result is −1e-20·1.
  EXPECT_EQ(nmMatrix(2, 2, {0, 1, 0, 1}).determinant(), -1e-20);

  EXPECT_THROW(ccNMMatrix(2, 3).inverse(), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix(2, 3).determinant(), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix(0, 1).determinant(), ccNMMatrix::sizeErr);
  EXPECT_EQ(ccNMMatrix().determinant(), 1.0);  // the empty product
  EXPECT_TRUE(ccNMMatrix().inverse().isSizeEqual(0, 0));
  EXPECT_EQ(nmMatrix(1, 1, {-4}).determinant(), -4.0);
  EXPECT_TRUE(sameElements(nmMatrix(1, 1, {-4}).inverse(), nmMatrix(1, 1, {-0.25})));
}

TEST(NMMatrixLU, NaNRowsFailInsteadOfPivotingOnGarbage) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  ccNMMatrix const m = nmMatrix(2, 2, {nan, nan, 1, 2});
  EXPECT_EQ(m.determinant(), 0.0);
  EXPECT_THROW(m.inverse(), ccNMMatrix::unstableErr);
}

// The quadratic form -------------------------------------------------------------------------

TEST(NMMatrixConstraintError, QuadraticFormAndItsShapes) {
  ccNMMatrix const a = nmMatrix(2, 2, {2, 1, 1, 3});
  ccNMMatrix const b = nmMatrix(2, 1, {1, 2});
  ccNMMatrix const x = nmMatrix(2, 1, {1, -1});
  // A·x = (1, −2); A·x − 2b = (−1, −6); xᵀ(…) = 5; plus c.
  EXPECT_EQ(ccNMMatrix::constraintError(a, b, 5, x), 10.0);
  EXPECT_EQ(ccNMMatrix::constraintError(a, b, 0, ccNMMatrix(2, 1, 0.0)), 0.0);
  EXPECT_THROW(ccNMMatrix::constraintError(a, b, 0, ccNMMatrix(3, 1, 1.0)), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix::constraintError(a, ccNMMatrix(1, 1, 1.0), 0, x), ccNMMatrix::sizeErr);
}

TEST(NMMatrixConstraintErrorDeathTest, AFormThatIsNotOneByOneIsAnAssertion) {
  ccNMMatrix const a = ccNMMatrix::I(2);
  ccNMMatrix const x(2, 2, 1.0);
  EXPECT_DEATH(ccNMMatrix::constraintError(a, x, 0, x), "nmmatrix");
}

}  // namespace
