// cc2XformPoly: the polynomial plane transform.
//
// Its errors belong to the family of all plane transforms
// (cc2XformDefs::Errors), so one handler takes every transform failure.
#ifndef ORVSTD_MATH_XFORM_POLY_H_
#define ORVSTD_MATH_XFORM_POLY_H_

#include "orvstd/except/except.h"
#include "orvstd/math/xform_defs.h"

class cc2XformPoly {
 public:
  cmErrorClass(BadParams, cc2XformDefs::Errors, 0x10000f38);
  cmErrorClass(IllDefined, cc2XformDefs::Errors, 0x10000f39);
};

#endif  // ORVSTD_MATH_XFORM_POLY_H_
