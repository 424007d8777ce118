#include "orvstd/devices/pointing_device.h"

cmErrorFamilyDefine(ccPointingDevice::Errors)
cmErrorDefine(ccPointingDevice::NoDevice)
cmErrorDefine(ccPointingDevice::NotDetected)
cmErrorDefine(ccPointingDevice::UnSupported)
