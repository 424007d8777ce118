// ccAffineSamplingParams: what an affine resampling of an image needs: the
// sampling rectangle in client coordinates, the grid size and the
// interpolation rule.
//
// It is an affine rectangle, so the rectangle's BadLength and BadSkew are
// reachable through it as well.
#ifndef ORVSTD_AFFPROJ_AFFINE_SAMPLING_PARAMS_H_
#define ORVSTD_AFFPROJ_AFFINE_SAMPLING_PARAMS_H_

#include "orvstd/except/except.h"
#include "orvstd/shapes/affine_rectangle.h"

class ccAffineSamplingParams : public ccAffineRectangle {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadNumSamples, Errors, 0x10002320);
  cmErrorClass(NotImplemented, Errors, 0x10002321);
};

#endif  // ORVSTD_AFFPROJ_AFFINE_SAMPLING_PARAMS_H_
