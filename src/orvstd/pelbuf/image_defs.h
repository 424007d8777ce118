// The definitions of acquired images beyond plain grey levels: colour
// spaces, and depth images.
#ifndef ORVSTD_PELBUF_IMAGE_DEFS_H_
#define ORVSTD_PELBUF_IMAGE_DEFS_H_

#include "orvstd/except/except.h"

class ccColorSpaceDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadColorSpace, Errors, 0x1000040a);
};

class ccDepthImageDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x1000b800);
  cmErrorClass(NotInitialized, Errors, 0x1000b801);
};

#endif  // ORVSTD_PELBUF_IMAGE_DEFS_H_
