// cc2XformCache: the pair of plane transforms an image carries, its client
// transform and the inverse, made lazily, with the linear form kept aside so
// that sampling code gets it without a virtual call or a walk down a chain.
//
//   cc2XformCache c;                        // identity
//   c.xform(cc2XformLinear(m, t));          // a clone of it; inverse dropped
//   if (c.isLinear()) use(c.linearXform());
//   cc2XformBasePtrh_const back = c.xformInverse();   // made once, then kept
//
// xformInverse() const writes the inverse it makes without a lock: a cache
// read from two threads must have made its inverse first.
#ifndef ORVSTD_MATH_XFORM_CACHE_H_
#define ORVSTD_MATH_XFORM_CACHE_H_

#include "orvstd/handle/ptrhandle.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/math/xform_base.h"

class ccArchive;

class cc2XformCache : public ccRepBase {
 public:
  // Both handles on the one process-wide identity; linear.
  cc2XformCache();
  cc2XformCache(cc2XformCache const&) = default;
  cc2XformCache& operator=(cc2XformCache const&) = default;
  ~cc2XformCache() override;

  cc2XformBasePtrh_const const& xform() const { return xform_; }
  // Asserts x is not null. cloneIt true stores x->clone(), false shares x.
  // The inverse is dropped.
  void xform(cc2XformBasePtrh_const const& x, bool cloneIt);
  // Stores a clone of x; the inverse is dropped.
  void xform(cc2XformBase const& x);

  // Made from xform() at the first call and kept (not thread-safe).
  cc2XformBasePtrh_const const& xformInverse() const;
  // Sets the inverse (asserted not null) and makes the forward transform
  // from it.
  void xformInverse(cc2XformBasePtrh_const const& inverse, bool cloneIt);
  void xformInverse(cc2XformBase const& inverse);
  // Both as given, neither cloned; the caller vouches that they are inverse.
  void xformAndXformInverse(cc2XformBasePtrh_const const& x, cc2XformBasePtrh_const const& inverse);

  bool isLinear() const { return isLinear_; }
  // ccPel::NonlinearXform unless isLinear().
  cc2XformLinear const& linearXform() const;
  cc2XformLinear linearXformInverse() const;

  void setIdentity();
  // Clones of both transforms (a null inverse stays null), the flag and the
  // linear value.
  ccPtrHandle<cc2XformCache> clone() const;

  // Internal: the archive form, with the two handles written either as
  // pointers or, for channels (throughMemory), as a length and the bytes of
  // a memory archive holding them; such a load reads the handles into
  // copies and leaves this cache's own handles as they were.
  void cf_serialize(ccArchive& ar, bool throughMemory);

 private:
  void maybeCacheLinearXform_();

  cc2XformBasePtrh_const xform_;
  mutable cc2XformBasePtrh_const inverse_;
  bool isLinear_ = true;
  cc2XformLinear linear_;
};

// Version byte 0, the two handles, isLinear, the linear form.
ccArchive& operator||(ccArchive& ar, cc2XformCache& cache);

#endif  // ORVSTD_MATH_XFORM_CACHE_H_
