// ccAffineRectangle: a rectangle under an affine map, given by a corner, two
// side lengths, a rotation and a skew.
//
// Its errors join the shapes' family, so a handler for
// ccShapesError::Errors takes a bad length or skew as well.
#ifndef ORVSTD_SHAPES_AFFINE_RECTANGLE_H_
#define ORVSTD_SHAPES_AFFINE_RECTANGLE_H_

#include "orvstd/except/except.h"
#include "orvstd/shapes/shapes_error.h"

class ccAffineRectangle {
 public:
  cmErrorClass(BadLength, ccShapesError::Errors, 0x10002a07);
  cmErrorClass(BadSkew, ccShapesError::Errors, 0x10002a08);
};

#endif  // ORVSTD_SHAPES_AFFINE_RECTANGLE_H_
