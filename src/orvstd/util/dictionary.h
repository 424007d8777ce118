// ccDictionary: a table from names to values.
#ifndef ORVSTD_UTIL_DICTIONARY_H_
#define ORVSTD_UTIL_DICTIONARY_H_

#include "orvstd/except/except.h"

class ccDictionary {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x1000000c);
};

#endif  // ORVSTD_UTIL_DICTIONARY_H_
