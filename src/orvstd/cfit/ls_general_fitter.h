// ccLSGeneralFitter: solves for a plane transform from any mix of weighted
// constraints accumulated in one quadratic form. Its error numbers, 0x21 and
// 0x22, predate the numbering scheme and are kept.
#ifndef ORVSTD_CFIT_LS_GENERAL_FITTER_H_
#define ORVSTD_CFIT_LS_GENERAL_FITTER_H_

#include "orvstd/except/except.h"

class ccLSGeneralFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(unstableErr, Errors, 0x21);
  cmErrorClass(badArgErr, Errors, 0x22);
};

#endif  // ORVSTD_CFIT_LS_GENERAL_FITTER_H_
