#include "orvstd/util/string_literal.h"

cmErrorFamilyDefine(ccStringLiteral::Errors)
cmErrorDefine(ccStringLiteral::BadParams)
