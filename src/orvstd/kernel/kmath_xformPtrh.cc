#include "orvstd/kernel/kmath_xformPtrh.h"

#include <cmath>
#include <new>

#include "orvstd/kernel/ksys_memory.h"

namespace {

// The kernel's kinds: the common head, then the kind's data. Standard
// layout, so a pointer to the head is a pointer to the whole.
struct LinearObject {
  kmath_xformObject head;
  kmath_xformLinear x;
};
struct PerspectiveObject {
  kmath_xformObject head;
  kmath_xformPerspective p;
};
struct ComposedObject {
  kmath_xformObject head;
  kmath_xformListNode* first;
};

extern kmath_xformDispatch const kLinearDispatch;
extern kmath_xformDispatch const kPerspectiveDispatch;
extern kmath_xformDispatch const kComposedDispatch;

template <class T>
T const* as(kmath_xformObject const* o) {
  return reinterpret_cast<T const*>(o);
}

kstd_shared* sharedOf(kmath_xformObject const* o) { return const_cast<kstd_shared*>(&o->shared); }

bool isKind(kmath_xformPtrhConst const* h, kmath_xformDispatch const* d) {
  KSTD_ASSERT(h != nullptr);
  kmath_xformObject const* o = kmath_xformPtrhConst_object(h);
  return o != nullptr && o->dispatch == d;
}

// Allocates a T, counts it into `out` (raw storage) and returns it.
template <class T>
c_Int32 allocate(kmath_xformPtrhConst* out, kstd_sharedOps const* ops, kmath_xformDispatch const* dispatch,
                 T** object) {
  KSTD_ASSERT(out != nullptr);
  out->object = nullptr;
  void* block = nullptr;
  if (c_Int32 rc = ksys_memory_alloc_internal(sizeof(T), &block); rc < 0) return rc;
  T* t = new (block) T{};
  kstd_shared_init(&t->head.shared, ops);
  t->head.dispatch = dispatch;
  t->head.context = nullptr;
  kstd_ptrhConst_construct(out, &t->head.shared);
  *object = t;
  return 0;
}

// --- Lists of handles -------------------------------------------------------

void freeList(kmath_xformListNode* n) {
  while (n != nullptr) {
    kmath_xformListNode* const next = n->next;
    kmath_xformPtrhConst_destruct(&n->xform);
    ksys_memory_free_internal(n);
    n = next;
  }
}

// A new node holding a second handle to `x`'s object.
c_Int32 newNode(kmath_xformPtrhConst const* x, kmath_xformListNode* next, kmath_xformListNode** out) {
  void* block = nullptr;
  if (c_Int32 rc = ksys_memory_alloc_internal(sizeof(kmath_xformListNode), &block); rc < 0) return rc;
  auto* n = new (block) kmath_xformListNode{next, {}};
  kmath_xformPtrhConst_constructCopy(&n->xform, x);
  *out = n;
  return 0;
}

c_Int32 releaseComposed(kstd_shared* s) {
  freeList(reinterpret_cast<ComposedObject*>(s)->first);
  return kstd_shared_release_default(s);
}

c_Int32 releasePerspective(kstd_shared* s) {
  kmath_xformPerspective_destruct(&reinterpret_cast<PerspectiveObject*>(s)->p);
  return kstd_shared_release_default(s);
}

kstd_sharedOps const kDefaultOps{&kstd_shared_release_default, &kstd_shared_increment_default,
                                 &kstd_shared_decrement_default};
kstd_sharedOps const kPerspectiveOps{&releasePerspective, &kstd_shared_increment_default,
                                     &kstd_shared_decrement_default};
kstd_sharedOps const kComposedOps{&releaseComposed, &kstd_shared_increment_default,
                                  &kstd_shared_decrement_default};

// A composed object that takes over the list (freed on failure).
c_Int32 newComposed(kmath_xformListNode* first, kmath_xformPtrhConst* out) {
  ComposedObject* c = nullptr;
  if (c_Int32 rc = allocate(out, &kComposedOps, &kComposedDispatch, &c); rc < 0) {
    freeList(first);
    return rc;
  }
  c->first = first;
  return 0;
}

// right first, then self: the default composition of every kind.
c_Int32 composeAsList(kmath_xformObject const* self, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  kmath_xformPtrhConst selfHandle;
  kstd_ptrhConst_construct(&selfHandle, sharedOf(self));
  kmath_xformListNode *second = nullptr, *first = nullptr;
  c_Int32 rc = newNode(&selfHandle, nullptr, &second);
  kmath_xformPtrhConst_destruct(&selfHandle);
  if (rc < 0) return rc;
  if (rc = newNode(right, second, &first); rc < 0) {
    freeList(second);
    return rc;
  }
  return newComposed(first, out);
}

// --- Linear -------------------------------------------------------------------

kmath_vect applyLinear(kmath_xformLinear const& l, kmath_vect p) {
  return kmath_vect{l.matrix.e00 * p.x + l.matrix.e01 * p.y + l.trans.x,
                    l.matrix.e10 * p.x + l.matrix.e11 * p.y + l.trans.y};
}

// a after b.
kmath_xformLinear multiplyLinear(kmath_xformLinear const& a, kmath_xformLinear const& b) {
  kmath_matrix const& m = a.matrix;
  kmath_matrix const& n = b.matrix;
  return kmath_xformLinear{applyLinear(a, b.trans),
                           {m.e00 * n.e00 + m.e01 * n.e10, m.e00 * n.e01 + m.e01 * n.e11,
                            m.e10 * n.e00 + m.e11 * n.e10, m.e10 * n.e01 + m.e11 * n.e11}};
}

c_Int32 linearMap(kmath_xformObject const* o, kmath_vect in, kmath_vect* out) {
  *out = applyLinear(as<LinearObject>(o)->x, in);
  return 0;
}

c_Int32 linearIsLinear(kmath_xformObject const*) { return 1; }

c_Int32 linearTangent(kmath_xformObject const* o, kmath_vect, kmath_xformLinear* out) {
  *out = as<LinearObject>(o)->x;
  return 0;
}

c_Int32 linearCompose(kmath_xformObject const* o, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformLinear r;
  if (kmath_xformPtrhConst_getLinear(right, &r) == 0) {
    kmath_xformLinear const product = multiplyLinear(as<LinearObject>(o)->x, r);
    return kmath_xformPtrhConst_constructLinear(out, &product);
  }
  return composeAsList(o, right, out);
}

c_Int32 linearInverse(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformLinear const& l = as<LinearObject>(o)->x;
  kmath_matrix const& m = l.matrix;
  double const det = m.e00 * m.e11 - m.e01 * m.e10;
  if (det == 0) return kmath_singular;
  kmath_xformLinear inv{{0, 0}, {m.e11 / det, -m.e01 / det, -m.e10 / det, m.e00 / det}};
  kmath_vect const t = applyLinear(inv, l.trans);
  inv.trans = kmath_vect{-t.x, -t.y};
  double const v[6] = {inv.trans.x, inv.trans.y, inv.matrix.e00, inv.matrix.e01, inv.matrix.e10, inv.matrix.e11};
  for (double x : v)
    if (!std::isfinite(x)) return kmath_singular;
  return kmath_xformPtrhConst_constructLinear(out, &inv);
}

c_Int32 linearClone(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return kmath_xformPtrhConst_constructLinear(out, &as<LinearObject>(o)->x);
}

// --- Perspective --------------------------------------------------------------

c_Int32 perspectiveMap(kmath_xformObject const* o, kmath_vect in, kmath_vect* out) {
  return kmath_xformPerspective_mapPoint(&as<PerspectiveObject>(o)->p, in, out);
}

c_Int32 perspectiveIsLinear(kmath_xformObject const* o) {
  return kmath_xformPerspective_getIsLinear(&as<PerspectiveObject>(o)->p);
}

c_Int32 perspectiveTangent(kmath_xformObject const* o, kmath_vect at, kmath_xformLinear* out) {
  return kmath_xformPerspective_getLinearXform(&as<PerspectiveObject>(o)->p, at, out);
}

c_Int32 perspectiveCompose(kmath_xformObject const* o, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return composeAsList(o, right, out);
}

c_Int32 perspectiveInverse(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformPerspective inv;
  kmath_xformPerspective_construct(&inv);
  if (c_Int32 rc = kmath_xformPerspective_getInverse(&as<PerspectiveObject>(o)->p, &inv); rc < 0) return rc;
  return kmath_xformPtrhConst_constructPerspective(out, &inv);
}

c_Int32 perspectiveClone(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return kmath_xformPtrhConst_constructPerspective(out, &as<PerspectiveObject>(o)->p);
}

// --- Composed -----------------------------------------------------------------

kmath_xformListNode const* firstOf(kmath_xformObject const* o) { return as<ComposedObject>(o)->first; }

c_Int32 composedMap(kmath_xformObject const* o, kmath_vect in, kmath_vect* out) {
  kmath_vect p = in;
  for (kmath_xformListNode const* n = firstOf(o); n != nullptr; n = n->next)
    if (c_Int32 rc = kmath_xformPtrhConst_mapPoint(&n->xform, p, &p); rc < 0) return rc;
  *out = p;
  return 0;
}

c_Int32 composedIsLinear(kmath_xformObject const* o) {
  for (kmath_xformListNode const* n = firstOf(o); n != nullptr; n = n->next)
    if (c_Int32 rc = kmath_xformPtrhConst_getIsLinearMap(&n->xform); rc != 1) return rc;
  return 1;
}

// The chain rule: each node's tangent map is taken where the earlier nodes
// have carried the point.
c_Int32 composedTangent(kmath_xformObject const* o, kmath_vect at, kmath_xformLinear* out) {
  kmath_xformLinear total{{0, 0}, {1, 0, 0, 1}};
  kmath_vect q = at;
  for (kmath_xformListNode const* n = firstOf(o); n != nullptr; n = n->next) {
    kmath_xformLinear step;
    if (c_Int32 rc = kmath_xformPtrhConst_getLinearXform(&n->xform, q, &step); rc < 0) return rc;
    q = applyLinear(step, q);
    total = multiplyLinear(step, total);
  }
  *out = total;
  return 0;
}

c_Int32 composedCompose(kmath_xformObject const* o, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return composeAsList(o, right, out);
}

// The inverse of each node, in the opposite order: pushing each onto the
// front of the new list reverses it.
c_Int32 composedInverse(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformListNode* reversed = nullptr;
  for (kmath_xformListNode const* n = firstOf(o); n != nullptr; n = n->next) {
    kmath_xformPtrh inv;
    kmath_xformPtrh_construct(&inv);
    c_Int32 rc = kmath_xformPtrhConst_getInverse(&n->xform, &inv);
    if (rc >= 0) rc = newNode(&inv, reversed, &reversed);
    kmath_xformPtrh_destruct(&inv);
    if (rc < 0) {
      freeList(reversed);
      return rc;
    }
  }
  return newComposed(reversed, out);
}

c_Int32 composedClone(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformListNode* first = nullptr;
  kmath_xformListNode** tail = &first;
  for (kmath_xformListNode const* n = firstOf(o); n != nullptr; n = n->next) {
    if (c_Int32 rc = newNode(&n->xform, nullptr, tail); rc < 0) {
      freeList(first);
      return rc;
    }
    tail = &(*tail)->next;
  }
  return newComposed(first, out);
}

kmath_xformDispatch const kLinearDispatch{&linearMap,     &linearIsLinear, &linearTangent,
                                          &linearCompose, &linearInverse,  &linearClone};
kmath_xformDispatch const kPerspectiveDispatch{&perspectiveMap,     &perspectiveIsLinear, &perspectiveTangent,
                                               &perspectiveCompose, &perspectiveInverse,  &perspectiveClone};
kmath_xformDispatch const kComposedDispatch{&composedMap,     &composedIsLinear, &composedTangent,
                                            &composedCompose, &composedInverse,  &composedClone};

kmath_xformObject const* objectOrNull(kmath_xformPtrhConst const* h) {
  KSTD_ASSERT(h != nullptr);
  return kmath_xformPtrhConst_object(h);
}

// Runs a handle-producing entry into a fresh handle and only then replaces
// `out`, so `out` may be the very handle that keeps the source alive.
template <class Entry>
c_Int32 produce(kmath_xformPtrh* out, Entry entry) {
  KSTD_ASSERT(out != nullptr);
  kmath_xformPtrh result;
  kmath_xformPtrh_construct(&result);
  c_Int32 const rc = entry(&result);
  if (rc < 0) kmath_xformPtrh_destruct(&result);
  kmath_xformPtrh_destruct(out);
  out->object = result.object;  // the count moves with it
  return rc;
}

}  // namespace

