#include "orvstd/calib/image_warp_defs.h"

#include "orvstd/affproj/affproj_defs.h"
#include "orvstd/kernel/kstd.h"

cmErrorFamilyDefine(ccImageWarpDefs::Errors)
cmErrorDefine(ccImageWarpDefs::BadParams)
cmErrorDefine(ccImageWarpDefs::BadImage)
cmErrorDefine(ccImageWarpDefs::BadWindow)
cmErrorDefine(ccImageWarpDefs::NotTrained)

cmErrorFamilyDefine(ccImageWarp1DDefs::Errors)
cmErrorDefine(ccImageWarp1DDefs::BadParams)
cmErrorDefine(ccImageWarp1DDefs::BadImage)
cmErrorDefine(ccImageWarp1DDefs::BadWindow)
cmErrorDefine(ccImageWarp1DDefs::NotTrained)
cmErrorDefine(ccImageWarp1DDefs::InappropriateXform)

namespace {

// The text has no closing bracket; it is kept as the kernel layer's users
// have always seen it.
char const* const kTooLarge = "The computed src or dest is too large (> 2**31 image coordinates";

// The first nine codes of the 2-D and the 1-D warper's facilities mean the
// same; `row` counts from the first of them.
template <class Defs>
void raiseCommonWarpRow(c_Int32 row) {
  switch (row) {
    case 0: throw typename Defs::BadImage("Cannot run on an unbound image.");
    case 1: throw typename Defs::NotTrained("Cannot run an untrained object.");
    case 2: throw typename Defs::BadWindow("Bad source window.");
    case 3: throw typename Defs::BadWindow("Bad destination window.");
    case 4: throw typename Defs::BadWindow("Bad source and destination windows.");
    case 5: throw typename Defs::BadWindow("Bad source or destination window.");
    case 6: throw typename Defs::BadWindow("Supplied src image does not contain the trained window.");
    case 7: throw typename Defs::BadWindow("Supplied dst image is not contained in the trained window.");
    case 8: throw typename Defs::BadParams("Accuracy value must be >= 0.");
    default: return;
  }
}

// Facility 63: the kernel layer's image warper. Any other code of it means
// the warper was not trained.
void convertImageWarp(c_Int32 code) {
  c_Int32 const row = code - kstd_failureCode(63, 2);
  raiseCommonWarpRow<ccImageWarpDefs>(row);
  if (row == 9) throw ccSampledImageWarpDefs::BadParams();
  if (row == 17) throw ccImageWarpDefs::BadWindow(kTooLarge);
  throw ccImageWarpDefs::NotTrained("");
}
cc_ExceptionConverter const imageWarpConverter(63, &convertImageWarp);

// Facility 130: the kernel layer's one-dimensional image warper; likewise.
void convertImageWarp1D(c_Int32 code) {
  c_Int32 const row = code - kstd_failureCode(130, 2);
  raiseCommonWarpRow<ccImageWarp1DDefs>(row);
  if (row == 9)
    throw ccImageWarp1DDefs::InappropriateXform(
        "srcFromDst transform does not satisfy the image warper 1D constraint");
  if (row == 12) throw ccImageWarp1DDefs::BadWindow(kTooLarge);
  throw ccImageWarp1DDefs::NotTrained();
}
cc_ExceptionConverter const imageWarp1DConverter(130, &convertImageWarp1D);

}  // namespace
