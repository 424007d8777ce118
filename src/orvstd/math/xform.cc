#include "orvstd/math/xform.h"

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/except/assert.h"
#include "orvstd/kernel/kmath_types.h"

ccXform<2>::ccXform(kmath_xformLinear const& x) : trans_(x.trans), matrix_(x.matrix) {}
ccXform<2>::ccXform(kx2Xform const& x) : trans_(x.trans), matrix_(x.matrix) {}
ccXform<2>::operator kmath_xformLinear() const { return kmath_xformLinear{trans_, matrix_}; }
ccXform<2>::operator kx2Xform() const { return kx2Xform{trans_, matrix_}; }

ccRadian ccXform<2>::mapAngle(ccRadian a) const {
  double const c = std::cos(a.plain()), s = std::sin(a.plain());
  ccMatrix<2> const& m = matrix_;
  return ccRadian(std::atan2(c * m.element(1, 0) + s * m.element(1, 1), c * m.element(0, 0) + s * m.element(0, 1)));
}

ccRadian ccXform<2>::invMapAngle(ccRadian a) const {
  requireRegular();
  double const c = std::cos(a.plain()), s = std::sin(a.plain());
  ccMatrix<2> const& m = matrix_;
  double x = m.element(1, 1) * c - m.element(0, 1) * s;
  double y = m.element(0, 0) * s - m.element(1, 0) * c;
  // The adjugate without 1/dt: a reflecting matrix turns it round.
  if (!(m.determinant() > 0)) {
    x = -x;
    y = -y;
  }
  return ccRadian(std::atan2(y, x));
}

ccXform<2> csFXformTocc2Xform(csFXform const* x) {
  cmAssert(x != nullptr);
  return ccXform<2>(ccMatrix<2>(x->e00, x->e01, x->e10, x->e11), ccVector<2>(x->tx, x->ty));
}

void cc2XformTocsFXform(ccXform<2> const& x, csFXform* dest) {
  cmAssert(dest != nullptr);
  auto const f = [](double v) { return static_cast<float>(v); };
  ccMatrix<2> const& m = x.matrix();
  csFXformElemCT(dest, f(m.element(0, 0)), f(m.element(0, 1)), f(m.element(1, 0)), f(m.element(1, 1)),
                 f(x.trans().x()), f(x.trans().y()));
}

namespace {

void exchangeVersion(ccArchive& ar) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/xform", __LINE__);
}

}  // namespace

ccArchive& operator||(ccArchive& ar, cc1Xform& x) {
  exchangeVersion(ar);
  double scale = x.scale(), offset = x.offset();
  ar || scale || offset;
  x = cc1Xform(scale, offset);
  return ar;
}

ccArchive& operator||(ccArchive& ar, ccXform<2>& x) {
  exchangeVersion(ar);
  ccVector<2> trans = x.trans();
  ccMatrix<2> matrix = x.matrix();
  bool identity = x.isIdentity();
  ar || trans || matrix || identity;
  x = ccXform<2>(matrix, trans);
  return ar;
}

ccArchive& operator||(ccArchive& ar, ccXform<3>& x) {
  exchangeVersion(ar);
  ccVector<3> trans = x.trans();
  ccMatrix<3> matrix = x.matrix();
  ar || trans || matrix;
  x = ccXform<3>(matrix, trans);
  return ar;
}
