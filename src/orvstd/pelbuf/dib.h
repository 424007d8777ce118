// ccDIB: device-independent bitmap files, read into and written from pel
// buffers. Its errors say what was wrong with the file.
#ifndef ORVSTD_PELBUF_DIB_H_
#define ORVSTD_PELBUF_DIB_H_

#include "orvstd/except/except.h"

class ccDIB {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadFormat, Errors, 0x10001401);
  cmErrorClass(ReadError, Errors, 0x10001402);
  cmErrorClass(WriteError, Errors, 0x10001403);
  cmErrorClass(NoDibData, Errors, 0x10001404);
};

#endif  // ORVSTD_PELBUF_DIB_H_
