#include "orvstd/platform/deadline.h"

#include <cmath>

#include "orvstd/except/assert.h"
#include "orvstd/platform/timer.h"

void ccDeadline::set(double seconds) {
  expired_ = false;
  if (seconds == HUGE_VAL) {
    state_ = kNever;
  } else if (seconds > 0.0) {
    state_ = kRunning;
    start_ = ccTimer::readSystemTime();
    duration_ = static_cast<double>(ccTimer::ticksPerSecond64()) * seconds;
  } else {
    state_ = kOver;  // 0, negative and NaN alike
  }
}

ccDeadline::operator bool() const { return expired_ || checkExpired(); }

bool ccDeadline::checkExpired() const {
  // Only a running deadline expires here: state 0 waits for until().
  if (state_ != kRunning) return false;
  if (ccTimer::readSystemTime() - start_ >= duration_) {
    expired_ = true;
    return true;
  }
  return false;
}

double ccDeadline::until() const {
  switch (state_) {
    case kNever:
      return HUGE_VAL;
    case kOver:
      expired_ = true;
      return 0.0;
    case kRunning: {
      double const left = duration_ - (ccTimer::readSystemTime() - start_);
      return left > 0.0 ? left / static_cast<double>(ccTimer::ticksPerSecond64()) : 0.0;
    }
    default:
      cmAssert(false);
      return 0.0;
  }
}
