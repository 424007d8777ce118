// Fixed square matrices of doubles, row-major: ccMatrix<2> with its
// decomposition into rotation, scale, aspect and shear, and ccMatrix<3>.
//
// Each matrix stores its determinant beside the elements and every mutator
// refreshes it, so isSingular() is a plain exact test of the stored value:
// a determinant of 1e-300 is regular. Decompositions and inverses of a
// singular matrix raise ccMathError::Singular.
//
//   ccMatrix<2> m(2.0, 0.5, ccDegree(10), ccDegree(30));  // scale, aspect, shear, rotation
//   double s = m.scale();                                 // 2
//   ccVector<2> p = m.inverse() * ccVector<2>(1, 0);
//   ar << m;                                              // the stored dt goes too
#ifndef ORVSTD_MATH_MATRIX_H_
#define ORVSTD_MATH_MATRIX_H_

#include <cmath>
#include <type_traits>

#include "orvstd/except/assert.h"
#include "orvstd/math/angle.h"
#include "orvstd/math/math_error.h"
#include "orvstd/math/scalar.h"
#include "orvstd/math/vector.h"

class ccArchive;
// Kernel-layer value types; see orvstd/kernel/kmath_types.h.
struct kmath_matrix;
struct kx2Matrix;

template <int N>
class ccMatrix;

template <>
class ccMatrix<2> {
 public:
  // The identity.
  constexpr ccMatrix() = default;
  // Row by row.
  ccMatrix(double e00, double e01, double e10, double e11) : e_{{e00, e01}, {e10, e11}} { setdt(); }
  // Columns (xScale·cos xRot, xScale·sin xRot) and (−yScale·sin yRot, yScale·cos yRot).
  ccMatrix(ccRadian xRot, ccRadian yRot, double xScale, double yScale)
      : ccMatrix(xScale * std::cos(xRot.plain()), -yScale * std::sin(yRot.plain()), xScale * std::sin(xRot.plain()),
                 yScale * std::cos(yRot.plain())) {}
  // A rotation after a shear, the y column scaled by aspect.
  ccMatrix(double scale, double aspect, ccRadian shear, ccRadian rotation);
  ccMatrix(kmath_matrix const& m);
  ccMatrix(kx2Matrix const& m);
  operator kmath_matrix() const;
  operator kx2Matrix() const;

  double element(int r, int c) const {
    check(r, c);
    return e_[r][c];
  }
  void element(int r, int c, double v) {
    check(r, c);
    e_[r][c] = v;
    setdt();
  }
  double determinant() const { return dt_; }
  bool isSingular() const { return dt_ == 0; }
  bool isIdentity() const { return e_[0][0] == 1 && e_[0][1] == 0 && e_[1][0] == 0 && e_[1][1] == 1; }
  ccMatrix transpose() const { return ccMatrix(e_[0][0], e_[1][0], e_[0][1], e_[1][1]); }

  ccMatrix operator+(ccMatrix const& o) const {
    return ccMatrix(e_[0][0] + o.e_[0][0], e_[0][1] + o.e_[0][1], e_[1][0] + o.e_[1][0], e_[1][1] + o.e_[1][1]);
  }
  ccMatrix operator-(ccMatrix const& o) const {
    return ccMatrix(e_[0][0] - o.e_[0][0], e_[0][1] - o.e_[0][1], e_[1][0] - o.e_[1][0], e_[1][1] - o.e_[1][1]);
  }
  ccMatrix operator-() const { return ccMatrix(-e_[0][0], -e_[0][1], -e_[1][0], -e_[1][1]); }
  ccMatrix operator*(double f) const { return ccMatrix(e_[0][0] * f, e_[0][1] * f, e_[1][0] * f, e_[1][1] * f); }
  // Multiplies by 1/d, with no test of d.
  ccMatrix operator/(double d) const { return *this * (1 / d); }
  ccMatrix operator*(ccMatrix const& o) const {
    return ccMatrix(e_[0][0] * o.e_[0][0] + e_[0][1] * o.e_[1][0], e_[0][0] * o.e_[0][1] + e_[0][1] * o.e_[1][1],
                    e_[1][0] * o.e_[0][0] + e_[1][1] * o.e_[1][0], e_[1][0] * o.e_[0][1] + e_[1][1] * o.e_[1][1]);
  }
  ccVector<2> operator*(ccVector<2> const& v) const {
    return ccVector<2>(e_[0][0] * v.x() + e_[0][1] * v.y(), e_[1][0] * v.x() + e_[1][1] * v.y());
  }
  // this · o.inverse().
  ccMatrix operator/(ccMatrix const& o) const { return *this * o.inverse(); }
  ccMatrix& operator+=(ccMatrix const& o) { return *this = *this + o; }
  ccMatrix& operator-=(ccMatrix const& o) { return *this = *this - o; }
  ccMatrix& operator*=(double f) { return *this = *this * f; }
  ccMatrix& operator/=(double d) { return *this = *this / d; }
  ccMatrix& operator*=(ccMatrix const& o) { return *this = *this * o; }
  ccMatrix& operator/=(ccMatrix const& o) { return *this = *this / o; }