// --- Handles --------------------------------------------------------------------

c_Int32 kmath_xformPtrhConst_construct(kmath_xformPtrhConst* self) { return kstd_ptrhConst_construct(self, nullptr); }

c_Int32 kmath_xformPtrh_construct(kmath_xformPtrh* self) { return kstd_ptrh_construct(self, nullptr); }

c_Int32 kmath_xformPtrhConst_constructCopy(kmath_xformPtrhConst* self, kmath_xformPtrhConst const* src) {
  KSTD_ASSERT(src != nullptr);
  return kstd_ptrhConst_construct(self, src->object);
}

c_Int32 kmath_xformPtrhConst_destruct(kmath_xformPtrhConst* self) {
  kstd_ptrhConst_destruct(self);
  return 0;
}

c_Int32 kmath_xformPtrh_destruct(kmath_xformPtrh* self) { return kmath_xformPtrhConst_destruct(self); }

c_Int32 kmath_xformPtrhConst_constructLinear(kmath_xformPtrhConst* self, kmath_xformLinear const* x) {
  KSTD_ASSERT(x != nullptr);
  LinearObject* o = nullptr;
  if (c_Int32 rc = allocate(self, &kDefaultOps, &kLinearDispatch, &o); rc < 0) return rc;
  o->x = *x;
  return 0;
}

