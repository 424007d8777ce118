#include "orvstd/kernel/ksys_sync.h"

#include <linux/futex.h>
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

void futexWake(std::atomic<c_UInt32>* word, int count) {
  ::syscall(SYS_futex, word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, count, nullptr, nullptr, 0);
}

void futexWait(std::atomic<c_UInt32>* word, c_UInt32 expected) {
  ::syscall(SYS_futex, word, FUTEX_WAIT | FUTEX_PRIVATE_FLAG, expected, nullptr, nullptr, 0);
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

// Sleeps until the break word leaves 0, the sequence word leaves `seq`, or
// the absolute CLOCK_MONOTONIC deadline passes. False only on time-out.
bool sleepOnBoth(ksys_threadState* thread, ksys_syncObject* object, c_UInt32 seq, timespec const* deadline) {
  futex_waitv waiters[2] = {};
  waiters[0].uaddr = reinterpret_cast<std::uintptr_t>(&thread->breakWord);
  waiters[0].val = 0;
  waiters[0].flags = FUTEX_32 | FUTEX_PRIVATE_FLAG;
  waiters[1].uaddr = reinterpret_cast<std::uintptr_t>(&object->seq);
  waiters[1].val = seq;
  waiters[1].flags = FUTEX_32 | FUTEX_PRIVATE_FLAG;
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
  object->seq.fetch_add(1, std::memory_order_seq_cst);
  if (object->waiters.load(std::memory_order_seq_cst) != 0) futexWake(&object->seq, count);
}

// One attempt; ksys_waitObject, ksys_waitAbandoned, or 0 when not available.
c_Int32 tryAcquire(ksys_syncObject* object, ksys_threadState* thread) {
  switch (object->kind) {
    case ksys_syncKind::mutex: {
      c_UInt32 tid = thread->tid.load(std::memory_order_relaxed);
      c_UInt32 owner = object->value.load(std::memory_order_relaxed);
      if (owner == tid) {
        KSTD_ASSERT(object->recursion < 0x7FFFFFFFu);
        ++object->recursion;
        return ksys_waitObject;
      }
      if (owner != 0) return 0;
      if (!object->value.compare_exchange_strong(owner, tid, std::memory_order_acquire, std::memory_order_relaxed))
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
      c_UInt32 count = object->value.load(std::memory_order_relaxed);
      while (count != 0) {
        if (object->value.compare_exchange_weak(count, count - 1, std::memory_order_acquire,
                                                std::memory_order_relaxed))
          return ksys_waitObject;
      }
      return 0;
    }
    case ksys_syncKind::event: {
      if (object->manualReset) return object->value.load(std::memory_order_acquire) ? ksys_waitObject : 0;
      c_UInt32 set = 1;
      return object->value.compare_exchange_strong(set, 0, std::memory_order_acquire, std::memory_order_relaxed)
                 ? ksys_waitObject
                 : 0;
    }
  }
  return 0;
}

bool available(ksys_syncObject* object) {
  c_UInt32 v = object->value.load(std::memory_order_seq_cst);
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
    c_UInt32 v = object->value.load(std::memory_order_relaxed);
    if (object->kind == ksys_syncKind::mutex ? v == 0 : v != 0) return true;
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

}  // namespace

c_Int32 ksys_sync_createMutex(bool initiallyOwned, ksys_syncObject** out) {
  ksys_syncObject* m = make(ksys_syncKind::mutex);
  if (!m) return kstd_outOfMemory;
  if (initiallyOwned) {
    ksys_threadState* thread = ksys_thread_current();
    m->value.store(thread->tid.load(std::memory_order_relaxed), std::memory_order_relaxed);
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
  s->value.store(static_cast<c_UInt32>(initial), std::memory_order_relaxed);
  *out = s;
  return 0;
}

c_Int32 ksys_sync_createEvent(bool manualReset, bool initiallySet, ksys_syncObject** out) {
  ksys_syncObject* e = make(ksys_syncKind::event);
  if (!e) return kstd_outOfMemory;
  e->manualReset = manualReset;
  e->value.store(initiallySet ? 1 : 0, std::memory_order_relaxed);
  *out = e;
  return 0;
}

void ksys_sync_retain(ksys_syncObject* object) { object->refs.fetch_add(1, std::memory_order_relaxed); }

c_Int32 ksys_sync_close(ksys_syncObject* object) {
  if (object->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return 0;
  if (object->kind == ksys_syncKind::mutex) {
    c_UInt32 owner = object->value.load(std::memory_order_acquire);
    if (owner != 0) {
      // The owner's list still points at the object: only the owner may
      // take it off.
      if (owner != ksys_thread_currentTid()) return ksys_syncStillOwned;
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
  object->waiters.fetch_add(1, std::memory_order_seq_cst);
  c_Int32 result = ksys_waitTimeout;
  for (;;) {
    c_UInt32 seq = object->seq.load(std::memory_order_seq_cst);
    if (ksys_thread_consumeBreakOf(thread)) {
      result = ksys_waitBroken;
      break;
    }
    if (c_Int32 got = tryAcquire(object, thread)) {
      result = got;
      break;
    }
    if (!sleepOnBoth(thread, object, seq, ms > 0 ? &deadline : nullptr)) break;
  }
  object->waiters.fetch_sub(1, std::memory_order_seq_cst);
  // A wake meant for us may have been spent on a wait that ends without the
  // object (broken, timed out): pass it on to the next sleeper.
  if ((result == ksys_waitBroken || result == ksys_waitTimeout) && available(object) &&
      object->waiters.load(std::memory_order_seq_cst) != 0)
    announce(object, 1);
  return result;
}

c_Int32 ksys_sync_release(ksys_syncObject* object) {
  switch (object->kind) {
    case ksys_syncKind::mutex: {
      ksys_threadState* thread = ksys_thread_current();
      if (object->value.load(std::memory_order_relaxed) != thread->tid.load(std::memory_order_relaxed))
        return ksys_syncNotOwner;
      if (--object->recursion != 0) return 0;
      unlinkOwned(thread, object);
      // Release suffices: the seq_cst bump in announce orders it before the
      // waiter count is read.
      object->value.store(0, std::memory_order_release);
      announce(object, 1);
      return 0;
    }
    case ksys_syncKind::semaphore: {
      c_UInt32 count = object->value.load(std::memory_order_relaxed);
      do {
        if (count >= object->maximum) return ksys_syncAboveMaximum;
      } while (!object->value.compare_exchange_weak(count, count + 1, std::memory_order_seq_cst,
                                                    std::memory_order_relaxed));
      announce(object, 1);
      return 0;
    }
    case ksys_syncKind::event:
      object->value.store(1, std::memory_order_seq_cst);
      announce(object, object->manualReset ? INT_MAX : 1);
      return 0;
  }
  return ksys_syncWrongKind;
}

c_Int32 ksys_sync_resetEvent(ksys_syncObject* object) {
  if (object->kind != ksys_syncKind::event) return ksys_syncWrongKind;
  object->value.store(0, std::memory_order_seq_cst);
  return 0;
}

void ksys_sync_abandonOwned(ksys_threadState* thread) {
  while (ksys_syncObject* m = thread->ownedHead) {
    unlinkOwned(thread, m);
    m->abandoned = true;
    m->recursion = 0;
    m->value.store(0, std::memory_order_seq_cst);
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
  if (cs->state.exchange(0, std::memory_order_release) == 2) futexWake(&cs->state, 1);
}
