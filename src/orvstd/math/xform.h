// Affine transform values: cc1Xform (y = scale·x + offset), ccXform<2>, the
// plain affine map of the image plane that images, shapes and fitters
// exchange, and ccXform<3>. Each maps p to matrix·p + trans; a*b applies b
// first.
//
//   ccXform<2> toImage(ccVector<2>(10, 20), 2.0, 1.0, ccRadian(0), ccDegree(90));
//   ccVector<2> q = toImage * ccVector<2>(1, 0);   // (10, 22)
//   ccVector<2> p = toImage.invMapPoint(q);        // Singular if not invertible
//   ccXform<2> both = toImage * other;             // other first
//
// Only exact zero tests raise ccMathError::Singular; a nearly singular
// transform inverts to large values.
#ifndef ORVSTD_MATH_XFORM_H_
#define ORVSTD_MATH_XFORM_H_

#include <cmath>
#include <type_traits>

#include "orvstd/math/angle.h"
#include "orvstd/math/math_error.h"
#include "orvstd/math/matrix.h"
#include "orvstd/math/scalar.h"
#include "orvstd/math/vector.h"

class ccArchive;
// Kernel-layer value types; see orvstd/kernel/kmath_types.h.
struct kmath_xformLinear;
struct kx2Xform;
struct csFXform;

class cc1Xform {
 public:
  constexpr cc1Xform() = default;
  constexpr cc1Xform(double scale, double offset) : scale_(scale), offset_(offset) {}

  constexpr double scale() const { return scale_; }
  constexpr double offset() const { return offset_; }
  void scale(double s) { scale_ = s; }
  void offset(double o) { offset_ = o; }

  double mapPoint(double x) const { return scale_ * x + offset_; }
  double operator*(double x) const { return mapPoint(x); }
  double mapVector(double d) const { return scale_ * d; }
  double invMapPoint(double y) const { return inverse().mapPoint(y); }
  double invMapVector(double d) const {
    requireRegular();
    return d / scale_;
  }
  cc1Xform inverse() const {
    requireRegular();
    double const i = 1 / scale_;
    return cc1Xform(i, i * -offset_);
  }
  // This after o.
  cc1Xform compose(cc1Xform const& o) const { return cc1Xform(scale_ * o.scale_, scale_ * o.offset_ + offset_); }
  cc1Xform operator*(cc1Xform const& o) const { return compose(o); }

  bool isIdentity() const { return scale_ == 1 && offset_ == 0; }
  bool isSingular() const { return scale_ == 0; }
  bool operator==(cc1Xform const& o) const { return scale_ == o.scale_ && offset_ == o.offset_; }
  bool operator!=(cc1Xform const& o) const { return !(*this == o); }

 private:
  void requireRegular() const {
    if (isSingular()) throw ccMathError::Singular();
  }

  double scale_ = 1;
  double offset_ = 0;
};

template <int N>
class ccXform;

template <>
class ccXform<2> {
 public:
  constexpr ccXform() = default;
  ccXform(ccMatrix<2> const& matrix, ccVector<2> const& trans) : trans_(trans), matrix_(matrix) {}
  ccXform(ccVector<2> const& trans, ccRadian xRot, ccRadian yRot, double xScale, double yScale)
      : trans_(trans), matrix_(xRot, yRot, xScale, yScale) {}
  ccXform(ccVector<2> const& trans, double scale, double aspect, ccRadian shear, ccRadian rotation)
      : trans_(trans), matrix_(scale, aspect, shear, rotation) {}
  ccXform(kmath_xformLinear const& x);
  ccXform(kx2Xform const& x);
  operator kmath_xformLinear() const;
  operator kx2Xform() const;

  ccMatrix<2> const& matrix() const { return matrix_; }
  ccVector<2> const& trans() const { return trans_; }
  void matrix(ccMatrix<2> const& m) { matrix_ = m; }
  void trans(ccVector<2> const& t) { trans_ = t; }

  ccRadian xRot() const { return matrix_.xRot(); }
  ccRadian yRot() const { return matrix_.yRot(); }
  double xScale() const { return matrix_.xScale(); }
  double yScale() const { return matrix_.yScale(); }
  double scale() const { return matrix_.scale(); }
  double aspect() const { return matrix_.aspect(); }
  ccRadian shear() const { return matrix_.shear(); }
  ccRadian rotation() const { return matrix_.rotation(); }

  bool isIdentity() const { return trans_.isNull() && matrix_.isIdentity(); }
  bool isSingular() const { return matrix_.isSingular(); }

  ccVector<2> mapPoint(ccVector<2> const& p) const {
#if defined(__GNUC__)
    // Both rows at once, column by column: the same operations in the same
    // order as matrix·p + trans, so bit for bit the same result, but the
    // compiler keeps the columns in registers across a loop of points.
    typedef double Lanes __attribute__((vector_size(16)));
    Lanes const c0 = {matrix_.element(0, 0), matrix_.element(1, 0)};
    Lanes const c1 = {matrix_.element(0, 1), matrix_.element(1, 1)};
    Lanes const t = {trans_.x(), trans_.y()};
    Lanes const r = c0 * p.x() + c1 * p.y() + t;
    return ccVector<2>(r[0], r[1]);
#else
    return matrix_ * p + trans_;
#endif
  }
  ccVector<2> operator*(ccVector<2> const& p) const { return mapPoint(p); }
  ccVector<2> mapVector(ccVector<2> const& v) const { return matrix_ * v; }
  ccVector<2> invMapPoint(ccVector<2> const& p) const { return inverse().mapPoint(p); }
  ccVector<2> invMapVector(ccVector<2> const& v) const { return matrix_.inverse() * v; }

