#include "orvstd/cfit/ls_fitters.h"

#include <cmath>

#include "orvstd/math/rigid.h"

cmErrorFamilyDefine(ccLSPointToPointFitter::Errors)
cmErrorDefine(ccLSPointToPointFitter::UnstableErr)
cmErrorDefine(ccLSPointToPointFitter::BadArgErr)

// ccLSPointToPointFitter ---------------------------------------------------------

ccLSPointToPointFitter::ccLSPointToPointFitter(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b) {
  if (a.size() != b.size()) throw BadArgErr();
  for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void ccLSPointToPointFitter::update(ccVector<2> const& a, ccVector<2> const& b) {
  ++n_;
  ax_ += a.x();
  ay_ += a.y();
  axx_ += a.x() * a.x();
  ayy_ += a.y() * a.y();
  axy_ += a.x() * a.y();
  bx_ += b.x();
  by_ += b.y();
  bxx_ += b.x() * b.x();
  byy_ += b.y() * b.y();
  bxy_ += b.x() * b.y();
  axbx_ += a.x() * b.x();
  axby_ += a.x() * b.y();
  aybx_ += a.y() * b.x();
  ayby_ += a.y() * b.y();
}

double ccLSPointToPointFitter::safeDivide(double num, double den) {
  if (!(std::fabs(den) > 1e-15 * std::fabs(num))) throw UnstableErr();
  return num / den;
}

ccVector<2> ccLSPointToPointFitter::similarityTrans(double k, double m) const {
  return ccVector<2>((ax_ - k * bx_ + m * by_) / n_, (ay_ - m * bx_ - k * by_) / n_);
}

ccXform<2> ccLSPointToPointFitter::fit(c_Int32 dof) const {
  if (dof != 3 && dof != 4 && dof != 6) throw BadArgErr();
  if (dof == 3 || dof == 4) {
    if (n_ < 2) throw UnstableErr();
    double const c = n_ * (axbx_ + ayby_) - ax_ * bx_ - ay_ * by_;
    double const s = n_ * (aybx_ - axby_) + ax_ * by_ - ay_ * bx_;
    if (dof == 3) {
      if (std::fabs(c) <= 1e-15 && std::fabs(s) <= 1e-15) throw UnstableErr();
      double const theta = std::atan2(s, c);
      return cc2Rigid(ccRadian(theta), similarityTrans(std::cos(theta), std::sin(theta))).linear();
    }
    double const d = n_ * (bxx_ + byy_) - bx_ * bx_ - by_ * by_;
    double const k = safeDivide(c, d), m = safeDivide(s, d);
    return ccXform<2>(ccMatrix<2>(k, -m, m, k), similarityTrans(k, m));
  }
  if (n_ < 3) throw UnstableErr();
  // Centred sums, as written: the plain ones cancel badly far from 0.
  double const s11 = bxx_ - bx_ * bx_ / n_, s12 = bxy_ - bx_ * by_ / n_, s22 = byy_ - by_ * by_ / n_;
  double const p11 = axbx_ - ax_ * bx_ / n_, p12 = axby_ - ax_ * by_ / n_;
  double const p21 = aybx_ - ay_ * bx_ / n_, p22 = ayby_ - ay_ * by_ / n_;
  double const d = s11 * s22 - s12 * s12;
  ccMatrix<2> const m(safeDivide(s22 * p11 - s12 * p12, d), safeDivide(s11 * p12 - s12 * p11, d),
                      safeDivide(s22 * p21 - s12 * p22, d), safeDivide(s11 * p22 - s12 * p21, d));
  ccVector<2> const t = (ccVector<2>(ax_, ay_) - m * ccVector<2>(bx_, by_)) / static_cast<double>(n_);
  return ccXform<2>(m, t);
}

double ccLSPointToPointFitter::error(ccXform<2> const& t) const {
  // Each output row r: Σ(a_r − e_r0·bx − e_r1·by − t_r)², multiplied out.
  auto row = [&](double aa, double abx, double aby, double a1, double e0, double e1, double tr) {
    return aa + e0 * e0 * bxx_ + e1 * e1 * byy_ + n_ * tr * tr - 2 * e0 * abx - 2 * e1 * aby - 2 * tr * a1 +
           2 * e0 * e1 * bxy_ + 2 * e0 * tr * bx_ + 2 * e1 * tr * by_;
  };
  ccMatrix<2> const& m = t.matrix();
  return row(axx_, axbx_, axby_, ax_, m.element(0, 0), m.element(0, 1), t.trans().x()) +
         row(ayy_, aybx_, ayby_, ay_, m.element(1, 0), m.element(1, 1), t.trans().y());
}

cmErrorFamilyDefine(ccLSPointToLineFitter::Errors)
cmErrorDefine(ccLSPointToLineFitter::UnstableErr)
cmErrorDefine(ccLSPointToLineFitter::BadArgErr)

cmErrorFamilyDefine(ccLSCircleFitter::Errors)
cmErrorDefine(ccLSCircleFitter::UnstableErr)

cmErrorFamilyDefine(ccLSLineFitter::Errors)
cmErrorDefine(ccLSLineFitter::UnstableErr)
