#include "orvstd/kernel/ksys_sync.h"

#include <linux/futex.h>
#include <pthread.h>
#include <linux/time_types.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <new>

#include "orvstd/kernel/ksys_thread.h"

namespace {

// Private futexes for objects of this process; shared ones for named
// objects, whose words other processes map at other addresses.
void futexWake(std::atomic<c_UInt32>* word, int count, int privacy) {
  ::syscall(SYS_futex, word, FUTEX_WAKE | privacy, count, nullptr, nullptr, 0);
}

void futexWait(std::atomic<c_UInt32>* word, c_UInt32 expected) {
  ::syscall(SYS_futex, word, FUTEX_WAIT | FUTEX_PRIVATE_FLAG, expected, nullptr, nullptr, 0);
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

inline int privacyOf(ksys_syncObject* object) { return object->named ? 0 : FUTEX_PRIVATE_FLAG; }

inline ksys_syncWords& wordsOf(ksys_syncObject* object) {
  return object->named ? object->named->block->words : object->words;
}

// ---- named mutexes: a robust pthread mutex holds the ownership

inline bool isNamedMutex(ksys_syncObject* object) {
  return object->named && object->kind == ksys_syncKind::mutex;
}

// The mutex's lock word: the owner's tid, with the kernel's waiters and
// owner-died bits.
inline std::atomic<c_UInt32>* robustWord(ksys_namedBlock* block) {
  static_assert(sizeof(std::atomic<c_UInt32>) == sizeof(int));
  return reinterpret_cast<std::atomic<c_UInt32>*>(&block->robust.__data.__lock);
}

inline std::atomic<c_UInt32>* robustWord(ksys_syncObject* object) { return robustWord(object->named->block); }

// After taking a named mutex: if others may sleep on it, keep the waiters
// bit, which the trylock does not set, so that our unlock wakes one.
void keepWaitersBit(ksys_syncObject* object) {
  if (wordsOf(object).waiters.load(std::memory_order_seq_cst) != 0)
    robustWord(object)->fetch_or(FUTEX_WAITERS, std::memory_order_seq_cst);
}

c_Int32 tryAcquireNamedMutex(ksys_syncObject* object, ksys_threadState* thread) {
  ksys_namedBlock* block = object->named->block;
  c_UInt32 tid = thread->tid.load(std::memory_order_relaxed);
  if ((robustWord(object)->load(std::memory_order_relaxed) & FUTEX_TID_MASK) == tid) {
    KSTD_ASSERT(block->recursion < 0x7FFFFFFFu);
    ++block->recursion;
    return ksys_waitObject;
  }
  switch (::pthread_mutex_trylock(&block->robust)) {
    case 0:
      block->recursion = 1;
      keepWaitersBit(object);
      return ksys_waitObject;
    case EOWNERDEAD:  // the owner thread or process died holding it
      ::pthread_mutex_consistent(&block->robust);
      block->recursion = 1;
      keepWaitersBit(object);
      return ksys_waitAbandoned;
    default:
      return 0;
  }
}

// Prepares a sleep on a named mutex's lock word: sets the waiters bit, so
// that the owner's unlock, or the kernel when the owner dies, wakes us.
// False when the mutex looks free: try again instead of sleeping.
bool armRobustSleep(ksys_syncObject* object, c_UInt32* expected) {
  std::atomic<c_UInt32>* word = robustWord(object);
  c_UInt32 w = word->load(std::memory_order_seq_cst);
  if ((w & FUTEX_TID_MASK) == 0) return false;
  if (!(w & FUTEX_WAITERS) && !word->compare_exchange_strong(w, w | FUTEX_WAITERS, std::memory_order_seq_cst))
    return false;
  *expected = w | FUTEX_WAITERS;
  return true;
}

// ---- waiting

// Sleeps until the break word leaves 0, `word` leaves `expected`, or the
// absolute CLOCK_MONOTONIC deadline passes. False only on time-out.
bool sleepOnBoth(ksys_threadState* thread, std::atomic<c_UInt32>* word, c_UInt32 expected, int privacy,
                 timespec const* deadline) {
  futex_waitv waiters[2] = {};
  waiters[0].uaddr = reinterpret_cast<std::uintptr_t>(&thread->breakWord);
  waiters[0].val = 0;
  waiters[0].flags = FUTEX_32 | FUTEX_PRIVATE_FLAG;
  waiters[1].uaddr = reinterpret_cast<std::uintptr_t>(word);
  waiters[1].val = expected;
  waiters[1].flags = FUTEX_32 | privacy;
  __kernel_timespec limit{};
  if (deadline) {
    limit.tv_sec = deadline->tv_sec;
    limit.tv_nsec = deadline->tv_nsec;
  }
  long rc = ::syscall(SYS_futex_waitv, waiters, 2, 0, deadline ? &limit : nullptr, CLOCK_MONOTONIC);
  if (rc >= 0) return true;
  switch (errno) {
    case ETIMEDOUT:
      return false;
    case EAGAIN:  // a word changed before we slept
    case EINTR:
      return true;
    case ENOSYS:
      ksys_thread_assertText("futex_waitv is not available: orvstd needs Linux 5.16 or later");
    default:
      ksys_thread_assertText("futex_waitv failed");
  }
}

void linkOwned(ksys_threadState* thread, ksys_syncObject* m) {
  m->ownedPrev = nullptr;
  m->ownedNext = thread->ownedHead;
  if (thread->ownedHead) thread->ownedHead->ownedPrev = m;
  thread->ownedHead = m;
}

void unlinkOwned(ksys_threadState* thread, ksys_syncObject* m) {
  if (m->ownedPrev) m->ownedPrev->ownedNext = m->ownedNext;
  else thread->ownedHead = m->ownedNext;
  if (m->ownedNext) m->ownedNext->ownedPrev = m->ownedPrev;
  m->ownedPrev = m->ownedNext = nullptr;
}

// Bumps the sequence and wakes `count` sleepers if there may be any. The
// seq_cst pair (bump here, waiter count increment before the waiter reads
// the sequence) means either we see the waiter or it sees the new sequence.
void announce(ksys_syncObject* object, int count) {
  ksys_syncWords& w = wordsOf(object);
  w.seq.fetch_add(1, std::memory_order_seq_cst);
  if (w.waiters.load(std::memory_order_seq_cst) != 0) futexWake(&w.seq, count, privacyOf(object));
}

// One attempt; ksys_waitObject, ksys_waitAbandoned, or 0 when not available.
c_Int32 tryAcquire(ksys_syncObject* object, ksys_threadState* thread) {
  ksys_syncWords& w = wordsOf(object);
  switch (object->kind) {
    case ksys_syncKind::mutex: {
      if (object->named) return tryAcquireNamedMutex(object, thread);
      c_UInt32 tid = thread->tid.load(std::memory_order_relaxed);
      c_UInt32 owner = w.value.load(std::memory_order_relaxed);
      if (owner == tid) {
        KSTD_ASSERT(object->recursion < 0x7FFFFFFFu);
        ++object->recursion;
        return ksys_waitObject;
      }
      if (owner != 0) return 0;
      if (!w.value.compare_exchange_strong(owner, tid, std::memory_order_acquire, std::memory_order_relaxed))
        return 0;
      object->recursion = 1;
      linkOwned(thread, object);
      if (object->abandoned) {
        object->abandoned = false;
        return ksys_waitAbandoned;
      }
      return ksys_waitObject;
    }
    case ksys_syncKind::semaphore: {
      c_UInt32 count = w.value.load(std::memory_order_relaxed);
      while (count != 0) {
        if (w.value.compare_exchange_weak(count, count - 1, std::memory_order_acquire, std::memory_order_relaxed))
          return ksys_waitObject;
      }
      return 0;
    }
    case ksys_syncKind::event: {
      if (object->manualReset) return w.value.load(std::memory_order_acquire) ? ksys_waitObject : 0;
      c_UInt32 set = 1;
      return w.value.compare_exchange_strong(set, 0, std::memory_order_acquire, std::memory_order_relaxed)
                 ? ksys_waitObject
                 : 0;
    }
  }
  return 0;
}

bool available(ksys_syncObject* object) {
  if (isNamedMutex(object)) return (robustWord(object)->load(std::memory_order_seq_cst) & FUTEX_TID_MASK) == 0;
  c_UInt32 v = wordsOf(object).value.load(std::memory_order_seq_cst);
  return object->kind == ksys_syncKind::mutex ? v == 0 : v != 0;
}

// A hand-off between two running threads completes in about a
// microsecond; a sleep and a wake-up cost far more than that on an idle
// processor. So a wait spins a little before it sleeps.
constexpr int kWaitSpins = 200;  // some 5 us of pause on a current x86

// True once the object looks available or a break is pending.
bool spinBriefly(ksys_syncObject* object, ksys_threadState* thread) {
  for (int i = 0; i < kWaitSpins; ++i) {
    if (thread->breakWord.load(std::memory_order_relaxed) != 0) return true;
    if (available(object)) return true;
    cpuRelax();
  }
  return false;
}

timespec deadlineAfter(c_Int32 ms) {
  timespec t;
  ::clock_gettime(CLOCK_MONOTONIC, &t);
  t.tv_sec += ms / 1000;
  t.tv_nsec += static_cast<long>(ms % 1000) * 1000000L;
  if (t.tv_nsec >= 1000000000L) {
    t.tv_nsec -= 1000000000L;
    ++t.tv_sec;
  }
  return t;
}

ksys_syncObject* make(ksys_syncKind kind) {
  auto* object = new (std::nothrow) ksys_syncObject;
  if (object) object->kind = kind;
  return object;
}

struct NamedInit {
  ksys_syncKind kind;
  ksys_syncParams const& params;
};

// Fills a new named block for its kind. False if the robust mutex cannot
// be made.
bool initNamedBlock(ksys_namedBlock* block, void* context) {
  auto const& [kind, params] = *static_cast<NamedInit*>(context);
  block->maximum = static_cast<c_UInt32>(params.maximum);
  block->manualReset = params.manualReset ? 1 : 0;
  switch (kind) {
    case ksys_syncKind::mutex: {
      pthread_mutexattr_t attr;
      if (::pthread_mutexattr_init(&attr) != 0) return false;
      bool ok = ::pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED) == 0 &&
                ::pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST) == 0 &&
                ::pthread_mutex_init(&block->robust, &attr) == 0;
      ::pthread_mutexattr_destroy(&attr);
      if (!ok) return false;
      if (params.initiallyOwned) {
        if (::pthread_mutex_trylock(&block->robust) != 0) return false;
        block->recursion = 1;
      }
      return true;
    }
    case ksys_syncKind::semaphore:
      block->words.value.store(static_cast<c_UInt32>(params.initial), std::memory_order_relaxed);
      return true;
    case ksys_syncKind::event:
      block->words.value.store(params.initiallySet ? 1 : 0, std::memory_order_relaxed);
      return true;
  }
  return false;
}

