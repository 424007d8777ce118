// Kernel layer waitable objects on Linux futexes: recursive mutexes with
// abandonment, semaphores with a maximum, manual- and auto-reset events,
// and a spinning critical section.
//
// Each object keeps its state in 32-bit atomics plus a sequence word that
// every release or set bumps; sleepers wait on that word together with
// their thread's break word (futex_waitv), so a wait can be interrupted.
// A named object keeps the same words in shared memory (ksys_named.h) and
// uses shared futexes; a named mutex's ownership is a robust pthread mutex,
// whose lock word a sleeper waits on beside its break word.
// Uncontended acquisition and release are a compare-and-swap and a few
// atomic operations; FUTEX_WAKE is called only when a waiter count says
// someone may sleep.
//
//   ksys_syncObject* m;
//   ksys_sync_createMutex(false, &m);
//   c_Int32 r = ksys_sync_wait(m, 100);   // ksys_waitObject, ...Abandoned,
//                                         // ...Timeout or ...Broken
//   if (r == ksys_waitObject || r == ksys_waitAbandoned) ksys_sync_release(m);
//   ksys_sync_close(m);
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSYS_SYNC_H_
#define ORVSTD_KERNEL_KSYS_SYNC_H_

#include <atomic>

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_named.h"

struct ksys_threadState;

// Facility 4: wrong use of a waitable object.
inline constexpr c_Int32 ksys_syncNotOwner = kstd_failureCode(4, 1);      // mutex released by a non-owner
inline constexpr c_Int32 ksys_syncAboveMaximum = kstd_failureCode(4, 2);  // semaphore already at its maximum
inline constexpr c_Int32 ksys_syncBadArgument = kstd_failureCode(4, 3);
inline constexpr c_Int32 ksys_syncWrongKind = kstd_failureCode(4, 4);
inline constexpr c_Int32 ksys_syncStillOwned = kstd_failureCode(4, 5);    // closed while another thread owns it
inline constexpr c_Int32 ksys_syncNameConflict = kstd_failureCode(4, 6);  // the name belongs to another kind
inline constexpr c_Int32 ksys_syncNameExists = kstd_failureCode(4, 7);    // exists, and existing was not allowed

// Results of a wait; the break wins a tie.
inline constexpr c_Int32 ksys_waitBroken = 0;
inline constexpr c_Int32 ksys_waitObject = 1;
inline constexpr c_Int32 ksys_waitAbandoned = 2;
inline constexpr c_Int32 ksys_waitTimeout = 3;

enum class ksys_syncKind : c_Int32 { mutex = 1, semaphore = 2, event = 3 };

struct ksys_namedMapping;

struct ksys_syncObject {
  ksys_syncWords words;  // unnamed objects' state; a named one's is shared
  std::atomic<c_Int32> refs{1};
  ksys_syncKind kind = ksys_syncKind::mutex;
  bool manualReset = false;
  c_UInt32 maximum = 0;
  // Owner-only mutex fields, published to the next owner by `value`.
  c_UInt32 recursion = 0;
  bool abandoned = false;
  ksys_syncObject* ownedPrev = nullptr;
  ksys_syncObject* ownedNext = nullptr;
  ksys_namedMapping* named = nullptr;  // set for an object shared by name
};

c_Int32 ksys_sync_createMutex(bool initiallyOwned, ksys_syncObject** out);
c_Int32 ksys_sync_createSemaphore(c_Int32 initial, c_Int32 maximum, ksys_syncObject** out);
c_Int32 ksys_sync_createEvent(bool manualReset, bool initiallySet, ksys_syncObject** out);

// What a named object is created with; an existing one keeps its own.
struct ksys_syncParams {
  bool initiallyOwned = false;  // mutex: taken by the creator
  c_Int32 initial = 0;          // semaphore
  c_Int32 maximum = 1;
  bool manualReset = false;  // event
  bool initiallySet = false;
};
// Opens the object called `name`, shared by every process of this user, or
// creates it with `params`; `*first` tells which. A mutex's ownership is
// a robust process-shared one: when its owner thread or process dies, the
// next wait reports ksys_waitAbandoned. Fails with ksys_syncNameConflict
// when the name holds another kind, ksys_syncNameExists when it exists and
// `allowExisting` is false, or a ksys_named* code.
c_Int32 ksys_sync_openNamed(ksys_syncKind kind, char const* name, ksys_syncParams const& params,
                            bool allowExisting, ksys_syncObject** out, bool* first);
// Another reference to the same object (a duplicated handle).
void ksys_sync_retain(ksys_syncObject* object);
// Drops a reference; the last frees the object. The last close of a mutex
// owned by another thread is refused (ksys_syncStillOwned) and keeps its
// reference.
c_Int32 ksys_sync_close(ksys_syncObject* object);

// Waits up to `ms` milliseconds (-1: no limit, 0: a single test) for the
// object or a break of the calling thread. Returns a ksys_wait* result.
c_Int32 ksys_sync_wait(ksys_syncObject* object, c_Int32 ms);
// Mutex: releases one level of recursion. Semaphore: adds one count.
// Event: sets it.
c_Int32 ksys_sync_release(ksys_syncObject* object);
c_Int32 ksys_sync_resetEvent(ksys_syncObject* object);

// Waits up to `ms` (-1: no limit) for the thread of `target` to leave the
// library (its last clean-up at thread exit has run), or for a break of
// the calling thread. ksys_waitObject, ksys_waitTimeout or ksys_waitBroken.
c_Int32 ksys_sync_awaitThreadExit(ksys_threadState* target, c_Int32 ms);

// Marks every mutex on `state`'s owned list abandoned and hands it on.
// Called on the owning thread as it ends.
void ksys_sync_abandonOwned(ksys_threadState* state);
// In a forked child: the mutexes `state`'s thread owns now belong to the
// child's thread, whose id is `newTid`. (A named mutex's owner id is the
// C library's business; it keeps the parent's, and the parent's death
// abandons it.)
void ksys_sync_renameOwner(ksys_threadState* state, c_UInt32 oldTid, c_UInt32 newTid);

// A recursive lock for short sections: spins, then sleeps on a futex; not
// breakable, no time-out.
struct ksys_critsec {
  std::atomic<c_UInt32> state{0};  // 0 free, 1 held, 2 held with sleepers
  std::atomic<c_UInt32> owner{0};
  c_UInt32 recursion = 0;
  c_UInt32 spinCount = 0;
};
void ksys_critsec_enter(ksys_critsec* cs);
// Asserts that the calling thread owns the section.
void ksys_critsec_leave(ksys_critsec* cs);

#endif  // ORVSTD_KERNEL_KSYS_SYNC_H_
