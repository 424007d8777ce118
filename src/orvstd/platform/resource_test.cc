#include "orvstd/platform/resource.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "orvstd/platform/testing/waits.h"
#include "orvstd/platform/thread.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// ---- time-outs

TEST(ResourceTimeout, MillisecondRule) {
  EXPECT_EQ(cc_Resource::waitMilliseconds(HUGE_VAL), -1);
  EXPECT_EQ(cc_Resource::waitMilliseconds(0.0), 0);
  EXPECT_EQ(cc_Resource::waitMilliseconds(-2.0), 0);
  EXPECT_EQ(cc_Resource::waitMilliseconds(0.0001), 1);  // positive never becomes 0
  EXPECT_EQ(cc_Resource::waitMilliseconds(0.0019), 1);  // truncated, not rounded
  EXPECT_EQ(cc_Resource::waitMilliseconds(0.25), 250);
  EXPECT_EQ(cc_Resource::waitMilliseconds(1e12), 0x7FFFFFFF);
}

TEST(ResourceTimeout, ZeroIsASingleTest) {
  ccSemaphore empty(0, 1), full(1, 1);
  EXPECT_FALSE(empty.lock(0.0));
  EXPECT_TRUE(full.lock(0.0));
  EXPECT_FALSE(full.lock(0.0));  // the count was taken
}

TEST(ResourceTimeout, TinyPositiveWaitsAtLeastOneMillisecond) {
  ccSemaphore empty(0, 1);
  auto start = Clock::now();
  EXPECT_FALSE(empty.lock(0.0001));
  EXPECT_GE(msSince(start), 1.0);
}

TEST(ResourceTimeout, WaitEndsFalseAfterItsTime) {
  ccEvent never(true, false);
  auto start = Clock::now();
  EXPECT_FALSE(never.lock(0.06));
  EXPECT_GE(msSince(start), 60.0);

  ccMutex held;
  ccLock owner(held);
  std::atomic<bool> timedOut{false};
  std::thread other([&] {
    ccLock guard(held, false);
    try {
      guard.lockOrElse(0.03);
    } catch (cc_Resource::Timeout const& e) {
      timedOut = guard.depth() == 0 && e.errorNumber() == 0x10002100;
    }
  });
  other.join();
  EXPECT_TRUE(timedOut);
}

// ---- semaphores

TEST(Semaphore, CountStopsAtTheMaximum) {
  ccSemaphore s(0, 2);
  s.unlock();
  s.unlock();
  s.unlock();  // dropped: already at 2
  EXPECT_TRUE(s.lock(0.0));
  EXPECT_TRUE(s.lock(0.0));
  EXPECT_FALSE(s.lock(0.0));
}

TEST(Semaphore, BadCountsFailToCreate) {
  EXPECT_THROW(ccSemaphore(3, 2), cc_Resource::CreateFailed);
  EXPECT_THROW(ccSemaphore(0, 0), cc_Resource::CreateFailed);
  EXPECT_THROW(ccSemaphore(-1, 2), cc_Resource::CreateFailed);
}

TEST(Semaphore, CopiesAndDuplicatesShareTheObject) {
  ccSemaphore a(0, 5);
  ccSemaphore b = a;
  ccSemaphore c(a.rawResourceHandle(), ceDuplicateHandle);
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(a == c);
  EXPECT_FALSE(a == ccSemaphore(0, 5));
  b.unlock();
  c.unlock();
  EXPECT_TRUE(a.lock(0.0));
  EXPECT_TRUE(a.lock(0.0));
  EXPECT_FALSE(a.lock(0.0));
  {
    ccSemaphore d(0, 1);
    b = d;  // a and c still hold the old object
  }
  a.unlock();
  EXPECT_TRUE(c.lock(0.0));
}

TEST(Semaphore, HandOffAlternatesStrictly) {
  ccSemaphore ping(0, 1), pong(0, 1);
  constexpr int kRounds = 2000;
  std::atomic<int> turn{0};
  std::atomic<bool> outOfTurn{false};
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      ping.lock();
      if (turn.fetch_add(1) != 2 * i + 1) outOfTurn = true;
      pong.unlock();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    if (turn.fetch_add(1) != 2 * i) outOfTurn = true;
    ping.unlock();
    pong.lock();
  }
  other.join();
  EXPECT_FALSE(outOfTurn);
  EXPECT_EQ(turn.load(), 2 * kRounds);
}

// ---- events

