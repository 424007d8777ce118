#include "orvstd/math/nmmatrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/math/scalar.h"

cmErrorFamilyDefine(ccNMMatrix::Errors)
cmErrorDefine(ccNMMatrix::sizeErr)
cmErrorDefine(ccNMMatrix::unstableErr)

namespace {

// The mixed tolerance of every comparison: relative above 1, absolute below.
bool nearlyEqual(double a, double b) {
  double const s = std::fabs(a) + std::fabs(b);
  return cfRealEq(a, b, s >= 1 ? 1e-12 * s : 1e-12);
}

// Bytes of the one block for rows by cols, or 0 when the sum does not fit
// (the caller raises bad_alloc then). The pointers come first, so the
// doubles after them are aligned as doubles.
std::size_t blockBytes(int rows, int cols) {
  static_assert(sizeof(double*) == sizeof(double) && alignof(double*) == alignof(double));
  auto const count = static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(cols);
  constexpr std::uint64_t kMax = static_cast<std::uint64_t>(PTRDIFF_MAX) / sizeof(double);
  if (count > kMax - static_cast<std::uint64_t>(rows)) return 0;
  return static_cast<std::size_t>((count + static_cast<std::uint64_t>(rows)) * sizeof(double));
}

}  // namespace

// Storage --------------------------------------------------------------------------

void ccNMMatrix::allocate_(int rows, int cols) {
  if (rows < 0 || cols < 0) throw sizeErr();
  if (rows != 0 && cols != 0) {
    std::size_t const bytes = blockBytes(rows, cols);
    if (bytes == 0) throw std::bad_alloc();
    void* block = ::operator new(bytes);
    auto** pointers = static_cast<double**>(block);
    auto* elements = reinterpret_cast<double*>(pointers + rows);
    for (int i = 0; i < rows; ++i) pointers[i] = elements + static_cast<std::ptrdiff_t>(i) * cols;
    m_ = pointers;
  }
  rows_ = rows;
  cols_ = cols;
}

void ccNMMatrix::release_() noexcept {
  ::operator delete(m_);
  m_ = nullptr;
  rows_ = 0;
  cols_ = 0;
}

ccNMMatrix::ccNMMatrix(int rows, int cols) { allocate_(rows, cols); }

ccNMMatrix::ccNMMatrix(int rows, int cols, double value) {
  allocate_(rows, cols);
  *this = value;
}

ccNMMatrix::ccNMMatrix(ccNMMatrix const& other) {
  allocate_(other.rows_, other.cols_);
  if (hasElements_())
    std::memcpy(m_[0], other.m_[0], static_cast<std::size_t>(rows_) * static_cast<std::size_t>(cols_) * sizeof(double));
}

ccNMMatrix::ccNMMatrix(ccNMMatrix&& other) noexcept
    : m_(std::exchange(other.m_, nullptr)), rows_(std::exchange(other.rows_, 0)), cols_(std::exchange(other.cols_, 0)) {}

ccNMMatrix::ccNMMatrix(ccNMMatrix const& src, int srcRow, int srcCol, int dstRow, int dstCol, int rows, int cols) {
  c_Int64 const totalRows = static_cast<c_Int64>(dstRow) + rows;
  c_Int64 const totalCols = static_cast<c_Int64>(dstCol) + cols;
  if (dstRow < 0 || dstCol < 0 || rows < 0 || cols < 0 || totalRows > INT32_MAX || totalCols > INT32_MAX)
    throw sizeErr();
  ccNMMatrix built(static_cast<int>(totalRows), static_cast<int>(totalCols), 0.0);
  built.copySub(src, srcRow, srcCol, dstRow, dstCol, rows, cols);
  *this = std::move(built);
}

ccNMMatrix::~ccNMMatrix() { release_(); }

