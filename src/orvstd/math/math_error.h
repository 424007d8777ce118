// ccMathError: the arithmetic failures of the maths layer (a singular
// matrix, a null vector, a division by zero).
#ifndef ORVSTD_MATH_MATH_ERROR_H_
#define ORVSTD_MATH_MATH_ERROR_H_

#include "orvstd/except/except.h"

class ccMathError {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Singular, Errors, 0x10000f00);
  cmErrorClass(NullVector, Errors, 0x10000f01);
  cmErrorClass(DivisionByZero, Errors, 0x10000f02);
};

#endif  // ORVSTD_MATH_MATH_ERROR_H_