TEST(Event, AutoResetLetsOneWaiterPerSet) {
  ccEvent e(false, true);
  EXPECT_TRUE(e.lock(0.0));
  EXPECT_FALSE(e.lock(0.0));  // reset by the first

  std::atomic<int> passed{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i)
    waiters.emplace_back([&] {
      if (e.lock(5.0)) ++passed;
    });
  sleepMs(30);
  EXPECT_EQ(passed.load(), 0);
  auto awaitPassed = [&](int n) {
    auto start = Clock::now();
    while (passed.load() < n && msSince(start) < 5000.0) sleepMs(1);
    sleepMs(30);  // time for a wrongly woken second waiter to show
  };
  EXPECT_TRUE(e.setEvent());
  awaitPassed(1);
  EXPECT_EQ(passed.load(), 1);
  e.unlock();  // unlock sets it too
  awaitPassed(2);
  EXPECT_EQ(passed.load(), 2);
  e.setEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(passed.load(), 3);
  EXPECT_FALSE(e.lock(0.0));
}

TEST(Event, ManualResetReleasesAllUntilReset) {
  ccEvent e(true, false);
  std::atomic<int> passed{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i)
    waiters.emplace_back([&] {
      if (e.lock(5.0)) ++passed;
    });
  sleepMs(20);
  EXPECT_EQ(passed.load(), 0);
  e.setEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(passed.load(), 3);
  EXPECT_TRUE(e.lock(0.0));
  EXPECT_TRUE(e.lock(0.0));
  EXPECT_TRUE(e.resetEvent());
  EXPECT_FALSE(e.lock(0.0));
  ccEvent copy = e;
  EXPECT_TRUE(copy == e);
}

// ---- mutexes

TEST(Mutex, RecursiveForItsOwnerOnly) {
  ccMutex m;
  ccLock guard(m);
  EXPECT_TRUE(guard.lock(0.0));
  EXPECT_EQ(guard.depth(), 2);
  EXPECT_FALSE(otherThreadLocks(m));
  guard.unlock();
  EXPECT_FALSE(otherThreadLocks(m));  // still one level held
  guard.unlock();
  EXPECT_TRUE(otherThreadLocks(m));
}

TEST(Mutex, InitiallyOwnedAndGuardDestructorUnlocksFully) {
  ccMutex m(true);
  EXPECT_FALSE(otherThreadLocks(m));
  m.unlock();
  {
    ccLock guard(m);
    guard.lock();
    guard.lock();
  }
  EXPECT_TRUE(otherThreadLocks(m));
}

TEST(MutexDeathTest, UnlockByNonOwnerAsserts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process has threads
  ccMutex m;
  EXPECT_DEATH(m.unlock(), "assertion failed");
  ccMutex held(true);
  EXPECT_DEATH(std::thread([&] { held.unlock(); }).join(), "assertion failed");
  held.unlock();
}

TEST(Mutex, ExcludesUnderContention) {
  ccMutex m;
  long counter = 0;  // guarded by m only
  std::vector<std::thread> workers;
  for (int w = 0; w < 4; ++w)
    workers.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        ccLock guard(m);
        ++counter;
      }
    });
  for (auto& t : workers) t.join();
  EXPECT_EQ(counter, 80000);
}

TEST(Mutex, AbandonedByAnEndingThreadGoesToTheNextLocker) {
  ccMutex m;
  // A foreign thread ends holding it, while we wait for it.
  std::atomic<bool> holding{false};
  std::thread owner([&] {
    m.lock();
    holding = true;
    sleepMs(30);
  });
  awaitFlag(holding);
  EXPECT_TRUE(m.lock(5.0));  // woken by the abandonment, counts as locked
  m.unlock();
  owner.join();

  // A library thread ends holding it; the next locker finds it free.
  ccThreadID t = cfCreateThread([](void* p) { static_cast<ccMutex*>(p)->lock(); }, &m, cePriorityNormal, -1);
  cfWaitForThreadTermination(t);
  {
    ccLock guard(m, false);
    EXPECT_TRUE(guard.lock(1.0));
    EXPECT_EQ(guard.depth(), 1);
  }
  EXPECT_TRUE(otherThreadLocks(m));  // and it was released normally after that
}

TEST(Mutex, GlobalIsOneObject) {
  EXPECT_EQ(&ccMutex::global(), &ccMutex::global());
  ccLock guard(ccMutex::global());
  EXPECT_EQ(guard.depth(), 1);
}

