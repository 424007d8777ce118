// Fixed-size vectors of doubles: ccVector<2>, the point and the vector of
// the image plane, and ccVector<3>; and cc2FVect, two floats for the robust
// fitters. Plain values: no heap, no virtual table.
//
//   ccVector<2> p(3, 4);
//   double r = p.len();                             // 5
//   ccVector<2> q(2.0, ccRadian(ccDegree(90)));      // (0, 2) up to rounding
//   ccVector<2> d = (q - p).unit();                  // NullVector if q == p
//   ar << p;                                         // version 0, x, y
//
// A zero vector asked for a direction (angle, unit, project) raises
// ccMathError::NullVector; dividing by exactly 0 is a caller's error and
// asserts.
#ifndef ORVSTD_MATH_VECTOR_H_
#define ORVSTD_MATH_VECTOR_H_

#include <cmath>
#include <type_traits>

#include "orvstd/except/assert.h"
#include "orvstd/math/angle.h"
#include "orvstd/math/math_error.h"
#include "orvstd/math/pair.h"
#include "orvstd/math/scalar.h"

class ccArchive;
// Kernel-layer value types; see orvstd/kernel/kmath_types.h.
struct kmath_vect;
struct kx2Vect;

template <int N>
class ccVector;

template <>
class ccVector<2> {
 public:
  constexpr ccVector() = default;
  constexpr ccVector(double x, double y) : x_(x), y_(y) {}
  ccVector(double length, ccRadian a) : x_(length * std::cos(a.plain())), y_(length * std::sin(a.plain())) {}
  ccVector(ccPair<float> const& p) : x_(p.x()), y_(p.y()) {}
  ccVector(ccPair<double> const& p) : x_(p.x()), y_(p.y()) {}
  ccVector(ccPair<c_Int32> const& p) : x_(p.x()), y_(p.y()) {}
  ccVector(kmath_vect const& v);
  ccVector(kx2Vect const& v);
  operator kmath_vect() const;
  operator kx2Vect() const;

  constexpr double x() const { return x_; }
  constexpr double y() const { return y_; }
  void x(double v) { x_ = v; }
  void y(double v) { y_ = v; }
  double& operator[](int i) {
    cmAssert(i == 0 || i == 1);
    return i == 0 ? x_ : y_;
  }
  double operator[](int i) const {
    cmAssert(i == 0 || i == 1);
    return i == 0 ? x_ : y_;
  }

  double len() const { return std::sqrt(x_ * x_ + y_ * y_); }
  bool isNull() const { return x_ == 0 && y_ == 0; }
  ccVector perpendicular() const { return ccVector(-y_, x_); }
  double distance(ccVector const& o) const { return (*this - o).len(); }

  ccVector operator+(ccVector const& o) const { return ccVector(x_ + o.x_, y_ + o.y_); }
  ccVector operator-(ccVector const& o) const { return ccVector(x_ - o.x_, y_ - o.y_); }
  ccVector operator-() const { return ccVector(-x_, -y_); }
  ccVector operator*(double f) const { return ccVector(x_ * f, y_ * f); }
  // Multiplies by 1/d; d must not be exactly 0.
  ccVector operator/(double d) const {
    cmAssert(d != 0);
    return *this * (1 / d);
  }
  ccVector& operator+=(ccVector const& o) { return *this = *this + o; }
  ccVector& operator-=(ccVector const& o) { return *this = *this - o; }
  ccVector& operator*=(double f) { return *this = *this * f; }
  ccVector& operator/=(double d) { return *this = *this / d; }

  double operator*(ccVector const& o) const { return dot(o); }
  double dot(ccVector const& o) const { return x_ * o.x_ + y_ * o.y_; }
  // The scalar x1*y2 - y1*x2.
  double cross(ccVector const& o) const { return x_ * o.y_ - y_ * o.x_; }

