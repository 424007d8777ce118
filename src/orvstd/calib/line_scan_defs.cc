#include "orvstd/calib/line_scan_defs.h"

#include "orvstd/kernel/kstd.h"
#include "orvstd/pelbuf/pel.h"

cmErrorFamilyDefine(ccLineScanDistortionCorrectionDefs::Errors)
cmErrorDefine(ccLineScanDistortionCorrectionDefs::BadParams)
cmErrorDefine(ccLineScanDistortionCorrectionDefs::BadImage)
cmErrorDefine(ccLineScanDistortionCorrectionDefs::NotTrained)
cmErrorDefine(ccLineScanDistortionCorrectionDefs::MismatchedRanges)

namespace {

// Facility 132: the kernel layer's line-scan distortion correction.
void convertLineScan(c_Int32 code) {
  using D = ccLineScanDistortionCorrectionDefs;
  constexpr c_Int32 kBase = kstd_failureCode(132, 0);
  switch (code) {
    case kBase + 0: throw D::NotTrained();
    case kBase + 1: throw D::BadParams("Positions not monotonically increasing");
    case kBase + 2: throw D::BadParams("Positions outside range");
    case kBase + 3: throw D::BadParams("Too few positions");
    case kBase + 4: throw D::BadParams("Extrapolated positions do not span extents");
    case kBase + 5: throw D::BadImage("Training image has too few features");
    case kBase + 6: throw D::BadImage("Training image has non striped features");
    case kBase + 7:
    case kBase + 9: throw ccPel::UnboundWindow();
    case kBase + 10: throw D::MismatchedRanges("");
    default: return;
  }
}
cc_ExceptionConverter const lineScanConverter(132, &convertLineScan);

}  // namespace
