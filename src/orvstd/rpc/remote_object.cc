#include "orvstd/rpc/remote_object.h"

cmErrorDefine(ccRemoteObject::ObjectMismatch)
