#include "orvstd/devices/parallel_io.h"

cmErrorFamilyDefine(ccParallelIO::Errors)
cmErrorDefine(ccParallelIO::BadParams)
cmErrorDefine(ccParallelIO::CannotEnable)
cmErrorDefine(ccParallelIO::NotEnabled)
cmErrorDefine(ccParallelIO::NotImplemented)
cmErrorDefine(ccParallelIO::Unspecified)
