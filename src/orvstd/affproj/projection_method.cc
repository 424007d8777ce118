#include "orvstd/affproj/projection_method.h"

cmErrorFamilyDefine(cc_ProjectionMethod::Errors)
cmErrorDefine(cc_ProjectionMethod::ClippedProjection)
cmErrorDefine(cc_ProjectionMethod::ZeroSubsamplingFactor)
cmErrorDefine(cc_ProjectionMethod::BadProjectionRegion)
