#include "orvstd/pelbuf/rect_errors.h"

cmErrorFamilyDefine(ccRectErrors::Errors)
cmErrorDefine(ccRectErrors::NoOverlap)
cmErrorDefine(ccRectErrors::NegativeSize)
