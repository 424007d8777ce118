// ccRLEBuffer: a run-length encoded image, compact for the mostly uniform
// images of blobs and masks.
#ifndef ORVSTD_RLEBUF_RLEBUF_H_
#define ORVSTD_RLEBUF_RLEBUF_H_

#include "orvstd/except/except.h"

class ccRLEBuffer {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Degenerate, Errors, 0x10001800);
};

#endif  // ORVSTD_RLEBUF_RLEBUF_H_
