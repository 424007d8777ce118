// ccAccelerator: a processor card that runs vision work on behalf of this
// process, loaded with its own software and reached over a connection.
//
// Its errors carry a text and the platform's last error code, as the
// board's do.
#ifndef ORVSTD_DEVICES_ACCELERATOR_H_
#define ORVSTD_DEVICES_ACCELERATOR_H_

#include "orvstd/devices/last_error_family.h"

class ccAccelerator {
 public:
  static constexpr char kErrorsVersionText[] = "ccAccelerator::Errors class version mismatch";
  using Errors = cc_LastErrorFamily<ccAccelerator>;
  cmErrorClass(BadFile, Errors, 0x10002c05);
  cmErrorClass(BootFailure, Errors, 0x10002c06);
  cmErrorClass(ConnectionBroken, Errors, 0x10002c0a);
};

// Instantiated once, in last_error_family.cc.
extern template class cc_LastErrorFamily<ccAccelerator>;

#endif  // ORVSTD_DEVICES_ACCELERATOR_H_
