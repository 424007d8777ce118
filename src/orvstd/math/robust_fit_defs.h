// The definitions of robust fitting: the parameters of the outlier-resistant
// fits and of adaptive RANSAC. Their errors carry a message.
//
// BadParams and InsufficientDataPoints of adaptive RANSAC share a number on
// purpose; tell them apart by type.
#ifndef ORVSTD_MATH_ROBUST_FIT_DEFS_H_
#define ORVSTD_MATH_ROBUST_FIT_DEFS_H_

#include "orvstd/except/except.h"

class ccRobustFitDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f41);
};

class ccAdaptiveRANSACDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f43);
  cmErrorClass(InsufficientDataPoints, Errors, 0x10000f43);
  cmErrorClass(FailedToFitModel, Errors, 0x10000f44);
};

#endif  // ORVSTD_MATH_ROBUST_FIT_DEFS_H_
