// ccRectErrors: the failures of the integer rectangles and spans that
// describe image windows.
#ifndef ORVSTD_PELBUF_RECT_ERRORS_H_
#define ORVSTD_PELBUF_RECT_ERRORS_H_

#include "orvstd/except/except.h"

class ccRectErrors {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NoOverlap, Errors, 0x10000407);
  cmErrorClass(NegativeSize, Errors, 0x10000408);
};

#endif  // ORVSTD_PELBUF_RECT_ERRORS_H_
