#include "orvstd/math/xform_defs.h"

#include "orvstd/kernel/kstd.h"
#include "orvstd/math/math_error.h"

cmErrorFamilyDefine(cc2XformDefs::Errors)
cmErrorDefine(cc2XformDefs::NotImplemented)

cmErrorFamilyDefine(cc2XformPerspectiveDefs::Errors)
cmErrorDefine(cc2XformPerspectiveDefs::BadParams)
cmErrorDefine(cc2XformPerspectiveDefs::NumericalError)

cmErrorFamilyDefine(cc2XformCalib2Defs::Errors)
cmErrorDefine(cc2XformCalib2Defs::BadParams)
cmErrorDefine(cc2XformCalib2Defs::MapsToInfinity)
cmErrorDefine(cc2XformCalib2Defs::NumericalError)
cmErrorDefine(cc2XformCalib2Defs::InsufficientPoints)
cmErrorDefine(cc2XformCalib2Defs::NotImplemented)

cmErrorFamilyDefine(cc2XformDeformDefs::Errors)
cmErrorDefine(cc2XformDeformDefs::BadParams)

namespace {

// Facility 44: the kernel layer's plane transforms. The pel module converts
// 0x80000585, a nonlinear transform handed to pel code.
void convertXform(c_Int32 code) {
  switch (code) {
    case kstd_failureCode(44, 2):
    case kstd_failureCode(44, 3): throw ccMathError::Singular();
    case kstd_failureCode(44, 6): throw cc2XformDefs::NotImplemented();
    case kstd_failureCode(44, 7): throw cc2XformDeformDefs::BadParams("Bad Params: Negative smoothness");
    case kstd_failureCode(44, 8): throw cc2XformDeformDefs::BadParams("Bad Params: Less than 3 points");
    case kstd_failureCode(44, 12): throw cc2XformCalib2Defs::BadParams("Bad Points");
    default: return;
  }
}
cc_ExceptionConverter const xformConverter(44, &convertXform);

// Facility 62: the kernel layer's camera calibration. A code it does not
// list is a numerical failure of the calibration.
void convertCalib(c_Int32 code) {
  using D = cc2XformCalib2Defs;
  constexpr c_Int32 kBase = kstd_failureCode(62, 0);
  switch (code) {
    case kBase + 0: throw D::BadParams("");
    case kBase + 1: throw D::BadParams("Not a rotation matrix");
    case kBase + 2: throw D::MapsToInfinity("Division by zero");
    case kBase + 3: throw D::NumericalError("Division by zero");
    case kBase + 4: throw D::NumericalError("Bad Points");
    case kBase + 5: throw D::NumericalError("Could not solve for intrinsic parameters: Bad Feature Points");
    case kBase + 6: throw D::BadParams("The number of correspondences must be >= 1");
    case kBase + 7: throw D::InsufficientPoints("The number of points in each correspondence must be >= 9");
    case kBase + 8: throw D::BadParams("Extrinsic parameters not computed");
    case kBase + 9: throw D::BadParams("Intrinsic parameters not computed");
    case kBase + 11: throw ccMathError::Singular();
    case kBase + 14: throw D::BadParams("Invalid undistort mode");
    case kBase + 18: throw D::BadParams("Too few points");
    case kBase + 19: throw D::BadParams("Negative distance from Camera to Target");
    case kBase + 20: throw D::BadParams("Invalid distance from Camera to Target");
    case kBase + 21: throw D::BadParams("Non-zero false distance from Camera to Target");
    case kBase + 25: throw D::BadParams("Zero distance from Camera to Target");
    default: throw D::NumericalError("Unknown Error");
  }
}
cc_ExceptionConverter const calibConverter(62, &convertCalib);

}  // namespace
