#include "orvstd/object/callback.h"

template class ccCallback1<void const*>;

ccCallback::ccCallback() = default;

ccCallback::ccCallback(ccCommunicator& communicator, c_Int32 handle) : ccRemoteObject(communicator, handle) {}

ccCallback::~ccCallback() = default;

void ccCallback::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(ccCallback), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void ccCallback::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "std/util/callback", 22);
  ccPersistent::dispatchSerialize(ar);
}

ccPersistent* ccCallback::make() { return cf_MakeNothrow<ccCallback>(); }
cc_Instantiator const ccCallback::instantiator_{typeid(ccCallback), &ccCallback::make};