ccNMMatrix& ccNMMatrix::operator=(ccNMMatrix const& other) {
  if (this == &other) return *this;
  // A new shape is built aside first, so a failed allocation leaves this
  // matrix as it was.
  if (!isSizeEqual(other)) return *this = ccNMMatrix(other);
  if (hasElements_())
    std::memcpy(m_[0], other.m_[0], static_cast<std::size_t>(rows_) * static_cast<std::size_t>(cols_) * sizeof(double));
  return *this;
}

ccNMMatrix& ccNMMatrix::operator=(ccNMMatrix&& other) noexcept {
  if (this != &other) {
    release_();
    m_ = std::exchange(other.m_, nullptr);
    rows_ = std::exchange(other.rows_, 0);
    cols_ = std::exchange(other.cols_, 0);
  }
  return *this;
}

ccNMMatrix& ccNMMatrix::operator=(double value) {
  for (int i = 0; hasElements_() && i < rows_; ++i) std::fill(m_[i], m_[i] + cols_, value);
  return *this;
}

ccNMMatrix ccNMMatrix::I(int n) {
  ccNMMatrix m(n, n);
  m.identity();
  return m;
}

// Shape and element tools -------------------------------------------------------------

bool ccNMMatrix::isSymmetric() const {
  if (!isSquare()) return false;
  for (int i = 0; i < rows_; ++i)
    for (int j = 0; j < i; ++j)
      if (!nearlyEqual(m_[i][j], m_[j][i])) return false;
  return true;
}

void ccNMMatrix::reset() { *this = 0.0; }

void ccNMMatrix::identity() {
  reset();
  for (int i = 0; i < std::min(rows_, cols_); ++i) m_[i][i] = 1;
}

void ccNMMatrix::copySub(ccNMMatrix const& src, int srcRow, int srcCol, int dstRow, int dstCol, int rows,
                         int cols) {
  auto inside = [](int at, int count, int size) {
    return at >= 0 && count >= 0 && static_cast<c_Int64>(at) + count <= size;
  };
  if (!inside(srcRow, rows, src.rows_) || !inside(srcCol, cols, src.cols_) || !inside(dstRow, rows, rows_) ||
      !inside(dstCol, cols, cols_))
    throw sizeErr();
  if (rows == 0 || cols == 0) return;
  auto const bytes = static_cast<std::size_t>(cols) * sizeof(double);
  // Within one matrix, walk the rows away from the overlap; memmove takes
  // care of overlap inside a row.
  if (&src == this && srcRow < dstRow) {
    for (int i = rows - 1; i >= 0; --i) std::memmove(m_[dstRow + i] + dstCol, src.m_[srcRow + i] + srcCol, bytes);
  } else {
    for (int i = 0; i < rows; ++i) std::memmove(m_[dstRow + i] + dstCol, src.m_[srcRow + i] + srcCol, bytes);
  }
}

// Arithmetic ----------------------------------------------------------------------------

ccNMMatrix ccNMMatrix::operator+(ccNMMatrix const& other) const {
  ccNMMatrix r(*this);
  return r += other;
}

ccNMMatrix ccNMMatrix::operator-(ccNMMatrix const& other) const {
  ccNMMatrix r(*this);
  return r -= other;
}

ccNMMatrix& ccNMMatrix::operator+=(ccNMMatrix const& other) {
  needSameSize_(other);
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) m_[i][j] += other.m_[i][j];
  return *this;
}

ccNMMatrix& ccNMMatrix::operator-=(ccNMMatrix const& other) {
  needSameSize_(other);
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) m_[i][j] -= other.m_[i][j];
  return *this;
}

ccNMMatrix ccNMMatrix::operator*(double f) const {
  ccNMMatrix r(*this);
  return r *= f;
}

ccNMMatrix& ccNMMatrix::operator*=(double f) {
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) m_[i][j] *= f;
  return *this;
}

ccNMMatrix ccNMMatrix::operator/(double d) const {
  ccNMMatrix r(*this);
  for (int i = 0; r.hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) r.m_[i][j] /= d;
  return r;
}

