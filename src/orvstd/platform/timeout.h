// ccTimeout: a time limit on the caller's stack. Long-running code polls for
// attention and raises Expired from deep inside once the limit has passed.
//
// InternalExpired and Cancel derive from Expired, not from a family class,
// so that one handler for Expired takes all three.
#ifndef ORVSTD_PLATFORM_TIMEOUT_H_
#define ORVSTD_PLATFORM_TIMEOUT_H_

#include "orvstd/except/except.h"

class ccTimeout {
 public:
  cmErrorClass(Expired, ccException, 0x10001500);
  cmErrorClass(InternalExpired, Expired, 0x10001501);
  cmErrorClass(Cancel, Expired, 0x10001502);
};

#endif  // ORVSTD_PLATFORM_TIMEOUT_H_
