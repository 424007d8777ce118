// ccPel: the failures of pel roots and pel buffers (windows onto image
// storage).
#ifndef ORVSTD_PELBUF_PEL_H_
#define ORVSTD_PELBUF_PEL_H_

#include "orvstd/except/except.h"

class ccPel {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnboundWindow, Errors, 0x10000400);
  cmErrorClass(BadWindow, Errors, 0x10000402);
  cmErrorClass(DisjointWindows, Errors, 0x10000403);
  cmErrorClass(Unknown, Errors, 0x10000406);
  cmErrorClass(NonlinearXform, Errors, 0x10000409);
};

#endif  // ORVSTD_PELBUF_PEL_H_
