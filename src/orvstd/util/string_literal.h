// ccStringLiteral: a string constant usable as narrow or wide text.
#ifndef ORVSTD_UTIL_STRING_LITERAL_H_
#define ORVSTD_UTIL_STRING_LITERAL_H_

#include "orvstd/except/except.h"

class ccStringLiteral {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x1000000d);
};

#endif  // ORVSTD_UTIL_STRING_LITERAL_H_
