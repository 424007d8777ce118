// Kernel layer per-thread state: the break word that interrupts a thread's
// waits, its pollable twin, and the list of mutexes the thread owns.
//
// Every wait on a kernel waitable object is a wait on two futex words: the
// waiting thread's break word first, the object's sequence word second. A
// break sets the word to 1, wakes the futex and writes the thread's eventfd,
// so a thread blocked in poll() (a socket monitor) sees it as well. The wait
// or the poller that reports the break consumes it.
//
//   ksys_threadState* s = ksys_thread_newState();   // before the thread runs
//   ... on the new thread: ksys_thread_adopt(s);
//   ... elsewhere:         ksys_thread_break(s);     // its wait returns "broken"
//
// The state of a thread is created at its first use (or adopted), and at
// thread exit every mutex the thread still owns is marked abandoned and
// handed on.
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSYS_THREAD_H_
#define ORVSTD_KERNEL_KSYS_THREAD_H_

#include <atomic>

#include "orvstd/defs/types.h"

struct ksys_syncObject;

struct ksys_threadState {
  std::atomic<c_UInt32> breakWord{0};  // futex word: 1 while a break is pending
  std::atomic<c_Int32> refs{1};
  std::atomic<c_UInt32> tid{0};        // 0 until a thread adopts the state
  std::atomic<c_UInt32> exited{0};     // futex word: 1 once the thread has left the library
  int eventFd = -1;                    // written on every break
  ksys_syncObject* ownedHead = nullptr;  // touched by the owning thread only
};

// A fresh state with one reference, not yet bound to a thread. Null if the
// eventfd cannot be made.
ksys_threadState* ksys_thread_newState();
void ksys_thread_retain(ksys_threadState* state);
// Drops a reference; the last one closes the eventfd and frees the state.
void ksys_thread_release(ksys_threadState* state);

// The calling thread's state and kernel id, null and 0 until first use.
// Initial-exec, like the attention stack: one load on every lock and unlock.
extern thread_local constinit ksys_threadState* ksys_thread_state_ [[gnu::tls_model("initial-exec")]];
extern thread_local constinit c_UInt32 ksys_thread_tid_ [[gnu::tls_model("initial-exec")]];
ksys_threadState* ksys_thread_createCurrent_();
c_UInt32 ksys_thread_fetchTid_();

// Binds `state` to the calling thread, which must have none yet (asserted).
// Adds a reference held until the thread ends.
c_Int32 ksys_thread_adopt(ksys_threadState* state);
// The calling thread's state, created at first use. Never null.
inline ksys_threadState* ksys_thread_current() {
  ksys_threadState* state = ksys_thread_state_;
  return state ? state : ksys_thread_createCurrent_();
}
// The calling thread's kernel id, without creating any state.
inline c_UInt32 ksys_thread_currentTid() {
  c_UInt32 tid = ksys_thread_tid_;
  return tid ? tid : ksys_thread_fetchTid_();
}

// Sets the break of `state`'s thread, wakes its wait and signals its eventfd.
c_Int32 ksys_thread_break(ksys_threadState* state);
// The calling thread's eventfd: readable while a break is pending.
int ksys_thread_breakFd();
// Consumes a pending break of the calling thread (word and eventfd);
// true if there was one. A poller calls this once the fd became readable;
// false then means a wait already reported that break: keep polling.
bool ksys_thread_consumeBreak();
// The same on a given state; used by the wait.
bool ksys_thread_consumeBreakOf(ksys_threadState* state);

// Abandons every mutex the calling thread still owns: the thread is ending.
c_Int32 ksys_thread_cleanup();

// An assertion with a text of its own; writes it and aborts.
[[noreturn]] void ksys_thread_assertText(char const* text);
// The same report, for the one time a process must not abort over it:
// static destruction, when the program is ending anyway. Writes it and
// returns; the caller carries on with its stated fallback.
void ksys_thread_reportText(char const* text);

#endif  // ORVSTD_KERNEL_KSYS_THREAD_H_
