// Vectors: arithmetic, directions and their NullVector failures, integer
// floors, the float vector's deliberate differences, kernel conversions and
// the archive format.
#include "orvstd/math/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "orvstd/archive/testing/value_archive.h"
#include "orvstd/kernel/kmath_types.h"

namespace {

using V2 = ccVector<2>;
using V3 = ccVector<3>;

TEST(Vector2, ConstructionAndAccess) {
  EXPECT_EQ(V2(), V2(0, 0));
  V2 const polar(2.0, ccRadian(ccDegree(90)));
  EXPECT_EQ(polar.x(), 2.0 * std::cos(ccRadian(ccDegree(90)).plain()));
  EXPECT_EQ(polar.y(), 2.0);
  EXPECT_EQ(V2(ccPair<float>(1.5f, -2.f)), V2(1.5, -2));
  EXPECT_EQ(V2(ccPair<double>(0.1, 0.2)), V2(0.1, 0.2));
  EXPECT_EQ(V2(ccPair<c_Int32>(-7, 9)), V2(-7, 9));
  V2 v(1, 2);
  v[0] = 5;
  v.y(6);
  EXPECT_EQ(v, V2(5, 6));
  EXPECT_EQ(static_cast<V2 const&>(v)[1], 6);
  V3 w(1, 2, 3);
  w[2] = 4;
  w.x(0);
  EXPECT_EQ(w, V3(0, 2, 4));
}

TEST(VectorDeathTest, IndexOutOfRangeAsserts) {
  V2 v;
  V3 w;
  cc2FVect f;
  EXPECT_DEATH(v[2] = 1, "");
  EXPECT_DEATH((void)static_cast<V2 const&>(v)[-1], "");
  EXPECT_DEATH(w[3] = 1, "");
  EXPECT_DEATH(f[2] = 1, "");
}

TEST(VectorDeathTest, DivisionByExactZeroAsserts) {
  EXPECT_DEATH((void)(V2(1, 1) / 0.0), "");
  EXPECT_DEATH((void)(V3(1, 1, 1) / -0.0), "");
}

TEST(Vector2, Arithmetic) {
  V2 const a(3, 4), b(-1, 2);
  EXPECT_EQ(a.len(), 5);
  EXPECT_EQ(a + b, V2(2, 6));
  EXPECT_EQ(a - b, V2(4, 2));
  EXPECT_EQ(-a, V2(-3, -4));
  EXPECT_EQ(a * 2, V2(6, 8));
  EXPECT_EQ(V2(1, 3) / 3, V2(1 * (1 / 3.0), 3 * (1 / 3.0)));  // by the reciprocal
  EXPECT_EQ(a * b, 5);
  EXPECT_EQ(a.dot(b), 5);
  EXPECT_EQ(a.cross(b), 10);
  EXPECT_EQ(a.perpendicular(), V2(-4, 3));
  EXPECT_EQ(a.distance(b), std::sqrt(20.0));
  V2 c = a;
  c += b;
  c -= V2(1, 1);
  c *= 3;
  c /= 2;
  EXPECT_EQ(c, V2(1.5, 7.5));
  EXPECT_TRUE(V2(0, -0.0).isNull());
  EXPECT_FALSE(V2(0, 1e-300).isNull());
  EXPECT_NE(a, b);
}

TEST(Vector2, Directions) {
  EXPECT_EQ(V2(-1, 0).angle().plain(), std::atan2(0.0, -1.0));
  EXPECT_EQ(V2(0, -2).unit(), V2(0, -1));
  // v projected onto the direction of (2, 0).
  EXPECT_EQ(V2(2, 0).project(V2(3, 5)), V2(3, 0));
  // Tiny and huge vectors are not null and keep their direction.
  EXPECT_TRUE(cfRealEq(V2(0, 1e-300).unit(), V2(0, 1), 1e-15));
  EXPECT_EQ(V2(-1e300, 0).unit(), V2(-1, 0));
  EXPECT_TRUE(cfRealEq(V3(0, 0, 1e-300).unit(), V3(0, 0, 1), 1e-15));
  EXPECT_THROW(V2().unit(), ccMathError::NullVector);
  EXPECT_THROW(V2().angle(), ccMathError::NullVector);
  EXPECT_THROW(V2().project(V2(1, 1)), ccMathError::NullVector);
  EXPECT_THROW(V3().unit(), ccMathError::NullVector);
  EXPECT_THROW(V3().project(V3(1, 1, 1)), ccMathError::NullVector);
  try {
    V2().unit();
  } catch (ccMathError::Errors const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10000f01);
  }
}

TEST(Vector2, FloorAndCeilSaturate) {
  EXPECT_EQ(V2(-0.5, 2.5).floor(), ccPair<c_Int32>(-1, 2));
  EXPECT_EQ(V2(-0.5, 2.5).ceil(), ccPair<c_Int32>(0, 3));
  EXPECT_EQ(V2(1e10, -1e10).floor(), ccPair<c_Int32>(2147483647, -2147483647 - 1));
  EXPECT_EQ(V2(std::numeric_limits<double>::quiet_NaN(), 0).ceil(), ccPair<c_Int32>(-2147483647 - 1, 0));
}

