#include "orvstd/cfit/fit_defs.h"

cmErrorFamilyDefine(ccCircleFitDefs::Errors)
cmErrorDefine(ccCircleFitDefs::BadParams)

cmErrorFamilyDefine(ccLineFitDefs::Errors)
cmErrorDefine(ccLineFitDefs::BadParams)

cmErrorFamilyDefine(ccEllipseFitDefs::Errors)
cmErrorDefine(ccEllipseFitDefs::BadParams)

cmErrorFamilyDefine(ccPointFitDefs::Errors)
cmErrorDefine(ccPointFitDefs::BadParams)
cmErrorDefine(ccPointFitDefs::NotImplemented)
