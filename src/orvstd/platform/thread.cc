#include "orvstd/platform/thread.h"

cmErrorFamilyDefine(ccThreadID::Errors)
cmErrorDefine(ccThreadID::CouldNotRegister)
cmErrorDefine(ccThreadID::CreateFailed)
