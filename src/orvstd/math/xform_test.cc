// Transforms: cc1Xform, ccXform<2>, ccXform<3> and cc2Rigid; composition
// order, inverses and their Singular failures, angle and area maps, the
// kernel exchange and the archive formats.
#include "orvstd/math/xform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "orvstd/archive/testing/value_archive.h"
#include "orvstd/kernel/kmath_types.h"
#include "orvstd/math/rigid.h"

namespace {

using M2 = ccMatrix<2>;
using M3 = ccMatrix<3>;
using V2 = ccVector<2>;
using V3 = ccVector<3>;
using X2 = ccXform<2>;
using X3 = ccXform<3>;

constexpr double kPi = ccRadian::kTurn / 2;

TEST(Xform1, MapsComposesAndInverts) {
  cc1Xform const a(2, -1), b(0.5, 3);
  EXPECT_TRUE(cc1Xform().isIdentity());
  EXPECT_EQ(a.mapPoint(4), 7);
  EXPECT_EQ(a * 4, 7);
  EXPECT_EQ(a.mapVector(4), 8);
  EXPECT_EQ(a.compose(b), cc1Xform(1, 5));  // b first
  EXPECT_EQ((a * b).mapPoint(2), a.mapPoint(b.mapPoint(2)));
  EXPECT_EQ(a.inverse(), cc1Xform(0.5, 0.5));
  EXPECT_EQ(a.invMapPoint(7), 4);
  EXPECT_EQ(a.invMapVector(8), 4);
  cc1Xform z(1, 1);
  z.scale(0);
  z.offset(2);
  EXPECT_TRUE(z.isSingular());
  EXPECT_THROW((void)z.inverse(), ccMathError::Singular);
  EXPECT_THROW((void)z.invMapPoint(1), ccMathError::Singular);
  EXPECT_THROW((void)z.invMapVector(1), ccMathError::Singular);
  EXPECT_FALSE(cc1Xform(1e-300, 0).isSingular());
  EXPECT_TRUE(cfRealEq(a, cc1Xform(2.1, -0.9), 0.1 + 1e-15));
  EXPECT_FALSE(cfRealEq(a, cc1Xform(2, -0.8), 0.1));
}

TEST(Xform2, MapsAndComposesWithTheRightOperandFirst) {
  X2 const a(M2(0, -1, 1, 0), V2(10, 0));  // a quarter turn, then right by 10
  X2 const b(M2(2, 0, 0, 2), V2(0, 1));
  EXPECT_EQ(a * V2(1, 2), V2(8, 1));
  EXPECT_EQ(a.mapVector(V2(1, 2)), V2(-2, 1));
  X2 const ab = a * b;
  EXPECT_EQ(ab, a.compose(b));
  EXPECT_EQ(ab.mapPoint(V2(1, 2)), a.mapPoint(b.mapPoint(V2(1, 2))));
  EXPECT_EQ(ab.matrix(), M2(0, -2, 2, 0));
  EXPECT_EQ(ab.trans(), V2(9, 0));
  EXPECT_TRUE(X2().isIdentity());
  EXPECT_FALSE(X2(M2(), V2(0, 1e-300)).isIdentity());
  X2 c;
  c.trans(V2(1, 1));
  c.matrix(M2(1, 0, 0, 3));
  EXPECT_EQ(c * V2(1, 1), V2(2, 4));
  EXPECT_NE(c, a);
}

TEST(Xform2, MapPointIsBitForBitMatrixTimesPointPlusTrans) {
  // mapPoint has a two-lane fast path; it must round exactly as written.
  std::mt19937_64 rng(2);
  std::uniform_real_distribution<double> u(-1e3, 1e3);
  for (int i = 0; i < 1000; ++i) {
    X2 const x(M2(u(rng), u(rng), u(rng), u(rng)), V2(u(rng), u(rng)));
    V2 const p(u(rng) * 1e-3, u(rng) * 1e5);
    V2 const want(x.matrix().element(0, 0) * p.x() + x.matrix().element(0, 1) * p.y() + x.trans().x(),
                  x.matrix().element(1, 0) * p.x() + x.matrix().element(1, 1) * p.y() + x.trans().y());
    ASSERT_EQ(x.mapPoint(p), want);
    ASSERT_EQ(x * p, x.matrix() * p + x.trans());
  }
}

TEST(Xform2, InverseAndInverseMaps) {
  X2 const a(M2(4, 7, 2, 6), V2(-3, 5));
  X2 const inv = a.inverse();
  EXPECT_EQ(inv.matrix(), M2(4, 7, 2, 6).inverse());
  EXPECT_EQ(inv.trans(), inv.matrix() * V2(3, -5));
  EXPECT_TRUE(cfRealEq(a * inv, X2(), 1e-14));
  EXPECT_EQ(a.invMapPoint(V2(1, 2)), inv.mapPoint(V2(1, 2)));
  EXPECT_EQ(a.invMapVector(V2(1, 2)), inv.matrix() * V2(1, 2));
  EXPECT_EQ(a.mapArea(2), 20);
  EXPECT_EQ(a.invMapArea(20), 2);
  X2 const flat(M2(1, 2, 2, 4), V2(1, 1));
  EXPECT_TRUE(flat.isSingular());
  EXPECT_EQ(flat.mapArea(5), 0);
  EXPECT_THROW((void)flat.inverse(), ccMathError::Singular);
  EXPECT_THROW((void)flat.invMapPoint(V2()), ccMathError::Singular);
  EXPECT_THROW((void)flat.invMapVector(V2()), ccMathError::Singular);
  EXPECT_THROW((void)flat.invMapArea(1), ccMathError::Singular);
  EXPECT_THROW((void)flat.invMapAngle(ccRadian(0)), ccMathError::Singular);
  EXPECT_THROW((void)flat.rotation(), ccMathError::Singular);
  EXPECT_EQ(X2(M2(-1, 0, 0, 2), V2()).mapArea(1), 2);  // the absolute determinant
}

TEST(Xform2, FactorisedConstructorsForwardToTheMatrix) {
  V2 const t(1, 2);
  X2 const a(t, 2.0, 0.5, ccRadian(ccDegree(10)), ccRadian(ccDegree(30)));
  EXPECT_EQ(a.matrix(), M2(2.0, 0.5, ccDegree(10), ccDegree(30)));
  EXPECT_EQ(a.trans(), t);
  EXPECT_NEAR(a.scale(), 2, 1e-15);
  EXPECT_EQ(a.xScale(), a.matrix().xScale());
  EXPECT_NEAR(a.aspect(), 0.5, 1e-15);
  EXPECT_TRUE(cfRealEq(a.shear(), ccDegree(10), ccRadian(1e-15)));
  EXPECT_TRUE(cfRealEq(a.rotation(), ccDegree(30), ccRadian(1e-15)));
  EXPECT_EQ(a.xRot(), a.rotation());
  EXPECT_EQ(a.yRot(), a.matrix().yRot());
  EXPECT_EQ(a.yScale(), a.matrix().yScale());
  X2 const b(t, ccDegree(20), ccDegree(110), 3.0, 4.0);
  EXPECT_EQ(b.matrix(), M2(ccDegree(20), ccDegree(110), 3.0, 4.0));
}

TEST(Xform2, AnglesMapForwardAndBack) {
  for (X2 const& x : {X2(M2(2.0, 0.5, ccDegree(10), ccDegree(30)), V2(5, 5)),
                      X2(M2(1.0, -2.0, ccDegree(-25), ccDegree(100)), V2()),  // reflecting
                      X2(M2(0, 1, 1, 0), V2())}) {
    for (double deg : {0.0, 45.0, -120.0, 179.0}) {
      ccRadian const a = ccDegree(deg);
      ccRadian const m = x.mapAngle(a);
      // The image of a unit vector at a points along m.
      V2 const image = x.mapVector(V2(1.0, a));
      EXPECT_TRUE(cfRealEq(m, image.angle(), ccRadian(1e-12))) << deg;
      EXPECT_TRUE(cfRealEq(x.invMapAngle(m), a, ccRadian(1e-12))) << deg;
    }
  }
  // The swap x <-> y reflects: 0 goes to a quarter turn and back.
  X2 const swap(M2(0, 1, 1, 0), V2());
  EXPECT_EQ(swap.mapAngle(ccRadian(0)).plain(), kPi / 2);
  // Back: x = -(0·c - 1·s), y = -(0·s - 1·c), turned round as dt < 0.
  EXPECT_EQ(swap.invMapAngle(ccRadian(kPi / 2)).plain(), std::atan2(std::cos(kPi / 2), 1.0));
}

TEST(Xform2, KernelExchange) {
  X2 const a(M2(1, 2, 3, 4), V2(5, 6));
  kmath_xformLinear const k = a;
  kx2Xform const x = a;
  EXPECT_EQ(k.trans.x, 5);
  EXPECT_EQ(k.matrix.e10, 3);
  EXPECT_EQ(x.matrix.e11, 4);
  EXPECT_EQ(X2(k), a);
  EXPECT_EQ(X2(x), a);
  csFXform const f{1.5f, -2.5f, 1, 2, 3, 4};
  EXPECT_EQ(csFXformTocc2Xform(&f), X2(M2(1, 2, 3, 4), V2(1.5, -2.5)));
  csFXform g{};
  cc2XformTocsFXform(X2(M2(0.1, 2, 3, 4), V2(5, 1e40)), &g);
  EXPECT_EQ(g.tx, 5.0f);
  EXPECT_TRUE(std::isinf(g.ty));  // narrowed as a float narrows
  EXPECT_EQ(g.e00, 0.1f);
  EXPECT_EQ(g.e01, 2.0f);
  EXPECT_EQ(g.e10, 3.0f);
  EXPECT_EQ(g.e11, 4.0f);
}

TEST(XformDeathTest, NullKernelPointersAssert) {
  csFXform f{};
  EXPECT_DEATH((void)csFXformTocc2Xform(nullptr), "");
  EXPECT_DEATH(cc2XformTocsFXform(X2(), nullptr), "");
  (void)f;
}

TEST(Xform3, MapsComposesAndInverts) {
  X3 const a(M3(1, 2, 3, 0, 1, 4, 5, 6, 0), V3(1, -1, 2));
  X3 const b(M3(2, 0, 0, 0, 2, 0, 0, 0, 2), V3(0, 0, 1));
  EXPECT_EQ(a * V3(1, 1, 1), V3(7, 4, 13));
  EXPECT_EQ(a.mapVector(V3(1, 1, 1)), V3(6, 5, 11));
  EXPECT_EQ((a * b).mapPoint(V3(1, 2, 3)), a.mapPoint(b.mapPoint(V3(1, 2, 3))));
  EXPECT_TRUE(cfRealEq(a * a.inverse(), X3(), 1e-13));
  EXPECT_TRUE(cfRealEq(a.invMapPoint(a * V3(3, 2, 1)), V3(3, 2, 1), 1e-13));
  EXPECT_EQ(a.invMapVector(V3(6, 5, 11)), V3(1, 1, 1));
  EXPECT_EQ(b.xScale(), 2);
  EXPECT_EQ(b.yScale(), 2);
  EXPECT_EQ(b.zScale(), 2);
  EXPECT_TRUE(X3().isIdentity());
  X3 flat(M3(1, 2, 3, 4, 5, 6, 7, 8, 9), V3());
  EXPECT_TRUE(flat.isSingular());
  EXPECT_THROW((void)flat.inverse(), ccMathError::Singular);
  EXPECT_THROW((void)flat.invMapPoint(V3()), ccMathError::Singular);
  flat.matrix(M3());
  flat.trans(V3(1, 0, 0));
  EXPECT_FALSE(flat.isIdentity());
  EXPECT_NE(flat, X3());
}

TEST(Rigid, MapsAndInverse) {
  cc2Rigid const r(ccDegree(90), V2(5, 0));
  EXPECT_EQ(r.sin(), 1);
  EXPECT_EQ(r.cos(), std::cos(kPi / 2));
  EXPECT_TRUE(cfRealEq(r * V2(1, 0), V2(5, 1), 1e-15));
  EXPECT_EQ(r.mapVector(V2(1, 2)), V2(r.cos() * 1 - 2, 1 + r.cos() * 2));
  EXPECT_EQ(r.invMapVector(V2(1, 2)), V2(r.cos() * 1 + 2, -1 + r.cos() * 2));
  cc2Rigid const inv = r.inverse();
  EXPECT_EQ(inv.angle().plain(), -90);
  EXPECT_EQ(inv.trans(), V2(-r.cos() * 5, 5));
  EXPECT_TRUE(cfRealEq(r.invMapPoint(V2(5, 1)), V2(1, 0), 1e-15));
  EXPECT_TRUE(cfRealEq(r * inv, cc2Rigid(), 1e-15));
  EXPECT_EQ(r.mapAngle(ccRadian(1)).plain(), 1 + kPi / 2);
  EXPECT_EQ(r.invMapAngle(ccRadian(1)).plain(), 1 - kPi / 2);
  EXPECT_EQ(r.linear(), X2(M2(r.cos(), -1, 1, r.cos()), V2(5, 0)));
}

TEST(Rigid, ComposesWithoutNormalising) {
  cc2Rigid const a(ccDegree(270), V2(1, 2)), b(ccDegree(180), V2(3, 4));
  cc2Rigid const ab = a * b;
  EXPECT_EQ(ab.angle().plain(), 450);
  EXPECT_EQ(ab.trans(), a.mapPoint(V2(3, 4)));
  EXPECT_EQ(ab, a.compose(b));
  X2 const x(M2(2, 0, 0, 3), V2(1, 1));
  EXPECT_EQ(a * x, a.linear() * x);
  EXPECT_EQ(a.compose(x), a.linear() * x);
  EXPECT_EQ(x * a, x * a.linear());
  cc2Rigid c;
  c.angle(ccDegree(30));
  c.trans(V2(-1, 0));
  EXPECT_EQ(c.sin(), std::sin(ccRadian(ccDegree(30)).plain()));
  EXPECT_EQ(c.trans(), V2(-1, 0));
}

TEST(Rigid, IdentityAndEqualityIgnoreTheStoredAngle) {
  EXPECT_TRUE(cc2Rigid().isIdentity());
  EXPECT_TRUE(cc2Rigid(ccDegree(0), V2()).isIdentity());
  cc2Rigid const full(ccDegree(360), V2());
  EXPECT_FALSE(full.isIdentity());  // sin(2π) is not exactly 0
  EXPECT_NE(full, cc2Rigid());
  EXPECT_TRUE(cfRealEq(full, cc2Rigid(), 1e-15));
  // An angle too small to move the sine: a different stored angle, equal.
  cc2Rigid const tiny(ccDegree(5e-324), V2());
  EXPECT_NE(tiny.angle(), cc2Rigid().angle());
  EXPECT_EQ(tiny, cc2Rigid());
  EXPECT_TRUE(tiny.isIdentity());
  EXPECT_FALSE(cfRealEq(cc2Rigid(ccDegree(1), V2()), cc2Rigid(), 1e-3));
}

TEST(Rigid, IsBoundedIsStrict) {
  cc2Rigid const center(ccDegree(40), V2(10, -5));
  cc2Rigid const tol(ccDegree(10), V2(1, 2));
  auto near = [&](double deg, V2 d) { return cc2Rigid(ccDegree(deg), d) * center; };
  EXPECT_TRUE(near(0, V2()).isBounded(center, tol));
  EXPECT_TRUE(near(9.9, V2(0.9, -1.9)).isBounded(center, tol));
  EXPECT_TRUE(near(-9.9, V2(-0.9, 1.9)).isBounded(center, tol));
  EXPECT_FALSE(near(10.1, V2()).isBounded(center, tol));
  EXPECT_FALSE(near(0, V2(1.01, 0)).isBounded(center, tol));
  EXPECT_FALSE(near(0, V2(0, -2.01)).isBounded(center, tol));
  // Exactly on the bounds is out.
  EXPECT_FALSE(cc2Rigid(ccDegree(10), V2()).isBounded(cc2Rigid(), tol));
  EXPECT_FALSE(cc2Rigid(ccDegree(0), V2(1, 0)).isBounded(cc2Rigid(), tol));
  // The half angle is taken of the stored, unnormalised sum: a pose a
  // whole turn away is out although it maps every point alike.
  EXPECT_TRUE(cc2Rigid(ccDegree(5), V2()).isBounded(cc2Rigid(), tol));
  EXPECT_FALSE(cc2Rigid(ccDegree(365), V2()).isBounded(cc2Rigid(), tol));
}

TEST(XformArchive, BytesOfEachFormat) {
  ValueBytes const one{0, 0x40, 0, 0, 0, 0, 0, 0, 0, 0xBF, 0xF0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, cc1Xform(2, -1)), one);

