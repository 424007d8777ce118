// ccNMMatrix: a dense matrix of doubles whose size is chosen at run time,
// with the decompositions and solvers built on it.
//
// The elements sit row by row in one block behind an array of row
// pointers, and both live in a single allocation; an empty matrix (no
// elements) allocates nothing. Copies are deep. Shape mistakes raise
// sizeErr, numerical failure (a singular system, a condition number over
// the limit, an iteration that ran out) raises unstableErr, and a failed
// operation never leaves a partial result behind.
//
//   ccNMMatrix a(3, 3, 0.0);
//   a.identity();
//   a.element(0, 2, 4.0);
//   ccNMMatrix b(3, 1, 1.0);
//   double cond;
//   ccNMMatrix x = ccNMMatrix::solve(a, b, false, cond, 1e14);  // a·x = b
//   ar || a;                                                     // version 0, rows, cols, elements
//
// Its two error numbers, 1 and 2, predate the numbering scheme and are kept.
#ifndef ORVSTD_MATH_NMMATRIX_H_
#define ORVSTD_MATH_NMMATRIX_H_

#include <utility>
#include <vector>

#include "orvstd/except/except.h"

class ccArchive;

class ccNMMatrix {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(sizeErr, Errors, 1);
  cmErrorClass(unstableErr, Errors, 2);

  // 0 by 0, no storage.
  ccNMMatrix() noexcept = default;
  // Elements uninitialised. A negative size raises sizeErr.
  ccNMMatrix(int rows, int cols);
  ccNMMatrix(int rows, int cols, double value);
  ccNMMatrix(ccNMMatrix const& other);
  ccNMMatrix(ccNMMatrix&& other) noexcept;
  // The matrix of (dstRow + rows) by (dstCol + cols) zeros into which
  // copySub(src, srcRow, srcCol, dstRow, dstCol, rows, cols) has copied
  // the block.
  ccNMMatrix(ccNMMatrix const& src, int srcRow, int srcCol, int dstRow, int dstCol, int rows, int cols);
  ~ccNMMatrix();

  // Reuses the storage when the shapes agree; self-assignment is harmless.
  ccNMMatrix& operator=(ccNMMatrix const& other);
  ccNMMatrix& operator=(ccNMMatrix&& other) noexcept;
  // Sets every element.
  ccNMMatrix& operator=(double value);

  // The n-by-n identity.
  static ccNMMatrix I(int n);

  // Element and shape.
  int rows() const { return rows_; }
  int cols() const { return cols_; }
  double element(int i, int j) const {
    check_(i, j);
    return m_[i][j];
  }
  void element(int i, int j, double value) {
    check_(i, j);
    m_[i][j] = value;
  }
  // Row i, unchecked, for inner loops: i must lie in [0, rows) and the
  // matrix must have elements.
  double* operator[](int i) { return m_[i]; }
  double const* operator[](int i) const { return m_[i]; }
  bool isSizeEqual(int rows, int cols) const { return rows_ == rows && cols_ == cols; }
  bool isSizeEqual(ccNMMatrix const& other) const { return isSizeEqual(other.rows_, other.cols_); }
  bool isSquare() const { return rows_ == cols_; }
  // Square and equal to its transpose under the comparison tolerance.
  bool isSymmetric() const;

  // All elements 0.
  void reset();
  // 1 on the main diagonal, 0 elsewhere (any shape).
  void identity();
  // Copies the rows-by-cols block of src at (srcRow, srcCol) to
  // (dstRow, dstCol) of this matrix; sizeErr unless both blocks lie
  // inside their matrices. src may be this matrix, blocks overlapping.
  void copySub(ccNMMatrix const& src, int srcRow, int srcCol, int dstRow, int dstCol, int rows, int cols);

  // Arithmetic; sizeErr when the shapes do not fit.
  ccNMMatrix operator+(ccNMMatrix const& other) const;
  ccNMMatrix operator-(ccNMMatrix const& other) const;
  ccNMMatrix& operator+=(ccNMMatrix const& other);
  ccNMMatrix& operator-=(ccNMMatrix const& other);
  ccNMMatrix operator*(double f) const;
  ccNMMatrix& operator*=(double f);
  // Divides each element by d, with no test of d.
  ccNMMatrix operator/(double d) const;
  ccNMMatrix operator*(ccNMMatrix const& other) const;
  ccNMMatrix transpose() const;
  // AᵀA. The out form needs out shaped cols by cols and allocates nothing.
  ccNMMatrix square() const;
  void square(ccNMMatrix& out) const;
  // AᵀB. The out form needs out shaped this->cols by B.cols and allocates
  // nothing. out must not be this matrix or B.
  ccNMMatrix Tmultiply(ccNMMatrix const& b) const;
  void Tmultiply(ccNMMatrix const& b, ccNMMatrix& out) const;
  // ABᵀ.
  ccNMMatrix multiplyT(ccNMMatrix const& b) const;
  // Adds d to each element (i, i), i below the lesser of rows and cols.
  void addDiag(double d);
  // The sum of the squared elements (no square root).
  double fnorm2() const;

  // Elements a and b agree when |a - b| is not above 1e-12·(|a| + |b|),
  // or 1e-12 where |a| + |b| < 1. Matrices of different shapes differ.
  bool operator==(ccNMMatrix const& other) const;
  bool operator!=(ccNMMatrix const& other) const { return !(*this == other); }
  // Every element agrees with value.
  bool operator==(double value) const;
  bool operator!=(double value) const { return !(*this == value); }

