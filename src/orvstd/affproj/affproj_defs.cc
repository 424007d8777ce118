#include "orvstd/affproj/affproj_defs.h"

#include "orvstd/affproj/affine_sampling_params.h"
#include "orvstd/kernel/kstd.h"

cmErrorFamilyDefine(ccAffTransDefs::Errors)
cmErrorDefine(ccAffTransDefs::UnboundWindow)
cmErrorDefine(ccAffTransDefs::Clipped)

cmErrorFamilyDefine(ccAffProjImgDefs::Errors)
cmErrorDefine(ccAffProjImgDefs::UnboundWindow)
cmErrorDefine(ccAffProjImgDefs::Clipped)
cmErrorDefine(ccAffProjImgDefs::BadWeightImage)
cmErrorDefine(ccAffProjImgDefs::NotImplemented)

cmErrorFamilyDefine(ccSampledImageWarpDefs::Errors)
cmErrorDefine(ccSampledImageWarpDefs::BadParams)

namespace {

// Facility 60: the kernel layer's affine sampling and projection. The pel
// module converts 0x80000784 and 0x80000788, a coordinate outside the image.
void convertAffine(c_Int32 code) {
  switch (code) {
    case kstd_failureCode(60, 2): throw ccAffProjImgDefs::UnboundWindow();
    case kstd_failureCode(60, 3):
    case kstd_failureCode(60, 7): throw ccAffTransDefs::Clipped();
    case kstd_failureCode(60, 6): throw ccAffTransDefs::UnboundWindow();
    case kstd_failureCode(60, 11): throw ccAffineSamplingParams::NotImplemented();
    case kstd_failureCode(60, 12): throw ccAffProjImgDefs::NotImplemented();
    default: return;
  }
}
cc_ExceptionConverter const affineConverter(60, &convertAffine);

}  // namespace
