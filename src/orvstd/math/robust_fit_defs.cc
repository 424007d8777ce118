#include "orvstd/math/robust_fit_defs.h"

#include "orvstd/archive/archive.h"

cmErrorFamilyDefine(ccRobustFitDefs::Errors)
cmErrorDefine(ccRobustFitDefs::BadParams)

cmErrorFamilyDefine(ccAdaptiveRANSACDefs::Errors)
cmErrorDefine(ccAdaptiveRANSACDefs::BadParams)
cmErrorDefine(ccAdaptiveRANSACDefs::InsufficientDataPoints)
cmErrorDefine(ccAdaptiveRANSACDefs::FailedToFitModel)

// The tests are written so that NaN is refused too.
void ccRobustFitParams::worstCaseProportionOutliers(double x) {
  if (!(x >= 0. && x < 1.))
    throw ccRobustFitDefs::BadParams("worstCaseProportionOutliers < 0. || worstCaseProportionOutliers >= 1.");
  worstCaseProportionOutliers_ = x;
}

void ccRobustFitParams::assurance(double x) {
  if (!(x > 0. && x <= 1.)) throw ccRobustFitDefs::BadParams("assurance <= 0. || assurance > 1.");
  assurance_ = x;
}

void ccRobustFitParams::distanceThreshold(double x) {
  if (!(x >= 0.)) throw ccRobustFitDefs::BadParams("distanceThreshold < 0.");
  distanceThreshold_ = x;
}

ccArchive& operator||(ccArchive& ar, ccRobustFitParams& p) {
  unsigned char version = 1;
  ar || version;
  cfCheckClassVersion(version, 1, "std/math/robstfit", __LINE__);
  if (version == 0) {
    // The old form's fields have no place in the present one.
    c_UInt32 oldNumber = 0;
    double oldValue = 0;
    ar || oldNumber || oldValue;
    return ar;
  }
  c_UInt32 technique = p.robustFitTechnique_;
  ccRobustFitParams loaded(p);
  ar || loaded.worstCaseProportionOutliers_ || loaded.assurance_ || loaded.distanceThreshold_ || technique;
  if (ar.isLoading()) {
    // Through the setters, so a damaged archive cannot bring in a value they
    // refuse; nothing changes unless all three pass.
    ccRobustFitParams checked;
    checked.worstCaseProportionOutliers(loaded.worstCaseProportionOutliers_);
    checked.assurance(loaded.assurance_);
    checked.distanceThreshold(loaded.distanceThreshold_);
    checked.robustFitTechnique(static_cast<ccRobustFitDefs::RobustFitTechnique>(technique));
    p = checked;
  }
  return ar;
}
