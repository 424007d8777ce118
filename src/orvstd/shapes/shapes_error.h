// ccShapesError: the failures of the plane geometry model. The shapes share
// one family so that a caller can catch any geometric failure at once.
#ifndef ORVSTD_SHAPES_SHAPES_ERROR_H_
#define ORVSTD_SHAPES_SHAPES_ERROR_H_

#include "orvstd/except/except.h"

class ccShapesError {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(DegenerateShape, Errors, 0x10002a00);
  cmErrorClass(LinesParallel, Errors, 0x10002a01);
  cmErrorClass(BadRadius, Errors, 0x10002a02);
  cmErrorClass(NotConcentric, Errors, 0x10002a03);
  cmErrorClass(BadCoef, Errors, 0x10002a04);
  cmErrorClass(BadGeom, Errors, 0x10002a05);
  cmErrorClass(BadUnit, Errors, 0x10002a06);
  // 0x10002a07 and 0x10002a08 are ccAffineRectangle's.
  cmErrorClass(BadIndex, Errors, 0x10002a10);
  cmErrorClass(BadParams, Errors, 0x10002a11);
  cmErrorClass(InfiniteExtent, Errors, 0x10002a20);
  cmErrorClass(NotOpenContour, Errors, 0x10002a21);
  cmErrorClass(NotRegion, Errors, 0x10002a22);
  cmErrorClass(SampleOverflow, Errors, 0x10002a23);
  cmErrorClass(NoTangent, Errors, 0x10002a24);
  cmErrorClass(EmptyShape, Errors, 0x10002a25);
  cmErrorClass(NotReversible, Errors, 0x10002a26);
  cmErrorClass(NonpositiveWeight, Errors, 0x10002a30);
  cmErrorClass(CoincidentShapePoints, Errors, 0x10002a31);
  cmErrorClass(NotImplemented, Errors, 0x10002aff);
};

#endif  // ORVSTD_SHAPES_SHAPES_ERROR_H_
