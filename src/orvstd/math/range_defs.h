// ccRangeDefs: the definitions shared by the numeric ranges. Range errors
// carry a text that says which bound was wrong.
#ifndef ORVSTD_MATH_RANGE_DEFS_H_
#define ORVSTD_MATH_RANGE_DEFS_H_

#include "orvstd/except/except.h"

class ccRangeDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f20);
  cmErrorClass(NotPartialRange, Errors, 0x10000f21);
};

#endif  // ORVSTD_MATH_RANGE_DEFS_H_
