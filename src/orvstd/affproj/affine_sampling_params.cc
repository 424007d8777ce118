#include "orvstd/affproj/affine_sampling_params.h"

cmErrorFamilyDefine(ccAffineSamplingParams::Errors)
cmErrorDefine(ccAffineSamplingParams::BadNumSamples)
cmErrorDefine(ccAffineSamplingParams::NotImplemented)
