// Perspective transforms of the plane (homographies): a 3x3 matrix H, row by
// row, that maps (x, y) to ((h0 x + h1 y + h2) / w, (h3 x + h4 y + h5) / w)
// with w = h6 x + h7 y + h8.
//
// The object is plain storage; callers place it where they like (the maths
// layer takes it from ksys_memory_alloc_internal), construct it with one of
// the constructors and end it with kmath_xformPerspective_destruct. A
// constructor that fails leaves the identity behind, so the object can
// always be destructed.
//
//   kmath_xformPerspective h;
//   if (kmath_xformPerspective_construct4Points(&h, p0, p1, p2, p3) == 0) {
//     kmath_vect q;
//     kmath_xformPerspective_mapPoint(&h, kmath_vect{0.5, 0.5}, &q);
//   }
//   kmath_xformPerspective_destruct(&h);
//
// Every zero test on a given matrix (singular, linear, a point sent to
// infinity) is exact. Constructions from points have tolerances of their
// own, stated below, because rounding never lets degenerate data give an
// exact zero.
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KMATH_XFORMPERSPECTIVE_H_
#define ORVSTD_KERNEL_KMATH_XFORMPERSPECTIVE_H_

#include <cmath>

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kmath_codes.h"
#include "orvstd/kernel/kmath_types.h"

struct kmath_xformPerspective {
  double h[9];  // row-major
};

// The identity. Returns 0.
c_Int32 kmath_xformPerspective_construct(kmath_xformPerspective* self);

// The given nine values, row by row, as they stand (no scaling). Returns 0,
// or kmath_badArgument (identity left) when a value is not finite.
c_Int32 kmath_xformPerspective_constructMatrix(kmath_xformPerspective* self, double const* matrix9);

// The transform that takes the corners of the unit square (0,0), (1,0),
// (1,1), (0,1), in that order, to p0, p1, p2, p3; h8 is 1. Returns 0, or
// kmath_singular (identity left) when three of the points are collinear or
// two coincide, so that no regular transform exists.
c_Int32 kmath_xformPerspective_construct4Points(kmath_xformPerspective* self, kmath_vect p0, kmath_vect p1,
                                                kmath_vect p2, kmath_vect p3);

// The transform that takes from[i] to to[i], i < count, in the algebraic
// least-squares sense (normalised direct linear transform: each point set
// is moved to its centroid and scaled to a mean distance of sqrt 2, the
// 2count x 9 system reduced by Givens rotations and its null vector taken
// from a singular value decomposition). Exact data gives the exact
// transform. The result is scaled so that h8 is 1, unless |h8| is below
// 1e-8 of the matrix's norm; then the matrix has unit norm and its largest
// element is positive. Returns 0, or (identity left)
//   kmath_badArgument  count below 4;
//   kmath_singular     a coordinate that is not finite, points that do not
//                      fix one transform (the second-smallest singular value
//                      at most 1e-12 of the largest), or a result whose
//                      unit-norm determinant is at most 1e-12 in magnitude.
c_Int32 kmath_xformPerspective_constructPoints(kmath_xformPerspective* self, kmath_vect const* from,
                                               kmath_vect const* to, c_Int32 count);

// Copies the nine values of `src` into the constructed `self`. Returns 0.
c_Int32 kmath_xformPerspective_assign(kmath_xformPerspective* self, kmath_xformPerspective const* src);

// Writes the nine values, row by row. Returns 0.
c_Int32 kmath_xformPerspective_getMatrix(kmath_xformPerspective const* self, double* matrix9);

// Maps `in`. Returns 0, or kmath_mapsToInfinity (out untouched) when w is
// exactly zero or a finite point maps to a value that is not finite.
// Inline: callers map points by the million.
inline c_Int32 kmath_xformPerspective_mapPoint(kmath_xformPerspective const* self, kmath_vect in, kmath_vect* out) {
  KSTD_ASSERT(self != nullptr && out != nullptr);
  double const* h = self->h;
  double const w = h[6] * in.x + h[7] * in.y + h[8];
  if (w == 0) return kmath_mapsToInfinity;
  // Both rows in two lanes, one packed division: the same operations in the
  // same order as the scalar form, so the same bits, at half the divisions.
  typedef double Lanes __attribute__((vector_size(16)));
  Lanes const x = {in.x, in.x}, y = {in.y, in.y};
  Lanes const r0 = {h[0], h[3]}, r1 = {h[1], h[4]}, r2 = {h[2], h[5]};
  Lanes const q = (r0 * x + r1 * y + r2) / Lanes{w, w};
  if (!(std::isfinite(q[0]) && std::isfinite(q[1])) && std::isfinite(in.x) && std::isfinite(in.y))
    return kmath_mapsToInfinity;
  *out = kmath_vect{q[0], q[1]};
  return 0;
}

// The tangent map at `at`: the affine transform T with T(at) equal to the
// image of `at` whose matrix is the Jacobian of the map there. Returns 0 or
// kmath_mapsToInfinity as mapPoint.
c_Int32 kmath_xformPerspective_getLinearXform(kmath_xformPerspective const* self, kmath_vect at,
                                              kmath_xformLinear* out);

// 1 when h6 and h7 are exactly zero and h8 is not (the map is affine), else 0.
c_Int32 kmath_xformPerspective_getIsLinear(kmath_xformPerspective const* self);

// 1 when the determinant is exactly zero, else 0.
c_Int32 kmath_xformPerspective_getIsSingular(kmath_xformPerspective const* self);

// Writes the matrix inverse of H (adjugate over determinant) into the
// constructed `out`, which may be `self`. Returns 0, or kmath_singular (out
// untouched) when the determinant is exactly zero or the inverse is not
// finite.
c_Int32 kmath_xformPerspective_getInverse(kmath_xformPerspective const* self, kmath_xformPerspective* out);

// Ends the object. It owns nothing beyond its nine values, so nothing is
// released; the storage stays the caller's. Returns 0.
c_Int32 kmath_xformPerspective_destruct(kmath_xformPerspective* self);

#endif  // ORVSTD_KERNEL_KMATH_XFORMPERSPECTIVE_H_
