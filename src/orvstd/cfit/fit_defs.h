// The definitions of the feature fits with outlier rejection (circle, line,
// ellipse) and of point-set fitting. Their errors carry a message saying
// which parameter was wrong.
#ifndef ORVSTD_CFIT_FIT_DEFS_H_
#define ORVSTD_CFIT_FIT_DEFS_H_

#include "orvstd/except/except.h"

class ccCircleFitDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003640);
};

class ccLineFitDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003650);
};

class ccEllipseFitDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003660);
};

class ccPointFitDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10003670);
  cmErrorClass(NotImplemented, Errors, 0x10003671);
};

#endif  // ORVSTD_CFIT_FIT_DEFS_H_
