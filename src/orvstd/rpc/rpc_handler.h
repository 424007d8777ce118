// ccRPCHandler: the registration of one server function of the remote-call
// layer, normally a static object. A second handler for the same signature
// is a failure of the call machinery, so it raises a ccRPC error.
#ifndef ORVSTD_RPC_RPC_HANDLER_H_
#define ORVSTD_RPC_RPC_HANDLER_H_

#include "orvstd/except/except.h"
#include "orvstd/rpc/rpc.h"

class ccRPCHandler {
 public:
  cmErrorClass(DuplicateHandler, ccRPC::Errors, 0x10003404);
};

#endif  // ORVSTD_RPC_RPC_HANDLER_H_
