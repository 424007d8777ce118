// ccPelRootPool: a pool that hands out pel roots from storage it holds, such
// as memory a frame grabber can write into.
#ifndef ORVSTD_PELBUF_PELROOT_POOL_H_
#define ORVSTD_PELBUF_PELROOT_POOL_H_

#include "orvstd/except/except.h"

class ccPelRootPool {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NotSupported, Errors, 0x1000098c);
  cmErrorClass(Outstanding, Errors, 0x1000098d);
};

#endif  // ORVSTD_PELBUF_PELROOT_POOL_H_
