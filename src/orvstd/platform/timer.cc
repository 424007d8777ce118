#include "orvstd/platform/timer.h"

#include <errno.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

namespace {

// Process-wide values. ccTimer writes its own without a lock (a racing
// writer stores the same rate); they are atomic only so that the race is
// defined. Relaxed order: each is a lone value, not a guard for others.
std::atomic<c_UInt64> gTimerTicksPerSecond{0};
std::atomic<c_Int64> gTimerOverhead{0};
std::atomic<c_UInt64> gPTimerTicksPerSecond{0};
std::atomic<c_Int64> gPTimerOverhead{0};
std::atomic<c_Int32> gPTimerSetupEntries{0};

constexpr c_UInt64 kNanosecondsPerSecond = 1000000000;

c_UInt32 saturate32(c_UInt64 v) {
  return v > std::numeric_limits<c_UInt32>::max() ? std::numeric_limits<c_UInt32>::max() : static_cast<c_UInt32>(v);
}

void sleepMilliseconds(c_Int64 ms) {
  timespec req{};
  req.tv_sec = static_cast<decltype(req.tv_sec)>(ms / 1000);
  req.tv_nsec = static_cast<decltype(req.tv_nsec)>(ms % 1000 * 1000000);
  // A signal only interrupts the wait; the rest is slept.
  while (nanosleep(&req, &req) != 0 && errno == EINTR) {
  }
}

void sleepSeconds(double seconds) {
  cmAssert(seconds >= 0.0);  // NaN fails too
  // Truncated to whole milliseconds; past some 290 000 years the wait is as
  // good as for ever, and HUGE_VAL must not overflow the conversion.
  constexpr double kLongestMs = 9.0e15;
  double const ms = std::min(std::trunc(seconds * 1000.0), kLongestMs);
  sleepMilliseconds(static_cast<c_Int64>(ms));
}

#if defined(__x86_64__) || defined(__i386__)
struct CounterAtTime {
  c_UInt64 counter;
  c_Int64 ns;
};

// The counter read on both sides of a clock read, the tightest of a few
// tries, so that a preemption between the reads cannot skew the pair.
CounterAtTime sampleCounterAtTime() {
  CounterAtTime best{0, 0};
  c_UInt64 bestSpan = std::numeric_limits<c_UInt64>::max();
  for (int i = 0; i < 16; ++i) {
    c_UInt64 const before = __builtin_ia32_rdtsc();
    c_Int64 const ns = ccTimer::readSystemTime64();
    c_UInt64 const after = __builtin_ia32_rdtsc();
    if (after - before < bestSpan) {
      bestSpan = after - before;
      best = {before + (after - before) / 2, ns};
    }
  }
  return best;
}

c_UInt64 calibrateCounter() {
  CounterAtTime const a = sampleCounterAtTime();
  // 25 ms of wall time keeps the error near a few parts per million even
  // when the clock read itself is jittery.
  sleepMilliseconds(25);
  CounterAtTime const b = sampleCounterAtTime();
  if (b.ns <= a.ns || b.counter <= a.counter) return 0;
  double const hz = static_cast<double>(b.counter - a.counter) * 1e9 / static_cast<double>(b.ns - a.ns);
  return static_cast<c_UInt64>(std::llround(hz));
}
#endif

}  // namespace

// ---- ccTimer ----

ccTimer::ccTimer(bool startNow) {
  setTicksPerSecond();
  if (startNow) start();
}

void ccTimer::setTicksPerSecond() {
  // The monotonic clock counts nanoseconds whatever its resolution.
  if (gTimerTicksPerSecond.load(std::memory_order_relaxed) == 0)
    gTimerTicksPerSecond.store(kNanosecondsPerSecond, std::memory_order_relaxed);
}

double ccTimer::ticks() const {
  double const t = static_cast<double>(rawTicks64() - overhead()) / count();
  return t < 0.0 ? 0.0 : t;
}

double ccTimer::sec() const {
  c_UInt64 const tps = gTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() / static_cast<double>(tps);
}

double ccTimer::msec() const {
  c_UInt64 const tps = gTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() * 1000.0 / static_cast<double>(tps);
}

double ccTimer::usec() const {
  c_UInt64 const tps = gTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() * 1e6 / static_cast<double>(tps);
}

