// ccLineScanDistortionCorrectionDefs: the definitions of line-scan distortion
// correction, which trains on an image of a striped target or on measured
// positions and then straightens line-scan images.
#ifndef ORVSTD_CALIB_LINE_SCAN_DEFS_H_
#define ORVSTD_CALIB_LINE_SCAN_DEFS_H_

#include "orvstd/except/except.h"

class ccLineScanDistortionCorrectionDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x1000b410);
  cmErrorClass(BadImage, Errors, 0x1000b411);
  cmErrorClass(NotTrained, Errors, 0x1000b412);
  cmErrorClass(MismatchedRanges, Errors, 0x1000b413);
};

#endif  // ORVSTD_CALIB_LINE_SCAN_DEFS_H_
