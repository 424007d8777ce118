#include "orvstd/affproj/histo_stats.h"

cmErrorFamilyDefine(ccHistoStats::Errors)
cmErrorDefine(ccHistoStats::Overflow)
