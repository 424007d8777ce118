#include "orvstd/math/xform_cache.h"

#include <algorithm>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent_handle.h"
#include "orvstd/except/assert.h"
#include "orvstd/kernel/kstd.h"

namespace {

// One identity shared by every identity cache; never destroyed, since
// caches held by statics may go after it would.
cc2XformBasePtrh_const const& sharedIdentity() {
  static auto const* identity = new cc2XformBasePtrh_const(new cc2XformLinear);
  return *identity;
}

// The pel layer's "nonlinear transform" failure. The cache throws it through
// failure conversion, so that this layer needs no image header.
[[noreturn]] void throwNonlinear() {
  cfThrowExceptionOnFailure(kstd_failureCode(30, 10));
  cfAssertFailed(__FILE__, __LINE__);  // a negative code always throws
}

cc2XformBasePtrh_const take(cc2XformBasePtrh_const const& x, bool cloneIt) {
  cmAssert(x);
  if (cloneIt) return x->clone();
  return x;
}

// Reads `size` bytes in slices, so that a hostile length costs no more
// memory than the stream really holds.
std::vector<char> readRaw(ccArchive& ar, c_Int32 size) {
  constexpr c_Int32 kSlice = 64 * 1024;
  std::vector<char> bytes;
  while (static_cast<c_Int32>(bytes.size()) < size) {
    c_Int32 const n = std::min(kSlice, size - static_cast<c_Int32>(bytes.size()));
    std::size_t const at = bytes.size();
    bytes.resize(at + static_cast<std::size_t>(n));
    ar.raw(bytes.data() + at, n);
  }
  return bytes;
}

}  // namespace

cc2XformCache::cc2XformCache() : xform_(sharedIdentity()), inverse_(sharedIdentity()) {}

cc2XformCache::~cc2XformCache() = default;

void cc2XformCache::xform(cc2XformBasePtrh_const const& x, bool cloneIt) {
  xform_ = take(x, cloneIt);
  inverse_ = nullptr;
  maybeCacheLinearXform_();
}

void cc2XformCache::xform(cc2XformBase const& x) {
  xform_ = x.clone();
  inverse_ = nullptr;
  maybeCacheLinearXform_();
}

cc2XformBasePtrh_const const& cc2XformCache::xformInverse() const {
  cmAssert(xform_);
  if (!inverse_) inverse_ = xform_->inverseBase();
  return inverse_;
}

void cc2XformCache::xformInverse(cc2XformBasePtrh_const const& inverse, bool cloneIt) {
  cmAssert(inverse);
  cc2XformBasePtrh_const forward = inverse->inverseBase();
  inverse_ = take(inverse, cloneIt);
  xform_ = forward;
  maybeCacheLinearXform_();
}

void cc2XformCache::xformInverse(cc2XformBase const& inverse) {
  cc2XformBasePtrh_const forward = inverse.inverseBase();
  inverse_ = inverse.clone();
  xform_ = forward;
  maybeCacheLinearXform_();
}

void cc2XformCache::xformAndXformInverse(cc2XformBasePtrh_const const& x, cc2XformBasePtrh_const const& inverse) {
  xform_ = x;
  inverse_ = inverse;
  maybeCacheLinearXform_();
}

cc2XformLinear const& cc2XformCache::linearXform() const {
  if (!isLinear_) throwNonlinear();
  return linear_;
}

cc2XformLinear cc2XformCache::linearXformInverse() const {
  if (!isLinear_) throwNonlinear();
  return linear_.inverse();
}

void cc2XformCache::setIdentity() { *this = cc2XformCache(); }

ccPtrHandle<cc2XformCache> cc2XformCache::clone() const {
  auto* c = new cc2XformCache(*this);
  ccPtrHandle<cc2XformCache> result(c);
  if (xform_) c->xform_ = xform_->clone();
  if (inverse_) c->inverse_ = inverse_->clone();
  return result;
}

void cc2XformCache::maybeCacheLinearXform_() {
  isLinear_ = xform_->isLinear();
  if (isLinear_) linear_ = xform_->linearXform(ccVector<2>(0, 0));
}

void cc2XformCache::cf_serialize(ccArchive& ar, bool throughMemory) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/xfcache", __LINE__);
  if (!throughMemory) {
    ar || xform_;
    ar || inverse_;
    if (ar.isLoading() && !xform_) throw ccArchive::BadContent("std/math/xfcache", __LINE__);
  } else if (ar.isStoring()) {
    ccMemoryArchive inner(ccArchive::eLsbFirst, false);
    cc2XformBasePtrh_const x = xform_, inverse = inverse_;
    inner || x;
    inner || inverse;
    auto size = static_cast<c_Int32>(inner.size());
    ar || size;
    ar.raw(const_cast<char*>(inner.storage()), size);
  } else {
    c_Int32 size = 0;
    ar || size;
    if (size < 0) throw ccArchive::BadContent("std/math/xfcache", __LINE__);
    std::vector<char> const bytes = readRaw(ar, size);
    ccMemoryArchive inner(bytes.data(), size, false, false);
    cc2XformBasePtrh_const x = xform_, inverse = inverse_;
    inner || x;
    inner || inverse;
  }
  ar || isLinear_;
  ar || linear_;
}

ccArchive& operator||(ccArchive& ar, cc2XformCache& cache) {
  cache.cf_serialize(ar, false);
  return ar;
}