  ccRadian angle() const {
    requireNotNull();
    return ccRadian(std::atan2(y_, x_));
  }
  // A length that under- or overflows in the squares is taken again
  // without them, so a tiny or huge non-null vector still has a direction.
  ccVector unit() const {
    requireNotNull();
    double l = len();
    if (l == 0 || std::isinf(l)) l = std::hypot(x_, y_);
    return *this * (1 / l);
  }
  // v projected onto this vector's direction.
  ccVector project(ccVector const& v) const {
    ccVector const u = unit();
    return u * v.dot(u);
  }
  // Component-wise cfIFloor and cfICeil (saturating).
  ccPair<c_Int32> floor() const { return ccPair<c_Int32>(cfIFloor(x_), cfIFloor(y_)); }
  ccPair<c_Int32> ceil() const { return ccPair<c_Int32>(cfICeil(x_), cfICeil(y_)); }

  bool operator==(ccVector const& o) const { return x_ == o.x_ && y_ == o.y_; }
  bool operator!=(ccVector const& o) const { return !(*this == o); }

 private:
  void requireNotNull() const {
    if (isNull()) throw ccMathError::NullVector();
  }

  double x_ = 0;
  double y_ = 0;
};

template <>
class ccVector<3> {
 public:
  constexpr ccVector() = default;
  constexpr ccVector(double x, double y, double z) : x_(x), y_(y), z_(z) {}

  constexpr double x() const { return x_; }
  constexpr double y() const { return y_; }
  constexpr double z() const { return z_; }
  void x(double v) { x_ = v; }
  void y(double v) { y_ = v; }
  void z(double v) { z_ = v; }
  double& operator[](int i) {
    cmAssert(i >= 0 && i <= 2);
    return i == 0 ? x_ : i == 1 ? y_ : z_;
  }
  double operator[](int i) const {
    cmAssert(i >= 0 && i <= 2);
    return i == 0 ? x_ : i == 1 ? y_ : z_;
  }

  double len() const { return std::sqrt(x_ * x_ + y_ * y_ + z_ * z_); }
  bool isNull() const { return x_ == 0 && y_ == 0 && z_ == 0; }
  double distance(ccVector const& o) const { return (*this - o).len(); }

  ccVector operator+(ccVector const& o) const { return ccVector(x_ + o.x_, y_ + o.y_, z_ + o.z_); }
  ccVector operator-(ccVector const& o) const { return ccVector(x_ - o.x_, y_ - o.y_, z_ - o.z_); }
  ccVector operator-() const { return ccVector(-x_, -y_, -z_); }
  ccVector operator*(double f) const { return ccVector(x_ * f, y_ * f, z_ * f); }
  // Multiplies by 1/d; d must not be exactly 0.
  ccVector operator/(double d) const {
    cmAssert(d != 0);
    return *this * (1 / d);
  }
  ccVector& operator+=(ccVector const& o) { return *this = *this + o; }
  ccVector& operator-=(ccVector const& o) { return *this = *this - o; }
  ccVector& operator*=(double f) { return *this = *this * f; }
  ccVector& operator/=(double d) { return *this = *this / d; }

  double operator*(ccVector const& o) const { return dot(o); }
  double dot(ccVector const& o) const { return x_ * o.x_ + y_ * o.y_ + z_ * o.z_; }
  ccVector cross(ccVector const& o) const {
    return ccVector(y_ * o.z_ - o.y_ * z_, z_ * o.x_ - o.z_ * x_, x_ * o.y_ - o.x_ * y_);
  }

  // As ccVector<2>::unit, also for tiny or huge vectors.
  ccVector unit() const {
    if (isNull()) throw ccMathError::NullVector();
    double l = len();
    if (l == 0 || std::isinf(l)) l = std::hypot(x_, y_, z_);
    return *this * (1 / l);
  }
  ccVector project(ccVector const& v) const {
    ccVector const u = unit();
    return u * v.dot(u);
  }

