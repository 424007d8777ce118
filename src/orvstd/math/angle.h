// Angles: ccRadian and ccDegree hold one double, ccAngle8 and ccAngle16 a
// binary angle (a full turn is 256 or 65536 units). Each converts to each
// other implicitly, by the fixed constants below; nothing is normalised
// unless norm() or signedNorm() is asked for.
//
//   ccRadian a = ccDegree(90);           // 1.5707963267948966
//   ccDegree d = ccRadian(-0.5).norm();  // in [0, 360)
//   ccAngle8 b = ccDegree(-1.40625);     // 255
//   double halfTurns = a / ccRadian(M_PI);
//
// ccRadian and ccDegree compare their raw doubles, ccAngle8 and ccAngle16
// their unsigned integers: none of the comparisons knows about wrapping.
// Arithmetic on the binary angles wraps modulo a full turn.
//
// A double that does not fit a binary angle: the rounded value keeps its
// low 8 or 16 bits, which is exact for every finite double, however large
// or negative; NaN and infinities give 0. norm() and signedNorm() of a NaN
// or an infinity are NaN.
#ifndef ORVSTD_MATH_ANGLE_H_
#define ORVSTD_MATH_ANGLE_H_

#include <cmath>
#include <type_traits>

#include "orvstd/defs/types.h"
#include "orvstd/except/assert.h"

class ccRadian;
class ccDegree;
class ccAngle8;
class ccAngle16;

// The operations ccRadian and ccDegree share; A is the angle class and
// kTurn its full turn.
template <class A>
class cc_RealAngle {
 public:
  constexpr double plain() const { return v_; }

  A operator+(A b) const { return A(v_ + b.v_); }
  A operator-(A b) const { return A(v_ - b.v_); }
  A operator-() const { return A(-v_); }
  A operator*(double f) const { return A(v_ * f); }
  A operator/(double f) const { return A(v_ / f); }
  double operator*(A b) const { return v_ * b.v_; }
  // How many of b fit in this angle.
  double operator/(A b) const { return v_ / b.v_; }

  A& operator+=(A b) { v_ += b.v_; return self(); }
  A& operator-=(A b) { v_ -= b.v_; return self(); }
  A& operator*=(A b) { v_ *= b.v_; return self(); }
  A& operator/=(A b) { v_ /= b.v_; return self(); }
  A& operator+=(double f) { v_ += f; return self(); }
  A& operator-=(double f) { v_ -= f; return self(); }
  A& operator*=(double f) { v_ *= f; return self(); }
  A& operator/=(double f) { v_ /= f; return self(); }

  friend bool operator==(A a, A b) { return a.v_ == b.v_; }
  friend bool operator!=(A a, A b) { return a.v_ != b.v_; }
  friend bool operator<(A a, A b) { return a.v_ < b.v_; }
  friend bool operator<=(A a, A b) { return a.v_ <= b.v_; }
  friend bool operator>(A a, A b) { return a.v_ > b.v_; }
  friend bool operator>=(A a, A b) { return a.v_ >= b.v_; }

  // The remainder by a full turn, moved up by a turn when negative: in
  // [0, turn), except that a tiny negative remainder may round up to
  // exactly one turn.
  A norm() const {
    double r = std::fmod(v_, A::kTurn);
    if (r < 0) r += A::kTurn;
    return A(r);
  }
  // In [-half turn, half turn): unchanged when already inside, else the
  // nearer of norm() and norm() - turn, the half turn itself going down.
  A signedNorm() const {
    if (-A::kTurn / 2 <= v_ && v_ < A::kTurn / 2) return A(v_);
    double const n = norm().v_;
    return A(n >= A::kTurn - n ? n - A::kTurn : n);
  }

 protected:
  constexpr cc_RealAngle() = default;
  explicit constexpr cc_RealAngle(double v) : v_(v) {}

 private:
  A& self() { return static_cast<A&>(*this); }
  double v_ = 0;
};

class ccRadian : public cc_RealAngle<ccRadian> {
 public:
  static constexpr double kTurn = 6.283185307179586;
  constexpr ccRadian() = default;
  explicit constexpr ccRadian(double r) : cc_RealAngle(r) {}
  ccRadian(ccDegree d);
  ccRadian(ccAngle8 a);
  ccRadian(ccAngle16 a);
};

class ccDegree : public cc_RealAngle<ccDegree> {
 public:
  static constexpr double kTurn = 360.0;
  constexpr ccDegree() = default;
  explicit constexpr ccDegree(double d) : cc_RealAngle(d) {}
  ccDegree(ccRadian r);
  ccDegree(ccAngle8 a);
  ccDegree(ccAngle16 a);
};

inline ccRadian abs(ccRadian a) { return ccRadian(std::fabs(a.plain())); }
inline ccDegree abs(ccDegree a) { return ccDegree(std::fabs(a.plain())); }

// The low bits (`mask` + 1 a power of two) of floor(x + 0.5), exact for
// every finite x; 0 for NaN and the infinities.
inline unsigned cf_RoundedLowBits(double x, unsigned mask) {
  double const r = std::floor(x + 0.5);
  if (std::fabs(r) < 9.0e15) return static_cast<unsigned>(static_cast<c_Int64>(r)) & mask;
  if (!std::isfinite(r)) return 0;
  // Beyond 2^53 every double is a multiple of the turn's power of two
  // times something; fmod is exact and finds the residue.
  double m = std::fmod(r, static_cast<double>(mask) + 1.0);
  if (m < 0) m += static_cast<double>(mask) + 1.0;
  return static_cast<unsigned>(m);
}

