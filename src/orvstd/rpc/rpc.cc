#include "orvstd/rpc/rpc.h"

cmErrorFamilyDefine(ccRPC::Errors)
cmErrorDefine(ccRPC::ObjectMismatch)
cmErrorDefine(ccRPC::UnknownCommunicator)
cmErrorDefine(ccRPC::UnsupportedFunction)
cmErrorDefine(ccRPC::CouldNotStartService)
cmErrorDefine(ccRPC::NestedRPC)
