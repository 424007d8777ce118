#include "orvstd/pelbuf/dib.h"

cmErrorFamilyDefine(ccDIB::Errors)
cmErrorDefine(ccDIB::BadFormat)
cmErrorDefine(ccDIB::ReadError)
cmErrorDefine(ccDIB::WriteError)
cmErrorDefine(ccDIB::NoDibData)
