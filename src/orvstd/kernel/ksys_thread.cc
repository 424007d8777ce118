#include "orvstd/kernel/ksys_thread.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_sync.h"

// The thread_local pointer is the fast access; the pthread key only carries
// the exit destructor, because key destructors run after every C++
// thread_local destructor, so a library clean-up at thread exit may still
// wait and lock.
thread_local constinit ksys_threadState* ksys_thread_state_ [[gnu::tls_model("initial-exec")]] = nullptr;
thread_local constinit c_UInt32 ksys_thread_tid_ [[gnu::tls_model("initial-exec")]] = 0;

namespace {

void onThreadExit(void* p) {
  auto* state = static_cast<ksys_threadState*>(p);
  ksys_sync_abandonOwned(state);
  ksys_thread_state_ = nullptr;
  // Our last act on this thread: a termination waiter may go on.
  state->exited.store(1, std::memory_order_seq_cst);
  ::syscall(SYS_futex, &state->exited, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, INT_MAX, nullptr, nullptr, 0);
  ksys_thread_release(state);
}

// A forked child's one thread has a new kernel id, but inherits the
// forking thread's cached one, and the mutexes that thread owns carry the
// old id as their owner: give them the new one.
void onForkChild() {
  c_UInt32 tid = static_cast<c_UInt32>(::syscall(SYS_gettid));
  c_UInt32 old = ksys_thread_tid_;
  ksys_thread_tid_ = tid;
  if (ksys_threadState* state = ksys_thread_state_) {
    state->tid.store(tid, std::memory_order_relaxed);
    ksys_sync_renameOwner(state, old, tid);
  }
}

pthread_key_t exitKey() {
  static pthread_key_t const key = [] {
    pthread_key_t k;
    KSTD_ASSERT(pthread_key_create(&k, &onThreadExit) == 0);
    return k;
  }();
  return key;
}

void bind(ksys_threadState* state) {
  state->tid.store(ksys_thread_currentTid(), std::memory_order_release);
  ksys_thread_state_ = state;
  KSTD_ASSERT(pthread_setspecific(exitKey(), state) == 0);
}

}  // namespace

ksys_threadState* ksys_thread_newState() {
  int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) return nullptr;
  auto* state = new ksys_threadState;
  state->eventFd = fd;
  return state;
}

void ksys_thread_retain(ksys_threadState* state) { state->refs.fetch_add(1, std::memory_order_relaxed); }

void ksys_thread_release(ksys_threadState* state) {
  if (state->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  ::close(state->eventFd);
  delete state;
}

c_Int32 ksys_thread_adopt(ksys_threadState* state) {
  KSTD_ASSERT(ksys_thread_state_ == nullptr);
  ksys_thread_retain(state);
  bind(state);
  return 0;
}

ksys_threadState* ksys_thread_createCurrent_() {
  ksys_threadState* state = ksys_thread_newState();
  if (!state) ksys_thread_assertText("cannot create the eventfd of a thread");
  bind(state);  // the reference of newState is the thread's own
  return state;
}

c_UInt32 ksys_thread_fetchTid_() {
  // Every cached id comes through here first, so the fork handler is in
  // place before any id can go stale.
  static bool const forkHandler = [] {
    KSTD_ASSERT(pthread_atfork(nullptr, nullptr, &onForkChild) == 0);
    return true;
  }();
  static_cast<void>(forkHandler);
  ksys_thread_tid_ = static_cast<c_UInt32>(::syscall(SYS_gettid));
  return ksys_thread_tid_;
}

c_Int32 ksys_thread_break(ksys_threadState* state) {
  // The word first: a poller woken by the fd then always finds it set. A
  // wait that consumes the word before the fd is written leaves the fd
  // readable once; the poller's consume then reports false, never a break
  // twice.
  state->breakWord.store(1, std::memory_order_seq_cst);
  ::syscall(SYS_futex, &state->breakWord, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, INT_MAX, nullptr, nullptr, 0);
  c_UInt64 one = 1;
  [[maybe_unused]] ssize_t n = ::write(state->eventFd, &one, sizeof one);  // a full counter stays readable
  return 0;
}

int ksys_thread_breakFd() { return ksys_thread_current()->eventFd; }

bool ksys_thread_consumeBreakOf(ksys_threadState* state) {
  if (state->breakWord.load(std::memory_order_acquire) == 0) return false;
  if (state->breakWord.exchange(0, std::memory_order_acq_rel) == 0) return false;
  c_UInt64 count;
  // Drain the fd too, so a later poll() does not see a break already reported.
  [[maybe_unused]] ssize_t n = ::read(state->eventFd, &count, sizeof count);
  return true;
}

bool ksys_thread_consumeBreak() {
  ksys_threadState* state = ksys_thread_current();
  bool pending = state->breakWord.exchange(0, std::memory_order_acq_rel) != 0;
  c_UInt64 count;
  // Drain even without a pending word: a wait may have reported the break
  // already, and the fd must not stay readable for it.
  [[maybe_unused]] ssize_t n = ::read(state->eventFd, &count, sizeof count);
  return pending;
}

c_Int32 ksys_thread_cleanup() {
  if (ksys_thread_state_) ksys_sync_abandonOwned(ksys_thread_state_);
  return 0;
}

void ksys_thread_reportText(char const* text) {
  char line[1024];
  int n = std::snprintf(line, sizeof line, "orvstd: assertion failed: %s\n", text);
  if (n > 0) ksys_debugWrite(line, std::strlen(line));
}

void ksys_thread_assertText(char const* text) {
  ksys_thread_reportText(text);
  std::abort();
}
