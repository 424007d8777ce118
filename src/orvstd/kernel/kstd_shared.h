// Kernel layer shared objects and the handles that count them.
//
// A shared object starts with a kstd_shared: an atomic count and a table of
// three operations (release, increment, decrement). Handles take a count on
// construction and give it back on destruction; the decrement that reaches
// zero calls the table's release. The defaults suit an object that is the
// start of a block from ksys_memory_alloc_internal.
//
//   static kstd_sharedOps const ops{&myRelease, &kstd_shared_increment_default,
//                                   &kstd_shared_decrement_default};
//   void* block;  ksys_memory_alloc_internal(sizeof(MyObject), &block);
//   kstd_shared_init(&static_cast<MyObject*>(block)->shared, &ops);
//   kstd_ptrhConst h;
//   kstd_ptrhConst_construct(&h, &static_cast<MyObject*>(block)->shared);  // count 1
//   kstd_ptrhConst_destruct(&h);                                           // released
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSTD_SHARED_H_
#define ORVSTD_KERNEL_KSTD_SHARED_H_

#include "orvstd/defs/types.h"

struct kstd_shared;

struct kstd_sharedOps {
  c_Int32 (*release)(kstd_shared* self);    // frees the object; called once, at count zero
  c_Int32 (*increment)(kstd_shared* self);  // takes one count
  c_Int32 (*decrement)(kstd_shared* self);  // gives one back, releasing at zero
};

struct kstd_shared {
  c_Int32 count;
  kstd_sharedOps const* ops;
};

// Count 0 and the given table (asserted not null). Returns 0.
c_Int32 kstd_shared_init(kstd_shared* self, kstd_sharedOps const* ops);
// Atomic increment. Returns 0.
c_Int32 kstd_shared_increment_default(kstd_shared* self);
// Atomic decrement; the thread that takes the count to zero calls
// self->ops->release(self) and returns its result, otherwise 0. A decrement
// below zero is asserted against.
c_Int32 kstd_shared_decrement_default(kstd_shared* self);
// Frees the block that `self` starts, with ksys_memory_free_internal.
c_Int32 kstd_shared_release_default(kstd_shared* self);

// A handle: null or one count on `object`. Handles are plain structs; they
// are constructed and destructed explicitly and never copied bitwise.
struct kstd_ptrhConst {
  kstd_shared* object;
};

// Points `self` at `object` (null allowed) and takes a count through the
// object's table. `self` is raw storage: whatever it held is not released.
// Returns 0.
c_Int32 kstd_ptrhConst_construct(kstd_ptrhConst* self, kstd_shared* object);
// The same for a handle through which the object may be changed; typed
// non-const handles derive from kstd_ptrhConst as their const forms do, so
// both take the base.
c_Int32 kstd_ptrh_construct(kstd_ptrhConst* self, kstd_shared* object);
// Gives the count back (which may release the object) and leaves the
// handle null. A null handle is allowed. Returns what the decrement returns.
c_Int32 kstd_ptrhConst_destruct(kstd_ptrhConst* self);

#endif  // ORVSTD_KERNEL_KSTD_SHARED_H_
