// cc_KernelScope: the kernel objects one call makes, each entered on a
// clean-up list the moment it exists, so that a failure at any later step
// (a failing kernel status or an exception) frees them all, newest first.
//
//   cc_KernelScope scope;
//   ksys_jobThreadGroup* group =
//       scope.make(&ksys_jobThreadGroup_construct, &ksys_jobThreadGroup_destroy);
//   cf_CheckKernelStatus(ksys_jobThreadGroup_dispatchAndWait(group, ...));
//   scope.finish();
//
// Internal: for the library's own wrappers of kernel calls.
#ifndef ORVSTD_EXCEPT_INTERNAL_KERNEL_SCOPE_H_
#define ORVSTD_EXCEPT_INTERNAL_KERNEL_SCOPE_H_

#include "orvstd/except/except.h"
#include "orvstd/kernel/ksys_cleanup.h"

// A negative kernel status raises its typed exception.
inline void cf_CheckKernelStatus(c_Int32 rc) {
  if (rc < 0) cfThrowExceptionOnFailure(rc);
}

class cc_KernelScope {
 public:
  cc_KernelScope() : tag_(ksys_cleanup_getNextTag()), guard_(&status_, &list_, tag_) {}
  cc_KernelScope(cc_KernelScope const&) = delete;
  cc_KernelScope& operator=(cc_KernelScope const&) = delete;

  template <class T>
  T* make(c_Int32 (*construct)(T**), ksys_cleanupDtor destroy) {
    T* object = nullptr;
    cf_CheckKernelStatus(construct(&object));
    if (c_Int32 rc = ksys_cleanupPush(&list_, tag_, object, destroy); rc < 0) {
      destroy(object);
      cf_CheckKernelStatus(rc);
    }
    return object;
  }

  // The normal end: runs the list and raises the first failure of it.
  void finish() {
    c_Int32 code = 0;
    ksys_cleanupExecute_(&list_, &status_, &code, tag_);
    c_Int32 const status = status_;
    status_ = -1;  // the guard has nothing left to do
    cf_CheckKernelStatus(status);
  }

 private:
  ksys_cleanup_struct_ list_;
  c_Int32 status_ = 0;
  c_Int32 tag_;
  cc_CleanupObject guard_;  // declared last: runs before the list goes
};

#endif  // ORVSTD_EXCEPT_INTERNAL_KERNEL_SCOPE_H_