  // Row i += row j, row i -= row j, exchange; likewise for columns.
  // sizeErr when an index is out of range.
  void addRows(int i, int j);
  void subRows(int i, int j);
  void swapRows(int i, int j);
  void addColumns(int i, int j);
  void subColumns(int i, int j);
  void swapColumns(int i, int j);

  // Each element by "%10g " and a newline after each row, to standard
  // output or to a new file (nothing at all when it cannot be opened).
  void print() const;
  void print(char const* path) const;

  // Singular value decomposition A = U·W·Vᵀ: U rows by cols, W the
  // cols-by-cols diagonal of singular values, V cols by cols. A matrix
  // with fewer rows than columns is decomposed zero-padded to square.
  void decompose(ccNMMatrix& u, ccNMMatrix& w, ccNMMatrix& v) const;
  // sizeErr unless square. Symmetric: real eigenvalues, im all zero, and
  // in the second form the eigenvectors as the columns of `vectors`.
  // Otherwise the complex eigenvalues, `vectors` left as it was.
  void eigenvalues(bool symmetric, std::vector<double>& re, std::vector<double>& im) const;
  void eigenvalues(bool symmetric, std::vector<double>& re, std::vector<double>& im, ccNMMatrix& vectors) const;
  // sizeErr unless square; 0 for a matrix with a zero row.
  double determinant() const;
  // Greatest over least absolute eigenvalue (symmetric) or singular value;
  // 1e28 when the least is 0 or the greatest is below 1e-14.
  double conditionNumber(bool symmetric) const;
  // The symmetric eigenvalues and, from them, the condition number.
  double symEigenvaluesAndConditionNumber(std::vector<double>& values) const;
  // sizeErr unless square; unstableErr for a matrix with a zero row.
  ccNMMatrix inverse() const;
  // V·D·Uᵀ with singular values below smax/√condNumber damped smoothly;
  // the matrix itself when every singular value is tiny (see the .cc).
  ccNMMatrix pseudoinverse(double condNumber) const;
  // B·(A·B).pseudoinverse(condNumber).
  ccNMMatrix minimalInverse(ccNMMatrix const& b, double condNumber) const;

  // A·x = b for square A and any number of columns of b. cond receives
  // A.conditionNumber(symmetric) before anything can fail; over condLimit,
  // or a zero row in A, raises unstableErr.
  static ccNMMatrix solve(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond, double condLimit);
  // A.pseudoinverse(condNumber)·b.
  static ccNMMatrix pseudoSolve(ccNMMatrix const& a, ccNMMatrix const& b, double condNumber);
  // The lower block of [A C; Cᵀ B]·[x; y] = [d; e] after eliminating x:
  // solve(B − T·C, e − T·d, ...) with T = Cᵀ·A⁻¹. A and B square, C with
  // A's rows and B's columns, d with A's rows, e with B's rows and d's
  // columns, else sizeErr.
  static ccNMMatrix partialSolve(ccNMMatrix const& a, ccNMMatrix const& b, ccNMMatrix const& c, ccNMMatrix const& d,
                                 ccNMMatrix const& e, bool symmetric, double& cond, double condLimit);
  // The x nearest to x0 in the metric A with C·x = e.
  static ccNMMatrix constraintMinimization(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                          ccNMMatrix const& e, double condNumber);
  // The quadratic form c + xᵀ(A·x − 2b); x must make it 1 by 1 (asserted).
  static double constraintError(ccNMMatrix const& a, ccNMMatrix const& b, double c, ccNMMatrix const& x);

 private:
  friend ccArchive& operator||(ccArchive& ar, ccNMMatrix& m);
  friend struct cc_NMMatrixPrivate;  // access to the private solvers below (docs/design.md)

  // The same test as solve, then A.inverse()·b.
  static ccNMMatrix solve2_(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond,
                            double condLimit);
  // As constraintMinimization, with C·Ai in place of C·Ai·Cᵀ and the inner
  // solve at condNumber².
  static ccNMMatrix constraintMinimization2_(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                             ccNMMatrix const& e, double condNumber);
  // Ai·(x0 − Cᵀ·pseudoSolve(C·Ai·Cᵀ, e − C·Ai·x0)).
  static ccNMMatrix oldConstraintMinimization_(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                               ccNMMatrix const& e, double condNumber);

  // Storage for rows by cols (nothing when that is no element); the
  // previous storage must have been released.
  void allocate_(int rows, int cols);
  void release_() noexcept;
  bool hasElements_() const { return m_ != nullptr; }
  void check_(int i, int j) const {
    if (i < 0 || i >= rows_ || j < 0 || j >= cols_) throw sizeErr();
  }
  void needSameSize_(ccNMMatrix const& other) const {
    if (!isSizeEqual(other)) throw sizeErr();
  }
  void needSquare_() const {
    if (!isSquare()) throw sizeErr();
  }
  // Writes the product AᵀB into the preshaped out.
  void tmultiplyInto_(ccNMMatrix const& b, ccNMMatrix& out) const;

  double** m_ = nullptr;
  int rows_ = 0;
  int cols_ = 0;
};

// Version byte 0, then rows and cols as 32-bit integers, then the elements
// row by row.
ccArchive& operator||(ccArchive& ar, ccNMMatrix& m);

#endif  // ORVSTD_MATH_NMMATRIX_H_