// The operations ccAngle8 and ccAngle16 share on their unsigned integer U.
template <class A, class U>
class cc_BinaryAngle {
 public:
  constexpr U plain() const { return u_; }
  // The raw unit count.
  constexpr double toDouble() const { return u_; }

  A operator+(A b) const { return A(u_ + b.u_); }
  A operator-(A b) const { return A(u_ - b.u_); }
  A operator-() const { return A(0u - u_); }
  A operator*(unsigned f) const { return A(u_ * f); }
  // Unsigned integer division; f must not be 0.
  A operator/(unsigned f) const { cmAssert(f != 0); return A(u_ / f); }
  U operator*(A b) const { return static_cast<U>(static_cast<unsigned>(u_) * b.u_); }
  U operator/(A b) const { cmAssert(b.u_ != 0); return static_cast<U>(u_ / b.u_); }

  A& operator+=(A b) { return self() = self() + b; }
  A& operator-=(A b) { return self() = self() - b; }
  A& operator*=(A b) { u_ = self() * b; return self(); }
  A& operator/=(A b) { u_ = self() / b; return self(); }
  A& operator*=(unsigned f) { return self() = self() * f; }
  A& operator/=(unsigned f) { return self() = self() / f; }

  friend bool operator==(A a, A b) { return a.u_ == b.u_; }
  friend bool operator!=(A a, A b) { return a.u_ != b.u_; }
  friend bool operator<(A a, A b) { return a.u_ < b.u_; }
  friend bool operator<=(A a, A b) { return a.u_ <= b.u_; }
  friend bool operator>(A a, A b) { return a.u_ > b.u_; }
  friend bool operator>=(A a, A b) { return a.u_ >= b.u_; }

 protected:
  constexpr cc_BinaryAngle() = default;
  // Keeps the low bits of u.
  explicit constexpr cc_BinaryAngle(unsigned u) : u_(static_cast<U>(u)) {}

 private:
  A& self() { return static_cast<A&>(*this); }
  U u_ = 0;
};

class ccAngle8 : public cc_BinaryAngle<ccAngle8, c_UInt8> {
 public:
  constexpr ccAngle8() = default;
  // Keeps the low 8 bits of u.
  explicit constexpr ccAngle8(unsigned u) : cc_BinaryAngle(u) {}
  ccAngle8(ccRadian r) : cc_BinaryAngle(cf_RoundedLowBits(r.plain() * 40.74366543152521, 0xFF)) {}
  ccAngle8(ccDegree d) : cc_BinaryAngle(cf_RoundedLowBits(d.plain() * 0.7111111111111111, 0xFF)) {}
  // Rounds to the nearer unit: 0xFF80 and above come to 0.
  ccAngle8(ccAngle16 a);
};

class ccAngle16 : public cc_BinaryAngle<ccAngle16, c_UInt16> {
 public:
  constexpr ccAngle16() = default;
  // Keeps the low 16 bits of u.
  explicit constexpr ccAngle16(unsigned u) : cc_BinaryAngle(u) {}
  ccAngle16(ccRadian r) : cc_BinaryAngle(cf_RoundedLowBits(r.plain() * 10430.378350470453, 0xFFFF)) {}
  ccAngle16(ccDegree d) : cc_BinaryAngle(cf_RoundedLowBits(d.plain() * 182.04444444444445, 0xFFFF)) {}
  ccAngle16(ccAngle8 a) : cc_BinaryAngle(static_cast<unsigned>(a.plain()) << 8) {}
};

inline ccAngle8::ccAngle8(ccAngle16 a) : cc_BinaryAngle((static_cast<unsigned>(a.plain()) + 128u) >> 8) {}

inline ccRadian::ccRadian(ccDegree d) : cc_RealAngle(d.plain() * 0.017453292519943295) {}
inline ccRadian::ccRadian(ccAngle8 a) : cc_RealAngle(a.plain() * 0.02454369260617026) {}
inline ccRadian::ccRadian(ccAngle16 a) : cc_RealAngle(a.plain() * 9.587379924285257e-5) {}
inline ccDegree::ccDegree(ccRadian r) : cc_RealAngle(r.plain() * 57.29577951308232) {}
inline ccDegree::ccDegree(ccAngle8 a) : cc_RealAngle(a.plain() * 1.40625) {}
inline ccDegree::ccDegree(ccAngle16 a) : cc_RealAngle(a.plain() * 0.0054931640625) {}

// Compares on the circle: |(a - b).signedNorm()| <= tolerance.
inline bool cfRealEq(ccRadian a, ccRadian b, ccRadian tolerance) {
  return std::fabs((a - b).signedNorm().plain()) <= tolerance.plain();
}

static_assert(std::is_trivially_copyable_v<ccRadian> && sizeof(ccRadian) == sizeof(double));
static_assert(std::is_trivially_copyable_v<ccDegree> && sizeof(ccDegree) == sizeof(double));
static_assert(std::is_trivially_copyable_v<ccAngle8> && sizeof(ccAngle8) == 1);
static_assert(std::is_trivially_copyable_v<ccAngle16> && sizeof(ccAngle16) == 2);

#endif  // ORVSTD_MATH_ANGLE_H_
