// The accumulating least-squares fitters: points are added one at a time
// and the best transform, line or circle is computed from the running sums.
// Each fitter has its own error family.
#ifndef ORVSTD_CFIT_LS_FITTERS_H_
#define ORVSTD_CFIT_LS_FITTERS_H_

#include "orvstd/except/except.h"

// Fits a transform that maps one point set onto another.
class ccLSPointToPointFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003600);
  cmErrorClass(BadArgErr, Errors, 0x10003601);
};

// Fits a transform that maps points onto given lines.
class ccLSPointToLineFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003610);
  cmErrorClass(BadArgErr, Errors, 0x10003611);
};

class ccLSCircleFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003620);
};

class ccLSLineFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003630);
};

#endif  // ORVSTD_CFIT_LS_FITTERS_H_
