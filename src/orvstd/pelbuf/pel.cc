#include "orvstd/pelbuf/pel.h"

#include "orvstd/kernel/kstd.h"

cmErrorFamilyDefine(ccPel::Errors)
cmErrorDefine(ccPel::UnboundWindow)
cmErrorDefine(ccPel::BadWindow)
cmErrorDefine(ccPel::DisjointWindows)
cmErrorDefine(ccPel::Unknown)
cmErrorDefine(ccPel::NonlinearXform)

namespace {

// Facility 30: the kernel layer's pel storage.
void convertPel(c_Int32 code) {
  switch (code) {
    case kstd_failureCode(30, 3): throw ccPel::UnboundWindow();
    case kstd_failureCode(30, 10): throw ccPel::NonlinearXform();
    default: return;
  }
}
cc_ExceptionConverter const pelConverter(30, &convertPel);

// Facility 44, the plane transforms, has this one code of the pel module's;
// the maths module converts the others.
void convertXformOnPels(c_Int32 code) {
  if (code == kstd_failureCode(44, 5)) throw ccPel::NonlinearXform();
}
cc_ExceptionConverter const xformOnPelsConverter(44, &convertXformOnPels);

}  // namespace
