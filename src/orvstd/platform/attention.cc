#include "orvstd/platform/attention.h"

#include <new>

#include "orvstd/except/except.h"
#include "orvstd/kernel/ksys_attention.h"
#include "orvstd/util/debug.h"

ccAttentionTag::ccAttentionTag(bool detachAtDestruction) : detachAtDestruction_(detachAtDestruction) {
  static_assert(sizeof(ksys_attentionTag) <= sizeof(kernelTag_), "room for the kernel's tag");
  static_assert(alignof(ksys_attentionTag) <= 8, "alignment of the kernel's tag");
  cfThrowExceptionOnFailure(ksys_attentionTag_construct(reinterpret_cast<ksys_attentionTag*>(kernelTag_)));
}

ccAttentionTag::~ccAttentionTag() {
  // Nothing may leave a destructor: a failure goes to the debug stream.
  c_Int32 const detached = detachAtDestruction_ ? ksys_attentionTag_detach(tag()) : 0;
  c_Int32 const destructed = ksys_attentionTag_destruct(tag());
  try {
    cfThrowExceptionOnFailure(detached);
    cfThrowExceptionOnFailure(destructed);
  } catch (ccException const& e) {
    cfOrvDebug() << "attention: (warning) ignoring exception in ccAttentionTag destructor: " << e.message() << '\n';
  } catch (...) {
    cfOrvDebug() << "attention: (warning) ignoring exception in ccAttentionTag destructor\n";
  }
}

ksys_attentionTag* ccAttentionTag::tag() { return std::launder(reinterpret_cast<ksys_attentionTag*>(kernelTag_)); }

void ccAttentionTag::attachTimeout(double seconds) {
  cfThrowExceptionOnFailure(ksys_attentionTag_attachTimeout(tag(), seconds));
}

void ccAttentionTag::attachTimeoutCustom(double seconds, c_Int32 code) {
  cfThrowExceptionOnFailure(ksys_attentionTag_attachTimeoutCustom(tag(), seconds, code));
}

void ccAttentionTag::attachCancel(c_Int32 code) {
  cfThrowExceptionOnFailure(ksys_attentionTag_attachCancel(tag(), 0, code));
}

void ccAttentionTag::detach() { cfThrowExceptionOnFailure(ksys_attentionTag_detach(tag())); }

void ccAttentionTag::requestCancel(c_Int32 code) {
  cfThrowExceptionOnFailure(ksys_attentionTag_requestCancel(tag(), code));
}

void ccAttention::checkAttached() {
  if (c_Int32 const rc = ksys_attention_checkAttached_(); rc < 0) cfThrowExceptionOnFailure(rc);
}