c_Int32 kmath_xformPtrhConst_constructPerspective(kmath_xformPtrhConst* self, kmath_xformPerspective const* p) {
  KSTD_ASSERT(p != nullptr);
  PerspectiveObject* o = nullptr;
  if (c_Int32 rc = allocate(self, &kPerspectiveOps, &kPerspectiveDispatch, &o); rc < 0) return rc;
  kmath_xformPerspective_construct(&o->p);
  kmath_xformPerspective_assign(&o->p, p);
  return 0;
}

c_Int32 kmath_xformPtrhConst_constructComposed(kmath_xformPtrhConst* self, kmath_xformPtrhConst const* items,
                                               c_Int32 count) {
  KSTD_ASSERT(self != nullptr);
  self->object = nullptr;
  if (count < 0) return kmath_badArgument;
  KSTD_ASSERT(count == 0 || items != nullptr);
  for (c_Int32 i = 0; i < count; ++i)
    if (items[i].object == nullptr) return kmath_badArgument;
  kmath_xformListNode* first = nullptr;
  for (c_Int32 i = count; i-- > 0;)
    if (c_Int32 rc = newNode(&items[i], first, &first); rc < 0) {
      freeList(first);
      return rc;
    }
  return newComposed(first, self);
}

c_Int32 kmath_xformPtrhConst_getIsLinear(kmath_xformPtrhConst const* self) {
  return isKind(self, &kLinearDispatch) ? 1 : 0;
}

