#include "orvstd/kernel/kmath_types.h"

c_Int32 csFXformElemCT(csFXform* dest, float e00, float e01, float e10, float e11, float x, float y) {
  *dest = csFXform{x, y, e00, e01, e10, e11};
  return 0;
}
