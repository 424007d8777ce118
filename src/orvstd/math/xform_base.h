// Plane transforms as shared, persistent objects: cc2XformBase, the
// abstract transform held through handles, and cc2XformLinear, its affine
// case. Images carry a pair of these (cc2XformCache), shapes map through
// them, and compositions of them stay short: linear factors are multiplied
// out instead of chained.
//
//   cc2XformBasePtrh toImage(new cc2XformLinear(ccMatrix<2>(2, 0, 0, 2), ccVector<2>(5, 0)));
//   ccVector<2> q = *toImage * ccVector<2>(1, 1);          // (7, 2)
//   cc2XformBasePtrh both = *toImage * *other;              // other first
//   cc2XformLinear tangent = both->linearXform(q);          // local linear map at q
//   cc2XformBasePtrh back = both->inverseBase();
//
// Every handle these operations return holds a new object, never the
// receiver. A transform is not changed once handles share it.
#ifndef ORVSTD_MATH_XFORM_BASE_H_
#define ORVSTD_MATH_XFORM_BASE_H_

#include <cstddef>

#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"
#include "orvstd/handle/ptrhandle.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/math/angle.h"
#include "orvstd/math/matrix.h"
#include "orvstd/math/vector.h"
#include "orvstd/math/xform.h"

class cc2XformBase;
class cc2XformLinear;
class ccStoragePool;

using cc2XformBasePtrh = ccPtrHandle<cc2XformBase>;
using cc2XformBasePtrh_const = ccPtrHandle_const<cc2XformBase>;

class cc2XformBase : public virtual ccPersistent, public virtual ccRepBase {
 public:
  ~cc2XformBase() override;

  virtual ccVector<2> mapPoint(ccVector<2> const& p) const = 0;
  virtual bool isLinear() const = 0;
  // The local linear approximation of the map at the point `at`: it maps
  // `at` where the transform does, with the transform's derivative there.
  virtual cc2XformLinear linearXform(ccVector<2> const& at) const = 0;
  // This after `right`. The default is a composed transform of clones of
  // the two.
  virtual cc2XformBasePtrh composeBase(cc2XformBase const& right) const;
  virtual cc2XformBasePtrh inverseBase() const = 0;
  virtual cc2XformBasePtrh clone() const = 0;

  ccVector<2> operator*(ccVector<2> const& p) const { return mapPoint(p); }
  // b is applied first.
  cc2XformBasePtrh operator*(cc2XformBase const& right) const { return composeBase(right); }

 protected:
  cc2XformBase() = default;
  // Copies nothing but the bases: a copy is a new body with no owners.
  cc2XformBase(cc2XformBase const&) : ccPersistent(), ccRepBase() {}
  // The target's count stays as it is; archives forget the target.
  cc2XformBase& operator=(cc2XformBase const&) {
    mutating();
    return *this;
  }

  void dispatchSerialize(ccArchive& ar) override;
  // Derived classes chain to the base with a qualified call, never through
  // this virtual.
  virtual void serialize_(ccArchive& ar, unsigned char version);
};

class cc2XformLinear : public cc2XformBase {
 public:
  // The identity.
  cc2XformLinear() = default;
  cc2XformLinear(ccMatrix<2> const& matrix, ccVector<2> const& trans) : xform_(matrix, trans) {}
  cc2XformLinear(ccVector<2> const& trans, ccRadian xRot, ccRadian yRot, double xScale, double yScale)
      : xform_(trans, xRot, yRot, xScale, yScale) {}
  cc2XformLinear(ccVector<2> const& trans, double scale, double aspect, ccRadian shear, ccRadian rotation)
      : xform_(trans, scale, aspect, shear, rotation) {}
  cc2XformLinear(ccXform<2> const& x) : xform_(x) {}  // NOLINT: the value converts freely
  cc2XformLinear(cc2XformLinear const& other)
      : ccPersistent(other), ccRepBase(other), cc2XformBase(other), xform_(other.xform_) {}
  cc2XformLinear& operator=(cc2XformLinear const& other) {
    cc2XformBase::operator=(other);
    xform_ = other.xform_;
    return *this;
  }
  cc2XformLinear& operator=(ccXform<2> const& x) {
    mutating();
    xform_ = x;
    return *this;
  }
  ~cc2XformLinear() override;