// ---- breaking

struct Unwound {
  std::atomic<bool>* flag;
  ~Unwound() { *flag = true; }
};

struct BlockedLocker {
  ccMutex* mutex;
  std::atomic<bool> started{false};
  std::atomic<bool> unwound{false};
  std::atomic<bool> passed{false};
};

TEST(Break, ThreadBlockedInALockEndsCleanly) {
  BlockedLocker state;
  ccMutex m;
  state.mutex = &m;
  ccLock held(m);
  ccThreadID t = cfCreateThread(
      [](void* p) {
        auto* s = static_cast<BlockedLocker*>(p);
        Unwound u{&s->unwound};
        s->started = true;
        ccLock guard(*s->mutex);  // blocks, then throws BrokenLock
        s->passed = true;
      },
      &state, cePriorityNormal, -1);
  awaitFlag(state.started);
  sleepMs(20);  // let it go to sleep in the wait
  EXPECT_FALSE(state.unwound.load());
  cc_Resource::breakLocks(t);
  cfWaitForThreadTermination(t);
  EXPECT_TRUE(state.unwound.load());
  EXPECT_FALSE(state.passed.load());
  EXPECT_EQ(held.depth(), 1);  // our lock is untouched
}

TEST(Break, WinsATieAndIsConsumedOnce) {
  ccSemaphore ready(1, 1);
  ccThreadID self = cfGetCurrentThreadID();
  cc_Resource::breakLocks(self);
  EXPECT_THROW(ready.lock(0.0), cc_Resource::BrokenLock);
  EXPECT_TRUE(ready.lock(0.0));  // the break was spent; the count is still there
}

TEST(Break, ForeignThreadWaitingOnASemaphore) {
  ccSemaphore never(0, 1);
  std::atomic<bool> broken{false};
  ccThreadID id;
  std::atomic<bool> known{false};
  std::thread t([&] {
    id = cfGetCurrentThreadID();
    known = true;
    try {
      never.lock();
    } catch (cc_Resource::BrokenLock const& e) {
      broken = e.errorNumber() == 0;
    }
  });
  awaitFlag(known);
  sleepMs(10);
  cc_Resource::breakLocks(id);
  t.join();
  EXPECT_TRUE(broken);
}

TEST(Break, WakesAPollOnTheBreakFd) {
  std::atomic<bool> known{false};
  std::atomic<int> pollResult{-2};
  std::atomic<bool> consumed{false}, consumedTwice{true}, lockAfter{false};
  ccThreadID id;
  std::thread t([&] {
    int fd = cfThreadBreakFd();
    id = cfGetCurrentThreadID();
    known = true;
    pollfd p{fd, POLLIN, 0};
    pollResult = ::poll(&p, 1, 10000);
    consumed = cfConsumeThreadBreak();
    consumedTwice = cfConsumeThreadBreak();
    ccSemaphore ready(1, 1);
    lockAfter = ready.lock(0.0);  // a break seen through the fd is not reported again
    p.revents = 0;
    pollResult = pollResult + ::poll(&p, 1, 0);  // drained
  });
  awaitFlag(known);
  sleepMs(10);
  cc_Resource::breakLocks(id);
  t.join();
  EXPECT_EQ(pollResult.load(), 1);
  EXPECT_TRUE(consumed);
  EXPECT_FALSE(consumedTwice);
  EXPECT_TRUE(lockAfter);
}

// ---- critical sections

TEST(CriticalSection, RecursiveAndExclusive) {
  ccCriticalSection cs;
  long counter = 0;
  std::vector<std::thread> workers;
  for (int w = 0; w < 4; ++w)
    workers.emplace_back([&] {
      for (int i = 0; i < 50000; ++i) {
        ccCriticalSectionLock outer(cs);
        ccCriticalSectionLock inner(cs);
        ++counter;
      }
    });
  for (auto& t : workers) t.join();
  EXPECT_EQ(counter, 200000);
}

TEST(CriticalSection, GuardDepth) {
  ccCriticalSection cs;
  {
    ccCriticalSectionLock guard(cs, false);
    EXPECT_EQ(guard.depth(), 0);
    guard.unlock();  // nothing held: nothing done
    guard.lock();
    guard.lock();
    EXPECT_EQ(guard.depth(), 2);
  }
  bool got = false;
  std::thread([&] { got = ccCriticalSectionLock(cs).depth() == 1; }).join();
  EXPECT_TRUE(got);
}

}  // namespace
