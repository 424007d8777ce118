#include "orvstd/math/xform_perspective.h"

#include <cmath>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/except/except.h"
#include "orvstd/kernel/kmath_xformPerspective.h"
#include "orvstd/kernel/ksys_cleanup.h"
#include "orvstd/kernel/ksys_memory.h"
#include "orvstd/math/scalar.h"
#include "orvstd/math/xform_defs.h"

namespace {

// What a construction has made so far and not yet handed over. The clean-up
// entries point here, so that the normal path can take the object before it
// runs the list.
struct Making {
  void* block = nullptr;
  kmath_xformPerspective* constructed = nullptr;
};

c_Int32 freeBlock(void* p) {
  auto* m = static_cast<Making*>(p);
  c_Int32 const rc = m->block != nullptr ? ksys_memory_free_internal(m->block) : 0;
  m->block = nullptr;
  return rc;
}

c_Int32 destructObject(void* p) {
  auto* m = static_cast<Making*>(p);
  c_Int32 const rc = m->constructed != nullptr ? kmath_xformPerspective_destruct(m->constructed) : 0;
  m->constructed = nullptr;
  return rc;
}

// A kernel perspective object: storage, then `construct` on it, each step
// entered on a clean-up list, so that a failure anywhere frees what was made.
template <class Construct>
kmath_xformPerspective* makeKernelObject(Construct&& construct) {
  Making making;
  ksys_cleanup_struct_ list;
  c_Int32 const tag = ksys_cleanup_getNextTag();
  c_Int32 status = 0;
  cc_CleanupObject const guard(&status, &list, tag);  // after the list: runs first
  cfThrowExceptionOnFailure(ksys_memory_alloc_internal(sizeof(kmath_xformPerspective), &making.block));
  if (c_Int32 const rc = ksys_cleanupPush(&list, tag, &making, &freeBlock); rc < 0) {
    freeBlock(&making);
    cfThrowExceptionOnFailure(rc);
  }
  auto* object = static_cast<kmath_xformPerspective*>(making.block);
  // A constructor that fails leaves the identity, which can be destructed.
  c_Int32 const built = construct(object);
  making.constructed = object;
  if (c_Int32 const rc = ksys_cleanupPush(&list, tag, &making, &destructObject); rc < 0) {
    destructObject(&making);
    cfThrowExceptionOnFailure(rc);
  }
  cfThrowExceptionOnFailure(built);
  // The object is the caller's now: the entries find nothing left to free.
  making = Making();
  c_Int32 code = 0;
  ksys_cleanupExecute_(&list, &status, &code, tag);
  status = -1;
  return object;
}

// The success test inline: mapping calls this once a point.
inline void check(c_Int32 rc) {
  if (rc < 0) cfThrowExceptionOnFailure(rc);
}

}  // namespace

cc2XformPerspective::cc2XformPerspective()
    : k_(makeKernelObject([](kmath_xformPerspective* k) { return kmath_xformPerspective_construct(k); })) {}

cc2XformPerspective::cc2XformPerspective(ccMatrix<3> const& h)
    : k_(makeKernelObject([&](kmath_xformPerspective* k) {
        double values[9];
        for (int i = 0; i < 9; ++i) values[i] = h.element(i / 3, i % 3);
        return kmath_xformPerspective_constructMatrix(k, values);
      })) {}

cc2XformPerspective::cc2XformPerspective(ccVector<2> const& p0, ccVector<2> const& p1, ccVector<2> const& p2,
                                         ccVector<2> const& p3)
    : k_(makeKernelObject([&](kmath_xformPerspective* k) {
        return kmath_xformPerspective_construct4Points(k, p0, p1, p2, p3);
      })) {}

namespace {

std::vector<ccVector<2>> const& checkedPoints(std::vector<ccVector<2>> const& fromPoints,
                                              std::vector<ccVector<2>> const& toPoints) {
  if (fromPoints.size() < 4)
    throw cc2XformPerspectiveDefs::BadParams("Size of fromPoints vector must be >= 4");
  if (fromPoints.size() != toPoints.size())
    throw cc2XformPerspectiveDefs::BadParams("Sizes of fromPoints vector and toPoints vector must be equal");
  if (fromPoints.size() > 0x7FFFFFFF) throw cc2XformPerspectiveDefs::BadParams("Too many points");
  return fromPoints;
}

}  // namespace

