// Angles against the independently computed table of testdata/angles.inc,
// the wrapping arithmetic of the binary angles, out-of-range conversions,
// and the scalar helpers.
#include "orvstd/math/angle.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "orvstd/math/scalar.h"

namespace {

struct RealCase {
  double x, other;
  int a8, a16;
  double norm, signedNorm;
};
struct BinaryCase {
  unsigned u;
  double radian, degree;
  int other;
};

#include "testdata/angles.inc"

// Bit-for-bit, so that a sign of zero or a last-place difference shows.
::testing::AssertionResult sameBits(double got, double want) {
  if (std::bit_cast<c_UInt64>(got) == std::bit_cast<c_UInt64>(want)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << std::hexfloat << got << " != " << want;
}

TEST(AngleTable, RadiansConvertAndNormaliseAsComputedIndependently) {
  for (RealCase const& c : kRadianCases) {
    SCOPED_TRACE(::testing::Message() << std::hexfloat << c.x);
    ccRadian const r(c.x);
    EXPECT_TRUE(sameBits(ccDegree(r).plain(), c.other));
    EXPECT_EQ(ccAngle8(r).plain(), c.a8);
    EXPECT_EQ(ccAngle16(r).plain(), c.a16);
    EXPECT_TRUE(sameBits(r.norm().plain(), c.norm));
    EXPECT_TRUE(sameBits(r.signedNorm().plain(), c.signedNorm));
  }
}

TEST(AngleTable, DegreesConvertAndNormaliseAsComputedIndependently) {
  for (RealCase const& c : kDegreeCases) {
    SCOPED_TRACE(::testing::Message() << std::hexfloat << c.x);
    ccDegree const d(c.x);
    EXPECT_TRUE(sameBits(ccRadian(d).plain(), c.other));
    EXPECT_EQ(ccAngle8(d).plain(), c.a8);
    EXPECT_EQ(ccAngle16(d).plain(), c.a16);
    EXPECT_TRUE(sameBits(d.norm().plain(), c.norm));
    EXPECT_TRUE(sameBits(d.signedNorm().plain(), c.signedNorm));
  }
}

TEST(AngleTable, BinaryAnglesConvertAsComputedIndependently) {
  EXPECT_EQ(std::size(kAngle8Cases), 256u);
  for (BinaryCase const& c : kAngle8Cases) {
    ccAngle8 const a(c.u);
    EXPECT_TRUE(sameBits(ccRadian(a).plain(), c.radian)) << c.u;
    EXPECT_TRUE(sameBits(ccDegree(a).plain(), c.degree)) << c.u;
    EXPECT_EQ(ccAngle16(a).plain(), c.other) << c.u;
    EXPECT_EQ(a.toDouble(), c.u);
  }
  for (BinaryCase const& c : kAngle16Cases) {
    ccAngle16 const a(c.u);
    EXPECT_TRUE(sameBits(ccRadian(a).plain(), c.radian)) << c.u;
    EXPECT_TRUE(sameBits(ccDegree(a).plain(), c.degree)) << c.u;
    EXPECT_EQ(ccAngle8(a).plain(), c.other) << c.u;
  }
}

TEST(AngleNorm, NamedBoundaries) {
  double const pi = ccRadian::kTurn / 2;
  EXPECT_EQ(ccRadian(pi).signedNorm().plain(), -pi);
  EXPECT_EQ(ccRadian(-pi).signedNorm().plain(), -pi);
  EXPECT_EQ(ccDegree(-30).norm().plain(), 330);
  EXPECT_EQ(ccDegree(720).norm().plain(), 0);
  EXPECT_EQ(ccDegree(180).signedNorm().plain(), -180);
  EXPECT_EQ(ccDegree(-180).signedNorm().plain(), -180);
  EXPECT_EQ(ccDegree(190).signedNorm().plain(), -170);
  EXPECT_EQ(ccAngle8(ccAngle16(0xFFFFu)).plain(), 0);
  EXPECT_EQ(ccAngle16(ccAngle8(0xFFu)).plain(), 0xFF00);
  EXPECT_EQ(ccAngle8(ccRadian(ccRadian::kTurn)).plain(), 0);
  // A tiny negative remainder rounds up to a whole turn, as the rule says.
  EXPECT_EQ(ccRadian(-1e-20).norm().plain(), ccRadian::kTurn);
}

TEST(AngleNorm, NonFiniteValuesAreDefined) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  for (double x : {nan, inf, -inf}) {
    EXPECT_EQ(ccAngle8(ccRadian(x)).plain(), 0);
    EXPECT_EQ(ccAngle16(ccDegree(x)).plain(), 0);
    EXPECT_TRUE(std::isnan(ccRadian(x).norm().plain()));
    EXPECT_TRUE(std::isnan(ccDegree(x).signedNorm().plain()));
  }
  // Far beyond any integer type: still the low bits of the rounded value.
  EXPECT_EQ(ccAngle16(ccDegree(0x1p80 / 182.04444444444445)).plain(), 0);
}

TEST(RealAngle, ArithmeticAndComparisonsOnTheRawValue) {
  ccDegree a(350), b(20);
  EXPECT_EQ((a + b).plain(), 370);  // never normalised implicitly
  EXPECT_EQ((b - a).plain(), -330);
  EXPECT_EQ((-a).plain(), -350);
  EXPECT_EQ((b * 1.5).plain(), 30);
  EXPECT_EQ((b / 4).plain(), 5);
  EXPECT_EQ(a / b, 17.5);
  EXPECT_EQ(a * b, 7000);
  EXPECT_TRUE(b < a);
  EXPECT_FALSE(ccDegree(360) == ccDegree(0));
  EXPECT_EQ(abs(ccDegree(-3)).plain(), 3);
  EXPECT_EQ(abs(ccRadian(-0.5)).plain(), 0.5);
  ccRadian r(1);
  r += ccRadian(1);
  r *= 3;
  r -= 1.0;
  r /= ccRadian(2);
  EXPECT_EQ(r.plain(), 2.5);
  // Mixed units convert to the left operand's unit.
  EXPECT_EQ((ccDegree(90) + ccRadian(ccDegree(90))).plain(), 180);
  EXPECT_EQ(ccRadian().plain(), 0);
  EXPECT_EQ(ccDegree().plain(), 0);
}

TEST(BinaryAngle, ArithmeticWrapsModuloATurn) {
  ccAngle8 const a(250u), b(10u);
  EXPECT_EQ((a + b).plain(), 4);
  EXPECT_EQ((b - a).plain(), 16);
  EXPECT_EQ((-b).plain(), 246);
  EXPECT_EQ((-ccAngle8()).plain(), 0);
  EXPECT_EQ((b * 30u).plain(), 44);  // 300 truncated
  EXPECT_EQ((a / 3u).plain(), 83);
  EXPECT_EQ(a * b, static_cast<c_UInt8>(2500));
  EXPECT_EQ(a / b, 25);
  EXPECT_TRUE(b < a);  // unsigned, blind to the wrap
  ccAngle16 w(0xFFFFu);
  w += ccAngle16(2u);
  EXPECT_EQ(w.plain(), 1);
  w -= ccAngle16(3u);
  EXPECT_EQ(w.plain(), 0xFFFE);
  EXPECT_EQ((ccAngle16(0xFFFFu) * ccAngle16(0xFFFFu)), 1);  // no int overflow on the way
  w *= 2u;
  EXPECT_EQ(w.plain(), 0xFFFC);
  w /= 4u;
  EXPECT_EQ(w.plain(), 0x3FFF);
  EXPECT_EQ(ccAngle16(0x12345u).plain(), 0x2345);
}

TEST(BinaryAngleDeathTest, DivisionByZeroAsserts) {
  EXPECT_DEATH((void)(ccAngle8(4u) / 0u), "");
  EXPECT_DEATH((void)(ccAngle16(4u) / ccAngle16()), "");
}

TEST(AngleEq, ComparesOnTheCircle) {
  EXPECT_TRUE(cfRealEq(ccRadian(0.01), ccRadian(ccRadian::kTurn - 0.01), ccRadian(0.0200001)));
  EXPECT_FALSE(cfRealEq(ccRadian(0.01), ccRadian(ccRadian::kTurn - 0.01), ccRadian(0.0199)));
  EXPECT_TRUE(cfRealEq(ccRadian(1), ccRadian(1.5), ccRadian(0.5)));
}

TEST(Scalar, FloorsCeilingsAndSaturation) {
  struct {
    double x;
    c_Int32 floor, ceil;
  } const cases[] = {{-0.5, -1, 0},       {0.5, 0, 1},         {-2, -2, -2},          {2147483646.5, 2147483646, 2147483647},
                     {3e9, 2147483647, 2147483647},             {-3e9, -2147483647 - 1, -2147483647 - 1},
                     {-2147483648.5, -2147483647 - 1, -2147483647 - 1}};
  for (auto const& c : cases) {
    EXPECT_EQ(cfIFloor(c.x), c.floor) << c.x;
    EXPECT_EQ(cfICeil(c.x), c.ceil) << c.x;
  }
  EXPECT_EQ(cfIFloor(cfQuietNaN()), -2147483647 - 1);
  EXPECT_TRUE(std::isnan(cfQuietNaN()));
  EXPECT_EQ(cfFrac(-0.25), 0.75);
  EXPECT_EQ(iRound(2.5f), 3);
  EXPECT_EQ(iRound(-2.5f), -3);
  EXPECT_EQ(iRound(1e20f), 2147483647);
}

TEST(Scalar, ClampsTestTheLowEndFirst) {
  EXPECT_EQ(cfDLimit(5, 1, 3), 3);
  EXPECT_EQ(cfDLimit(-5, 1, 3), 1);
  EXPECT_EQ(cfDLimit(2, 3, 1), 3);  // lo wins when the bounds cross
  EXPECT_EQ(cfDLimit(cfQuietNaN(), 1, 3), 1);
  EXPECT_EQ(cfILimit(7, 0, 7), 7);
  EXPECT_EQ(cfFLimit(0.5f, 0, 1), 0.5f);
  EXPECT_EQ(cfIMax(-1, 2), 2);
  EXPECT_EQ(cfIMin(-1, 2), -1);
  EXPECT_EQ(dmax(1, 2), 2);
  EXPECT_EQ(dmin(1, 2), 1);
  EXPECT_EQ(cfFMax(1, 2), 2);
  EXPECT_EQ(cfFMin(1, 2), 1);
}

TEST(Scalar, IntegerFloorDivision) {
  struct {
    c_Int32 a, b, div, floor, ceil, mod, span;
  } const cases[] = {
      {7, 3, 2, 6, 9, 1, 3}, {-7, 3, -3, -9, -6, 2, -1}, {-6, 3, -2, -6, -6, 0, -1}, {0, 4, 0, 0, 0, 0, 0},
      {-1, 4, -1, -4, 0, 3, 0}, {6, 3, 2, 6, 6, 0, 2},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.a << "/" << c.b);
    EXPECT_EQ(iDiv(c.a, c.b), c.div);
    EXPECT_EQ(iFloor(c.a, c.b), c.floor);
    EXPECT_EQ(iCeil(c.a, c.b), c.ceil);
    EXPECT_EQ(iMod(c.a, c.b), c.mod);
    EXPECT_EQ(iSpan(c.a, c.b), c.span);
  }
}

TEST(Scalar, RealEqIncludesTheTolerance) {
  EXPECT_TRUE(cfRealEq(1.0, 2.0, 1.0));
  EXPECT_FALSE(cfRealEq(1.0, 2.0, 0.999));
  EXPECT_TRUE(cfRealEq(-1e-16, 1e-16, 1e-15));
}

}  // namespace
