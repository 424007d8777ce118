// ccSerialIO: a serial port, with its line settings and blocking reads and
// writes.
#ifndef ORVSTD_DEVICES_SERIAL_IO_H_
#define ORVSTD_DEVICES_SERIAL_IO_H_

#include "orvstd/except/except.h"

class ccSerialIO {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x10004d00);
  cmErrorClass(NotSupported, Errors, 0x10004d01);
  // 0x10004d03 to 0x10004d05 are ccPointingDevice's.
  cmErrorClass(CannotInit, Errors, 0x10004d06);
  cmErrorClass(ReadFail, Errors, 0x10004d07);
  cmErrorClass(WriteFail, Errors, 0x10004d08);
};

#endif  // ORVSTD_DEVICES_SERIAL_IO_H_
