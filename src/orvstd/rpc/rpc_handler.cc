#include "orvstd/rpc/rpc_handler.h"

cmErrorDefine(ccRPCHandler::DuplicateHandler)
