// cc_PriorityQueueDefs: the definitions of the library's internal priority
// queue, whose entries are reached through handles.
#ifndef ORVSTD_UTIL_PRIORITY_QUEUE_DEFS_H_
#define ORVSTD_UTIL_PRIORITY_QUEUE_DEFS_H_

#include "orvstd/except/except.h"

class cc_PriorityQueueDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(EmptyQueue, Errors, 0x10007200);
  cmErrorClass(BadHandle, Errors, 0x10007201);
};

#endif  // ORVSTD_UTIL_PRIORITY_QUEUE_DEFS_H_