// Each element is a sum over k in rising order, as the dot product reads.
ccNMMatrix ccNMMatrix::operator*(ccNMMatrix const& other) const {
  if (cols_ != other.rows_) throw sizeErr();
  ccNMMatrix r(rows_, other.cols_, 0.0);
  if (!r.hasElements_() || cols_ == 0) return r;
  for (int i = 0; i < rows_; ++i) {
    double* out = r.m_[i];
    for (int k = 0; k < cols_; ++k) {
      double const a = m_[i][k];
      double const* b = other.m_[k];
      for (int j = 0; j < other.cols_; ++j) out[j] += a * b[j];
    }
  }
  return r;
}

ccNMMatrix ccNMMatrix::transpose() const {
  ccNMMatrix r(cols_, rows_);
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) r.m_[j][i] = m_[i][j];
  return r;
}

void ccNMMatrix::tmultiplyInto_(ccNMMatrix const& b, ccNMMatrix& out) const {
  cmAssert(&out != this && &out != &b);
  out.reset();
  if (!out.hasElements_() || rows_ == 0) return;
  for (int k = 0; k < rows_; ++k) {
    double const* a = m_[k];
    double const* bk = b.m_[k];
    for (int i = 0; i < cols_; ++i) {
      double const aki = a[i];
      double* o = out.m_[i];
      for (int j = 0; j < b.cols_; ++j) o[j] += aki * bk[j];
    }
  }
}

ccNMMatrix ccNMMatrix::square() const {
  ccNMMatrix r(cols_, cols_);
  square(r);
  return r;
}

// Only the upper triangle is summed; the lower one is its mirror, which is
// what summing it would give, products being commutative.
void ccNMMatrix::square(ccNMMatrix& out) const {
  if (!out.isSizeEqual(cols_, cols_)) throw sizeErr();
  cmAssert(&out != this);
  out.reset();
  if (!out.hasElements_() || rows_ == 0) return;
  for (int k = 0; k < rows_; ++k) {
    double const* a = m_[k];
    for (int i = 0; i < cols_; ++i) {
      double const aki = a[i];
      double* o = out.m_[i];
      for (int j = i; j < cols_; ++j) o[j] += aki * a[j];
    }
  }
  for (int i = 0; i < cols_; ++i)
    for (int j = 0; j < i; ++j) out.m_[i][j] = out.m_[j][i];
}

ccNMMatrix ccNMMatrix::Tmultiply(ccNMMatrix const& b) const {
  if (rows_ != b.rows_) throw sizeErr();
  ccNMMatrix r(cols_, b.cols_);
  tmultiplyInto_(b, r);
  return r;
}

void ccNMMatrix::Tmultiply(ccNMMatrix const& b, ccNMMatrix& out) const {
  if (rows_ != b.rows_ || !out.isSizeEqual(cols_, b.cols_)) throw sizeErr();
  tmultiplyInto_(b, out);
}

ccNMMatrix ccNMMatrix::multiplyT(ccNMMatrix const& b) const {
  if (cols_ != b.cols_) throw sizeErr();
  ccNMMatrix r(rows_, b.rows_, 0.0);
  if (!r.hasElements_() || cols_ == 0) return r;
  for (int i = 0; i < rows_; ++i)
    for (int j = 0; j < b.rows_; ++j) {
      double s = 0;
      for (int k = 0; k < cols_; ++k) s += m_[i][k] * b.m_[j][k];
      r.m_[i][j] = s;
    }
  return r;
}

void ccNMMatrix::addDiag(double d) {
  for (int i = 0; i < std::min(rows_, cols_); ++i) m_[i][i] += d;
}

double ccNMMatrix::fnorm2() const {
  double s = 0;
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j) s += m_[i][j] * m_[i][j];
  return s;
}

// Comparison ----------------------------------------------------------------------------

bool ccNMMatrix::operator==(ccNMMatrix const& other) const {
  if (!isSizeEqual(other)) return false;
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j)
      if (!nearlyEqual(m_[i][j], other.m_[i][j])) return false;
  return true;
}

