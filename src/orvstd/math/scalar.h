// Scalar helpers of the maths layer: floors and ceilings to 32-bit integers,
// clamps, integer floor division and the tolerant comparison cfRealEq.
//
// Conversions from double to a 32-bit integer never have undefined
// behaviour: a value beyond the 32-bit range saturates to the nearer end
// and NaN gives the smallest value (0x80000000, which is also what the
// processor's own conversion yields for anything it cannot represent).
//
//   c_Int32 row = cfIFloor(y);          // -1 for y = -0.5
//   double t = cfDLimit(t0, 0.0, 1.0);
//   if (cfRealEq(a, b, 1e-10)) ...
#ifndef ORVSTD_MATH_SCALAR_H_
#define ORVSTD_MATH_SCALAR_H_

#include <cmath>
#include <cstdlib>
#include <limits>

#include "orvstd/defs/types.h"

// The saturating conversion of an already integral double (see above).
inline c_Int32 cf_SaturateToInt32(double integral) {
  if (!(integral >= -2147483648.0)) return std::numeric_limits<c_Int32>::min();  // also NaN
  if (integral >= 2147483647.0) return std::numeric_limits<c_Int32>::max();
  return static_cast<c_Int32>(integral);
}

// x - floor(x), in [0, 1) for finite x.
inline double cfFrac(double x) { return x - std::floor(x); }
inline c_Int32 cfIFloor(double x) { return cf_SaturateToInt32(std::floor(x)); }
inline c_Int32 cfICeil(double x) { return cf_SaturateToInt32(std::ceil(x)); }
inline double cfQuietNaN() { return std::numeric_limits<double>::quiet_NaN(); }

inline c_Int32 cfIMax(c_Int32 a, c_Int32 b) { return a > b ? a : b; }
inline c_Int32 cfIMin(c_Int32 a, c_Int32 b) { return a < b ? a : b; }
inline double dmax(double a, double b) { return a > b ? a : b; }
inline double dmin(double a, double b) { return a < b ? a : b; }
inline float cfFMax(float a, float b) { return a > b ? a : b; }
inline float cfFMin(float a, float b) { return a < b ? a : b; }

// The clamps test the low end first: lo unless x > lo, then hi when
// x >= hi, else x. So a NaN x gives lo, and lo wins when lo > hi.
template <class T>
inline T cf_Limit(T x, T lo, T hi) {
  if (!(x > lo)) return lo;
  if (x >= hi) return hi;
  return x;
}
inline c_Int32 cfILimit(c_Int32 x, c_Int32 lo, c_Int32 hi) { return cf_Limit(x, lo, hi); }
inline double cfDLimit(double x, double lo, double hi) { return cf_Limit(x, lo, hi); }
inline float cfFLimit(float x, float lo, float hi) { return cf_Limit(x, lo, hi); }

// Nearest integer, halves away from zero; saturating like cfIFloor.
inline c_Int32 iRound(float f) { return cf_SaturateToInt32(std::round(static_cast<double>(f))); }

// Integer floor division and its relatives. b must not be 0; for
// iDiv, iFloor and iMod b is expected positive (the rounding of a negative
// divisor follows the formula, as callers rely on).
inline c_Int32 iDiv(c_Int32 a, c_Int32 b) { return a < 0 ? (a - std::abs(b) + 1) / b : a / b; }
inline c_Int32 iFloor(c_Int32 a, c_Int32 b) { return iDiv(a, b) * b; }
inline c_Int32 iCeil(c_Int32 a, c_Int32 b) { return a >= 0 ? (a + std::abs(b) - 1) / b * b : a / b * b; }
inline c_Int32 iMod(c_Int32 a, c_Int32 b) { return a - iFloor(a, b); }
inline c_Int32 iSpan(c_Int32 a, c_Int32 b) { return (a + b - 1) / b; }

// True unless |a - b| > tolerance, so a difference of exactly the
// tolerance compares equal. A NaN on either side compares equal too, as
// the test is "not greater".
inline bool cfRealEq(double a, double b, double tolerance) { return !(std::fabs(a - b) > tolerance); }

#endif  // ORVSTD_MATH_SCALAR_H_
