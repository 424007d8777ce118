// Kernel transform handles: counted handles to transform objects of any
// kind, and mapping through them.
//
// A transform object is a shared object (kstd_shared.h) followed by the
// address of a table of six operations. The kernel builds three kinds, each
// recognised by its table: linear, perspective and composed (a singly
// linked list of handles, applied from the head on). Any other table
// belongs to a foreign object, such as the maths layer's wrapper around a
// transform class of its own; the kernel maps through it by calling its
// table, so every operation below works on a handle of any kind.
//
//   kmath_xformPtrhConst a, b, ab;
//   kmath_xformPtrhConst_constructLinear(&a, &lin);
//   kmath_xformPtrhConst_constructPerspective(&b, &persp);
//   kmath_xformPtrh c;
//   kmath_xformPtrh_construct(&c);
//   kmath_xformPtrhConst_compose(&a, &b, &c);   // b first, then a
//   kmath_vect q;
//   kmath_xformPtrhConst_mapPoint(&c, kmath_vect{1, 2}, &q);
//   kmath_xformPtrh_destruct(&c);  kmath_xformPtrhConst_destruct(&b);  ...
//
// Handles are plain structs: "construct" functions treat the handle as raw
// storage and never release what it held; the operations that produce a
// handle (compose, inverse, clone) take a constructed one and replace its
// content. Objects never change after construction, so handles to one
// object may be used from several threads; counts are atomic.
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KMATH_XFORMPTRH_H_
#define ORVSTD_KERNEL_KMATH_XFORMPTRH_H_

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kmath_codes.h"
#include "orvstd/kernel/kmath_types.h"
#include "orvstd/kernel/kmath_xformPerspective.h"
#include "orvstd/kernel/kstd_shared.h"

struct kmath_xformObject;

// A handle that only reads its object; kstd_ptrhConst's `object` is the
// kstd_shared at the start of a kmath_xformObject, or null.
struct kmath_xformPtrhConst : kstd_ptrhConst {};
// A handle that may change its object; it is also a const handle.
struct kmath_xformPtrh : kmath_xformPtrhConst {};

// The six operations of a transform object, in this order. Each returns 0
// (isLinear: 1 or 0) or a negative code; a foreign table returns 0x80000000
// for any failure of its own. The handle-producing entries receive a
// constructed handle, release it (kmath_xformPtrh_destruct) and construct
// the result into it; on failure they leave it null.
struct kmath_xformDispatch {
  c_Int32 (*mapPoint)(kmath_xformObject const* self, kmath_vect in, kmath_vect* out);
  c_Int32 (*isLinear)(kmath_xformObject const* self);
  // The tangent map at `at` (as kmath_xformPerspective_getLinearXform).
  c_Int32 (*linearXform)(kmath_xformObject const* self, kmath_vect at, kmath_xformLinear* out);
  // self after right: right is applied first.
  c_Int32 (*compose)(kmath_xformObject const* self, kmath_xformPtrhConst const* right, kmath_xformPtrh* out);
  c_Int32 (*inverse)(kmath_xformObject const* self, kmath_xformPtrh* out);
  c_Int32 (*clone)(kmath_xformObject const* self, kmath_xformPtrh* out);
};

struct kmath_xformObject {
  kstd_shared shared;  // first, so a handle's object is the transform object
  kmath_xformDispatch const* dispatch;
  void* context;  // the kind's own: a foreign wrapper keeps its wrapped object here
};

// The object a handle points at (null for a null handle).
inline kmath_xformObject* kmath_xformPtrhConst_object(kmath_xformPtrhConst const* self) {
  return reinterpret_cast<kmath_xformObject*>(self->object);
}

// One node of a composed object's list.
struct kmath_xformListNode {
  kmath_xformListNode* next;  // applied after this node; null at the end
  kmath_xformPtrhConst xform;
};

// --- Handles ---------------------------------------------------------------

