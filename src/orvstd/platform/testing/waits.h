// Small waits for tests with threads: a sleep, waiting for a flag another
// thread sets, and asking from another thread whether a lock is free.
// Test-only.
//
//   std::thread owner([&] { m.lock(); holding = true; ... });
//   awaitFlag(holding);
//   EXPECT_FALSE(otherThreadLocks(m));
#ifndef ORVSTD_PLATFORM_TESTING_WAITS_H_
#define ORVSTD_PLATFORM_TESTING_WAITS_H_

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

inline void sleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// Sleeps in steps of 1 ms until `flag` is set; fails the test (and returns)
// if that takes more than 5 s.
inline void awaitFlag(std::atomic<bool> const& flag) {
  auto const start = std::chrono::steady_clock::now();
  while (!flag.load()) {
    ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "the other thread never got there";
    sleepMs(1);
  }
}

// Whether a zero wait on a new thread takes `lockable`; what it takes it
// gives back before the thread ends.
template <class Lockable>
bool otherThreadLocks(Lockable& lockable) {
  bool got = false;
  std::thread([&] {
    got = lockable.lock(0.0);
    if (got) lockable.unlock();
  }).join();
  return got;
}

#endif  // ORVSTD_PLATFORM_TESTING_WAITS_H_
