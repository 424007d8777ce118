#include "orvstd/math/xform_poly.h"

#include <algorithm>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/cfit/plane_map.h"
#include "orvstd/except/assert.h"
#include "orvstd/kernel/kmath_types.h"
#include "orvstd/kernel/kmath_xformPoly.h"

cmErrorDefine(cc2XformPoly::BadParams)
cmErrorDefine(cc2XformPoly::IllDefined)

namespace {

constexpr char kSource[] = "std/math/xfpoly";

// The tangent map of a coefficient array; kernel failures become typed.
ccXform<2> tangent(double const* coefficients, int order, ccVector<2> at, double const* xDerivs,
                   double const* yDerivs) {
  kmath_xformLinear l{};
  cfThrowExceptionOnFailure(kmath_xformPolyLinearXform_(coefficients, order, at, xDerivs, yDerivs, &l));
  return ccXform<2>(l);
}

std::vector<double> coefficientsOf(cc2DPolynomialMap const& map) {
  return std::vector<double>(map.coefficients(), map.coefficients() + kmath_xformPolySize(map.order()));
}

// A vector of doubles as the archive has it: version byte 0, a 32-bit
// count, the values. A hostile count costs no memory the stream does not
// hold: values are read one by one.
void serializeDoubles(ccArchive& ar, std::vector<double>& v) {
  unsigned char version = 0;
  ar || version;
  if (version != 0) throw ccArchive::UnknownVersion();
  auto count = static_cast<c_UInt32>(v.size());
  ar || count;
  if (ar.isStoring()) {
    for (double& d : v) ar || d;
    return;
  }
  std::vector<double> loaded;
  loaded.reserve(std::min<c_UInt32>(count, 1024));
  for (c_UInt32 i = 0; i < count; ++i) {
    double d = 0;
    ar || d;
    loaded.push_back(d);
  }
  v.swap(loaded);
}

}  // namespace

cc2XformPoly::cc2XformPoly() = default;

cc2XformPoly::cc2XformPoly(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b, int order) {
  if (order < 1) throw BadParams();
  if (order > kmath_xformPolyMaxOrder) throw cc2XformDefs::NotImplemented();
  if (a.size() != b.size()) throw BadParams();
  if (a.size() < static_cast<std::size_t>(kmath_xformPolyTermCount(order))) throw BadParams();
  cc2DPolynomialMap const forward(b, a, order);
  if (!forward.isValid()) throw IllDefined();
  if (order == 1) {
    // The second direction is not fitted at all: the inverse of pre serves.
    pre_ = tangent(forward.coefficients(), 1, ccVector<2>(0, 0), nullptr, nullptr);
    return;
  }
  cc2DPolynomialMap const inverse(a, b, order);
  if (!inverse.isValid()) throw IllDefined();
  maxOrder_ = order;
  init_(coefficientsOf(forward), coefficientsOf(inverse));
}

cc2XformPoly::cc2XformPoly(cc2XformPoly const& other)
    : ccPersistent(other),
      ccRepBase(other),
      cc2XformBase(other),
      order_(other.order_),
      maxOrder_(other.maxOrder_),
      block_(other.block_),
      inverseStart_(other.inverseStart_),
      xDerivStart_(other.xDerivStart_),
      yDerivStart_(other.yDerivStart_),
      hasPre_(other.hasPre_),
      pre_(other.pre_),
      hasPost_(other.hasPost_),
      post_(other.post_) {}

cc2XformPoly& cc2XformPoly::operator=(cc2XformPoly const& other) {
  cc2XformBase::operator=(other);
  order_ = other.order_;
  maxOrder_ = other.maxOrder_;
  block_ = other.block_;
  inverseStart_ = other.inverseStart_;
  xDerivStart_ = other.xDerivStart_;
  yDerivStart_ = other.yDerivStart_;
  hasPre_ = other.hasPre_;
  pre_ = other.pre_;
  hasPost_ = other.hasPost_;
  post_ = other.post_;
  return *this;
}

cc2XformPoly::~cc2XformPoly() = default;

