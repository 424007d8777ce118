// The definitions of affine resampling and projection of images, and of the
// one-shot sampled image warp.
#ifndef ORVSTD_AFFPROJ_AFFPROJ_DEFS_H_
#define ORVSTD_AFFPROJ_AFFPROJ_DEFS_H_

#include "orvstd/except/except.h"

// Resampling a rectangle of an image into an upright grid.
class ccAffTransDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnboundWindow, Errors, 0x10002324);
  cmErrorClass(Clipped, Errors, 0x10002325);
};

// Summing a rectangle of an image into one projection line.
class ccAffProjImgDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnboundWindow, Errors, 0x10003300);
  cmErrorClass(Clipped, Errors, 0x10003301);
  cmErrorClass(BadWeightImage, Errors, 0x10003302);
  cmErrorClass(NotImplemented, Errors, 0x10003303);
};

class ccSampledImageWarpDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x10002390);
};

#endif  // ORVSTD_AFFPROJ_AFFPROJ_DEFS_H_
