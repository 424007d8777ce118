#include "orvstd/math/xform_base.h"

#include <new>
#include <string>

#include "orvstd/archive/archive.h"
#include "orvstd/except/assert.h"
#include "orvstd/math/storage_pool.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/math/xform_poly.h"

// cc2XformBase -----------------------------------------------------------------

cc2XformBase::~cc2XformBase() = default;

cc2XformBasePtrh cc2XformBase::composeBase(cc2XformBase const& right) const {
  return new cc2XformComposed(*this, right, true, true);
}

void cc2XformBase::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2XformBase), 0, [&](unsigned char v) { cc2XformBase::serialize_(ar, v); });
}

void cc2XformBase::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/math/xfbase", __LINE__);
  ccPersistent::dispatchSerialize(ar);
}

// cc2XformLinear ---------------------------------------------------------------

namespace {

// Made at first use and never destroyed: bodies held by statics may be freed
// after any other static has gone. At exit the pool is told to free its
// blocks once the last body is back.
ccStoragePool& linearPool() {
  static auto* pool = new ccStoragePool(sizeof(cc2XformLinear), 256, std::string("LEAK") + "cc2XformLinear");
  return *pool;
}

struct LinearPoolAtExit {
  LinearPoolAtExit() { linearPool(); }
  ~LinearPoolAtExit() {
    linearPool().autoDelete(true);
    linearPool().maybeDelete();
  }
  LinearPoolAtExit(LinearPoolAtExit const&) = delete;
  LinearPoolAtExit& operator=(LinearPoolAtExit const&) = delete;
};
LinearPoolAtExit const linearPoolAtExit;

}  // namespace

ccStoragePool& cc2XformLinear::storagePool() { return linearPool(); }

void* cc2XformLinear::operator new(std::size_t size) {
  cmAssert(size == sizeof(cc2XformLinear));
  return linearPool().alloc(size);
}

void cc2XformLinear::operator delete(void* p) { linearPool().free(p); }

void* cc2XformLinear::operator new(std::size_t size, char const*, int) { return operator new(size); }

void cc2XformLinear::operator delete(void* p, char const*, int) { operator delete(p); }

cc2XformLinear::~cc2XformLinear() = default;

cc2XformLinear cc2XformLinear::linearXform(ccVector<2> const&) const { return *this; }

cc2XformBasePtrh cc2XformLinear::composeBase(cc2XformBase const& right) const {
  if (right.isLinear()) return new cc2XformLinear(xform_ * right.linearXform(ccVector<2>(0, 0)).xform_);
  if (auto const* poly = dynamic_cast<cc2XformPoly const*>(&right)) {
    auto* absorbed = new cc2XformPoly(*poly);
    cc2XformBasePtrh result(absorbed);
    absorbed->leftCompose_(*this);
    return result;
  }
  return cc2XformBase::composeBase(right);
}

cc2XformBasePtrh cc2XformLinear::inverseBase() const { return new cc2XformLinear(inverse()); }

cc2XformBasePtrh cc2XformLinear::clone() const { return new cc2XformLinear(*this); }

void cc2XformLinear::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2XformLinear), 0, [&](unsigned char v) { cc2XformLinear::serialize_(ar, v); });
}

void cc2XformLinear::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/math/xflinear", __LINE__);
  cc2XformBase::dispatchSerialize(ar);
  ccVector<2> t = trans();
  ccMatrix<2> m = matrix();
  ar || t;
  ar || m;
  if (ar.isLoading()) xform_ = ccXform<2>(m, t);
}

ccPersistent* cc2XformLinear::make() { return cf_MakeOrNull<cc2XformLinear>(); }

cc_Instantiator const cc2XformLinear::instantiator_{typeid(cc2XformLinear), &cc2XformLinear::make};