c_Int32 kmath_xformPtrhConst_getIsPerspective(kmath_xformPtrhConst const* self) {
  return isKind(self, &kPerspectiveDispatch) ? 1 : 0;
}

c_Int32 kmath_xformPtrhConst_getIsComposed(kmath_xformPtrhConst const* self) {
  return isKind(self, &kComposedDispatch) ? 1 : 0;
}

c_Int32 kmath_xformPtrhConst_getIsDeform(kmath_xformPtrhConst const* self) {
  KSTD_ASSERT(self != nullptr);
  return 0;
}

c_Int32 kcal_xformPtrhConst_getIsCalib2(kmath_xformPtrhConst const* self) {
  KSTD_ASSERT(self != nullptr);
  return 0;
}

c_Int32 kmath_xformPtrhConst_getLinear(kmath_xformPtrhConst const* self, kmath_xformLinear* out) {
  KSTD_ASSERT(out != nullptr);
  if (!isKind(self, &kLinearDispatch)) return kmath_notLinear;
  *out = as<LinearObject>(kmath_xformPtrhConst_object(self))->x;
  return 0;
}

c_Int32 kmath_xformPtrhConst_getPerspective(kmath_xformPtrhConst const* self, kmath_xformPerspective* out) {
  KSTD_ASSERT(out != nullptr);
  if (!isKind(self, &kPerspectiveDispatch)) return kmath_badArgument;
  return kmath_xformPerspective_assign(out, &as<PerspectiveObject>(kmath_xformPtrhConst_object(self))->p);
}

