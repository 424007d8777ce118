// ccPelbufHelper1: a small sequence detector over a list of values; when the
// whole sequence has been seen it reports it and raises ccPelbufTrigger.
#ifndef ORVSTD_PELBUF_PELBUF_HELPER_H_
#define ORVSTD_PELBUF_PELBUF_HELPER_H_

#include "orvstd/except/except.h"

class ccPelbufHelper1 {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(ccPelbufTrigger, Errors, 0x10000007);
};

#endif  // ORVSTD_PELBUF_PELBUF_HELPER_H_
