#include "orvstd/util/char_code_defs.h"

cmErrorFamilyDefine(ccCharCodeDefs::Errors)
cmErrorDefine(ccCharCodeDefs::NotRepresentable)
