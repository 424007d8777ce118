// ccTimeout: a time limit on the caller's stack. Long-running code polls for
// attention and raises Expired from deep inside once the limit has passed.
//
// InternalExpired and Cancel derive from Expired, not from a family class,
// so that one handler for Expired takes all three.
//
//   try {
//     ccTimeout limit(0.5);
//     fitter.run();                  // calls ccAttention::check() in its loops
//   } catch (ccTimeout::Expired const&) {
//     ...                            // took longer than half a second
//   }
//
// The limit applies to the thread that made it, and must be destroyed there.
#ifndef ORVSTD_PLATFORM_TIMEOUT_H_
#define ORVSTD_PLATFORM_TIMEOUT_H_

#include "orvstd/except/except.h"

class ccAttentionTag;

class ccTimeout {
 public:
  cmErrorClass(Expired, ccException, 0x10001500);
  cmErrorClass(InternalExpired, Expired, 0x10001501);
  cmErrorClass(Cancel, Expired, 0x10001502);

  // Attaches a limit of `seconds` (at least 0, asserted; 0 expires at once,
  // HUGE_VAL never) to the calling thread.
  explicit ccTimeout(double seconds);
  ~ccTimeout();
  ccTimeout(ccTimeout const&) = delete;
  ccTimeout& operator=(ccTimeout const&) = delete;

  // Lifts the limit; a second detach does nothing.
  void detach();

 private:
  ccAttentionTag* tag_;  // owned; null once detached
};

#endif  // ORVSTD_PLATFORM_TIMEOUT_H_
