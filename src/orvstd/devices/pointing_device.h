// ccPointingDevice: a pointer kept inside a bounding rectangle, with button
// events and a callback, such as a mouse on a serial line.
#ifndef ORVSTD_DEVICES_POINTING_DEVICE_H_
#define ORVSTD_DEVICES_POINTING_DEVICE_H_

#include "orvstd/except/except.h"

class ccPointingDevice {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NoDevice, Errors, 0x10004d03);
  cmErrorClass(NotDetected, Errors, 0x10004d04);
  cmErrorClass(UnSupported, Errors, 0x10004d05);
};

#endif  // ORVSTD_DEVICES_POINTING_DEVICE_H_
