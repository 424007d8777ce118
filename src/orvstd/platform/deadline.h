// ccDeadline: whether a time is up, by polling.
//
// A deadline is never over when given HUGE_VAL, running when given a time
// above 0, and "over" when given 0 or less, with one odd rule kept for the
// sake of existing callers: such a deadline tests false until until() has
// been called, and true from then on. Polling code that must treat 0 as over
// calls until() first.
//
//   ccDeadline d(2.5);
//   while (!d) {
//     if (poll()) break;
//     ccTimer::sleep(std::min(0.1, d.until()));
//   }
//
// A deadline belongs to one thread: its const tests write the expired flag.
#ifndef ORVSTD_PLATFORM_DEADLINE_H_
#define ORVSTD_PLATFORM_DEADLINE_H_

#include "orvstd/defs/types.h"

class ccDeadline {
 public:
  explicit ccDeadline(double seconds = 0.0) { set(seconds); }
  ccDeadline(ccDeadline const&) = default;
  ccDeadline& operator=(ccDeadline const&) = default;

  // Starts afresh from now and clears a former expiry.
  void set(double seconds);
  // True once the deadline is over (see the rule for 0 above).
  explicit operator bool() const;
  // Seconds left: HUGE_VAL for never, 0.0 once over. For a deadline of 0
  // or less this is what marks it over.
  double until() const;

 private:
  bool checkExpired() const;

  enum : c_Int32 { kOver = 0, kNever = 1, kRunning = 2 };

  mutable bool expired_ = false;
  c_Int32 state_ = kOver;
  double start_ = 0.0;     // ccTimer ticks
  double duration_ = 0.0;  // ccTimer ticks
};

#endif  // ORVSTD_PLATFORM_DEADLINE_H_
