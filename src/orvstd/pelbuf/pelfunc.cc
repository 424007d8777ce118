#include "orvstd/pelbuf/pelfunc.h"

#include "orvstd/kernel/kstd.h"

cmErrorFamilyDefine(ccPelFunc::Errors)
cmErrorDefine(ccPelFunc::Range)
cmErrorDefine(ccPelFunc::Overlap)
cmErrorDefine(ccPelFunc::BadParams)

namespace {

// Facility 53: the kernel layer's pel operations.
void convertPelFunc(c_Int32 code) {
  switch (code) {
    case kstd_failureCode(53, 1): throw ccPelFunc::Overlap();
    case kstd_failureCode(53, 2):
    case kstd_failureCode(53, 3):
    case kstd_failureCode(53, 4):
    case kstd_failureCode(53, 5): throw ccPelFunc::BadParams();
    default: return;
  }
}
cc_ExceptionConverter const pelFuncConverter(53, &convertPelFunc);

}  // namespace
