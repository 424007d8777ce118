#include "orvstd/workmgr/worker_thread_manager_defs.h"

cmErrorFamilyDefine(ccWorkerThreadManagerDefs::Errors)
cmErrorDefine(ccWorkerThreadManagerDefs::BadParams)