// Whether the thread `tid` belongs to this process.
bool ourThread(c_UInt32 tid) {
  return tid != 0 && ::syscall(SYS_tgkill, ::getpid(), static_cast<pid_t>(tid), 0) == 0;
}

// The last handle of this process to a named mutex is closing. The C
// library lists a robust mutex in its owner thread; unmapped, the list
// would point into nothing. So the closing owner lets go, and a mutex that
// another thread here owns keeps its mapping.
bool lastMutexHandleHere(ksys_namedBlock* block) {
  c_UInt32 owner = robustWord(block)->load(std::memory_order_acquire) & FUTEX_TID_MASK;
  if (owner == ksys_thread_currentTid()) {
    block->recursion = 0;
    ::pthread_mutex_unlock(&block->robust);
    return false;
  }
  return ourThread(owner);
}

}  // namespace

c_Int32 ksys_sync_createMutex(bool initiallyOwned, ksys_syncObject** out) {
  ksys_syncObject* m = make(ksys_syncKind::mutex);
  if (!m) return kstd_outOfMemory;
  if (initiallyOwned) {
    ksys_threadState* thread = ksys_thread_current();
    m->words.value.store(thread->tid.load(std::memory_order_relaxed), std::memory_order_relaxed);
    m->recursion = 1;
    linkOwned(thread, m);
  }
  *out = m;
  return 0;
}

