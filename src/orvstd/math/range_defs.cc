#include "orvstd/math/range_defs.h"

cmErrorFamilyDefine(ccRangeDefs::Errors)
cmErrorDefine(ccRangeDefs::BadParams)
cmErrorDefine(ccRangeDefs::NotPartialRange)
