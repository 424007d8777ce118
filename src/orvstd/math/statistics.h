// ccStatistics: running statistics of a sample (count, sums, extremes).
#ifndef ORVSTD_MATH_STATISTICS_H_
#define ORVSTD_MATH_STATISTICS_H_

#include "orvstd/except/except.h"

class ccStatistics {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NoSamples, Errors, 0x10000f40);
};

#endif  // ORVSTD_MATH_STATISTICS_H_
