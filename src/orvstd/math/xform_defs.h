// The definitions shared by the plane transforms: the general ones, the
// perspective transform's, and those of the calibrated and deformable
// transforms that wrap the kernel layer.
//
// The perspective and calibrated families share BadParams and NumericalError
// numbers on purpose; tell them apart by type, never by number.
#ifndef ORVSTD_MATH_XFORM_DEFS_H_
#define ORVSTD_MATH_XFORM_DEFS_H_

#include "orvstd/except/except.h"

class cc2XformDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NotImplemented, Errors, 0x10000f30);
};

class cc2XformPerspectiveDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003930);
  cmErrorClass(NumericalError, Errors, 0x10003932);
};

class cc2XformCalib2Defs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003930);
  cmErrorClass(MapsToInfinity, Errors, 0x10003931);
  cmErrorClass(NumericalError, Errors, 0x10003932);
  cmErrorClass(InsufficientPoints, Errors, 0x10003933);
  cmErrorClass(NotImplemented, Errors, 0x10003934);
};

class cc2XformDeformDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003e00);
};

#endif  // ORVSTD_MATH_XFORM_DEFS_H_
