#include "orvstd/math/xform_exchange.h"

#include "orvstd/except/except.h"
#include "orvstd/kernel/kmath_xformPtrh.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_memory.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/math/xform_defs.h"
#include "orvstd/math/xform_perspective.h"

namespace {

// The extra count a wrapper holds on its wrapped transform, taken and given
// through the handles' own accessor, so there is still one count in the body.
class WrappedShare : private cc_PtrHandleBase_RepAccessor {
 public:
  static void take(cc2XformBase const* x) { takeShare_(const_cast<cc2XformBase*>(x)); }
  static void giveUp(cc2XformBase const* x) { giveUpShare_(const_cast<cc2XformBase*>(x)); }
};

cc2XformBase const* wrappedOf(kmath_xformObject const* self) { return static_cast<cc2XformBase const*>(self->context); }

c_Int32 releaseWrapper(kstd_shared* s) {
  auto* self = reinterpret_cast<kmath_xformObject*>(s);
  WrappedShare::giveUp(wrappedOf(self));
  return kstd_shared_release_default(s);
}

kstd_sharedOps const kWrapperOps{&releaseWrapper, &kstd_shared_increment_default, &kstd_shared_decrement_default};

// Each entry turns every exception into the one failure code a foreign
// table may give: nothing is thrown across the kernel layer.
constexpr c_Int32 kEntryFailed = static_cast<c_Int32>(0x80000000u);

template <class Body>
c_Int32 guarded(Body&& body) {
  try {
    return body();
  } catch (...) {
    return kEntryFailed;
  }
}

// The handle-producing entries: the result replaces what `out` held.
c_Int32 produce(kmath_xformPtrh* out, cc2XformBasePtrh const& result) {
  kmath_xformPtrh_destruct(out);
  genericConstruct(*result, out);
  return 0;
}

c_Int32 wrapperMapPoint(kmath_xformObject const* self, kmath_vect in, kmath_vect* out) {
  return guarded([&] {
    *out = wrappedOf(self)->mapPoint(in);
    return 0;
  });
}

c_Int32 wrapperIsLinear(kmath_xformObject const* self) {
  return guarded([&] { return wrappedOf(self)->isLinear() ? 1 : 0; });
}

c_Int32 wrapperLinearXform(kmath_xformObject const* self, kmath_vect at, kmath_xformLinear* out) {
  return guarded([&] {
    *out = wrappedOf(self)->linearXform(at).xform();
    return 0;
  });
}

c_Int32 wrapperCompose(kmath_xformObject const* self, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  return guarded([&] {
    cc2XformBasePtrh_const const r = kmath_xformTocc2XformBase(*right);
    if (!r) return produce(out, wrappedOf(self)->clone());  // an empty list is the identity
    return produce(out, wrappedOf(self)->composeBase(*r));
  });
}

c_Int32 wrapperInverse(kmath_xformObject const* self, kmath_xformPtrh* out) {
  return guarded([&] { return produce(out, wrappedOf(self)->inverseBase()); });
}

c_Int32 wrapperClone(kmath_xformObject const* self, kmath_xformPtrh* out) {
  return guarded([&] { return produce(out, wrappedOf(self)->clone()); });
}

// Built once; its address is how a wrapper is recognised.
kmath_xformDispatch const kWrapperDispatch{&wrapperMapPoint, &wrapperIsLinear, &wrapperLinearXform,
                                           &wrapperCompose,  &wrapperInverse,  &wrapperClone};

void check(c_Int32 rc) { cfThrowExceptionOnFailure(rc); }

// genericConstruct for either handle kind; `construct` is the kernel's
// handle constructor of that kind.
void wrap(cc2XformBase const& x, kmath_xformPtrhConst* out, c_Int32 (*construct)(kstd_ptrhConst*, kstd_shared*)) {
  out->object = nullptr;
  cc2XformBasePtrh const clone = x.clone();
  void* block = nullptr;
  check(ksys_memory_alloc_internal(sizeof(kmath_xformObject), &block));
  auto* object = static_cast<kmath_xformObject*>(block);
  kstd_shared_init(&object->shared, &kWrapperOps);
  object->dispatch = &kWrapperDispatch;
  object->context = const_cast<cc2XformBase*>(clone.get());
  WrappedShare::take(clone.get());  // released with the wrapper
  construct(out, &object->shared);
}

}  // namespace

void genericConstruct(cc2XformBase const& x, kmath_xformPtrhConst* out) { wrap(x, out, &kstd_ptrhConst_construct); }

void genericConstruct(cc2XformBase const& x, kmath_xformPtrh* out) { wrap(x, out, &kstd_ptrh_construct); }

void cc2XformBaseTokmath_xform(cc2XformBase const& x, kmath_xformPtrhConst* out) {
  if (auto const* linear = dynamic_cast<cc2XformLinear const*>(&x)) {
    kmath_xformLinear const k = linear->xform();
    check(kmath_xformPtrhConst_constructLinear(out, &k));
  } else if (auto const* perspective = dynamic_cast<cc2XformPerspective const*>(&x)) {
    check(kmath_xformPtrhConst_constructPerspective(out, *perspective));
  } else {
    genericConstruct(x, out);
  }
}

cc2XformBasePtrh_const kmath_xformTocc2XformBase(kmath_xformPtrhConst const& k) {
  if (kmath_xformPtrhConst_getIsLinear(&k) == 1) {
    kmath_xformLinear l{};
    check(kmath_xformPtrhConst_getLinear(&k, &l));
    return new cc2XformLinear(ccXform<2>(l));
  }
  if (kcal_xformPtrhConst_getIsCalib2(&k) == 1) throw cc2XformCalib2Defs::NotImplemented();
  if (kmath_xformPtrhConst_getIsDeform(&k) == 1) throw cc2XformDefs::NotImplemented();
  if (kmath_xformPtrhConst_getIsPerspective(&k) == 1) {
    kmath_xformPerspective p{};
    kmath_xformPerspective_construct(&p);
    check(kmath_xformPtrhConst_getPerspective(&k, &p));
    return new cc2XformPerspective(p);
  }
  if (kmath_xformPtrhConst_getIsComposed(&k) == 1) {
    kmath_xformListNode const* node = nullptr;
    check(kmath_xformPtrhConst_getComposed(&k, &node));
    if (node == nullptr) return nullptr;
    // The head is applied first, so it ends up rightmost.
    cc2XformBasePtrh_const const head = kmath_xformTocc2XformBase(node->xform);
    auto* composed = new cc2XformComposed(*head, true);
    cc2XformBasePtrh_const result(composed);
    for (node = node->next; node != nullptr; node = node->next) {
      cc2XformBasePtrh_const const next = kmath_xformTocc2XformBase(node->xform);
      composed->preCompose(*next, true);
    }
    return result;
  }
  kmath_xformObject const* object = kmath_xformPtrhConst_object(&k);
  if (object == nullptr || object->dispatch != &kWrapperDispatch) kstd_assert_(__LINE__);
  return wrappedOf(object);
}
