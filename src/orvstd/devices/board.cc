#include "orvstd/devices/board.h"

cmErrorDefine(ccBoard::BadParams)
cmErrorDefine(ccBoard::StaticInitDisorder)
cmErrorDefine(ccBoard::NotSupported)
cmErrorDefine(ccBoard::HardwareNotResponding)
cmErrorDefine(ccBoard::Timeout)
cmErrorDefine(ccBoard::HardwareInUse)
cmErrorDefine(ccBoard::HardwareNotInitialized)
cmErrorDefine(ccBoard::FpgaLoadFailure)
cmErrorDefine(ccBoard::BadEERAMContents)
cmErrorDefine(ccBoard::MultiProcessAccessFailed)
