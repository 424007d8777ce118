#include "orvstd/platform/timeout.h"

#include "orvstd/kernel/kstd.h"

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
