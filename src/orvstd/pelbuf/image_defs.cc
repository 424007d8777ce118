#include "orvstd/pelbuf/image_defs.h"

cmErrorFamilyDefine(ccColorSpaceDefs::Errors)
cmErrorDefine(ccColorSpaceDefs::BadColorSpace)

cmErrorFamilyDefine(ccDepthImageDefs::Errors)
cmErrorDefine(ccDepthImageDefs::BadParams)
cmErrorDefine(ccDepthImageDefs::NotInitialized)