  bool operator==(ccMatrix const& o) const {
    return e_[0][0] == o.e_[0][0] && e_[0][1] == o.e_[0][1] && e_[1][0] == o.e_[1][0] && e_[1][1] == o.e_[1][1];
  }
  bool operator!=(ccMatrix const& o) const { return !(*this == o); }

  ccMatrix inverse() const {
    requireRegular();
    double const i = 1 / dt_;
    return ccMatrix(e_[1][1] * i, -e_[0][1] * i, -e_[1][0] * i, e_[0][0] * i);
  }

  // The decomposition; each raises Singular on a singular matrix.
  ccRadian xRot() const {
    requireRegular();
    return ccRadian(std::atan2(e_[1][0], e_[0][0]));
  }
  ccRadian rotation() const { return xRot(); }
  ccRadian yRot() const {
    requireRegular();
    return ccRadian(std::atan2(-e_[0][1], e_[1][1]));
  }
  double xScale() const {
    requireRegular();
    return std::sqrt(e_[0][0] * e_[0][0] + e_[1][0] * e_[1][0]);
  }
  double yScale() const {
    requireRegular();
    return std::sqrt(e_[0][1] * e_[0][1] + e_[1][1] * e_[1][1]);
  }
  double scale() const { return xScale(); }
  // dt / xScale², which is not yScale / xScale once there is shear.
  double aspect() const {
    requireRegular();
    return dt_ / (e_[0][0] * e_[0][0] + e_[1][0] * e_[1][0]);
  }
  ccRadian shear() const {
    requireRegular();
    return ccRadian(-std::atan((e_[0][0] * e_[0][1] + e_[1][0] * e_[1][1]) / dt_));
  }

  // Throws ccInvariantFailure unless the determinant recomputed from the
  // elements equals the stored one exactly (it may differ after a load).
  void repInvariant() const;

 private:
  friend ccArchive& operator||(ccArchive& ar, ccMatrix<2>& m);

  static void check(int r, int c) { cmAssert(r >= 0 && r <= 1 && c >= 0 && c <= 1); }
  void setdt() { dt_ = e_[0][0] * e_[1][1] - e_[0][1] * e_[1][0]; }
  void requireRegular() const {
    if (isSingular()) throw ccMathError::Singular();
  }

  double e_[2][2] = {{1, 0}, {0, 1}};
  double dt_ = 1;
};

// The row vector times the matrix: x' = e00·x + e10·y, y' = e01·x + e11·y.
inline ccVector<2>& operator*=(ccVector<2>& v, ccMatrix<2> const& m) {
  return v = ccVector<2>(m.element(0, 0) * v.x() + m.element(1, 0) * v.y(),
                         m.element(0, 1) * v.x() + m.element(1, 1) * v.y());
}

template <>
class ccMatrix<3> {
 public:
  // The identity.
  constexpr ccMatrix() = default;
  // Row by row.
  ccMatrix(double e00, double e01, double e02, double e10, double e11, double e12, double e20, double e21, double e22)
      : e_{{e00, e01, e02}, {e10, e11, e12}, {e20, e21, e22}} {
    setdt();
  }

  double element(int r, int c) const {
    check(r, c);
    return e_[r][c];
  }
  void element(int r, int c, double v) {
    check(r, c);
    e_[r][c] = v;
    setdt();
  }
  double determinant() const { return dt_; }
  bool isSingular() const { return dt_ == 0; }
  bool isIdentity() const;
  ccMatrix transpose() const;

