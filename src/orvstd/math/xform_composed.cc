#include "orvstd/math/xform_composed.h"

#include <algorithm>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent_handle.h"
#include "orvstd/except/assert.h"

namespace {

// The compositions this thread is loading, outermost first. An element that
// refers back to one of them would make a ring of handles that never frees
// and maps forever; such an archive is refused before a handle is taken.
thread_local std::vector<cc2XformComposed const*> loadingNow;

struct LoadingScope {
  explicit LoadingScope(cc2XformComposed const* c) { loadingNow.push_back(c); }
  ~LoadingScope() { loadingNow.pop_back(); }
  LoadingScope(LoadingScope const&) = delete;
  LoadingScope& operator=(LoadingScope const&) = delete;
};

void appendFlat(std::vector<cc2XformBasePtrh_const> const& xforms, std::vector<cc2XformBasePtrh_const>& out) {
  for (auto const& x : xforms) {
    if (auto const* nested = dynamic_cast<cc2XformComposed const*>(x.get()))
      appendFlat(nested->elements(), out);
    else
      out.push_back(x);
  }
}

// A loaded element count costs no memory until its elements are read.
constexpr c_UInt32 kReserveLimit = 1024;

}  // namespace

cc2XformComposed::cc2XformComposed() { xforms_.emplace_back(new cc2XformLinear); }

cc2XformComposed::cc2XformComposed(cc2XformBase const& x, bool cloneIt) { xforms_.push_back(take_(x, cloneIt)); }

cc2XformComposed::cc2XformComposed(cc2XformBase const& left, cc2XformBase const& right, bool cloneLeft,
                                   bool cloneRight) {
  xforms_.push_back(take_(left, cloneLeft));
  xforms_.push_back(take_(right, cloneRight));
}

cc2XformComposed::cc2XformComposed(cc2XformComposed const& other)
    : ccPersistent(other), ccRepBase(other), cc2XformBase(other), xforms_(other.xforms_) {}

cc2XformComposed& cc2XformComposed::operator=(cc2XformComposed const& other) {
  cc2XformBase::operator=(other);
  xforms_ = other.xforms_;
  return *this;
}

cc2XformComposed::~cc2XformComposed() = default;

cc2XformBasePtrh_const cc2XformComposed::take_(cc2XformBase const& x, bool cloneIt) {
  if (cloneIt) return x.clone();
  return cc2XformBasePtrh_const(&x);
}

void cc2XformComposed::preCompose(cc2XformBase const& x, bool cloneIt) {
  mutating();
  xforms_.insert(xforms_.begin(), take_(x, cloneIt));
}

void cc2XformComposed::postCompose(cc2XformBase const& x, bool cloneIt) {
  mutating();
  xforms_.push_back(take_(x, cloneIt));
}

void cc2XformComposed::invert() {
  mutating();
  // Inverses first, so that a singular element leaves this unchanged.
  std::vector<cc2XformBasePtrh_const> inverted;
  inverted.reserve(xforms_.size());
  for (auto it = xforms_.rbegin(); it != xforms_.rend(); ++it) inverted.emplace_back((*it)->inverseBase());
  xforms_.swap(inverted);
}

void cc2XformComposed::decompose(std::vector<cc2XformBasePtrh_const>& out) const {
  out.clear();
  appendFlat(xforms_, out);
}

ccVector<2> cc2XformComposed::mapPoint(ccVector<2> const& p) const {
  cmAssert(!xforms_.empty());
  ccVector<2> q = p;
  for (auto it = xforms_.rbegin(); it != xforms_.rend(); ++it) q = (*it)->mapPoint(q);
  return q;
}

bool cc2XformComposed::isLinear() const {
  cmAssert(!xforms_.empty());
  return std::all_of(xforms_.begin(), xforms_.end(), [](auto const& x) { return x->isLinear(); });
}

cc2XformLinear cc2XformComposed::linearXform(ccVector<2> const& at) const {
  ccXform<2> l;
  ccVector<2> q = at;
  for (auto it = xforms_.rbegin(); it != xforms_.rend(); ++it) {
    cc2XformLinear const li = (*it)->linearXform(q);
    q = li.mapPoint(q);
    l = li.xform() * l;
  }
  return l;
}

cc2XformBasePtrh cc2XformComposed::composeBase(cc2XformBase const& right) const {
  auto* c = new cc2XformComposed(*this);
  cc2XformBasePtrh result(c);
  c->postCompose(right, true);
  return result;
}

cc2XformBasePtrh cc2XformComposed::inverseBase() const {
  auto* c = new cc2XformComposed(*this);
  cc2XformBasePtrh result(c);
  c->invert();
  return result;
}

cc2XformBasePtrh cc2XformComposed::clone() const { return new cc2XformComposed(*this); }

void cc2XformComposed::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2XformComposed), 0,
                     [&](unsigned char v) { cc2XformComposed::serialize_(ar, v); });
}

void cc2XformComposed::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/math/xfcomp", __LINE__);
  cc2XformBase::dispatchSerialize(ar);
  unsigned char vectorVersion = 0;
  ar || vectorVersion;
  if (vectorVersion != 0) throw ccArchive::UnknownVersion();
  if (ar.isLoading()) {
    loadElements_(ar);
    return;
  }
  auto count = static_cast<c_UInt32>(xforms_.size());
  ar || count;
  for (auto& x : xforms_) ar || x;
}

void cc2XformComposed::loadElements_(ccArchive& ar) {
  c_UInt32 count = 0;
  ar || count;
  if (count == 0) throw ccArchive::BadContent("std/math/xfcomp", __LINE__);
  mutating();
  LoadingScope const scope(this);
  // Elements go straight into this object: on a failure half way, the
  // elements already loaded stay with it (and so alive for the archive that
  // knows them) until the archive deletes the failed object.
  xforms_.clear();
  xforms_.reserve(std::min(count, kReserveLimit));
  try {
    for (c_UInt32 i = 0; i < count; ++i) {
      ccPersistent* out = nullptr;
      ccPersistent::serializePointer(ar, nullptr, out);
      if (out == nullptr) throw ccArchive::BadContent("std/math/xfcomp", __LINE__);
      auto* x = dynamic_cast<cc2XformBase*>(out);
      if (x == nullptr) cf_PointerOfWrongClass(ar, out);
      if (std::find(loadingNow.begin(), loadingNow.end(), x) != loadingNow.end())
        throw ccArchive::BadContent("std/math/xfcomp", __LINE__);
      xforms_.emplace_back(x);
    }
  } catch (...) {
    if (xforms_.empty()) xforms_.emplace_back(new cc2XformLinear);  // never empty
    throw;
  }
}

ccPersistent* cc2XformComposed::make() { return cf_MakeOrNull<cc2XformComposed>(); }

cc_Instantiator const cc2XformComposed::instantiator_{typeid(cc2XformComposed), &cc2XformComposed::make};
