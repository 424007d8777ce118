#include "orvstd/vdb/vdb_record.h"

cmErrorFamilyDefine(ccVDBRecordBase::Errors)
cmErrorDefine(ccVDBRecordBase::NoResult)
