#include "orvstd/calib/calib_correspondence_defs.h"

cmErrorFamilyDefine(ccCalibCorrespondenceDefs::Errors)
cmErrorDefine(ccCalibCorrespondenceDefs::NegativeWeight)
