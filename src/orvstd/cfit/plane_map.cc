#include "orvstd/cfit/plane_map.h"

#include <cmath>
#include <new>
#include <ostream>

#include "orvstd/archive/archive.h"
#include "orvstd/cfit/ls_fitters.h"
#include "orvstd/except/assert.h"
#include "orvstd/kernel/kmath_types.h"
#include "orvstd/kernel/kmath_xformPoly.h"
#include "orvstd/kernel/ksys_memory.h"

// Errors ---------------------------------------------------------------------------

cmErrorFamilyDefine(cc2DMap::Errors)
cmErrorDefine(cc2DMap::notValid)
void cc2DMap::notValid::message_(std::ostream& os) const { os << "Operation attempted using invalid map"; }

cmErrorFamilyDefine(cc2DLinearMap::Errors)
cmErrorDefine(cc2DLinearMap::notValidFit)
void cc2DLinearMap::notValidFit::message_(std::ostream& os) const {
  os << "A fit could not be computed with the given data.";
}

namespace {

ccXform<2> translation(ccVector<2> v) { return ccXform<2>(ccMatrix<2>(), v); }

// make() of a class without a class-level operator new.
template <class T>
ccPersistent* makeMap() {
  return new (std::nothrow) T(T::fastAndInvalid);
}

}  // namespace

// cc2DMap ----------------------------------------------------------------------------

cc2DMap::~cc2DMap() = default;

bool cc2DMap::isBad(double v) { return std::isnan(v) || v == HUGE_VAL; }

void cc2DMap::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2DMap), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void cc2DMap::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/cfit/2dmap", __LINE__);
  ccPersistent::dispatchSerialize(ar);
}

// cc2DLinearMap -------------------------------------------------------------------------

cc2DLinearMap::cc2DLinearMap(ccXform<2> const& x) : xform_(x), valid_(xformIsValid(x) != 0) {}

cc2DLinearMap::cc2DLinearMap(ccXform<2> const& x, ceFastAndInvalid) : xform_(x), valid_(true) {}

cc2DLinearMap::cc2DLinearMap(cc2DLinearMap const& map, ccVector<2> trans)
    : ccPersistent(), ccRepBase(), cc2DMap(map), xform_(map.xform_.matrix(), trans), valid_(map.valid_) {}

cc2DLinearMap::cc2DLinearMap(std::vector<ccVector<2>> const& to, std::vector<ccVector<2>> const& from)
    : valid_(false) {
  if (to.size() != from.size()) throw notValidFit();
  try {
    xform_ = ccLSPointToPointFitter(from, to).fit(6);
  } catch (ccException const&) {
    throw notValidFit();
  }
  valid_ = xformIsValid(xform_) != 0;
}

cc2DLinearMap::cc2DLinearMap(cc2DLinearMap const& other)
    : ccPersistent(), ccRepBase(), cc2DMap(other), xform_(other.xform_), valid_(other.valid_) {}

cc2DLinearMap& cc2DLinearMap::operator=(cc2DLinearMap const& other) {
  cc2DMap::operator=(other);
  xform_ = other.xform_;
  valid_ = other.valid_;
  return *this;
}

cc2DLinearMap::~cc2DLinearMap() = default;

void cc2DLinearMap::requireValid_() const {
  if (!valid_) throw cc2DMap::notValid();
}

int cc2DLinearMap::xformIsValid(ccXform<2> const& x) {
  ccMatrix<2> const& m = x.matrix();
  double largest = 0;
  for (int r = 0; r < 2; ++r)
    for (int c = 0; c < 2; ++c) {
      if (isBad(m.element(r, c))) return 0;
      largest = std::fmax(largest, std::fabs(m.element(r, c)));
    }
  if (isBad(x.trans())) return 0;
  if (x.isSingular()) return 0;
  // The last test of the original form: its limit is minus infinity, so it
  // never rejects; it stays as it has always been.
  double const limit = 2 * largest * (-0.0 - HUGE_VAL);
  if (limit > std::fabs(m.determinant())) return 0;
  return 1;
}

cc2DLinearMap::operator ccXform<2>() const {
  requireValid_();
  return xform_;
}

cc2DLinearMap cc2DLinearMap::inverse() const {
  requireValid_();
  return cc2DLinearMap(xform_.inverse(), fastAndInvalid);
}

