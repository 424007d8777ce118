#include "orvstd/shapes/affine_rectangle.h"

cmErrorDefine(ccAffineRectangle::BadLength)
cmErrorDefine(ccAffineRectangle::BadSkew)
