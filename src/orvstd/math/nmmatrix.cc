#include "orvstd/math/nmmatrix.h"

cmErrorFamilyDefine(ccNMMatrix::Errors)
cmErrorDefine(ccNMMatrix::sizeErr)
cmErrorDefine(ccNMMatrix::unstableErr)