bool ccNMMatrix::operator==(double value) const {
  for (int i = 0; hasElements_() && i < rows_; ++i)
    for (int j = 0; j < cols_; ++j)
      if (!nearlyEqual(m_[i][j], value)) return false;
  return true;
}

// Rows and columns --------------------------------------------------------------------

namespace {

// op(element of row or column i, element of row or column j) along the
// pair; sizeErr unless both indices are in [0, count).
template <class Op>
void alongRows(ccNMMatrix& m, int i, int j, Op op) {
  if (i < 0 || i >= m.rows() || j < 0 || j >= m.rows()) throw ccNMMatrix::sizeErr();
  for (int k = 0; k < m.cols(); ++k) op(m[i][k], m[j][k]);
}

template <class Op>
void alongColumns(ccNMMatrix& m, int i, int j, Op op) {
  if (i < 0 || i >= m.cols() || j < 0 || j >= m.cols()) throw ccNMMatrix::sizeErr();
  for (int k = 0; k < m.rows(); ++k) op(m[k][i], m[k][j]);
}

void add(double& a, double const& b) { a += b; }
void subtract(double& a, double const& b) { a -= b; }
void exchange(double& a, double& b) { std::swap(a, b); }

}  // namespace

void ccNMMatrix::addRows(int i, int j) { alongRows(*this, i, j, add); }
void ccNMMatrix::subRows(int i, int j) { alongRows(*this, i, j, subtract); }
void ccNMMatrix::swapRows(int i, int j) { alongRows(*this, i, j, exchange); }
void ccNMMatrix::addColumns(int i, int j) { alongColumns(*this, i, j, add); }
void ccNMMatrix::subColumns(int i, int j) { alongColumns(*this, i, j, subtract); }
void ccNMMatrix::swapColumns(int i, int j) { alongColumns(*this, i, j, exchange); }

// Output ----------------------------------------------------------------------------------

namespace {
void printTo(std::FILE* f, ccNMMatrix const& m) {
  for (int i = 0; i < m.rows(); ++i) {
    for (int j = 0; j < m.cols(); ++j) std::fprintf(f, "%10g ", m[i][j]);
    std::fputc('\n', f);
  }
}
}  // namespace

void ccNMMatrix::print() const {
  printTo(stdout, *this);
  std::fflush(stdout);
}

void ccNMMatrix::print(char const* path) const {
  std::FILE* f = path ? std::fopen(path, "w") : nullptr;
  if (!f) return;
  printTo(f, *this);
  std::fclose(f);
}

// Persistence -----------------------------------------------------------------------------

ccArchive& operator||(ccArchive& ar, ccNMMatrix& m) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/cfit/clin", __LINE__);
  if (ar.isStoring()) {
    c_Int32 rows = m.rows_, cols = m.cols_;
    ar || rows || cols;
    for (int i = 0; m.hasElements_() && i < m.rows_; ++i)
      for (int j = 0; j < m.cols_; ++j) ar || m.m_[i][j];
    return ar;
  }
  c_Int32 rows = 0, cols = 0;
  ar || rows || cols;
  if (rows < 0 || cols < 0) throw ccArchive::BadContent("std/cfit/clin", __LINE__);
  auto const count = static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(cols);
  if (count != 0 && blockBytes(rows, cols) == 0) throw ccArchive::BadContent("std/cfit/clin", __LINE__);
  // The elements go in slices to a scratch vector, so that a hostile count
  // costs no more memory than the stream really holds; the target changes
  // only once all of them arrived.
  std::vector<double> elements;
  constexpr std::uint64_t kSlice = 8192;
  for (std::uint64_t done = 0; done < count;) {
    std::uint64_t const k = std::min(kSlice, count - done);
    elements.resize(static_cast<std::size_t>(done + k));
    for (std::uint64_t e = done; e < done + k; ++e) ar || elements[static_cast<std::size_t>(e)];
    done += k;
  }
  m.release_();
  m.allocate_(rows, cols);
  if (m.hasElements_()) std::memcpy(m.m_[0], elements.data(), elements.size() * sizeof(double));
  return ar;
}
