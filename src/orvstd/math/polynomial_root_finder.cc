#include "orvstd/math/polynomial_root_finder.h"

cmErrorFamilyDefine(ccPolynomialRootFinder::Errors)
cmErrorDefine(ccPolynomialRootFinder::BadParams)
