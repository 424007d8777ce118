#include "orvstd/math/vector.h"

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/kernel/kmath_types.h"

ccVector<2>::ccVector(kmath_vect const& v) : x_(v.x), y_(v.y) {}
ccVector<2>::ccVector(kx2Vect const& v) : x_(v.x), y_(v.y) {}
ccVector<2>::operator kmath_vect() const { return kmath_vect{x_, y_}; }
ccVector<2>::operator kx2Vect() const { return kx2Vect{x_, y_}; }

namespace {

void exchangeVersion(ccArchive& ar) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/vector", __LINE__);
}

}  // namespace

ccArchive& operator||(ccArchive& ar, ccVector<2>& v) {
  exchangeVersion(ar);
  double x = v.x(), y = v.y();
  ar || x || y;
  if (ar.isLoading()) v = ccVector<2>(x, y);
  return ar;
}

ccArchive& operator||(ccArchive& ar, ccVector<3>& v) {
  exchangeVersion(ar);
  double x = v.x(), y = v.y(), z = v.z();
  ar || x || y || z;
  if (ar.isLoading()) v = ccVector<3>(x, y, z);
  return ar;
}
