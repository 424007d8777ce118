#include "orvstd/devices/accelerator.h"

cmErrorDefine(ccAccelerator::BadFile)
cmErrorDefine(ccAccelerator::BootFailure)
cmErrorDefine(ccAccelerator::ConnectionBroken)
