// cc2Rigid: a rotation by an angle in degrees followed by a translation,
// with the sine and cosine kept beside the angle so that mapping needs no
// transcendental call. Composition adds the angles without normalising
// them; equality compares the translation, sine and cosine, not the stored
// angle, so 0 and 360 degrees are equal up to the rounding of sin(2π).
//
//   cc2Rigid pose(ccDegree(90), ccVector<2>(5, 0));
//   ccVector<2> q = pose * ccVector<2>(1, 0);   // (5, 1) up to rounding
//   cc2Rigid back = pose.inverse();
//   ccXform<2> general = pose.linear();
#ifndef ORVSTD_MATH_RIGID_H_
#define ORVSTD_MATH_RIGID_H_

#include <cmath>
#include <type_traits>

#include "orvstd/math/angle.h"
#include "orvstd/math/vector.h"
#include "orvstd/math/xform.h"

class ccArchive;

class cc2Rigid {
 public:
  constexpr cc2Rigid() = default;
  cc2Rigid(ccDegree angle, ccVector<2> const& trans) : trans_(trans) { this->angle(angle); }

  ccDegree angle() const { return angle_; }
  ccVector<2> const& trans() const { return trans_; }
  // Refreshes the sine and cosine from the angle in radians.
  void angle(ccDegree a) {
    angle_ = a;
    double const r = ccRadian(a).plain();
    sin_ = std::sin(r);
    cos_ = std::cos(r);
  }
  void trans(ccVector<2> const& t) { trans_ = t; }
  double sin() const { return sin_; }
  double cos() const { return cos_; }

  // The same map as a general transform: matrix (cos, −sin, sin, cos).
  ccXform<2> linear() const { return ccXform<2>(ccMatrix<2>(cos_, -sin_, sin_, cos_), trans_); }

  // This after o: trans R1·t2 + t1, angle1 + angle2.
  cc2Rigid compose(cc2Rigid const& o) const { return cc2Rigid(angle_ + o.angle_, mapPoint(o.trans_)); }
  cc2Rigid operator*(cc2Rigid const& o) const { return compose(o); }
  ccXform<2> compose(ccXform<2> const& o) const { return linear() * o; }
  ccXform<2> operator*(ccXform<2> const& o) const { return compose(o); }

  ccVector<2> mapVector(ccVector<2> const& v) const {
    return ccVector<2>(cos_ * v.x() - sin_ * v.y(), sin_ * v.x() + cos_ * v.y());
  }
  ccVector<2> invMapVector(ccVector<2> const& v) const {
    return ccVector<2>(cos_ * v.x() + sin_ * v.y(), -sin_ * v.x() + cos_ * v.y());
  }
  ccVector<2> mapPoint(ccVector<2> const& p) const { return mapVector(p) + trans_; }
  ccVector<2> operator*(ccVector<2> const& p) const { return mapPoint(p); }
  ccVector<2> invMapPoint(ccVector<2> const& p) const { return inverse().mapPoint(p); }
  cc2Rigid inverse() const {
    double const tx = trans_.x(), ty = trans_.y();
    return cc2Rigid(-angle_, ccVector<2>(-cos_ * tx - sin_ * ty, sin_ * tx - cos_ * ty));
  }
  ccRadian mapAngle(ccRadian a) const { return a + ccRadian(angle_); }
  ccRadian invMapAngle(ccRadian a) const { return a - ccRadian(angle_); }

  // Needs sine exactly 0 and cosine exactly 1, which 360 degrees misses.
  bool isIdentity() const { return trans_.isNull() && sin_ == 0 && cos_ == 1; }
  bool operator==(cc2Rigid const& o) const { return trans_ == o.trans_ && sin_ == o.sin_ && cos_ == o.cos_; }
  bool operator!=(cc2Rigid const& o) const { return !(*this == o); }

  // With r = this·center.inverse(): the half angle of r is nearer to 0 than
  // half the tolerance angle, and each translation component of r is
  // smaller in magnitude than the tolerance's; all strict. The angles are
  // not normalised first, so a pose a whole turn away is not bounded.
  bool isBounded(cc2Rigid const& center, cc2Rigid const& tolerance) const;

 private:
  ccVector<2> trans_;
  ccDegree angle_;
  double sin_ = 0;
  double cos_ = 1;
};

ccXform<2> operator*(ccXform<2> const& x, cc2Rigid const& r);

// Version byte 0, the angle in degrees as a double, then the translation
// in its own format; a load recomputes sine and cosine.
ccArchive& operator||(ccArchive& ar, cc2Rigid& r);

// Trans, sine and cosine.
inline bool cfRealEq(cc2Rigid const& a, cc2Rigid const& b, double tolerance) {
  return cfRealEq(a.trans(), b.trans(), tolerance) && cfRealEq(a.sin(), b.sin(), tolerance) &&
         cfRealEq(a.cos(), b.cos(), tolerance);
}

static_assert(std::is_trivially_copyable_v<cc2Rigid> && sizeof(cc2Rigid) == 5 * sizeof(double));

#endif  // ORVSTD_MATH_RIGID_H_
