#include "orvstd/platform/timeout.h"

#include <memory>

#include "orvstd/kernel/kstd.h"
#include "orvstd/platform/attention.h"

cmErrorDefine(ccTimeout::Expired)
cmErrorDefine(ccTimeout::InternalExpired)
cmErrorDefine(ccTimeout::Cancel)

namespace {

// Facility 3: the kernel layer's time limits.
void convertTimeout(c_Int32 code) {
  switch (code) {
    case kstd_failureCode(3, 1): throw ccTimeout::Expired();
    case kstd_failureCode(3, 2): throw ccTimeout::Cancel();
    case kstd_failureCode(3, 4): throw ccTimeout::InternalExpired();
    default: return;
  }
}
cc_ExceptionConverter const timeoutConverter(3, &convertTimeout);

}  // namespace

ccTimeout::ccTimeout(double seconds) : tag_(nullptr) {
  cmAssert(seconds >= 0.0);
  // Held by a smart pointer until attached, so that a failed attach leaks
  // nothing.
  auto tag = std::make_unique<ccAttentionTag>(true);
  tag->attachTimeout(seconds);
  tag_ = tag.release();
}

ccTimeout::~ccTimeout() { detach(); }

void ccTimeout::detach() {
  // Deleting the tag detaches it.
  delete tag_;
  tag_ = nullptr;
}
