#include "orvstd/pelbuf/acq_image.h"

cmErrorFamilyDefine(ccAcqImage::Errors)
cmErrorDefine(ccAcqImage::NotSupported)