  operator ccXform<2>() const { return xform_; }  // NOLINT
  ccXform<2> const& xform() const { return xform_; }

  ccMatrix<2> const& matrix() const { return xform_.matrix(); }
  ccVector<2> const& trans() const { return xform_.trans(); }
  void matrix(ccMatrix<2> const& m) {
    mutating();
    xform_.matrix(m);
  }
  void trans(ccVector<2> const& t) {
    mutating();
    xform_.trans(t);
  }

  ccRadian xRot() const { return xform_.xRot(); }
  ccRadian yRot() const { return xform_.yRot(); }
  double xScale() const { return xform_.xScale(); }
  double yScale() const { return xform_.yScale(); }
  double scale() const { return xform_.scale(); }
  double aspect() const { return xform_.aspect(); }
  ccRadian shear() const { return xform_.shear(); }
  ccRadian rotation() const { return xform_.rotation(); }
  bool isIdentity() const { return xform_.isIdentity(); }
  bool isSingular() const { return xform_.isSingular(); }
  ccVector<2> mapVector(ccVector<2> const& v) const { return xform_.mapVector(v); }
  ccVector<2> invMapPoint(ccVector<2> const& p) const { return xform_.invMapPoint(p); }
  ccVector<2> invMapVector(ccVector<2> const& v) const { return xform_.invMapVector(v); }
  double mapArea(double a) const { return xform_.mapArea(a); }
  double invMapArea(double a) const { return xform_.invMapArea(a); }
  ccRadian mapAngle(ccRadian a) const { return xform_.mapAngle(a); }
  ccRadian invMapAngle(ccRadian a) const { return xform_.invMapAngle(a); }
  // This after o.
  cc2XformLinear compose(cc2XformLinear const& o) const { return cc2XformLinear(xform_ * o.xform_); }
  using cc2XformBase::operator*;
  cc2XformLinear operator*(cc2XformLinear const& o) const { return compose(o); }
  // ccMathError::Singular when the matrix is singular.
  cc2XformLinear inverse() const { return cc2XformLinear(xform_.inverse()); }

  // Exact: the matrix first, then the translation.
  bool operator==(cc2XformLinear const& o) const { return matrix() == o.matrix() && trans() == o.trans(); }
  bool operator!=(cc2XformLinear const& o) const { return !(*this == o); }

  ccVector<2> mapPoint(ccVector<2> const& p) const override { return xform_.mapPoint(p); }
  bool isLinear() const override { return true; }
  cc2XformLinear linearXform(ccVector<2> const& at) const override;
  // A linear right side multiplies out; a polynomial one absorbs this as
  // its last step; anything else is composed.
  cc2XformBasePtrh composeBase(cc2XformBase const& right) const override;
  cc2XformBasePtrh inverseBase() const override;
  cc2XformBasePtrh clone() const override;

  // Bodies come from one process-wide pool ("LEAKcc2XformLinear", 256 to a
  // block), since composition chains make and drop them constantly.
  static void* operator new(std::size_t size);
  static void operator delete(void* p);
  static void* operator new(std::size_t size, char const* file, int line);
  static void operator delete(void* p, char const* file, int line);
  static ccStoragePool& storagePool();

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version) override;

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;

  ccXform<2> xform_;
};

// The translations, then the matrices.
inline bool cfRealEq(cc2XformLinear const& a, cc2XformLinear const& b, double tolerance) {
  return cfRealEq(a.xform(), b.xform(), tolerance);
}

#endif  // ORVSTD_MATH_XFORM_BASE_H_
