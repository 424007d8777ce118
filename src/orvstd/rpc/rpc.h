// ccRPC: remote calls over a communicator. A stub sends its arguments to a
// registered handler in a server process and raises the server's exception,
// if any, in the caller.
//
// The errors of the call machinery carry a text: the prototype of an
// unsupported function, for one.
#ifndef ORVSTD_RPC_RPC_H_
#define ORVSTD_RPC_RPC_H_

#include "orvstd/except/except.h"

class ccRPC {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(ObjectMismatch, Errors, 0x10003400);
  cmErrorClass(UnknownCommunicator, Errors, 0x10003402);
  cmErrorClass(UnsupportedFunction, Errors, 0x10003403);
  // 0x10003404 is ccRPCHandler::DuplicateHandler.
  cmErrorClass(CouldNotStartService, Errors, 0x10003405);
  cmErrorClass(NestedRPC, Errors, 0x10003406);
};

#endif  // ORVSTD_RPC_RPC_H_
