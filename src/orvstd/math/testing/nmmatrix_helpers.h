// Test helpers for ccNMMatrix: building a matrix from its elements written
// row by row, and comparing one element for element. Test-only.
//
//   ccNMMatrix a = nmMatrix(2, 2, {1, 2, 3, 4});
//   EXPECT_TRUE(sameElements(a * a, nmMatrix(2, 2, {7, 10, 15, 22})));
#ifndef ORVSTD_MATH_TESTING_NMMATRIX_HELPERS_H_
#define ORVSTD_MATH_TESTING_NMMATRIX_HELPERS_H_

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <vector>

#include "orvstd/math/nmmatrix.h"

inline ccNMMatrix nmMatrix(int rows, int cols, std::vector<double> const& rowMajor) {
  EXPECT_EQ(rowMajor.size(), static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
  ccNMMatrix m(rows, cols);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j) m.element(i, j, rowMajor[static_cast<std::size_t>(i * cols + j)]);
  return m;
}

// The greatest absolute value, 0 for none.
inline double maxAbs(std::vector<double> const& v) {
  double m = 0;
  for (double x : v) m = std::fabs(x) > m ? std::fabs(x) : m;
  return m;
}

// Same shape and every element within `tolerance` (0: exactly equal).
inline ::testing::AssertionResult sameElements(ccNMMatrix const& got, ccNMMatrix const& want,
                                               double tolerance = 0) {
  if (!got.isSizeEqual(want))
    return ::testing::AssertionFailure() << "shape " << got.rows() << "x" << got.cols() << ", wanted "
                                         << want.rows() << "x" << want.cols();
  for (int i = 0; i < got.rows(); ++i)
    for (int j = 0; j < got.cols(); ++j)
      if (!(std::fabs(got.element(i, j) - want.element(i, j)) <= tolerance))
        return ::testing::AssertionFailure() << "element (" << i << ", " << j << ") is " << got.element(i, j)
                                             << ", wanted " << want.element(i, j) << " within " << tolerance;
  return ::testing::AssertionSuccess();
}

#endif  // ORVSTD_MATH_TESTING_NMMATRIX_HELPERS_H_
