// Kernel layer clean-up lists.
//
// Kernel objects that live across several kernel calls are entered on a
// clean-up list that sits on the caller's stack, under a tag. If an exception
// passes, the guard cc_CleanupObject runs every entry of its tag, newest
// first, so nothing leaks; a normal path runs the list itself.
//
//   ksys_cleanup_struct_ list;
//   c_Int32 tag = ksys_cleanup_getNextTag();
//   ksys_cleanupPush(&list, tag, obj, &destroyObj);
//   ...
//   ksys_cleanupExecute_(&list, &status, &code, tag);
#ifndef ORVSTD_KERNEL_KSYS_CLEANUP_H_
#define ORVSTD_KERNEL_KSYS_CLEANUP_H_

#include "orvstd/defs/types.h"

// Destroys one kernel object; returns a status.
using ksys_cleanupDtor = c_Int32 (*)(void* object);

struct ksys_cleanup_entry_ {
  c_UInt32 sequence;  // from a process-wide counter that wraps to 0 beyond 0xFFFFFFFE
  c_Int32 kind;       // always ksys_cleanupKind
  void* object;
  ksys_cleanupDtor dtor;
  c_Int32 tag;
  ksys_cleanup_entry_* next;  // older entry
};

inline constexpr c_Int32 ksys_cleanupKind = 50;

// A clean-up list: an intrusive stack of entries, newest first. Not
// copyable; destroying a list with entries left runs them.
struct ksys_cleanup_struct_ {
  ksys_cleanup_entry_* head = nullptr;
  ksys_cleanup_struct_() = default;
  ksys_cleanup_struct_(ksys_cleanup_struct_ const&) = delete;
  ksys_cleanup_struct_& operator=(ksys_cleanup_struct_ const&) = delete;
  ~ksys_cleanup_struct_();
};

// A new tag, unique in the process until the counter wraps.
c_Int32 ksys_cleanup_getNextTag();
// The next entry sequence number: 0, 1, ..., 0xFFFFFFFE, 0, ...
c_UInt32 ksys_cleanup_nextSequence();
// Enters `object` under `tag`. Returns 0 or kstd_outOfMemory.
c_Int32 ksys_cleanupPush(ksys_cleanup_struct_* list, c_Int32 tag, void* object, ksys_cleanupDtor dtor);
// Runs and removes every entry of `tag`, newest first. If *code is
// 0x80000000 the list is being unwound and destructor failures are ignored;
// otherwise the first failure is stored in *code and *status. Returns 0.
c_Int32 ksys_cleanupExecute_(ksys_cleanup_struct_* list, c_Int32* status, c_Int32* code, c_Int32 tag);
// Number of entries under `tag` (all tags for tag 0); for diagnostics and tests.
c_Int32 ksys_cleanupCount(ksys_cleanup_struct_ const* list, c_Int32 tag);

// Test hook: sets the sequence counter.
void ksys_cleanup_setSequenceForTest(c_UInt32 next);

#endif  // ORVSTD_KERNEL_KSYS_CLEANUP_H_
