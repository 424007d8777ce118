// Kernel layer named objects: blocks of shared memory that every process
// of the same user reaches by name, as the home of named mutexes,
// semaphores and events.
//
// A block lives in POSIX shared memory, /dev/shm/orvstd-<uid>-<name>, the
// name escaped. Each open handle holds a read lock (an open-file-description
// lock, which the kernel drops when the holder dies) on the block's file.
// That lock is the block's life: whoever can take the write lock is alone,
// so a creator that gets it initialises the block (a file left behind by
// processes that all died counts as new), and a closer that gets it is the
// last and removes the name.
//
//   ksys_namedMapping* m;
//   bool first;
//   if (ksys_named_open("camera", kind, &fill, &params, &m, &first) == 0) {
//     if (!first && m->block->kind != kind) ...name conflict...
//     ...
//     ksys_named_close(m, &decide);
//   }
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSYS_NAMED_H_
#define ORVSTD_KERNEL_KSYS_NAMED_H_

#include <pthread.h>

#include <atomic>

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kstd.h"

// Facility 4, shared with the waitable objects.
inline constexpr c_Int32 ksys_namedBadName = kstd_failureCode(4, 8);
inline constexpr c_Int32 ksys_namedForeign = kstd_failureCode(4, 9);
inline constexpr c_Int32 ksys_namedOsFailure = kstd_failureCode(4, 10);

// The futex words of a waitable object, in process memory or shared.
struct ksys_syncWords {
  std::atomic<c_UInt32> seq{0};      // bumped on every release or set; sleepers wait on it
  std::atomic<c_UInt32> waiters{0};  // threads inside a wait that may sleep
  // Mutex: owner tid, 0 when free. Semaphore: count. Event: 1 when set.
  std::atomic<c_UInt32> value{0};
};

// The shared layout. `magic` is written last by the creator; a block
// whose magic differs is not ours.
struct ksys_namedBlock {
  std::atomic<c_UInt32> magic;
  c_UInt32 kind;  // a ksys_syncKind
  c_UInt32 maximum;
  c_UInt32 manualReset;
  ksys_syncWords words;
  // Named mutexes: the levels the owner holds, and the ownership itself,
  // a robust process-shared mutex, so that the kernel hands it on when the
  // owner thread or its process dies.
  c_UInt32 recursion;
  pthread_mutex_t robust;
};

inline constexpr c_UInt32 ksys_namedMagic = 0x31767253u;  // "Srv1": layout version 1

// One per name and process: handles of one process share the mapping, so
// that a mutex has one address here whichever handle locks it.
struct ksys_namedMapping {
  int fd = -1;
  ksys_namedBlock* block = nullptr;
  c_UInt32 handles = 0;  // open handles of this process
  ksys_namedMapping* next = nullptr;
  char path[256] = {};
};

// Opens the block called `name`, or creates it. `*first` says whether it
// is new: then `init` has filled it (`init` failing makes the open fail
// with ksys_namedOsFailure) before any other opener could see it. An
// existing block may be of any kind: the caller checks. Failures:
// ksys_namedBadName (empty, or too long once escaped), ksys_namedForeign
// (a file of that name that is not a block of this layout), or the OS's.
c_Int32 ksys_named_open(char const* name, c_UInt32 kind, bool (*init)(ksys_namedBlock*, void*), void* context,
                        ksys_namedMapping** out, bool* first);
// Closes one handle. When it is this process's last, `lastHere` is called
// on the block and says whether to keep the mapping (and the name) until
// the process ends; otherwise the mapping goes, and the last handle of all
// processes removes the name.
void ksys_named_close(ksys_namedMapping* mapping, bool (*lastHere)(ksys_namedBlock*));
// The path in /dev/shm that `name` maps to, for tests and diagnostics;
// false if the name cannot be used.
bool ksys_named_path(char const* name, char* path, c_UInt32 size);

#endif  // ORVSTD_KERNEL_KSYS_NAMED_H_
