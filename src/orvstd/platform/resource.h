// cc_Resource: the base of the waitable objects (locks, semaphores, events),
// plain or named across processes.
//
// BrokenLock is how a waiting thread learns that its locks were broken at
// shut-down: it ends the thread normally, so its errorNumber is 0, not a
// failure number.
#ifndef ORVSTD_PLATFORM_RESOURCE_H_
#define ORVSTD_PLATFORM_RESOURCE_H_

#include "orvstd/except/except.h"

class cc_Resource {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Timeout, Errors, 0x10002100);
  cmErrorClass(NamedObjectExists, Errors, 0x10002102);
  cmErrorClass(NameConflict, Errors, 0x10002104);
  cmErrorClass(CreateFailed, Errors, 0x10002105);
  cmErrorClass(BrokenLock, Errors, 0);
};

#endif  // ORVSTD_PLATFORM_RESOURCE_H_
