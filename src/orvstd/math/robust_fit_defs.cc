#include "orvstd/math/robust_fit_defs.h"

cmErrorFamilyDefine(ccRobustFitDefs::Errors)
cmErrorDefine(ccRobustFitDefs::BadParams)

cmErrorFamilyDefine(ccAdaptiveRANSACDefs::Errors)
cmErrorDefine(ccAdaptiveRANSACDefs::BadParams)
cmErrorDefine(ccAdaptiveRANSACDefs::InsufficientDataPoints)
cmErrorDefine(ccAdaptiveRANSACDefs::FailedToFitModel)
