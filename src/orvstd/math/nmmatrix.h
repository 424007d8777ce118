// ccNMMatrix: a dense matrix of doubles whose size is chosen at run time,
// with the decompositions and solvers built on it.
//
// Its two error numbers, 1 and 2, predate the numbering scheme and are kept.
#ifndef ORVSTD_MATH_NMMATRIX_H_
#define ORVSTD_MATH_NMMATRIX_H_

#include "orvstd/except/except.h"

class ccNMMatrix {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(sizeErr, Errors, 1);
  cmErrorClass(unstableErr, Errors, 2);
};

#endif  // ORVSTD_MATH_NMMATRIX_H_
