// ccParallelIO: the digital input and output lines of a vision board.
#ifndef ORVSTD_DEVICES_PARALLEL_IO_H_
#define ORVSTD_DEVICES_PARALLEL_IO_H_

#include "orvstd/except/except.h"

class ccParallelIO {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x10003a00);
  cmErrorClass(CannotEnable, Errors, 0x10003a01);
  cmErrorClass(NotEnabled, Errors, 0x10003a03);
  cmErrorClass(NotImplemented, Errors, 0x10003a04);
  cmErrorClass(Unspecified, Errors, 0x10003a05);
};

#endif  // ORVSTD_DEVICES_PARALLEL_IO_H_
