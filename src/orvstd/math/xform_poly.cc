#include "orvstd/math/xform_poly.h"

cmErrorDefine(cc2XformPoly::BadParams)
cmErrorDefine(cc2XformPoly::IllDefined)