// A null handle. Returns 0.
c_Int32 kmath_xformPtrhConst_construct(kmath_xformPtrhConst* self);
c_Int32 kmath_xformPtrh_construct(kmath_xformPtrh* self);
// A second handle to src's object (one more count). Returns 0.
c_Int32 kmath_xformPtrhConst_constructCopy(kmath_xformPtrhConst* self, kmath_xformPtrhConst const* src);
// Gives the count back and leaves the handle null; null handles are
// allowed. Returns 0.
c_Int32 kmath_xformPtrhConst_destruct(kmath_xformPtrhConst* self);
c_Int32 kmath_xformPtrh_destruct(kmath_xformPtrh* self);

// New objects of the kernel's kinds. On failure (kstd_outOfMemory,
// kmath_badArgument) the handle is null.
c_Int32 kmath_xformPtrhConst_constructLinear(kmath_xformPtrhConst* self, kmath_xformLinear const* x);
// Copies the perspective transform.
c_Int32 kmath_xformPtrhConst_constructPerspective(kmath_xformPtrhConst* self, kmath_xformPerspective const* p);
// A composed object of `count` transforms, items[0] applied first (it
// becomes the head of the list); each node shares its item's object. A
// count of 0 gives an empty list, which maps as the identity. A negative
// count or a null item handle is kmath_badArgument.
c_Int32 kmath_xformPtrhConst_constructComposed(kmath_xformPtrhConst* self, kmath_xformPtrhConst const* items,
                                               c_Int32 count);

// --- Kinds: 1 or 0; a null handle is of no kind -----------------------------

c_Int32 kmath_xformPtrhConst_getIsLinear(kmath_xformPtrhConst const* self);
c_Int32 kmath_xformPtrhConst_getIsPerspective(kmath_xformPtrhConst const* self);
c_Int32 kmath_xformPtrhConst_getIsComposed(kmath_xformPtrhConst const* self);
// Deformable and calibrated kernel transforms are not built here: always 0.
c_Int32 kmath_xformPtrhConst_getIsDeform(kmath_xformPtrhConst const* self);
c_Int32 kcal_xformPtrhConst_getIsCalib2(kmath_xformPtrhConst const* self);

// The linear object's transform; kmath_notLinear for any other kind (a
// linear map of another kind included).
c_Int32 kmath_xformPtrhConst_getLinear(kmath_xformPtrhConst const* self, kmath_xformLinear* out);
// Copies the perspective object's transform into the constructed `out`;
// kmath_badArgument for any other kind.
c_Int32 kmath_xformPtrhConst_getPerspective(kmath_xformPtrhConst const* self, kmath_xformPerspective* out);
// The head of the composed object's list (null for an empty list); the
// nodes live as long as the object. kmath_badArgument for any other kind.
c_Int32 kmath_xformPtrhConst_getComposed(kmath_xformPtrhConst const* self, kmath_xformListNode const** head);

// --- Mapping through a handle of any kind -----------------------------------
// Each calls the object's table; a null handle is kmath_badArgument.

c_Int32 kmath_xformPtrhConst_mapPoint(kmath_xformPtrhConst const* self, kmath_vect in, kmath_vect* out);
// 1 when the map is affine (a composed object: every node is), else 0.
c_Int32 kmath_xformPtrhConst_getIsLinearMap(kmath_xformPtrhConst const* self);
// The tangent map at `at`; a composed object applies the chain rule.
c_Int32 kmath_xformPtrhConst_getLinearXform(kmath_xformPtrhConst const* self, kmath_vect at,
                                            kmath_xformLinear* out);
// self after right. Two linear objects give a linear object; otherwise a
// composed object of the two (right first), sharing them.
c_Int32 kmath_xformPtrhConst_compose(kmath_xformPtrhConst const* self, kmath_xformPtrhConst const* right,
                                     kmath_xformPtrh* out);
// The inverse: linear and perspective objects invert (kmath_singular when
// they cannot), a composed object gives the reversed list of the inverses.
c_Int32 kmath_xformPtrhConst_getInverse(kmath_xformPtrhConst const* self, kmath_xformPtrh* out);
// A new object equal to this one; a composed clone shares its nodes'
// objects.
c_Int32 kmath_xformPtrhConst_clone(kmath_xformPtrhConst const* self, kmath_xformPtrh* out);

#endif  // ORVSTD_KERNEL_KMATH_XFORMPTRH_H_
