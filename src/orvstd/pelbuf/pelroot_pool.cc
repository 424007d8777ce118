#include "orvstd/pelbuf/pelroot_pool.h"

cmErrorFamilyDefine(ccPelRootPool::Errors)
cmErrorDefine(ccPelRootPool::NotSupported)
cmErrorDefine(ccPelRootPool::Outstanding)
