#include "orvstd/math/matrix.h"

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/kernel/kmath_types.h"

ccMatrix<2>::ccMatrix(double scale, double aspect, ccRadian shear, ccRadian rotation) {
  double const s = std::sin(rotation.plain());
  double const c = std::cos(rotation.plain());
  double const t = std::tan(shear.plain());
  e_[0][0] = scale * c;
  e_[0][1] = aspect * scale * (-s - c * t);
  e_[1][0] = scale * s;
  e_[1][1] = aspect * scale * (c - s * t);
  setdt();
}

ccMatrix<2>::ccMatrix(kmath_matrix const& m) : ccMatrix(m.e00, m.e01, m.e10, m.e11) {}
ccMatrix<2>::ccMatrix(kx2Matrix const& m) : ccMatrix(m.e00, m.e01, m.e10, m.e11) {}
ccMatrix<2>::operator kmath_matrix() const { return kmath_matrix{e_[0][0], e_[0][1], e_[1][0], e_[1][1]}; }
ccMatrix<2>::operator kx2Matrix() const { return kx2Matrix{e_[0][0], e_[0][1], e_[1][0], e_[1][1]}; }

void ccMatrix<2>::repInvariant() const {
  ccMatrix const rebuilt(e_[0][0], e_[0][1], e_[1][0], e_[1][1]);
  if (!(rebuilt.dt_ == dt_)) throw ccInvariantFailure();
}

bool ccMatrix<3>::isIdentity() const { return *this == ccMatrix(); }

ccMatrix<3> ccMatrix<3>::transpose() const {
  ccMatrix r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r.e_[i][j] = e_[j][i];
  r.setdt();
  return r;
}

ccMatrix<3> ccMatrix<3>::operator*(ccMatrix const& o) const {
  ccMatrix r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r.e_[i][j] = e_[i][0] * o.e_[0][j] + e_[i][1] * o.e_[1][j] + e_[i][2] * o.e_[2][j];
  r.setdt();
  return r;
}

bool ccMatrix<3>::operator==(ccMatrix const& o) const {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      if (!(e_[i][j] == o.e_[i][j])) return false;
  return true;
}

ccMatrix<3> ccMatrix<3>::inverse() const {
  if (isSingular()) throw ccMathError::Singular();
  double const i = 1 / dt_;
  // Entry (r, c) of the adjugate is the cofactor of (c, r); the cyclic
  // indices give each cofactor its sign without a table.
  ccMatrix r;
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) {
      int const r1 = (col + 1) % 3, r2 = (col + 2) % 3;
      int const c1 = (row + 1) % 3, c2 = (row + 2) % 3;
      r.e_[row][col] = (e_[r1][c1] * e_[r2][c2] - e_[r1][c2] * e_[r2][c1]) * i;
    }
  }
  r.setdt();
  return r;
}

void ccMatrix<3>::repInvariant() const {
  ccMatrix rebuilt = *this;
  rebuilt.setdt();
  if (!(rebuilt.dt_ == dt_)) throw ccInvariantFailure();
}

ccVector<3> operator*(ccVector<3> const& v, ccMatrix<3> const& m) {
  double out[3];
  for (int c = 0; c < 3; ++c) out[c] = v.x() * m.element(0, c) + v.y() * m.element(1, c) + v.z() * m.element(2, c);
  return ccVector<3>(out[0], out[1], out[2]);
}

namespace {

void exchangeVersion(ccArchive& ar) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/matrix", __LINE__);
}

}  // namespace

ccArchive& operator||(ccArchive& ar, ccMatrix<2>& m) {
  exchangeVersion(ar);
  // Into a copy, so a failed load leaves m as it was.
  ccMatrix<2> t = m;
  ar || t.e_[0][0] || t.e_[0][1] || t.e_[1][0] || t.e_[1][1] || t.dt_;
  m = t;
  return ar;
}

ccArchive& operator||(ccArchive& ar, ccMatrix<3>& m) {
  exchangeVersion(ar);
  ccMatrix<3> t = m;
  for (auto& row : t.e_)
    for (double& e : row) ar || e;
  ar || t.dt_;
  m = t;
  return ar;
}

bool cfRealEq(ccMatrix<2> const& a, ccMatrix<2> const& b, double tolerance) {
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 2; ++j)
      if (!cfRealEq(a.element(i, j), b.element(i, j), tolerance)) return false;
  return true;
}

bool cfRealEq(ccMatrix<3> const& a, ccMatrix<3> const& b, double tolerance) {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      if (!cfRealEq(a.element(i, j), b.element(i, j), tolerance)) return false;
  return true;
}
