// cc_ProjectionMethod: the scanning engine that sums the pels of a rotated,
// possibly skewed rectangle along one of its axes into a one-row signal.
#ifndef ORVSTD_AFFPROJ_PROJECTION_METHOD_H_
#define ORVSTD_AFFPROJ_PROJECTION_METHOD_H_

#include "orvstd/except/except.h"

class cc_ProjectionMethod {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(ClippedProjection, Errors, 0x10000900);
  cmErrorClass(ZeroSubsamplingFactor, Errors, 0x10000901);
  cmErrorClass(BadProjectionRegion, Errors, 0x10000902);
};

#endif  // ORVSTD_AFFPROJ_PROJECTION_METHOD_H_