  ccMatrix operator+(ccMatrix const& o) const { return zip(o, [](double a, double b) { return a + b; }); }
  ccMatrix operator-(ccMatrix const& o) const { return zip(o, [](double a, double b) { return a - b; }); }
  ccMatrix operator-() const { return *this * -1.0; }
  ccMatrix operator*(double f) const { return zip(*this, [f](double a, double) { return a * f; }); }
  // Multiplies by 1/d, with no test of d.
  ccMatrix operator/(double d) const { return *this * (1 / d); }
  ccMatrix operator*(ccMatrix const& o) const;
  ccVector<3> operator*(ccVector<3> const& v) const {
    return ccVector<3>(e_[0][0] * v.x() + e_[0][1] * v.y() + e_[0][2] * v.z(),
                       e_[1][0] * v.x() + e_[1][1] * v.y() + e_[1][2] * v.z(),
                       e_[2][0] * v.x() + e_[2][1] * v.y() + e_[2][2] * v.z());
  }
  ccMatrix operator/(ccMatrix const& o) const { return *this * o.inverse(); }
  ccMatrix& operator+=(ccMatrix const& o) { return *this = *this + o; }
  ccMatrix& operator-=(ccMatrix const& o) { return *this = *this - o; }
  ccMatrix& operator*=(double f) { return *this = *this * f; }
  ccMatrix& operator/=(double d) { return *this = *this / d; }
  ccMatrix& operator*=(ccMatrix const& o) { return *this = *this * o; }
  ccMatrix& operator/=(ccMatrix const& o) { return *this = *this / o; }

  bool operator==(ccMatrix const& o) const;
  bool operator!=(ccMatrix const& o) const { return !(*this == o); }

  // The adjugate scaled by 1/dt; Singular when singular.
  ccMatrix inverse() const;
  // Column lengths; Singular when singular.
  double xScale() const { return columnLength(0); }
  double yScale() const { return columnLength(1); }
  double zScale() const { return columnLength(2); }

  void repInvariant() const;

 private:
  friend ccArchive& operator||(ccArchive& ar, ccMatrix<3>& m);

  template <class F>
  ccMatrix zip(ccMatrix const& o, F f) const {
    ccMatrix r;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) r.e_[i][j] = f(e_[i][j], o.e_[i][j]);
    r.setdt();
    return r;
  }
  static void check(int r, int c) { cmAssert(r >= 0 && r <= 2 && c >= 0 && c <= 2); }
  // Expanded along the first row.
  void setdt() {
    dt_ = e_[0][0] * (e_[1][1] * e_[2][2] - e_[1][2] * e_[2][1]) -
          e_[0][1] * (e_[1][0] * e_[2][2] - e_[1][2] * e_[2][0]) +
          e_[0][2] * (e_[1][0] * e_[2][1] - e_[1][1] * e_[2][0]);
  }
  double columnLength(int c) const {
    if (isSingular()) throw ccMathError::Singular();
    return std::sqrt(e_[0][c] * e_[0][c] + e_[1][c] * e_[1][c] + e_[2][c] * e_[2][c]);
  }

  double e_[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double dt_ = 1;
};

// The row vector times the matrix.
ccVector<3> operator*(ccVector<3> const& v, ccMatrix<3> const& m);

// Version byte 0, the elements row by row, then the stored determinant.
ccArchive& operator||(ccArchive& ar, ccMatrix<2>& m);
ccArchive& operator||(ccArchive& ar, ccMatrix<3>& m);

// Element by element, row by row.
bool cfRealEq(ccMatrix<2> const& a, ccMatrix<2> const& b, double tolerance);
bool cfRealEq(ccMatrix<3> const& a, ccMatrix<3> const& b, double tolerance);

static_assert(std::is_trivially_copyable_v<ccMatrix<2>> && sizeof(ccMatrix<2>) == 5 * sizeof(double));
static_assert(std::is_trivially_copyable_v<ccMatrix<3>> && sizeof(ccMatrix<3>) == 10 * sizeof(double));

#endif  // ORVSTD_MATH_MATRIX_H_
