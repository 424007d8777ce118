// ccCharCodeDefs: the definitions of conversion between character codes.
#ifndef ORVSTD_UTIL_CHAR_CODE_DEFS_H_
#define ORVSTD_UTIL_CHAR_CODE_DEFS_H_

#include "orvstd/except/except.h"

class ccCharCodeDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NotRepresentable, Errors, 0x1000c900);
};

#endif  // ORVSTD_UTIL_CHAR_CODE_DEFS_H_
