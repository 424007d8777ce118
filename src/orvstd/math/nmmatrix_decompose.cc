// ccNMMatrix: the singular value and eigenvalue decompositions, the
// condition number taken from them, and the damped pseudoinverse with the
// solvers built on it.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "orvstd/math/internal/nm_decompose.h"
#include "orvstd/math/nmmatrix.h"

namespace {

// The row pointers of a matrix with elements, as the decompositions take them.
std::vector<double*> rowPointers(ccNMMatrix& m) {
  std::vector<double*> rows(static_cast<std::size_t>(m.rows()));
  for (int i = 0; i < m.rows(); ++i) rows[static_cast<std::size_t>(i)] = m[i];
  return rows;
}

struct Svd {
  ccNMMatrix u;  // rows by cols
  std::vector<double> w;
  ccNMMatrix v;  // cols by cols
};

// A wide matrix is decomposed zero-padded to square; U keeps the first
// rows rows of the padded result.
Svd singularValueDecomposition(ccNMMatrix const& a) {
  int const rows = a.rows(), cols = a.cols();
  Svd s;
  s.w.assign(static_cast<std::size_t>(cols), 0.0);
  s.v = ccNMMatrix(cols, cols, 0.0);
  if (cols == 0) {
    s.u = ccNMMatrix(rows, 0);
    return s;
  }
  int const m = std::max(rows, cols);
  ccNMMatrix work(m, cols, 0.0);
  work.copySub(a, 0, 0, 0, 0, rows, cols);
  std::vector<double> scratch(static_cast<std::size_t>(cols));
  if (!cf_SvdDecompose(rowPointers(work).data(), m, cols, s.w.data(), rowPointers(s.v).data(), scratch.data()))
    throw ccNMMatrix::unstableErr();
  s.u = rows == m ? std::move(work) : ccNMMatrix(work, 0, 0, 0, 0, rows, cols);
  return s;
}

// The symmetric eigenvalues of a (square), and with `vectors` the
// eigenvectors in its columns.
std::vector<double> symmetricEigen(ccNMMatrix const& a, ccNMMatrix* vectors) {
  int const n = a.rows();
  std::vector<double> d(static_cast<std::size_t>(n));
  if (n == 0) {
    if (vectors) *vectors = ccNMMatrix();
    return d;
  }
  ccNMMatrix work(a);
  std::vector<double> scratch(static_cast<std::size_t>(n));
  if (!cf_SymEigen(rowPointers(work).data(), n, d.data(), vectors != nullptr, scratch.data()))
    throw ccNMMatrix::unstableErr();
  if (vectors) *vectors = std::move(work);
  return d;
}

// Greatest over least absolute value; 1e28 when the least is 0, the
// greatest below 1e-14, or there are none.
double conditionOf(std::vector<double> const& values) {
  if (values.empty()) return 1e28;
  double greatest = std::fabs(values[0]), least = greatest;
  for (double x : values) {
    greatest = std::max(greatest, std::fabs(x));
    least = std::min(least, std::fabs(x));
  }
  return least != 0 && greatest >= 1e-14 ? greatest / least : 1e28;
}

}  // namespace

void ccNMMatrix::decompose(ccNMMatrix& u, ccNMMatrix& w, ccNMMatrix& v) const {
  Svd s = singularValueDecomposition(*this);
  ccNMMatrix diagonal(cols_, cols_, 0.0);
  for (int i = 0; i < cols_; ++i) diagonal.m_[i][i] = s.w[static_cast<std::size_t>(i)];
  // Nothing is assigned before everything has been computed, so an
  // output may be this matrix and a failure leaves all three alone.
  u = std::move(s.u);
  w = std::move(diagonal);
  v = std::move(s.v);
}

void ccNMMatrix::eigenvalues(bool symmetric, std::vector<double>& re, std::vector<double>& im) const {
  needSquare_();
  auto const n = static_cast<std::size_t>(rows_);
  if (symmetric) {
    re = symmetricEigen(*this, nullptr);
    im.assign(n, 0.0);
    return;
  }
  std::vector<double> r(n), i(n);
  if (n != 0) {
    ccNMMatrix work(*this);
    if (!cf_GeneralEigen(rowPointers(work).data(), rows_, r.data(), i.data())) throw unstableErr();
  }
  re = std::move(r);
  im = std::move(i);
}

void ccNMMatrix::eigenvalues(bool symmetric, std::vector<double>& re, std::vector<double>& im,
                             ccNMMatrix& vectors) const {
  if (!symmetric) {
    eigenvalues(false, re, im);
    return;
  }
  needSquare_();
  ccNMMatrix v;
  std::vector<double> d = symmetricEigen(*this, &v);
  re = std::move(d);
  im.assign(re.size(), 0.0);
  vectors = std::move(v);
}

double ccNMMatrix::conditionNumber(bool symmetric) const {
  if (symmetric) {
    needSquare_();
    return conditionOf(symmetricEigen(*this, nullptr));
  }
  return conditionOf(singularValueDecomposition(*this).w);
}

double ccNMMatrix::symEigenvaluesAndConditionNumber(std::vector<double>& values) const {
  needSquare_();
  values = symmetricEigen(*this, nullptr);
  return conditionOf(values);
}

// s0 = smax/√condNumber. Singular values from s0 up are inverted; those
// below it are damped to w/s0², which meets 1/w at w = s0, so nothing is
// cut off abruptly. When even s0 is below 1e-9 the result is this matrix
// itself, unchanged: callers rely on that rather than on a zero matrix.
ccNMMatrix ccNMMatrix::pseudoinverse(double condNumber) const {
  Svd s = singularValueDecomposition(*this);
  double smax = 0;
  for (double x : s.w) smax = std::max(smax, x);
  double const s0 = smax / std::sqrt(condNumber);
  if (s0 < 1e-9) return *this;
  // V·D, then times Uᵀ.
  for (int k = 0; k < cols_; ++k) {
    double const w = s.w[static_cast<std::size_t>(k)];
    double const d = w < s0 ? w / (s0 * s0) : 1 / w;
    for (int i = 0; i < cols_; ++i) s.v.m_[i][k] *= d;
  }
  return s.v.multiplyT(s.u);
}

ccNMMatrix ccNMMatrix::minimalInverse(ccNMMatrix const& b, double condNumber) const {
  return b * (*this * b).pseudoinverse(condNumber);
}

ccNMMatrix ccNMMatrix::pseudoSolve(ccNMMatrix const& a, ccNMMatrix const& b, double condNumber) {
  return a.pseudoinverse(condNumber) * b;
}

ccNMMatrix ccNMMatrix::constraintMinimization(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                              ccNMMatrix const& e, double condNumber) {
  ccNMMatrix const aiCt = a.pseudoinverse(condNumber).multiplyT(c);
  return x0 + aiCt * pseudoSolve(c * aiCt, e - c * x0, condNumber);
}

ccNMMatrix ccNMMatrix::constraintMinimization2_(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                                ccNMMatrix const& e, double condNumber) {
  ccNMMatrix const ai = a.pseudoinverse(condNumber);
  return x0 + ai * pseudoSolve(c * ai, e - c * x0, condNumber * condNumber);
}

ccNMMatrix ccNMMatrix::oldConstraintMinimization_(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                                  ccNMMatrix const& e, double condNumber) {
  ccNMMatrix const ai = a.pseudoinverse(condNumber);
  ccNMMatrix const r = e - c * ai * x0;
  return ai * (x0 - c.Tmultiply(pseudoSolve(c * ai.multiplyT(c), r, condNumber)));
}
