#include "orvstd/kernel/kstd_shared.h"

#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_atomic.h"
#include "orvstd/kernel/ksys_memory.h"

c_Int32 kstd_shared_init(kstd_shared* self, kstd_sharedOps const* ops) {
  KSTD_ASSERT(self != nullptr && ops != nullptr);
  self->count = 0;
  self->ops = ops;
  return 0;
}

c_Int32 kstd_shared_increment_default(kstd_shared* self) {
  c_Int32 now = 0;
  ksys_atomicIncrement(&self->count, &now);
  return 0;
}

c_Int32 kstd_shared_decrement_default(kstd_shared* self) {
  c_Int32 now = 0;
  ksys_atomicDecrement(&self->count, &now);
  KSTD_ASSERT(now >= 0);
  return now == 0 ? self->ops->release(self) : 0;
}

c_Int32 kstd_shared_release_default(kstd_shared* self) { return ksys_memory_free_internal(self); }

c_Int32 kstd_ptrhConst_construct(kstd_ptrhConst* self, kstd_shared* object) {
  KSTD_ASSERT(self != nullptr);
  self->object = object;
  if (object != nullptr) object->ops->increment(object);
  return 0;
}

c_Int32 kstd_ptrh_construct(kstd_ptrhConst* self, kstd_shared* object) { return kstd_ptrhConst_construct(self, object); }

c_Int32 kstd_ptrhConst_destruct(kstd_ptrhConst* self) {
  KSTD_ASSERT(self != nullptr);
  kstd_shared* const object = self->object;
  self->object = nullptr;
  return object == nullptr ? 0 : object->ops->decrement(object);
}
