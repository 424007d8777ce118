// The definitions of the trainable image warpers, two-dimensional and
// one-dimensional. Their errors carry the text of the failure.
#ifndef ORVSTD_CALIB_IMAGE_WARP_DEFS_H_
#define ORVSTD_CALIB_IMAGE_WARP_DEFS_H_

#include "orvstd/except/except.h"

class ccImageWarpDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x16030001);
  cmErrorClass(BadImage, Errors, 0x16030002);
  cmErrorClass(BadWindow, Errors, 0x16030003);
  cmErrorClass(NotTrained, Errors, 0x16030004);
};

class ccImageWarp1DDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x16030040);
  cmErrorClass(BadImage, Errors, 0x16030042);
  cmErrorClass(BadWindow, Errors, 0x16030043);
  cmErrorClass(NotTrained, Errors, 0x16030044);
  cmErrorClass(InappropriateXform, Errors, 0x16030045);
};

#endif  // ORVSTD_CALIB_IMAGE_WARP_DEFS_H_
