// ccThreadID: the handle to a thread the library knows, whether it started
// the thread or met it at its first wait.
#ifndef ORVSTD_PLATFORM_THREAD_H_
#define ORVSTD_PLATFORM_THREAD_H_

#include "orvstd/except/except.h"

class ccThreadID {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(CouldNotRegister, Errors, 0x10002101);
  cmErrorClass(CreateFailed, Errors, 0x10002103);
};

#endif  // ORVSTD_PLATFORM_THREAD_H_
