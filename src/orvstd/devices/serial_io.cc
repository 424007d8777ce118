#include "orvstd/devices/serial_io.h"

cmErrorFamilyDefine(ccSerialIO::Errors)
cmErrorDefine(ccSerialIO::BadParams)
cmErrorDefine(ccSerialIO::NotSupported)
cmErrorDefine(ccSerialIO::CannotInit)
cmErrorDefine(ccSerialIO::ReadFail)
cmErrorDefine(ccSerialIO::WriteFail)