c_Int32 kmath_xformPtrhConst_getComposed(kmath_xformPtrhConst const* self, kmath_xformListNode const** head) {
  KSTD_ASSERT(head != nullptr);
  if (!isKind(self, &kComposedDispatch)) return kmath_badArgument;
  *head = firstOf(kmath_xformPtrhConst_object(self));
  return 0;
}

c_Int32 kmath_xformPtrhConst_mapPoint(kmath_xformPtrhConst const* self, kmath_vect in, kmath_vect* out) {
  KSTD_ASSERT(out != nullptr);
  kmath_xformObject const* o = objectOrNull(self);
  return o == nullptr ? kmath_badArgument : o->dispatch->mapPoint(o, in, out);
}

c_Int32 kmath_xformPtrhConst_getIsLinearMap(kmath_xformPtrhConst const* self) {
  kmath_xformObject const* o = objectOrNull(self);
  return o == nullptr ? kmath_badArgument : o->dispatch->isLinear(o);
}

c_Int32 kmath_xformPtrhConst_getLinearXform(kmath_xformPtrhConst const* self, kmath_vect at,
                                            kmath_xformLinear* out) {
  KSTD_ASSERT(out != nullptr);
  kmath_xformObject const* o = objectOrNull(self);
  return o == nullptr ? kmath_badArgument : o->dispatch->linearXform(o, at, out);
}

c_Int32 kmath_xformPtrhConst_compose(kmath_xformPtrhConst const* self, kmath_xformPtrhConst const* right,
                                     kmath_xformPtrh* out) {
  kmath_xformObject const* o = objectOrNull(self);
  bool const bad = o == nullptr || objectOrNull(right) == nullptr;
  return produce(out, [&](kmath_xformPtrh* r) { return bad ? kmath_badArgument : o->dispatch->compose(o, right, r); });
}

c_Int32 kmath_xformPtrhConst_getInverse(kmath_xformPtrhConst const* self, kmath_xformPtrh* out) {
  kmath_xformObject const* o = objectOrNull(self);
  return produce(out, [&](kmath_xformPtrh* r) { return o == nullptr ? kmath_badArgument : o->dispatch->inverse(o, r); });
}

c_Int32 kmath_xformPtrhConst_clone(kmath_xformPtrhConst const* self, kmath_xformPtrh* out) {
  kmath_xformObject const* o = objectOrNull(self);
  return produce(out, [&](kmath_xformPtrh* r) { return o == nullptr ? kmath_badArgument : o->dispatch->clone(o, r); });
}
