#include "orvstd/platform/resource.h"

cmErrorFamilyDefine(cc_Resource::Errors)
cmErrorDefine(cc_Resource::Timeout)
cmErrorDefine(cc_Resource::NamedObjectExists)
cmErrorDefine(cc_Resource::NameConflict)
cmErrorDefine(cc_Resource::CreateFailed)
cmErrorDefine(cc_Resource::BrokenLock)