c_Int32 ksys_sync_createSemaphore(c_Int32 initial, c_Int32 maximum, ksys_syncObject** out) {
  if (maximum <= 0 || initial < 0 || initial > maximum) return ksys_syncBadArgument;
  ksys_syncObject* s = make(ksys_syncKind::semaphore);
  if (!s) return kstd_outOfMemory;
  s->maximum = static_cast<c_UInt32>(maximum);
  s->words.value.store(static_cast<c_UInt32>(initial), std::memory_order_relaxed);
  *out = s;
  return 0;
}

c_Int32 ksys_sync_createEvent(bool manualReset, bool initiallySet, ksys_syncObject** out) {
  ksys_syncObject* e = make(ksys_syncKind::event);
  if (!e) return kstd_outOfMemory;
  e->manualReset = manualReset;
  e->words.value.store(initiallySet ? 1 : 0, std::memory_order_relaxed);
  *out = e;
  return 0;
}

c_Int32 ksys_sync_openNamed(ksys_syncKind kind, char const* name, ksys_syncParams const& params,
                            bool allowExisting, ksys_syncObject** out, bool* first) {
  if (kind == ksys_syncKind::semaphore &&
      (params.maximum <= 0 || params.initial < 0 || params.initial > params.maximum))
    return ksys_syncBadArgument;
  ksys_syncObject* object = make(kind);
  if (!object) return kstd_outOfMemory;
  ksys_namedMapping* mapping = nullptr;
  NamedInit init{kind, params};
  c_Int32 rc = ksys_named_open(name, static_cast<c_UInt32>(kind), &initNamedBlock, &init, &mapping, first);
  if (rc < 0) {
    delete object;
    return rc;
  }
  ksys_namedBlock* block = mapping->block;
  if (!*first) {
    if (block->kind != static_cast<c_UInt32>(kind)) rc = ksys_syncNameConflict;
    else if (!allowExisting) rc = ksys_syncNameExists;
  }
  if (rc < 0) {
    ksys_named_close(mapping, nullptr);  // not ours to judge: another kind, or someone else's
    delete object;
    return rc;
  }
  object->named = mapping;
  object->maximum = block->maximum;
  object->manualReset = block->manualReset != 0;
  *out = object;
  return 0;
}

