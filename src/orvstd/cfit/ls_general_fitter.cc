#include "orvstd/cfit/ls_general_fitter.h"

cmErrorFamilyDefine(ccLSGeneralFitter::Errors)
cmErrorDefine(ccLSGeneralFitter::unstableErr)
cmErrorDefine(ccLSGeneralFitter::badArgErr)
