// ccHistoStats: the statistics of a histogram of pel values.
#ifndef ORVSTD_AFFPROJ_HISTO_STATS_H_
#define ORVSTD_AFFPROJ_HISTO_STATS_H_

#include "orvstd/except/except.h"

class ccHistoStats {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Overflow, Errors, 0x1000b500);
};

#endif  // ORVSTD_AFFPROJ_HISTO_STATS_H_
