// ccPolynomialRootFinder: the real roots of polynomials of low degree.
#ifndef ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
#define ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_

#include "orvstd/except/except.h"

class ccPolynomialRootFinder {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x10006000);
};

#endif  // ORVSTD_MATH_POLYNOMIAL_ROOT_FINDER_H_
