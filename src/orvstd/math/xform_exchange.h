// Plane transforms to and from the kernel layer's transform handles.
//
// Linear and perspective transforms become the kernel's own kinds; any other
// cc2XformBase travels as a generic wrapper: a kernel object whose six
// operations call back into a clone of it, so the kernel can map through a
// transform it knows nothing of. Reading a wrapper back gives the wrapped
// clone itself, not a copy and not a wrapper of a wrapper.
//
//   kmath_xformPtrhConst k;                      // raw storage
//   cc2XformBaseTokmath_xform(chain, &k);        // constructed here
//   ... kernel work with k ...
//   cc2XformBasePtrh_const back = kmath_xformTocc2XformBase(k);
//   kmath_xformPtrhConst_destruct(&k);
//
// Internal in spirit: the kernel types are only forward-declared here.
#ifndef ORVSTD_MATH_XFORM_EXCHANGE_H_
#define ORVSTD_MATH_XFORM_EXCHANGE_H_

#include "orvstd/math/xform_base.h"

struct kmath_xformPtrhConst;
struct kmath_xformPtrh;

// Constructs into `out` (raw storage, never released here): linear and
// perspective transforms as the kernel's kinds, anything else through
// genericConstruct. Kernel failures become typed exceptions; `out` is then
// null.
void cc2XformBaseTokmath_xform(cc2XformBase const& x, kmath_xformPtrhConst* out);
// A kernel wrapper around x.clone(), constructed into `out` (raw storage).
void genericConstruct(cc2XformBase const& x, kmath_xformPtrhConst* out);
void genericConstruct(cc2XformBase const& x, kmath_xformPtrh* out);

// The transform a kernel handle holds: a new linear, perspective or composed
// transform for the kernel's kinds (an empty composed list gives a null
// handle), the wrapped object itself for a wrapper. A handle of any other
// kind is asserted against. Calibrated and deformable kernel transforms have
// no class here yet: cc2XformCalib2Defs::NotImplemented and
// cc2XformDefs::NotImplemented.
cc2XformBasePtrh_const kmath_xformTocc2XformBase(kmath_xformPtrhConst const& k);

#endif  // ORVSTD_MATH_XFORM_EXCHANGE_H_
