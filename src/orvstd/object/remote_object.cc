#include "orvstd/object/remote_object.h"

#include "orvstd/except/assert.h"

cmErrorDefine(ccRemoteObject::ObjectMismatch)

ccRemoteObject::~ccRemoteObject() = default;

c_UInt32 ccRemoteObject::handle() const {
  cmAssert(isValid() && isRemote());
  return handle_;
}

void ccRemoteObject::move() {
  communicator_ = nullptr;
  handle_ = 0;
}

void ccRemoteObject::move(ccCommunicator& communicator, c_Int32 handle) {
  communicator_ = &communicator;
  handle_ = static_cast<c_UInt32>(handle);
}
