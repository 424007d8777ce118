#include "orvstd/math/statistics.h"

cmErrorFamilyDefine(ccStatistics::Errors)
cmErrorDefine(ccStatistics::NoSamples)
