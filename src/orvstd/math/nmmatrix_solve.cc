// ccNMMatrix: the LU decomposition and what rests on it (determinant,
// inverse, the solvers with a condition limit), and the quadratic form of
// the constraint solvers.
#include <cmath>
#include <utility>
#include <vector>

#include "orvstd/math/nmmatrix.h"

namespace {

// A square matrix factored in place by Crout's method, L below the
// diagonal (unit diagonal implied) and U on and above it, with the row
// exchanges in `index` and their parity in `sign`.
struct LuFactors {
  ccNMMatrix lu;
  std::vector<int> index;
  double sign = 1;
};

// Crout with implicit row scaling: each row counts as if scaled to a
// greatest element of 1 when the pivot is chosen. The pivot is the last row
// with the greatest scaled value; a pivot of exactly 0 becomes 1e-20 and
// the work goes on. False when a row is all zeros.
bool luDecompose(ccNMMatrix const& a, LuFactors& f) {
  int const n = a.rows();
  f.lu = a;
  f.index.assign(static_cast<std::size_t>(n), 0);
  f.sign = 1;
  ccNMMatrix& m = f.lu;
  std::vector<double> scale(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    double big = 0;
    for (int j = 0; j < n; ++j)
      if (std::fabs(m[i][j]) > big) big = std::fabs(m[i][j]);
    if (big == 0) return false;
    scale[static_cast<std::size_t>(i)] = 1 / big;
  }
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < j; ++i) {
      double sum = m[i][j];
      for (int k = 0; k < i; ++k) sum -= m[i][k] * m[k][j];
      m[i][j] = sum;
    }
    double big = 0;
    int pivot = j;
    for (int i = j; i < n; ++i) {
      double sum = m[i][j];
      for (int k = 0; k < j; ++k) sum -= m[i][k] * m[k][j];
      m[i][j] = sum;
      double const scaled = scale[static_cast<std::size_t>(i)] * std::fabs(sum);
      if (scaled >= big) {
        big = scaled;
        pivot = i;
      }
    }
    if (pivot != j) {
      m.swapRows(pivot, j);
      f.sign = -f.sign;
      scale[static_cast<std::size_t>(pivot)] = scale[static_cast<std::size_t>(j)];
    }
    f.index[static_cast<std::size_t>(j)] = pivot;
    if (m[j][j] == 0) m[j][j] = 1e-20;
    if (j != n - 1) {
      double const inv = 1 / m[j][j];
      for (int i = j + 1; i < n; ++i) m[i][j] *= inv;
    }
  }
  return true;
}

// Solves L·U·x = P·b in place of b (n doubles). Forward substitution
// starts at the first non-zero element of b.
void luBackSubstitute(LuFactors const& f, double* b) {
  ccNMMatrix const& m = f.lu;
  int const n = m.rows();
  int first = -1;
  for (int i = 0; i < n; ++i) {
    int const p = f.index[static_cast<std::size_t>(i)];
    double sum = b[p];
    b[p] = b[i];
    if (first >= 0) {
      for (int j = first; j < i; ++j) sum -= m[i][j] * b[j];
    } else if (sum != 0) {
      first = i;
    }
    b[i] = sum;
  }
  for (int i = n - 1; i >= 0; --i) {
    double sum = b[i];
    for (int j = i + 1; j < n; ++j) sum -= m[i][j] * b[j];
    b[i] = sum / m[i][i];
  }
}

// The shape and condition test of the solvers. cond is set before the
// limit is applied, so a caller sees it even when the limit refuses.
void checkCondition(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond, double condLimit) {
  if (!a.isSquare() || b.rows() != a.rows()) throw ccNMMatrix::sizeErr();
  cond = a.conditionNumber(symmetric);
  if (cond > condLimit) throw ccNMMatrix::unstableErr();
}

}  // namespace

double ccNMMatrix::determinant() const {
  needSquare_();
  LuFactors f;
  if (!luDecompose(*this, f)) return 0;
  double d = f.sign;
  for (int j = 0; j < rows_; ++j) d *= f.lu[j][j];
  return d;
}

ccNMMatrix ccNMMatrix::inverse() const {
  needSquare_();
  LuFactors f;
  if (!luDecompose(*this, f)) throw unstableErr();
  ccNMMatrix r(rows_, cols_);
  std::vector<double> column(static_cast<std::size_t>(rows_));
  for (int j = 0; j < cols_; ++j) {
    for (int i = 0; i < rows_; ++i) column[static_cast<std::size_t>(i)] = i == j ? 1 : 0;
    luBackSubstitute(f, column.data());
    for (int i = 0; i < rows_; ++i) r.m_[i][j] = column[static_cast<std::size_t>(i)];
  }
  return r;
}

ccNMMatrix ccNMMatrix::solve(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond,
                             double condLimit) {
  checkCondition(a, b, symmetric, cond, condLimit);
  LuFactors f;
  if (!luDecompose(a, f)) throw unstableErr();
  // Each column of b is a row of its transpose, contiguous for the
  // substitution.
  ccNMMatrix x = b.transpose();
  for (int i = 0; i < x.rows_ && x.hasElements_(); ++i) luBackSubstitute(f, x.m_[i]);
  return x.transpose();
}

ccNMMatrix ccNMMatrix::solve2_(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond,
                               double condLimit) {
  checkCondition(a, b, symmetric, cond, condLimit);
  return a.inverse() * b;
}

ccNMMatrix ccNMMatrix::partialSolve(ccNMMatrix const& a, ccNMMatrix const& b, ccNMMatrix const& c,
                                    ccNMMatrix const& d, ccNMMatrix const& e, bool symmetric, double& cond,
                                    double condLimit) {
  if (!a.isSquare() || !b.isSquare() || !c.isSizeEqual(a.rows_, b.cols_) || d.rows_ != a.rows_ ||
      !e.isSizeEqual(b.rows_, d.cols_))
    throw sizeErr();
  ccNMMatrix const t = c.Tmultiply(a.inverse());
  return solve(b - t * c, e - t * d, symmetric, cond, condLimit);
}

double ccNMMatrix::constraintError(ccNMMatrix const& a, ccNMMatrix const& b, double c, ccNMMatrix const& x) {
  ccNMMatrix const form = x.Tmultiply(a * x - b * 2.0);
  cmAssert(form.isSizeEqual(1, 1));
  return c + form.m_[0][0];
}