cc2DLinearMap cc2DLinearMap::operator*(cc2DLinearMap const& o) const {
  requireValid_();
  o.requireValid_();
  return cc2DLinearMap(xform_ * o.xform_, fastAndInvalid);
}

void cc2DLinearMap::transform(ccVector<2> in, ccVector<2>& out) const {
  requireValid_();
  out = xform_.mapPoint(in);
}

cc2DMap* cc2DLinearMap::preCompose(cc2DLinearMap const& m) const { return new (std::nothrow) cc2DLinearMap(m * *this); }

cc2DMap* cc2DLinearMap::postCompose(cc2DLinearMap const& m) const {
  return new (std::nothrow) cc2DLinearMap(*this * m);
}

cc2DMap* cc2DLinearMap::preCompose(ccVector<2> v) const {
  requireValid_();
  if (isBad(v)) throw cc2DMap::notValid();
  return new (std::nothrow) cc2DLinearMap(*this, xform_.trans() + v);
}

cc2DMap* cc2DLinearMap::postCompose(ccVector<2> v) const {
  requireValid_();
  if (isBad(v)) throw cc2DMap::notValid();
  return new (std::nothrow) cc2DLinearMap(*this, xform_.mapPoint(v));
}

void cc2DLinearMap::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2DLinearMap), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void cc2DLinearMap::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/cfit/2dmap", __LINE__);
  cc2DMap::dispatchSerialize(ar);
  ar || valid_;
  ar || xform_;
}

ccPersistent* cc2DLinearMap::make() { return makeMap<cc2DLinearMap>(); }
cc_Instantiator const cc2DLinearMap::instantiator_{typeid(cc2DLinearMap), &cc2DLinearMap::make};

// cc2DPolynomialMap ----------------------------------------------------------------------

cc2DPolynomialMap::cc2DPolynomialMap() = default;

// Initialised all the same: an invalid map must still store and copy safely.
cc2DPolynomialMap::cc2DPolynomialMap(ceFastAndInvalid) {}

cc2DPolynomialMap::cc2DPolynomialMap(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b,
                                     int order) {
  if (a.size() != b.size()) return;
  if (order < 1 || order > kmath_xformPolyMaxOrder) return;
  order_ = order;
  if (a.size() < static_cast<std::size_t>(kmath_xformPolyTermCount(order))) return;
  if (a.size() > 0x7FFFFFFF) return;
  std::vector<kmath_vect> from(a.begin(), a.end()), to(b.begin(), b.end());
  double* fitted = nullptr;
  c_Int32 count = 0;
  c_Int32 const rc = kmath_xformPolyFit_(from.data(), to.data(), static_cast<c_Int32>(from.size()), order, &fitted,
                                         &count);
  if (rc == kmath_noFit) return;
  cfThrowExceptionOnFailure(rc);
  cmAssert(count <= kMaxCoefficients);
  std::copy(fitted, fitted + count, coefficients_);
  ksys_memory_free_internal(fitted);
  valid_ = 1;
}

cc2DPolynomialMap::cc2DPolynomialMap(cc2DPolynomialMap const& other)
    : ccPersistent(),
      ccRepBase(),
      cc2DMap(other),
      order_(other.order_),
      valid_(other.valid_),
      hasFirst_(other.hasFirst_),
      hasLast_(other.hasLast_),
      first_(other.first_),
      last_(other.last_) {
  std::copy(other.coefficients_, other.coefficients_ + kMaxCoefficients, coefficients_);
}

cc2DPolynomialMap& cc2DPolynomialMap::operator=(cc2DPolynomialMap const& other) {
  cc2DMap::operator=(other);
  order_ = other.order_;
  valid_ = other.valid_;
  hasFirst_ = other.hasFirst_;
  hasLast_ = other.hasLast_;
  std::copy(other.coefficients_, other.coefficients_ + kMaxCoefficients, coefficients_);
  first_ = other.first_;
  last_ = other.last_;
  return *this;
}

cc2DPolynomialMap::~cc2DPolynomialMap() = default;

void cc2DPolynomialMap::requireValid_() const {
  if (!valid_) throw cc2DMap::notValid();
}

