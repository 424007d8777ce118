#include "orvstd/math/rigid.h"

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"

bool cc2Rigid::isBounded(cc2Rigid const& center, cc2Rigid const& tolerance) const {
  cc2Rigid const r = *this * center.inverse();
  return std::cos(ccRadian(r.angle()).plain() / 2) > std::cos(ccRadian(tolerance.angle()).plain() / 2) &&
         std::fabs(r.trans().x()) < std::fabs(tolerance.trans().x()) &&
         std::fabs(r.trans().y()) < std::fabs(tolerance.trans().y());
}

ccXform<2> operator*(ccXform<2> const& x, cc2Rigid const& r) { return x * r.linear(); }

ccArchive& operator||(ccArchive& ar, cc2Rigid& r) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/xform", __LINE__);
  double angle = r.angle().plain();
  ccVector<2> trans = r.trans();
  ar || angle || trans;
  if (ar.isLoading()) r = cc2Rigid(ccDegree(angle), trans);
  return ar;
}
