// The kernel layer's plane value types: vectors, 2x2 matrices and affine
// transforms as plain structs. The maths layer converts to and from them
// field by field (ccVector<2>, ccMatrix<2>, ccXform<2>); the kernel never
// stores a determinant, so converting a matrix in recomputes it.
//
//   kx2Xform k = ccXform<2>(...);   // through the conversion operator
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KMATH_TYPES_H_
#define ORVSTD_KERNEL_KMATH_TYPES_H_

#include <type_traits>

#include "orvstd/defs/types.h"

struct kmath_vect {
  double x, y;
};
struct kx2Vect {
  double x, y;
};

// Row-major.
struct kmath_matrix {
  double e00, e01, e10, e11;
};
struct kx2Matrix {
  double e00, e01, e10, e11;
};

// p -> matrix * p + trans.
struct kmath_xformLinear {
  kmath_vect trans;
  kmath_matrix matrix;
};
struct kx2Xform {
  kx2Vect trans;
  kx2Matrix matrix;
};

// The single-precision transform: trans x, trans y, then the matrix row by
// row.
struct csFXform {
  float tx, ty, e00, e01, e10, e11;
};

// Fills `dest` from the matrix elements and the translation; 0 on success.
c_Int32 csFXformElemCT(csFXform* dest, float e00, float e01, float e10, float e11, float x, float y);

static_assert(std::is_trivially_copyable_v<kmath_xformLinear> && sizeof(kmath_xformLinear) == 48);
static_assert(std::is_trivially_copyable_v<kx2Xform> && sizeof(kx2Xform) == 48);
static_assert(sizeof(csFXform) == 24);

#endif  // ORVSTD_KERNEL_KMATH_TYPES_H_