cc2XformPerspective::cc2XformPerspective(std::vector<ccVector<2>> const& fromPoints,
                                         std::vector<ccVector<2>> const& toPoints)
    : k_(makeKernelObject([&](kmath_xformPerspective* k) {
        std::vector<ccVector<2>> const& from = checkedPoints(fromPoints, toPoints);
        std::vector<kmath_vect> const f(from.begin(), from.end()), t(toPoints.begin(), toPoints.end());
        return kmath_xformPerspective_constructPoints(k, f.data(), t.data(), static_cast<c_Int32>(f.size()));
      })) {}

cc2XformPerspective::cc2XformPerspective(kmath_xformPerspective const& src)
    : k_(makeKernelObject([&](kmath_xformPerspective* k) {
        kmath_xformPerspective_construct(k);
        return kmath_xformPerspective_assign(k, &src);
      })) {}

cc2XformPerspective::cc2XformPerspective(cc2XformPerspective const& other)
    : ccPersistent(other), ccRepBase(other), cc2XformBase(other), k_(nullptr) {
  k_ = makeKernelObject([&](kmath_xformPerspective* k) {
    kmath_xformPerspective_construct(k);
    return kmath_xformPerspective_assign(k, other.k_);
  });
}

cc2XformPerspective& cc2XformPerspective::operator=(cc2XformPerspective const& other) {
  cc2XformBase::operator=(other);
  check(kmath_xformPerspective_assign(k_, other.k_));
  return *this;
}

cc2XformPerspective::~cc2XformPerspective() {
  kmath_xformPerspective_destruct(k_);
  ksys_memory_free_internal(k_);
}

ccMatrix<3> cc2XformPerspective::matrix() const {
  double h[9];
  check(kmath_xformPerspective_getMatrix(k_, h));
  return ccMatrix<3>(h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8]);
}

bool cc2XformPerspective::isSingular() const { return kmath_xformPerspective_getIsSingular(k_) == 1; }

bool cc2XformPerspective::operator==(cc2XformPerspective const& other) const {
  for (int i = 0; i < 9; ++i)
    if (!cfRealEq(k_->h[i], other.k_->h[i], 1e-15)) return false;
  return true;
}

ccVector<2> cc2XformPerspective::mapPoint(ccVector<2> const& p) const {
  kmath_vect q{};
  check(kmath_xformPerspective_mapPoint(k_, p, &q));
  return q;
}

bool cc2XformPerspective::isLinear() const { return kmath_xformPerspective_getIsLinear(k_) == 1; }

cc2XformLinear cc2XformPerspective::linearXform(ccVector<2> const& at) const {
  kmath_xformLinear l{};
  check(kmath_xformPerspective_getLinearXform(k_, at, &l));
  return ccXform<2>(l);
}

cc2XformBasePtrh cc2XformPerspective::inverseBase() const {
  auto* inv = new cc2XformPerspective;
  cc2XformBasePtrh result(inv);
  check(kmath_xformPerspective_getInverse(k_, inv->k_));
  return result;
}

cc2XformBasePtrh cc2XformPerspective::clone() const { return new cc2XformPerspective(*this); }

void cc2XformPerspective::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc2XformPerspective), 0,
                     [&](unsigned char v) { cc2XformPerspective::serialize_(ar, v); });
}

void cc2XformPerspective::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/math/xfpersp", __LINE__);
  cc2XformBase::dispatchSerialize(ar);
  ccMatrix<3> h = matrix();
  ar || h;
  if (ar.isStoring()) return;
  double values[9];
  for (int i = 0; i < 9; ++i) {
    values[i] = h.element(i / 3, i % 3);
    if (!std::isfinite(values[i])) throw ccArchive::BadContent("std/math/xfpersp", __LINE__);
  }
  mutating();
  check(kmath_xformPerspective_constructMatrix(k_, values));
}

ccPersistent* cc2XformPerspective::make() { return cf_MakeOrNull<cc2XformPerspective>(); }

cc_Instantiator const cc2XformPerspective::instantiator_{typeid(cc2XformPerspective), &cc2XformPerspective::make};