  ValueBytes const d1{0x3F, 0xF0, 0, 0, 0, 0, 0, 0}, d0(8, 0);
  auto cat = [](std::initializer_list<ValueBytes> parts) {
    ValueBytes b;
    for (auto const& p : parts) b.insert(b.end(), p.begin(), p.end());
    return b;
  };
  ValueBytes const identity = cat({{0}, {0}, d0, d0, {0}, d1, d0, d0, d1, d1, {1}});
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, X2()), identity);
  ValueBytes moved = identity;
  moved[2] = 0x3F;
  moved[3] = 0xF0;  // trans x = 1
  moved.back() = 0;
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, X2(M2(), V2(1, 0))), moved);
  // The stored flag is read and ignored.
  moved.back() = 7;
  EXPECT_EQ(loadValue<X2>(ccArchive::eMsbFirst, moved), X2(M2(), V2(1, 0)));
  ValueBytes const d2{0x40, 0, 0, 0, 0, 0, 0, 0};
  ValueBytes const three = cat({{0}, {0}, d0, d2, d0, {0}, d1, d0, d0, d0, d1, d0, d0, d0, d1, d1});
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, X3(M3(), V3(0, 2, 0))), three);

  ValueBytes const rigid = cat({{0, 0x40, 0x56, 0x80, 0, 0, 0, 0, 0}, {0}, d1, {0x40, 0, 0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, cc2Rigid(ccDegree(90), V2(1, 2))), rigid);
  cc2Rigid const loaded = loadValue<cc2Rigid>(ccArchive::eMsbFirst, rigid);
  EXPECT_EQ(loaded.sin(), 1);  // recomputed from the angle
  EXPECT_EQ(loaded.cos(), std::cos(kPi / 2));
  EXPECT_EQ(loaded.angle().plain(), 90);
}