void cc2XformPoly::init_(std::vector<double> forward, std::vector<double> inverse) {
  cmAssert(maxOrder_ >= 1 && maxOrder_ <= kmath_xformPolyMaxOrder);
  mutating();
  // Arrays laid out for a lower degree are a prefix of the full layout.
  auto const full = static_cast<std::size_t>(kmath_xformPolySize(maxOrder_));
  cmAssert(forward.size() <= full && inverse.size() <= full);
  forward.resize(full, 0.0);
  inverse.resize(full, 0.0);
  c_Int32 const forwardOrder = kmath_xformPolyMinOrder_(forward.data(), maxOrder_);
  c_Int32 const inverseOrder = kmath_xformPolyMinOrder_(inverse.data(), maxOrder_);
  cfThrowExceptionOnFailure(forwardOrder);
  cfThrowExceptionOnFailure(inverseOrder);
  order_ = std::max(forwardOrder, inverseOrder);
  if (order_ != 1) {
    c_Int32 const n = kmath_xformPolySize(order_), m = kmath_xformPolySize(order_ - 1);
    inverseStart_ = n;
    xDerivStart_ = 2 * n;
    yDerivStart_ = 2 * n + m;
    block_.assign(static_cast<std::size_t>(2 * n + 2 * m), 0.0);
    std::copy(forward.begin(), forward.begin() + n, block_.begin());
    std::copy(inverse.begin(), inverse.begin() + n, block_.begin() + n);
    cfThrowExceptionOnFailure(
        kmath_xformPolyDerivs_(block_.data(), order_, block_.data() + xDerivStart_, block_.data() + yDerivStart_));
    return;
  }
  // Degree 1: the whole map becomes pre.
  cc2XformLinear const l = tangent(forward.data(), 1, ccVector<2>(0, 0), nullptr, nullptr);
  pre_ = hasPre_ ? l * pre_ : l;
  if (hasPost_) pre_ = post_ * pre_;
  hasPre_ = false;
  hasPost_ = false;
  post_ = cc2XformLinear();
  block_.clear();
  inverseStart_ = xDerivStart_ = yDerivStart_ = -1;
}

std::vector<double> cc2XformPoly::forward_() const {
  return std::vector<double>(block_.begin(), block_.begin() + inverseStart_);
}

std::vector<double> cc2XformPoly::inverse_() const {
  return std::vector<double>(block_.begin() + inverseStart_, block_.begin() + 2 * inverseStart_);
}

ccVector<2> cc2XformPoly::mapPoint(ccVector<2> const& p) const {
  if (order_ == 1) return pre_.mapPoint(p);
  ccVector<2> const q = hasPre_ ? pre_.mapPoint(p) : p;
  kmath_vect r{};
  if (c_Int32 const rc = kmath_xformPolyMapPoint_(block_.data(), order_, q, &r); rc < 0) cfThrowExceptionOnFailure(rc);
  return hasPost_ ? post_.mapPoint(r) : ccVector<2>(r);
}

cc2XformLinear cc2XformPoly::linearXform(ccVector<2> const& at) const {
  if (order_ == 1) return pre_;
  ccVector<2> const q = hasPre_ ? pre_.mapPoint(at) : at;
  ccXform<2> j =
      tangent(block_.data(), order_, q, block_.data() + xDerivStart_, block_.data() + yDerivStart_);
  if (hasPost_) j = post_.xform() * j;
  if (hasPre_) j = j * pre_.xform();
  return j;
}

cc2XformBasePtrh cc2XformPoly::composeBase(cc2XformBase const& right) const {
  if (order_ == 1) return pre_.composeBase(right);
  if (right.isLinear()) {
    auto* copy = new cc2XformPoly(*this);
    cc2XformBasePtrh result(copy);
    copy->rightCompose_(right.linearXform(ccVector<2>(0, 0)));
    return result;
  }
  return cc2XformBase::composeBase(right);
}

void cc2XformPoly::leftCompose_(cc2XformLinear const& l) {
  mutating();
  if (order_ == 1) {
    pre_ = l * pre_;
  } else if (!hasPost_) {
    post_ = l;
    hasPost_ = true;
  } else {
    post_ = l * post_;
  }
}

void cc2XformPoly::rightCompose_(cc2XformLinear const& l) {
  mutating();
  if (order_ != 1 && !hasPre_) {
    pre_ = l;
    hasPre_ = true;
  } else {
    pre_ = pre_ * l;
  }
}

