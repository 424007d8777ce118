// ccRangeDefs: the definitions shared by the numeric ranges: the kind of a
// range (partial, empty or full) and the range errors, which carry a text
// that says which bound was wrong.
//
//   if (r.kind() == ccRangeDefs::eEmpty) ...
//   throw ccRangeDefs::BadParams("start > end");
#ifndef ORVSTD_MATH_RANGE_DEFS_H_
#define ORVSTD_MATH_RANGE_DEFS_H_

#include "orvstd/except/except.h"

class ccArchive;

class ccRangeDefs {
 public:
  enum Range { ePartial = 0, eEmpty = 1, eFull = 2 };

  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f20);
  cmErrorClass(NotPartialRange, Errors, 0x10000f21);
};

// The kind as a long. Loading a number that names no kind raises
// ccArchive::BadContent.
ccArchive& operator||(ccArchive& ar, ccRangeDefs::Range& kind);

#endif  // ORVSTD_MATH_RANGE_DEFS_H_