void ccTimer::sleep(double seconds) { sleepSeconds(seconds); }

double ccTimer::resolution() { return 1e6 / static_cast<double>(ticksPerSecond64()); }

c_UInt32 ccTimer::ticksPerSecond() { return saturate32(ticksPerSecond64()); }

c_UInt64 ccTimer::ticksPerSecond64() {
  setTicksPerSecond();
  return gTimerTicksPerSecond.load(std::memory_order_relaxed);
}

c_Int64 ccTimer::computeOverhead(bool measure) {
  gTimerOverhead.store(0, std::memory_order_relaxed);
  if (!measure) return 0;
  ccTimer t;
  c_Int64 least = 999999;
  for (int i = 0; i < 200; ++i) {
    t.reset();
    t.start();
    t.stop();
    least = std::min(least, t.rawTicks64());
  }
  gTimerOverhead.store(least, std::memory_order_relaxed);
  return least;
}

c_Int64 ccTimer::overhead() { return gTimerOverhead.load(std::memory_order_relaxed); }

// ---- ccPTimer ----

c_UInt64 cfPTimerGetTicksPerSecond() {
#if defined(__x86_64__) || defined(__i386__)
  static c_UInt64 const rate = calibrateCounter();
  return rate;
#else
  return kNanosecondsPerSecond;
#endif
}

ccPTimer::ccPTimer(bool startNow) {
  pTimerSetup();
  if (startNow) start();
}

void ccPTimer::pTimerSetup() {
  if (gPTimerTicksPerSecond.load(std::memory_order_acquire) != 0) return;
  // Set-up belongs to one thread: a second one arriving while the first
  // calibrates is a fault of the program, not a race to be settled here.
  cmAssert(gPTimerSetupEntries.fetch_add(1) + 1 == 1);
  c_UInt64 const tps = cfPTimerGetTicksPerSecond();
  cmAssert(tps != 0);
  gPTimerTicksPerSecond.store(tps, std::memory_order_release);
  computeOverhead(true);
}

double ccPTimer::ticks() const {
  c_Int64 const raw = rawTicks64();
  c_Int64 const oh = overhead();
  if (oh > raw) return 0.0;
  return static_cast<double>(raw - oh) / count();
}

double ccPTimer::sec() const {
  c_UInt64 const tps = gPTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() / static_cast<double>(tps);
}

double ccPTimer::msec() const {
  c_UInt64 const tps = gPTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() * 1000.0 / static_cast<double>(tps);
}

double ccPTimer::usec() const {
  c_UInt64 const tps = gPTimerTicksPerSecond.load(std::memory_order_relaxed);
  cmAssert(tps != 0);
  return ticks() * 1e6 / static_cast<double>(tps);
}

void ccPTimer::sleep(double seconds) { sleepSeconds(seconds); }

double ccPTimer::resolution() { return 1e6 / static_cast<double>(ticksPerSecond64()); }

double ccPTimer::readSystemTime() {
  c_Int64 const v = readSystemTime64();
  double d = static_cast<double>(v);
  if (v < 0) d += 18446744073709551616.0;  // 2^64: the counter is unsigned
  return d;
}

void ccPTimer::readSystemTimeInt(c_UInt32& high, c_UInt32& low) {
  c_UInt64 const v = static_cast<c_UInt64>(readSystemTime64());
  high = static_cast<c_UInt32>(v >> 32);
  low = static_cast<c_UInt32>(v);
}

c_UInt32 ccPTimer::ticksPerSecond() { return saturate32(ticksPerSecond64()); }

c_UInt64 ccPTimer::ticksPerSecond64() {
  pTimerSetup();
  return gPTimerTicksPerSecond.load(std::memory_order_relaxed);
}

c_Int64 ccPTimer::computeOverhead(bool measure) {
  gPTimerOverhead.store(0, std::memory_order_relaxed);
  if (!measure) return 0;
  ccPTimer t;
  c_Int64 least = 999999;
  for (int i = 0; i < 1000; ++i) {
    t.reset();
    t.start();
    t.stop();
    least = std::min(least, t.rawTicks64());
  }
  gPTimerOverhead.store(least, std::memory_order_relaxed);
  return least;
}

c_Int64 ccPTimer::overhead() { return gPTimerOverhead.load(std::memory_order_relaxed); }
