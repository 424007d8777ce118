#include "orvstd/util/dictionary.h"

cmErrorFamilyDefine(ccDictionary::Errors)
cmErrorDefine(ccDictionary::BadParams)