void ksys_sync_retain(ksys_syncObject* object) { object->refs.fetch_add(1, std::memory_order_relaxed); }

c_Int32 ksys_sync_close(ksys_syncObject* object) {
  if (object->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return 0;
  if (object->named) {
    ksys_named_close(object->named, object->kind == ksys_syncKind::mutex ? &lastMutexHandleHere : nullptr);
    delete object;
    return 0;
  }
  if (object->kind == ksys_syncKind::mutex) {
    c_UInt32 owner = object->words.value.load(std::memory_order_acquire);
    if (owner != 0) {
      // The owner's list still points at the object: only the owner may
      // take it off.
      if (owner != ksys_thread_currentTid()) {
        object->refs.fetch_add(1, std::memory_order_relaxed);  // refused: nothing changes
        return ksys_syncStillOwned;
      }
      unlinkOwned(ksys_thread_current(), object);
    }
  }
  delete object;
  return 0;
}

c_Int32 ksys_sync_wait(ksys_syncObject* object, c_Int32 ms) {
  ksys_threadState* thread = ksys_thread_current();
  // Each round tests the break before the object, so the break wins a tie.
  if (thread->breakWord.load(std::memory_order_relaxed) != 0 && ksys_thread_consumeBreakOf(thread))
    return ksys_waitBroken;
  if (c_Int32 got = tryAcquire(object, thread)) return got;
  if (ms == 0) return ksys_waitTimeout;

  timespec deadline{};
  if (ms > 0) deadline = deadlineAfter(ms);
  if (spinBriefly(object, thread)) {
    if (thread->breakWord.load(std::memory_order_relaxed) != 0 && ksys_thread_consumeBreakOf(thread))
      return ksys_waitBroken;
    if (c_Int32 got = tryAcquire(object, thread)) return got;
  }
  ksys_syncWords& w = wordsOf(object);
  bool robust = isNamedMutex(object);
  int privacy = privacyOf(object);
  w.waiters.fetch_add(1, std::memory_order_seq_cst);
  c_Int32 result = ksys_waitTimeout;
  for (;;) {
    c_UInt32 expected = w.seq.load(std::memory_order_seq_cst);
    if (ksys_thread_consumeBreakOf(thread)) {
      result = ksys_waitBroken;
      break;
    }
    if (c_Int32 got = tryAcquire(object, thread)) {
      result = got;
      break;
    }
    std::atomic<c_UInt32>* word = &w.seq;
    if (robust) {
      if (!armRobustSleep(object, &expected)) continue;
      word = robustWord(object);
    }
    if (!sleepOnBoth(thread, word, expected, privacy, ms > 0 ? &deadline : nullptr)) break;
  }
  w.waiters.fetch_sub(1, std::memory_order_seq_cst);
  // A wake meant for us may have been spent on a wait that ends without the
  // object (broken, timed out): pass it on to the next sleeper.
  if ((result == ksys_waitBroken || result == ksys_waitTimeout) && available(object) &&
      w.waiters.load(std::memory_order_seq_cst) != 0) {
    if (robust) futexWake(robustWord(object), 1, 0);
    else announce(object, 1);
  }
  return result;
}

c_Int32 ksys_sync_release(ksys_syncObject* object) {
  ksys_syncWords& w = wordsOf(object);
  switch (object->kind) {
    case ksys_syncKind::mutex: {
      ksys_threadState* thread = ksys_thread_current();
      c_UInt32 tid = thread->tid.load(std::memory_order_relaxed);
      if (object->named) {
        ksys_namedBlock* block = object->named->block;
        if ((robustWord(object)->load(std::memory_order_relaxed) & FUTEX_TID_MASK) != tid) return ksys_syncNotOwner;
        if (--block->recursion != 0) return 0;
        // Wakes one sleeper itself when the waiters bit is set.
        ::pthread_mutex_unlock(&block->robust);
        return 0;
      }
      if (w.value.load(std::memory_order_relaxed) != tid) return ksys_syncNotOwner;
      if (--object->recursion != 0) return 0;
      unlinkOwned(thread, object);
      // Release suffices: the seq_cst bump in announce orders it before the
      // waiter count is read.
      w.value.store(0, std::memory_order_release);
      announce(object, 1);
      return 0;
    }
    case ksys_syncKind::semaphore: {
      c_UInt32 count = w.value.load(std::memory_order_relaxed);
      do {
        if (count >= object->maximum) return ksys_syncAboveMaximum;
      } while (!w.value.compare_exchange_weak(count, count + 1, std::memory_order_seq_cst,
                                              std::memory_order_relaxed));
      announce(object, 1);
      return 0;
    }
    case ksys_syncKind::event:
      w.value.store(1, std::memory_order_seq_cst);
      announce(object, object->manualReset ? INT_MAX : 1);
      return 0;
  }
  return ksys_syncWrongKind;
}

c_Int32 ksys_sync_resetEvent(ksys_syncObject* object) {
  if (object->kind != ksys_syncKind::event) return ksys_syncWrongKind;
  wordsOf(object).value.store(0, std::memory_order_seq_cst);
  return 0;
}

c_Int32 ksys_sync_awaitThreadExit(ksys_threadState* target, c_Int32 ms) {
  ksys_threadState* thread = ksys_thread_current();
  timespec deadline{};
  if (ms > 0) deadline = deadlineAfter(ms);
  for (;;) {
    if (ksys_thread_consumeBreakOf(thread)) return ksys_waitBroken;
    if (target->exited.load(std::memory_order_seq_cst) != 0) return ksys_waitObject;
    if (ms == 0) return ksys_waitTimeout;
    if (!sleepOnBoth(thread, &target->exited, 0, FUTEX_PRIVATE_FLAG, ms > 0 ? &deadline : nullptr))
      return target->exited.load(std::memory_order_seq_cst) != 0 ? ksys_waitObject : ksys_waitTimeout;
  }
}

void ksys_sync_renameOwner(ksys_threadState* thread, c_UInt32 oldTid, c_UInt32 newTid) {
  for (ksys_syncObject* m = thread->ownedHead; m; m = m->ownedNext)
    if (m->words.value.load(std::memory_order_relaxed) == oldTid) m->words.value.store(newTid, std::memory_order_relaxed);
}

void ksys_sync_abandonOwned(ksys_threadState* thread) {
  // Named mutexes are not on this list: the kernel abandons them.
  while (ksys_syncObject* m = thread->ownedHead) {
    unlinkOwned(thread, m);
    m->abandoned = true;
    m->recursion = 0;
    m->words.value.store(0, std::memory_order_seq_cst);
    announce(m, 1);
  }
}

void ksys_critsec_enter(ksys_critsec* cs) {
  c_UInt32 tid = ksys_thread_currentTid();
  if (cs->owner.load(std::memory_order_relaxed) == tid) {
    ++cs->recursion;
    return;
  }
  for (c_UInt32 i = 0; i <= cs->spinCount; ++i) {
    c_UInt32 expected = 0;
    if (cs->state.load(std::memory_order_relaxed) == 0 &&
        cs->state.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
      goto owned;
    cpuRelax();
  }
  // Contended: mark "sleepers" and sleep until the holder hands over.
  while (cs->state.exchange(2, std::memory_order_acquire) != 0) futexWait(&cs->state, 2);
owned:
  cs->owner.store(tid, std::memory_order_relaxed);
  cs->recursion = 1;
}

void ksys_critsec_leave(ksys_critsec* cs) {
  KSTD_ASSERT(cs->owner.load(std::memory_order_relaxed) == ksys_thread_currentTid());
  if (--cs->recursion != 0) return;
  cs->owner.store(0, std::memory_order_relaxed);
  if (cs->state.exchange(0, std::memory_order_release) == 2) futexWake(&cs->state, 1, FUTEX_PRIVATE_FLAG);
}
