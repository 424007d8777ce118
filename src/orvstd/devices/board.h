// ccBoard: a vision board (frame grabber or processor card) in this machine.
//
// Board errors carry a text and the platform's last error code, which is
// what a driver failure usually has to say.
#ifndef ORVSTD_DEVICES_BOARD_H_
#define ORVSTD_DEVICES_BOARD_H_

#include "orvstd/devices/last_error_family.h"

class ccBoard {
 public:
  static constexpr char kErrorsVersionText[] = "ccBoard::Errors class version mismatch";
  using Errors = cc_LastErrorFamily<ccBoard>;
  cmErrorClass(BadParams, Errors, 0x10002c00);
  cmErrorClass(StaticInitDisorder, Errors, 0x10002c01);
  cmErrorClass(NotSupported, Errors, 0x10002c02);
  cmErrorClass(HardwareNotResponding, Errors, 0x10002c03);
  cmErrorClass(Timeout, Errors, 0x10002c04);
  // 0x10002c05 to 0x10002c07 and 0x10002c0a are ccAccelerator's.
  cmErrorClass(HardwareInUse, Errors, 0x10002c08);
  cmErrorClass(HardwareNotInitialized, Errors, 0x10002c09);
  cmErrorClass(FpgaLoadFailure, Errors, 0x10002c0b);
  cmErrorClass(BadEERAMContents, Errors, 0x10002c0c);
  cmErrorClass(MultiProcessAccessFailed, Errors, 0x10002c0d);
};

// Instantiated once, in last_error_family.cc.
extern template class cc_LastErrorFamily<ccBoard>;

#endif  // ORVSTD_DEVICES_BOARD_H_
