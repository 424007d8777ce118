#include "orvstd/math/math_error.h"

cmErrorFamilyDefine(ccMathError::Errors)
cmErrorDefine(ccMathError::Singular)
cmErrorDefine(ccMathError::NullVector)
cmErrorDefine(ccMathError::DivisionByZero)
