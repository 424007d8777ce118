// Failure codes of the kernel layer's plane transforms (facility 44).
//
// The maths module converts the codes it knows into typed exceptions: 2 and
// 3 become ccMathError::Singular, 5 ccPel::NonlinearXform, 6
// cc2XformDefs::NotImplemented. kmath_noFit is handled by the fitting
// classes themselves; kmath_badArgument has no exception of its own and so
// arrives as ccUnknownError.
//
//   if (c_Int32 rc = kmath_xformPerspective_getInverse(&h, &inv); rc < 0)
//     cfThrowExceptionOnFailure(rc);
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KMATH_CODES_H_
#define ORVSTD_KERNEL_KMATH_CODES_H_

#include "orvstd/kernel/kstd.h"

inline constexpr c_Int32 kmath_facilityXform = 44;

// A count, order or handle that no caller may pass (negative count, order
// below 1, null handle where an object is needed).
inline constexpr c_Int32 kmath_badArgument = kstd_failureCode(kmath_facilityXform, 1);  // 0x80000581
// The transform has no inverse (zero determinant), or the points given do
// not determine a regular transform.
inline constexpr c_Int32 kmath_singular = kstd_failureCode(kmath_facilityXform, 2);  // 0x80000582
// The point lies on the line a perspective transform sends to infinity.
inline constexpr c_Int32 kmath_mapsToInfinity = kstd_failureCode(kmath_facilityXform, 3);  // 0x80000583
// A linear transform was asked of a handle that holds another kind.
inline constexpr c_Int32 kmath_notLinear = kstd_failureCode(kmath_facilityXform, 5);  // 0x80000585
// A polynomial order above kmath_xformPolyMaxOrder.
inline constexpr c_Int32 kmath_notImplemented = kstd_failureCode(kmath_facilityXform, 6);  // 0x80000586
// No polynomial fit exists: too few points, or points that do not determine
// the polynomial (collinear, on a curve of the order, not finite).
inline constexpr c_Int32 kmath_noFit = kstd_failureCode(kmath_facilityXform, 19);  // 0x80000593

#endif  // ORVSTD_KERNEL_KMATH_CODES_H_