TEST(XformArchive, RoundTripsAndRefusesOtherVersions) {
  cc1Xform const one(-0.5, 1e300);
  for (auto const& v : roundTrips(one)) EXPECT_EQ(v, one);
  X2 const two(M2(1, 2, 3, 4), V2(5, 6));
  for (auto const& v : roundTrips(two)) EXPECT_EQ(v, two);
  X3 const three(M3(1, 2, 3, 0, 1, 4, 5, 6, 0), V3(7, 8, 9));
  for (auto const& v : roundTrips(three)) EXPECT_EQ(v, three);
  cc2Rigid const rigid(ccDegree(-725.5), V2(0.25, -8));
  for (auto const& v : roundTrips(rigid)) {
    EXPECT_EQ(v, rigid);
    EXPECT_EQ(v.angle(), rigid.angle());
  }
  ValueBytes bad(60, 0);
  bad[0] = 1;
  EXPECT_THROW(loadValue<cc1Xform>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
  EXPECT_THROW(loadValue<X2>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
  EXPECT_THROW(loadValue<cc2Rigid>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
  // A bad version nested in the translation.
  ValueBytes nested(60, 0);
  nested[1] = 3;
  EXPECT_THROW(loadValue<X2>(ccArchive::eLsbFirst, nested), ccArchive::UnknownVersion);
  EXPECT_THROW(loadValue<X3>(ccArchive::eLsbFirst, ValueBytes(50, 0)), ccArchive::Eof);
}

TEST(MathError, Numbers) {
  struct {
    ccMathError::Errors const& e;
    c_Int32 number;
  } const cases[] = {{ccMathError::Singular(), 0x10000f00},
                     {ccMathError::NullVector(), 0x10000f01},
                     {ccMathError::DivisionByZero(), 0x10000f02}};
  for (auto const& c : cases) EXPECT_EQ(c.e.errorNumber(), c.number);
}

TEST(XformEq, TransThenMatrixWithOneTolerance) {
  X2 const a(M2(1, 2, 3, 4), V2(5, 6));
  EXPECT_TRUE(cfRealEq(a, X2(M2(1.1, 2, 3, 4), V2(5, 5.9)), 0.1 + 1e-15));
  EXPECT_FALSE(cfRealEq(a, X2(M2(1, 2, 3, 4.2), V2(5, 6)), 0.1));
  EXPECT_FALSE(cfRealEq(a, X2(M2(1, 2, 3, 4), V2(5.2, 6)), 0.1));
  X3 const b(M3(), V3(1, 2, 3));
  EXPECT_TRUE(cfRealEq(b, X3(M3(), V3(1, 2, 3.05)), 0.1));
  EXPECT_FALSE(cfRealEq(b, X3(M3(1, 0, 0, 0, 1.2, 0, 0, 0, 1), V3(1, 2, 3)), 0.1));
}

}  // namespace
