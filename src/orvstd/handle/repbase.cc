#include "orvstd/handle/repbase.h"

#include "orvstd/except/assert.h"
#include "orvstd/kernel/ksys_atomic.h"

c_Int32 cfInterlockedIncrement(c_Int32* value) {
  c_Int32 result;
  ksys_atomicIncrement(value, &result);
  return result;
}

c_Int32 cfInterlockedDecrement(c_Int32* value) {
  c_Int32 result;
  ksys_atomicDecrement(value, &result);
  return result;
}

c_Int32 cfInterlockedExchange(c_Int32* value, c_Int32 newValue) {
  c_Int32 result;
  ksys_atomicExchange(value, newValue, &result);
  return result;
}

ccRepBase::~ccRepBase() { cmAssert(refc_ == 0); }

void ccRepBase::lastReleased_() { delete this; }

c_Int32& cc_PtrHandleBase_RepAccessor::refc_(ccRepBase& body) { return body.refc_; }

void cc_PtrHandleBase_RepAccessor::takeShare_(ccRepBase* body) {
  if (body) cfInterlockedIncrement(&body->refc_);
}

void cc_PtrHandleBase_RepAccessor::giveUpShare_(ccRepBase* body) {
  if (body && cfInterlockedDecrement(&body->refc_) == 0) body->lastReleased_();
}
