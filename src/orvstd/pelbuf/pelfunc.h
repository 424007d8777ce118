// ccPelFunc: the typed pel functions that run over the pels of one or more
// pel buffers.
#ifndef ORVSTD_PELBUF_PELFUNC_H_
#define ORVSTD_PELBUF_PELFUNC_H_

#include "orvstd/except/except.h"

class ccPelFunc {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Range, Errors, 0x10000500);
  cmErrorClass(Overlap, Errors, 0x10000501);
  cmErrorClass(BadParams, Errors, 0x10000502);
};

#endif  // ORVSTD_PELBUF_PELFUNC_H_
