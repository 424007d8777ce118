// ccCalibCorrespondenceDefs: the definitions of weighted point
// correspondences used to calibrate cameras.
//
// NegativeWeight shares its number with ccWorkerThreadManagerDefs::BadParams
// on purpose; tell them apart by type.
#ifndef ORVSTD_CALIB_CALIB_CORRESPONDENCE_DEFS_H_
#define ORVSTD_CALIB_CALIB_CORRESPONDENCE_DEFS_H_

#include "orvstd/except/except.h"

class ccCalibCorrespondenceDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NegativeWeight, Errors, 0x1000ac00);
};

#endif  // ORVSTD_CALIB_CALIB_CORRESPONDENCE_DEFS_H_
