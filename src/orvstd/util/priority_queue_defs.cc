#include "orvstd/util/priority_queue_defs.h"

cmErrorFamilyDefine(cc_PriorityQueueDefs::Errors)
cmErrorDefine(cc_PriorityQueueDefs::EmptyQueue)
cmErrorDefine(cc_PriorityQueueDefs::BadHandle)
