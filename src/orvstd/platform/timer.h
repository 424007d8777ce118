// Stopwatches: elapsed time over start-stop intervals, less their own cost.
//
// ccTimer counts nanoseconds of the monotonic clock. ccPTimer counts the
// processor's time-stamp counter (the monotonic clock on processors without
// one), which is cheaper to read but must be calibrated once, on first use.
// A stopwatch that timed one action n times reports per action with
// count(n). Each class has a process-wide overhead, the ticks one start-stop
// pair costs, which ticks() subtracts; computeOverhead(true) measures it.
//
//   ccTimer t(true);
//   for (int i = 0; i < 100; ++i) work();
//   t.stop();
//   t.count(100);
//   cfOrvDebug() << t.usec() << " us per call\n";
#ifndef ORVSTD_PLATFORM_TIMER_H_
#define ORVSTD_PLATFORM_TIMER_H_

#include <time.h>

#include "orvstd/defs/types.h"
#include "orvstd/except/assert.h"

// The stopwatch rules both timers share, over the clock of `Clock`, which
// provides a static readSystemTime64(). Not used on its own.
template <class Clock>
class cc_Stopwatch {
 public:
  // If not running: start running from now. A second start changes nothing.
  void start() {
    if (!running_) {
      running_ = true;
      start_ = Clock::readSystemTime64();
    }
  }
  // The clock is read before the test, so the test is not timed.
  void stop() {
    c_Int64 const now = Clock::readSystemTime64();
    if (running_) {
      accumulated_ += now - start_;
      running_ = false;
    }
  }
  // Accumulated to 0; a running watch goes on running from now.
  void reset() {
    accumulated_ = 0;
    if (running_) start_ = Clock::readSystemTime64();
  }
  c_Int64 rawTicks64() const { return running_ ? Clock::readSystemTime64() - start_ + accumulated_ : accumulated_; }
  double rawTicks() const { return static_cast<double>(rawTicks64()); }

  c_Int32 count() const { return count_; }
  // The divisor of ticks(); at least 1 (asserted).
  void count(c_Int32 n) {
    cmAssert(n >= 1);
    count_ = n;
  }
  bool running() const { return running_; }

 protected:
  cc_Stopwatch() = default;

 private:
  c_Int64 accumulated_ = 0;  // total of finished intervals
  c_Int64 start_ = 0;        // the clock at the latest start
  c_Int32 count_ = 1;
  bool running_ = false;
};

class ccTimer : public cc_Stopwatch<ccTimer> {
 public:
  explicit ccTimer(bool startNow = false);

  // (raw ticks - overhead) / count; 0 if that is negative.
  double ticks() const;
  // Elapsed time per counted action. Ticks per second must be set (asserted).
  double sec() const;
  double msec() const;
  double usec() const;

  // Sleeps for `seconds` (not negative, asserted), truncated to milliseconds.
  static void sleep(double seconds);
  // Microseconds per tick.
  static double resolution();
  // The clock now: monotonic nanoseconds.
  static c_Int64 readSystemTime64() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<c_Int64>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
  }
  static double readSystemTime() { return static_cast<double>(readSystemTime64()); }
  // Saturates at 0xFFFFFFFF; ticksPerSecond64 is exact.
  static c_UInt32 ticksPerSecond();
  static c_UInt64 ticksPerSecond64();
  // Reads the clock's rate from the system, once; every constructor and
  // static that needs the rate makes sure of it.
  static void setTicksPerSecond();

  // Sets the overhead to 0 and, if `measure`, to the least raw ticks of 200
  // reset-start-stop rounds. Returns the new overhead.
  static c_Int64 computeOverhead(bool measure);
  static c_Int64 overhead();
};

// The time-stamp counter's rate, calibrated once against the monotonic
// clock (some 25 ms on the first call); thread-safe. Never 0.
c_UInt64 cfPTimerGetTicksPerSecond();

class ccPTimer : public cc_Stopwatch<ccPTimer> {
 public:
  // The first construction calibrates the counter and measures the
  // overhead. That set-up must not run on two threads at once (asserted):
  // make the first ccPTimer before starting threads that use them.
  explicit ccPTimer(bool startNow = false);

  // 0 if the overhead exceeds the raw ticks, else (raw - overhead) / count.
  double ticks() const;
  double sec() const;
  double msec() const;
  double usec() const;

  static void sleep(double seconds);
  static double resolution();
  static c_Int64 readSystemTime64() {
#if defined(__x86_64__) || defined(__i386__)
    return static_cast<c_Int64>(__builtin_ia32_rdtsc());
#else
    return ccTimer::readSystemTime64();
#endif
  }
  // The unsigned counter as a double, also past the sign bit.
  static double readSystemTime();
  // The counter as two 32-bit halves.
  static void readSystemTimeInt(c_UInt32& high, c_UInt32& low);
  static c_UInt32 ticksPerSecond();
  static c_UInt64 ticksPerSecond64();

  // As ccTimer's, with 1000 rounds.
  static c_Int64 computeOverhead(bool measure);
  static c_Int64 overhead();

 private:
  static void pTimerSetup();
};

#endif  // ORVSTD_PLATFORM_TIMER_H_