  bool operator==(ccVector const& o) const { return x_ == o.x_ && y_ == o.y_ && z_ == o.z_; }
  bool operator!=(ccVector const& o) const { return !(*this == o); }

 private:
  double x_ = 0;
  double y_ = 0;
  double z_ = 0;
};

// Two floats. Unlike ccVector<2>, the angle constructor ignores the length
// and stores (cos a, sin a), and unit() of a zero vector throws the
// character string "zero length"; division has no zero test.
class cc2FVect {
 public:
  constexpr cc2FVect() = default;
  constexpr cc2FVect(float x, float y) : x_(x), y_(y) {}
  cc2FVect(float /*length, ignored*/, ccRadian a)
      : x_(static_cast<float>(std::cos(a.plain()))), y_(static_cast<float>(std::sin(a.plain()))) {}

  constexpr float x() const { return x_; }
  constexpr float y() const { return y_; }
  void x(float v) { x_ = v; }
  void y(float v) { y_ = v; }
  float& operator[](int i) {
    cmAssert(i == 0 || i == 1);
    return i == 0 ? x_ : y_;
  }
  float operator[](int i) const {
    cmAssert(i == 0 || i == 1);
    return i == 0 ? x_ : y_;
  }

  // Computed in float.
  double len() const { return std::sqrt(x_ * x_ + y_ * y_); }
  bool isNull() const { return x_ == 0 && y_ == 0; }
  double dot(cc2FVect const& o) const { return x_ * o.x_ + y_ * o.y_; }
  double distance(cc2FVect const& o) const { return (*this - o).len(); }

  cc2FVect operator+(cc2FVect const& o) const { return cc2FVect(x_ + o.x_, y_ + o.y_); }
  cc2FVect operator-(cc2FVect const& o) const { return cc2FVect(x_ - o.x_, y_ - o.y_); }
  cc2FVect operator-() const { return cc2FVect(-x_, -y_); }
  cc2FVect operator*(double f) const { return cc2FVect(static_cast<float>(x_ * f), static_cast<float>(y_ * f)); }
  cc2FVect operator/(double d) const { return cc2FVect(static_cast<float>(x_ / d), static_cast<float>(y_ / d)); }
  cc2FVect& operator+=(cc2FVect const& o) { return *this = *this + o; }
  cc2FVect& operator-=(cc2FVect const& o) { return *this = *this - o; }
  cc2FVect& operator*=(double f) { return *this = *this * f; }
  cc2FVect& operator/=(double d) { return *this = *this / d; }

  cc2FVect unit() const {
    double const l = len();
    if (l == 0) throw "zero length";
    return *this / l;
  }

  bool operator==(cc2FVect const& o) const { return x_ == o.x_ && y_ == o.y_; }
  bool operator!=(cc2FVect const& o) const { return !(*this == o); }

 private:
  float x_ = 0;
  float y_ = 0;
};

// Version byte 0, then the components as doubles.
ccArchive& operator||(ccArchive& ar, ccVector<2>& v);
ccArchive& operator||(ccArchive& ar, ccVector<3>& v);

inline bool cfRealEq(ccVector<2> const& a, ccVector<2> const& b, double tolerance) {
  return cfRealEq(a.x(), b.x(), tolerance) && cfRealEq(a.y(), b.y(), tolerance);
}
inline bool cfRealEq(ccVector<3> const& a, ccVector<3> const& b, double tolerance) {
  return cfRealEq(a.x(), b.x(), tolerance) && cfRealEq(a.y(), b.y(), tolerance) && cfRealEq(a.z(), b.z(), tolerance);
}

static_assert(std::is_trivially_copyable_v<ccVector<2>> && sizeof(ccVector<2>) == 16);
static_assert(std::is_trivially_copyable_v<ccVector<3>> && sizeof(ccVector<3>) == 24);
static_assert(std::is_trivially_copyable_v<cc2FVect> && sizeof(cc2FVect) == 8);

#endif  // ORVSTD_MATH_VECTOR_H_