int cc2DPolynomialMap::essentiallyEqual(cc2DPolynomialMap const& other, double tolerance) const {
  if (!valid_ || !other.valid_) return 0;
  if (order_ != other.order_ || hasFirst_ != other.hasFirst_ || hasLast_ != other.hasLast_) return 0;
  c_Int32 const used = kmath_xformPolySize(order_);
  for (c_Int32 i = 0; i < used; ++i)
    if (!(std::fabs(coefficients_[i] - other.coefficients_[i]) <= tolerance)) return 0;
  if (hasFirst_ && first_ != other.first_) return 0;
  if (hasLast_ && last_ != other.last_) return 0;
  return 1;
}

ccRadian cc2DPolynomialMap::xRotAtOrigin() const { return ccRadian(std::atan2(coefficients_[3], coefficients_[2])); }

void cc2DPolynomialMap::transform(ccVector<2> in, ccVector<2>& out) const {
  requireValid_();
  ccVector<2> p = hasFirst_ ? first_.mapPoint(in) : in;
  kmath_vect q{};
  cfThrowExceptionOnFailure(kmath_xformPolyMapPoint_(coefficients_, order_, p, &q));
  p = q;
  out = hasLast_ ? last_.mapPoint(p) : p;
}

cc2DMap* cc2DPolynomialMap::withFirst_(ccXform<2> const& x) const {
  auto* copy = new (std::nothrow) cc2DPolynomialMap(*this);
  if (copy == nullptr) return nullptr;
  copy->first_ = hasFirst_ ? first_ * x : x;
  copy->hasFirst_ = 1;
  return copy;
}

cc2DMap* cc2DPolynomialMap::withLast_(ccXform<2> const& x) const {
  auto* copy = new (std::nothrow) cc2DPolynomialMap(*this);
  if (copy == nullptr) return nullptr;
  copy->last_ = hasLast_ ? x * last_ : x;
  copy->hasLast_ = 1;
  return copy;
}

cc2DMap* cc2DPolynomialMap::postCompose(ccVector<2> v) const {
  requireValid_();
  if (isBad(v)) throw cc2DMap::notValid();
  return withFirst_(translation(v));
}

cc2DMap* cc2DPolynomialMap::preCompose(ccVector<2> v) const {
  requireValid_();
  if (isBad(v)) throw cc2DMap::notValid();
  return withLast_(translation(v));
}

cc2DMap* cc2DPolynomialMap::postCompose(cc2DLinearMap const& m) const {
  requireValid_();
  return withFirst_(ccXform<2>(m));  // notValid from an invalid m
}

cc2DMap* cc2DPolynomialMap::preCompose(cc2DLinearMap const& m) const {
  requireValid_();
  return withLast_(ccXform<2>(m));
}

void cc2DPolynomialMap::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2DPolynomialMap), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void cc2DPolynomialMap::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/cfit/2dmap", __LINE__);
  cc2DMap::dispatchSerialize(ar);
  // Loaded into locals and checked before any lands here: an order from a
  // file decides how many doubles follow.
  c_Int32 valid = valid_, order = order_, hasFirst = hasFirst_, hasLast = hasLast_;
  ccXform<2> first = first_, last = last_;
  ar || valid || order;
  if (order < 1 || order > kmath_xformPolyMaxOrder) throw ccArchive::BadContent("std/cfit/2dmap", __LINE__);
  ar || hasFirst;
  ar || first;
  ar || hasLast;
  ar || last;
  double coefficients[kMaxCoefficients] = {};
  if (ar.isStoring()) std::copy(coefficients_, coefficients_ + kMaxCoefficients, coefficients);
  c_Int32 const used = kmath_xformPolySize(order);
  for (c_Int32 i = 0; i < used; ++i) ar || coefficients[i];
  if (ar.isStoring()) return;
  mutating();
  valid_ = valid;
  order_ = order;
  hasFirst_ = hasFirst;
  hasLast_ = hasLast;
  first_ = first;
  last_ = last;
  std::copy(coefficients, coefficients + kMaxCoefficients, coefficients_);
}

ccPersistent* cc2DPolynomialMap::make() { return makeMap<cc2DPolynomialMap>(); }
cc_Instantiator const cc2DPolynomialMap::instantiator_{typeid(cc2DPolynomialMap), &cc2DPolynomialMap::make};
