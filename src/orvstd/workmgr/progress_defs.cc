#include "orvstd/workmgr/progress_defs.h"

cmErrorFamilyDefine(ccProgressDefs::Errors)
cmErrorDefine(ccProgressDefs::BadParams)
