// cc_ConWin: the text console window the library writes its messages to.
#ifndef ORVSTD_UTIL_CONWIN_H_
#define ORVSTD_UTIL_CONWIN_H_

#include "orvstd/except/except.h"

class cc_ConWin {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(CantCreateWindow, Errors, 0x10000d00);
};

#endif  // ORVSTD_UTIL_CONWIN_H_
