// ccCallback: a callback object that may live in this process or behind a
// communicator, and that goes through archives. ccCallback1<T>: a counted
// callback that is called with one argument.
//
// A callback stores nothing but its version bytes: what it does is its
// class's business.
//
//   class ccOnLine : public ccCallback1<void const*> {
//    public:
//     void operator()(void const* line) override { ... }
//   };
//   ccPtrHandle<ccCallback1<void const*>> h(new ccOnLine);
//   (*h)(text);
#ifndef ORVSTD_OBJECT_CALLBACK_H_
#define ORVSTD_OBJECT_CALLBACK_H_

#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"
#include "orvstd/defs/types.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/object/remote_object.h"

class ccCallback : public ccRemoteObject, public virtual ccRepBase, public virtual ccPersistent {
 public:
  // Local.
  ccCallback();
  // Remote: `handle` names the callback on the far side.
  ccCallback(ccCommunicator& communicator, c_Int32 handle);
  ccCallback(ccCallback const&) = default;
  ccCallback& operator=(ccCallback const&) = default;
  ~ccCallback() override;

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;
};

template <class T>
class ccCallback1 : public ccRepBase {
 public:
  virtual void operator()(T argument) = 0;
};

extern template class ccCallback1<void const*>;

#endif  // ORVSTD_OBJECT_CALLBACK_H_
