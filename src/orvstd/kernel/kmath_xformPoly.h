// Bivariate polynomial maps of the plane, degree 1 to 5: evaluation,
// derivatives, the tangent map at a point and the least-squares fit.
//
// Coefficient layout. A map of degree n is the pair (Px, Py) of polynomials
// in x and y. Its monomials are taken by rising degree and, within degree d,
// by falling power of x:
//
//   1, x, y, x^2, xy, y^2, x^3, x^2y, xy^2, y^3, ...
//
// so monomial x^(d-j) y^j has the index d(d+1)/2 + j. Each monomial holds two
// doubles, first its coefficient in Px, then its coefficient in Py:
//
//   c[0], c[1]  the image of the origin (the translation)
//   c[2], c[3]  the x terms: the image of the x axis at the origin
//   c[4], c[5]  the y terms: the image of the y axis at the origin
//   c[6]..c[11] the x^2, xy and y^2 terms, and so on.
//
// A map of degree n has kmath_xformPolySize(n) = (n+1)(n+2) doubles. The
// array of a lower degree is a prefix of the array of a higher one, so a
// polynomial whose highest terms are zero is truncated by taking fewer
// doubles, and the rotation of the x axis at the origin is atan2(c[3], c[2]).
//
// Derivative polynomials: d/dx of (Px, Py) is again a pair of polynomials,
// one degree lower, in the same layout (the "x-derivative polynomial"); d/dy
// likewise.
//
//   double* c = nullptr;
//   c_Int32 n = 0;
//   if (kmath_xformPolyFit_(from, to, count, 3, &c, &n) == 0) {
//     kmath_vect q;
//     kmath_xformPolyMapPoint_(c, 3, kmath_vect{1, 2}, &q);
//     ksys_memory_free_internal(c);
//   }
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KMATH_XFORMPOLY_H_
#define ORVSTD_KERNEL_KMATH_XFORMPOLY_H_

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kmath_codes.h"
#include "orvstd/kernel/kmath_types.h"

inline constexpr c_Int32 kmath_xformPolyMaxOrder = 5;

// The number of doubles of a map of degree `order`: (order+1)(order+2),
// 2, 6, 12, 20, 30, 42 for degrees 0 to 5. 0 for an order outside 0..5.
c_Int32 kmath_xformPolySize(c_Int32 order);

// The number of monomials of degree `order`, (order+1)(order+2)/2, which is
// also the fewest point pairs a fit of that degree needs: 3, 6, 10, 15, 21
// for degrees 1 to 5. 0 for an order outside 0..5.
c_Int32 kmath_xformPolyTermCount(c_Int32 order);

// The smallest degree, 1 or more, that loses no term of the array laid out
// for `maxOrder`: the highest degree with a coefficient that is not exactly
// zero (a NaN counts as a term). A map with no term above degree 1 gives 1.
// Exactly zero is the rule because kmath_xformPolyFit_ already sets terms
// that the data cannot tell from zero to exactly zero. Returns the degree,
// or kmath_badArgument for a maxOrder below 1 and kmath_notImplemented
// above 5.
c_Int32 kmath_xformPolyMinOrder_(double const* coefficients, c_Int32 maxOrder);

// Evaluates the map of degree `order` (0 to 5) at `in` by Horner's rule, in
// y over polynomials in x. Returns 0, kmath_badArgument for an order below
// 0, kmath_notImplemented above 5. Non-finite input gives non-finite output.
c_Int32 kmath_xformPolyMapPoint_(double const* coefficients, c_Int32 order, kmath_vect in, kmath_vect* out);

// Writes the x- and y-derivative polynomials of the map of degree `order`
// (1 to 5), each kmath_xformPolySize(order - 1) doubles. The outputs must not
// overlap the input. Returns 0, kmath_badArgument or kmath_notImplemented.
c_Int32 kmath_xformPolyDerivs_(double const* coefficients, c_Int32 order, double* xDerivs, double* yDerivs);

// The tangent map of the polynomial map at `at`: the affine transform T with
// T(at) = P(at) whose matrix is the Jacobian of P at `at`,
//   matrix = [[dPx/dx, dPx/dy], [dPy/dx, dPy/dy]], trans = P(at) - matrix * at.
// For degree 1 that is the map itself, whatever `at`. `xDerivs` and
// `yDerivs` are the derivative polynomials from kmath_xformPolyDerivs_; when
// either is null the derivatives are taken from the coefficients directly.
// Returns 0, kmath_badArgument (order below 1) or kmath_notImplemented.
c_Int32 kmath_xformPolyLinearXform_(double const* coefficients, c_Int32 order, kmath_vect at,
                                    double const* xDerivs, double const* yDerivs, kmath_xformLinear* out);

// The least-squares polynomial map of degree `order` (1 to 5) that takes
// from[i] to to[i], i < count. On success returns 0, *coefficientsOut holds
// a new array of kmath_xformPolySize(order) doubles from
// ksys_memory_alloc_internal (the caller frees it with
// ksys_memory_free_internal) and *coefficientCountOut its length. On failure
// the outputs are null and 0 and the result is
//   kmath_badArgument     count below 0, order below 1;
//   kmath_notImplemented  order above 5;
//   kmath_noFit           fewer than kmath_xformPolyTermCount(order) pairs, a
//                         coordinate that is not finite, or points that do
//                         not determine the polynomial (all on one line for
//                         degree 1, on a conic for degree 2 with six, ...);
//   kstd_outOfMemory.
// Method: each coordinate of the source and destination points is centred
// and scaled to [-1, 1], so every monomial up to degree 5 stays within
// [-1, 1]; the scaled design matrix is reduced row by row with Givens
// rotations (memory does not grow with the count) and the triangle solved by
// a singular value decomposition. The points do not determine the fit when
// the smallest singular value is at most 1e-12 of the largest. Terms of the
// highest degrees whose scaled coefficients are all below what rounding
// could produce (256 * DBL_EPSILON * condition number, at most 1e-6 of the
// destination's half-range) are set to exactly zero, so a fit to affine data
// has kmath_xformPolyMinOrder_ 1. The scaled coefficients are then mapped
// back to the original coordinates by binomial expansion.
c_Int32 kmath_xformPolyFit_(kmath_vect const* from, kmath_vect const* to, c_Int32 count, c_Int32 order,
                            double** coefficientsOut, c_Int32* coefficientCountOut);

#endif  // ORVSTD_KERNEL_KMATH_XFORMPOLY_H_
