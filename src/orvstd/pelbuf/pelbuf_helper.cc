#include "orvstd/pelbuf/pelbuf_helper.h"

cmErrorFamilyDefine(ccPelbufHelper1::Errors)
cmErrorDefine(ccPelbufHelper1::ccPelbufTrigger)