cc2XformBasePtrh cc2XformPoly::inverseBase() const {
  if (order_ == 1) return new cc2XformLinear(pre_.inverse());
  auto* inv = new cc2XformPoly(*this);
  cc2XformBasePtrh result(inv);
  inv->hasPre_ = hasPost_;
  inv->pre_ = post_.inverse();
  inv->hasPost_ = hasPre_;
  inv->post_ = pre_.inverse();
  inv->init_(inverse_(), forward_());
  return result;
}

cc2XformBasePtrh cc2XformPoly::clone() const { return new cc2XformPoly(*this); }

cc2XformPoly cf_2XformPolyConvert(cc2DPolynomialMap const& forward, cc2DPolynomialMap const& inverse) {
  cmAssert(forward.order() == inverse.order());
  if (!forward.isValid() || !inverse.isValid()) throw cc2XformPoly::IllDefined();
  cc2XformPoly x;
  x.order_ = x.maxOrder_ = forward.order();
  x.hasPre_ = forward.hasFirstXform();
  x.pre_ = forward.firstXform();
  x.hasPost_ = forward.hasLastXform();
  x.post_ = forward.lastXform();
  x.init_(coefficientsOf(forward), coefficientsOf(inverse));
  return x;
}

// Persistence -----------------------------------------------------------------------

void cc2XformPoly::checkLayout_() const {
  bool ok = order_ >= 1 && order_ <= maxOrder_ && maxOrder_ <= kmath_xformPolyMaxOrder;
  if (ok && order_ == 1) {
    ok = block_.empty() && inverseStart_ == -1 && xDerivStart_ == -1 && yDerivStart_ == -1;
  } else if (ok) {
    c_Int32 const n = kmath_xformPolySize(order_), m = kmath_xformPolySize(order_ - 1);
    ok = block_.size() == static_cast<std::size_t>(2 * n + 2 * m) && inverseStart_ == n && xDerivStart_ == 2 * n &&
         yDerivStart_ == 2 * n + m;
  }
  if (!ok) throw ccArchive::BadContent(kSource, __LINE__);
}

void cc2XformPoly::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2XformPoly), 1, [&](unsigned char v) { cc2XformPoly::serialize_(ar, v); });
}

void cc2XformPoly::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 1, kSource, __LINE__);
  cc2XformBase::dispatchSerialize(ar);
  if (ar.isStoring()) {
    cmAssert(version == 1);  // the old form is read, never written
    c_Int32 order = order_, maxOrder = maxOrder_;
    c_Int32 inverseStart = inverseStart_, xDeriv = xDerivStart_, yDeriv = yDerivStart_;
    ar || order || maxOrder;
    serializeDoubles(ar, block_);
    ar || inverseStart || xDeriv || yDeriv;
    ar || hasPre_;
    ar || pre_;
    ar || hasPost_;
    ar || post_;
    return;
  }
  // Loaded into a scratch object and checked before it lands here: the
  // layout decides which coefficients later calls read.
  cc2XformPoly t;
  c_Int32 order = 0;
  ar || order;
  std::vector<double> forward, inverse;
  if (version == 1) {
    c_Int32 maxOrder = 0, inverseStart = 0, xDeriv = 0, yDeriv = 0;
    ar || maxOrder;
    serializeDoubles(ar, t.block_);
    ar || inverseStart || xDeriv || yDeriv;
    t.order_ = order;
    t.maxOrder_ = maxOrder;
    t.inverseStart_ = inverseStart;
    t.xDerivStart_ = xDeriv;
    t.yDerivStart_ = yDeriv;
  } else {
    if (order < 1 || order > kmath_xformPolyMaxOrder) throw ccArchive::BadContent(kSource, __LINE__);
    serializeDoubles(ar, forward);
    serializeDoubles(ar, inverse);
    auto const size = static_cast<std::size_t>(kmath_xformPolySize(order));
    if (forward.size() != size || inverse.size() != size) throw ccArchive::BadContent(kSource, __LINE__);
    t.order_ = t.maxOrder_ = order;
  }
  ar || t.hasPre_;
  ar || t.pre_;
  ar || t.hasPost_;
  ar || t.post_;
  if (version == 0)
    t.init_(forward, inverse);
  else
    t.checkLayout_();
  *this = t;
}

ccPersistent* cc2XformPoly::make() { return cf_MakeOrNull<cc2XformPoly>(); }

cc_Instantiator const cc2XformPoly::instantiator_{typeid(cc2XformPoly), &cc2XformPoly::make};