  // This after o: matrix M1·M2, trans M1·t2 + t1.
  ccXform compose(ccXform const& o) const { return ccXform(matrix_ * o.matrix_, matrix_ * o.trans_ + trans_); }
  ccXform operator*(ccXform const& o) const { return compose(o); }
  ccXform inverse() const {
    ccMatrix<2> const inv = matrix_.inverse();
    return ccXform(inv, inv * -trans_);
  }

  double mapArea(double a) const { return a * std::fabs(matrix_.determinant()); }
  double invMapArea(double a) const {
    requireRegular();
    return a / std::fabs(matrix_.determinant());
  }
  // The direction of the image of a unit vector at angle a.
  ccRadian mapAngle(ccRadian a) const;
  ccRadian invMapAngle(ccRadian a) const;

  bool operator==(ccXform const& o) const { return matrix_ == o.matrix_ && trans_ == o.trans_; }
  bool operator!=(ccXform const& o) const { return !(*this == o); }

 private:
  void requireRegular() const {
    if (isSingular()) throw ccMathError::Singular();
  }

  ccVector<2> trans_;
  ccMatrix<2> matrix_;
};

template <>
class ccXform<3> {
 public:
  constexpr ccXform() = default;
  ccXform(ccMatrix<3> const& matrix, ccVector<3> const& trans) : trans_(trans), matrix_(matrix) {}

  ccMatrix<3> const& matrix() const { return matrix_; }
  ccVector<3> const& trans() const { return trans_; }
  void matrix(ccMatrix<3> const& m) { matrix_ = m; }
  void trans(ccVector<3> const& t) { trans_ = t; }

  double xScale() const { return matrix_.xScale(); }
  double yScale() const { return matrix_.yScale(); }
  double zScale() const { return matrix_.zScale(); }
  bool isIdentity() const { return trans_.isNull() && matrix_.isIdentity(); }
  bool isSingular() const { return matrix_.isSingular(); }

  ccVector<3> mapPoint(ccVector<3> const& p) const { return matrix_ * p + trans_; }
  ccVector<3> operator*(ccVector<3> const& p) const { return mapPoint(p); }
  ccVector<3> mapVector(ccVector<3> const& v) const { return matrix_ * v; }
  ccVector<3> invMapPoint(ccVector<3> const& p) const { return inverse().mapPoint(p); }
  ccVector<3> invMapVector(ccVector<3> const& v) const { return matrix_.inverse() * v; }

  ccXform compose(ccXform const& o) const { return ccXform(matrix_ * o.matrix_, matrix_ * o.trans_ + trans_); }
  ccXform operator*(ccXform const& o) const { return compose(o); }
  ccXform inverse() const {
    ccMatrix<3> const inv = matrix_.inverse();
    return ccXform(inv, inv * -trans_);
  }

  bool operator==(ccXform const& o) const { return matrix_ == o.matrix_ && trans_ == o.trans_; }
  bool operator!=(ccXform const& o) const { return !(*this == o); }

 private:
  ccVector<3> trans_;
  ccMatrix<3> matrix_;
};

// cc1Xform: version byte 0, scale, offset. ccXform<2>: version byte 0,
// trans and matrix in their own formats, then isIdentity() as a bool that
// a load reads and ignores. ccXform<3>: version byte 0, trans, matrix.
ccArchive& operator||(ccArchive& ar, cc1Xform& x);
ccArchive& operator||(ccArchive& ar, ccXform<2>& x);
ccArchive& operator||(ccArchive& ar, ccXform<3>& x);

inline bool cfRealEq(cc1Xform const& a, cc1Xform const& b, double tolerance) {
  return cfRealEq(a.scale(), b.scale(), tolerance) && cfRealEq(a.offset(), b.offset(), tolerance);
}
// Trans, then matrix.
inline bool cfRealEq(ccXform<2> const& a, ccXform<2> const& b, double tolerance) {
  return cfRealEq(a.trans(), b.trans(), tolerance) && cfRealEq(a.matrix(), b.matrix(), tolerance);
}
inline bool cfRealEq(ccXform<3> const& a, ccXform<3> const& b, double tolerance) {
  return cfRealEq(a.trans(), b.trans(), tolerance) && cfRealEq(a.matrix(), b.matrix(), tolerance);
}

// The kernel's single-precision transform: six floats in the order trans x,
// trans y, e00, e01, e10, e11. Neither pointer may be null.
ccXform<2> csFXformTocc2Xform(csFXform const* x);
void cc2XformTocsFXform(ccXform<2> const& x, csFXform* dest);

static_assert(std::is_trivially_copyable_v<cc1Xform> && sizeof(cc1Xform) == 16);
static_assert(std::is_trivially_copyable_v<ccXform<2>> && sizeof(ccXform<2>) == 7 * sizeof(double));
static_assert(std::is_trivially_copyable_v<ccXform<3>> && sizeof(ccXform<3>) == 13 * sizeof(double));

#endif  // ORVSTD_MATH_XFORM_H_
