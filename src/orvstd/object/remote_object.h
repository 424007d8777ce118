// ccRemoteObject: the base of objects that live either in this process or
// behind a communicator, so that stubs act the same way on both sides.
//
// A local object has no communicator and handle 0; a remote one names its
// communicator and its handle on the far side (an identity that means
// nothing in this process).
//
//   class ccProbe : public ccRemoteObject {
//    public:
//     ccProbe() = default;                                       // local
//     ccProbe(ccCommunicator& c, c_Int32 h) : ccRemoteObject(c, h) {}
//     ~ccProbe() override = default;
//   };
//   if (probe.isRemote()) send(probe.handle());
#ifndef ORVSTD_OBJECT_REMOTE_OBJECT_H_
#define ORVSTD_OBJECT_REMOTE_OBJECT_H_

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

class ccCommunicator;

class ccRemoteObject {
 public:
  cmErrorClass(ObjectMismatch, ccException, 0x10002600);

  ccRemoteObject(ccRemoteObject const&) = default;
  ccRemoteObject& operator=(ccRemoteObject const&) = default;
  // Pure so that the class stays abstract; defined all the same.
  virtual ~ccRemoteObject() = 0;

  bool isLocal() const { return communicator_ == nullptr; }
  bool isRemote() const { return communicator_ != nullptr; }
  bool isValid() const { return true; }
  // Asserts that the object is valid and remote.
  c_UInt32 handle() const;
  // The communicator of a remote object; null for a local one.
  ccCommunicator* communicator() const { return communicator_; }

 protected:
  ccRemoteObject() = default;
  ccRemoteObject(ccCommunicator& communicator, c_Int32 handle)
      : communicator_(&communicator), handle_(static_cast<c_UInt32>(handle)) {}

  // Become local.
  void move();
  void move(ccCommunicator& communicator, c_Int32 handle);

 private:
  [[maybe_unused]] bool flag_ = false;  // copied along, otherwise unused
  ccCommunicator* communicator_ = nullptr;
  c_UInt32 handle_ = 0;
};

#endif  // ORVSTD_OBJECT_REMOTE_OBJECT_H_
