#include "orvstd/pelbuf/fast_image_transfer.h"

cmErrorFamilyDefine(cc_FastImageTransfer::Errors)
cmErrorDefine(cc_FastImageTransfer::TransferFailed)