TEST(Vector3, ArithmeticAndCross) {
  V3 const a(1, 2, 3), b(4, 5, 6);
  EXPECT_EQ(a.cross(b), V3(-3, 6, -3));
  EXPECT_EQ(V3(1, 0, 0).cross(V3(0, 1, 0)), V3(0, 0, 1));
  EXPECT_EQ(a * b, 32);
  EXPECT_EQ(V3(2, 3, 6).len(), 7);
  EXPECT_EQ(a + b - b, a);
  EXPECT_EQ(-a * 2, V3(-2, -4, -6));
  EXPECT_EQ(V3(0, 0, 4).unit(), V3(0, 0, 1));
  EXPECT_EQ(V3(0, 0, 2).project(V3(1, 2, 3)), V3(0, 0, 3));
  EXPECT_EQ(V3(2, 3, 6).distance(V3()), 7);
}

TEST(FloatVector, DeliberateDifferences) {
  // The length argument is ignored.
  cc2FVect const f(10.0f, ccRadian(0));
  EXPECT_EQ(f, cc2FVect(1, 0));
  try {
    cc2FVect().unit();
    ADD_FAILURE() << "no throw";
  } catch (char const* text) {
    EXPECT_STREQ(text, "zero length");
  }
  EXPECT_EQ(cc2FVect(3, 4).len(), 5.0);
  EXPECT_EQ(cc2FVect(3, 4).unit(), cc2FVect(0.6f, 0.8f));
  EXPECT_EQ(cc2FVect(3, 4).dot(cc2FVect(1, 1)), 7.0);
  EXPECT_EQ(cc2FVect(3, 4).distance(cc2FVect(0, 0)), 5.0);
  EXPECT_TRUE(std::isinf((cc2FVect(1, 0) / 0.0).x()));  // no zero test
  cc2FVect g(1, 2);
  g += cc2FVect(1, 1);
  g *= 2;
  g -= cc2FVect(0, 2);
  g /= 2;
  EXPECT_EQ(g, cc2FVect(2, 2));
  EXPECT_EQ(-g, cc2FVect(-2, -2));
}

TEST(Vector2, KernelConversionsKeepTheFields) {
  V2 const v(1.25, -3.5);
  kmath_vect const k = v;
  kx2Vect const x = v;
  EXPECT_EQ(k.x, 1.25);
  EXPECT_EQ(x.y, -3.5);
  EXPECT_EQ(V2(k), v);
  EXPECT_EQ(V2(kx2Vect{7, 8}), V2(7, 8));
}

TEST(VectorArchive, BytesInBothOrders) {
  V2 const v(1.5, -2);
  ValueBytes const lsb{0, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0xC0};
  ValueBytes const msb{0, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, v), lsb);
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, v), msb);
  EXPECT_EQ(loadValue<V2>(ccArchive::eMsbFirst, msb), v);
  ValueBytes const v3{0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0x40,
                      0, 0, 0, 0, 0, 0, 0x08, 0xC0};
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, V3(1, 2, -3)), v3);
}

TEST(VectorArchive, RoundTripsAndRefusesOtherVersions) {
  for (V2 const& w : roundTrips(V2(-0.1, 1e300))) EXPECT_EQ(w, V2(-0.1, 1e300));
  for (V3 const& w : roundTrips(V3(4, -5, 6e-310))) EXPECT_EQ(w, V3(4, -5, 6e-310));
  ValueBytes bad(17, 0);
  bad[0] = 1;
  EXPECT_THROW(loadValue<V2>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
  EXPECT_THROW(loadValue<V3>(ccArchive::eLsbFirst, ValueBytes(10, 0)), ccArchive::Eof);
}

TEST(PairArchive, BytesAndRoundTrip) {
  ccPair<c_Int32> const p(-2, 0x01020304);
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, p), (ValueBytes{0, 0xFF, 0xFF, 0xFF, 0xFE, 1, 2, 3, 4}));
  for (auto const& q : roundTrips(p)) EXPECT_EQ(q, p);
  for (auto const& q : roundTrips(ccPair<float>(0.5f, -1))) EXPECT_EQ(q, ccPair<float>(0.5f, -1));
}

TEST(VectorEq, ToleranceOnEachComponent) {
  EXPECT_TRUE(cfRealEq(V2(1, 2), V2(1.5, 1.5), 0.5));
  EXPECT_FALSE(cfRealEq(V2(1, 2), V2(1, 2.6), 0.5));
  EXPECT_TRUE(cfRealEq(V3(1, 2, 3), V3(1, 2, 3.1), 0.1 + 1e-15));
  EXPECT_FALSE(cfRealEq(V3(1, 2, 3), V3(1, 2, 3.2), 0.1));
}

}  // namespace
