// ccRemoteObject: the base of objects that live either in this process or
// behind a communicator, so that stubs act the same way on both sides.
#ifndef ORVSTD_RPC_REMOTE_OBJECT_H_
#define ORVSTD_RPC_REMOTE_OBJECT_H_

#include "orvstd/except/except.h"

class ccRemoteObject {
 public:
  cmErrorClass(ObjectMismatch, ccException, 0x10002600);
};

#endif  // ORVSTD_RPC_REMOTE_OBJECT_H_
