#include "orvstd/cfit/ls_fitters.h"

cmErrorFamilyDefine(ccLSPointToPointFitter::Errors)
cmErrorDefine(ccLSPointToPointFitter::UnstableErr)
cmErrorDefine(ccLSPointToPointFitter::BadArgErr)

cmErrorFamilyDefine(ccLSPointToLineFitter::Errors)
cmErrorDefine(ccLSPointToLineFitter::UnstableErr)
cmErrorDefine(ccLSPointToLineFitter::BadArgErr)

cmErrorFamilyDefine(ccLSCircleFitter::Errors)
cmErrorDefine(ccLSCircleFitter::UnstableErr)

cmErrorFamilyDefine(ccLSLineFitter::Errors)
cmErrorDefine(ccLSLineFitter::UnstableErr)
