// cc2XformPerspective: the constructors and their refusals, mapping and its
// failure at infinity, linearisation, inversion, composition, equality and
// the archive form; chains of every kind of transform inverted and
// linearised.
#include "orvstd/math/xform_perspective.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "orvstd/archive/testing/record_bytes.h"
#include "orvstd/math/testing/xform_archive.h"
#include "orvstd/math/testing/xform_testing.h"
#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/math/xform_defs.h"
#include "orvstd/math/xform_poly.h"

namespace {

using namespace orvstd_testing;
using M2 = ccMatrix<2>;
using M3 = ccMatrix<3>;
using V2 = ccVector<2>;
using Points = std::vector<V2>;

// A homography that keeps the points used below well away from its line at
// infinity.
M3 const kH(1.2, 0.1, 5, -0.2, 0.9, -3, 0.001, -0.002, 1);

V2 byHand(M3 const& h, V2 p) {
  double const w = h.element(2, 0) * p.x() + h.element(2, 1) * p.y() + h.element(2, 2);
  return V2((h.element(0, 0) * p.x() + h.element(0, 1) * p.y() + h.element(0, 2)) / w,
            (h.element(1, 0) * p.x() + h.element(1, 1) * p.y() + h.element(1, 2)) / w);
}

TEST(Xform2Perspective, MatrixFormMapsAsWritten) {
  cc2XformPerspective const h(kH);
  EXPECT_EQ(h.matrix(), kH);
  EXPECT_FALSE(h.isLinear());
  EXPECT_FALSE(h.isSingular());
  for (V2 const& p : randomPoints(20, 1, 100)) EXPECT_TRUE(cfRealEq(h.mapPoint(p), byHand(kH, p), 1e-12));
  cc2XformPerspective const id;
  EXPECT_EQ(id.matrix(), M3());
  EXPECT_TRUE(id.isLinear());
  EXPECT_EQ(id.mapPoint(V2(3, -4)), V2(3, -4));
  // An affine matrix is linear; a zero determinant is singular.
  EXPECT_TRUE(cc2XformPerspective(M3(2, 0, 1, 0, 2, 1, 0, 0, 1)).isLinear());
  EXPECT_TRUE(cc2XformPerspective(M3(1, 2, 3, 2, 4, 6, 0, 0, 1)).isSingular());
  // A point on the line sent to infinity: Singular, never a silent infinity.
  cc2XformPerspective const tilt(M3(1, 0, 0, 0, 1, 0, 1, 0, 0));  // w = x
  EXPECT_THROW((void)tilt.mapPoint(V2(0, 5)), ccMathError::Singular);
  EXPECT_THROW((void)tilt.linearXform(V2(0, 5)), ccMathError::Singular);
  EXPECT_THROW(cc2XformPerspective(M3(1, 0, 0, 0, std::nan(""), 0, 0, 0, 1)), ccException);
}

TEST(Xform2Perspective, FromPointsAndTheirRefusals) {
  V2 const p0(10, 10), p1(110, 20), p2(120, 130), p3(5, 100);
  cc2XformPerspective const square(p0, p1, p2, p3);
  EXPECT_TRUE(cfRealEq(square.mapPoint(V2(0, 0)), p0, 1e-9));
  EXPECT_TRUE(cfRealEq(square.mapPoint(V2(1, 0)), p1, 1e-9));
  EXPECT_TRUE(cfRealEq(square.mapPoint(V2(1, 1)), p2, 1e-9));
  EXPECT_TRUE(cfRealEq(square.mapPoint(V2(0, 1)), p3, 1e-9));
  EXPECT_THROW(cc2XformPerspective(p0, p1, (p0 + p1) / 2.0, p3), ccMathError::Singular);

  Points const from = randomPoints(12, 2, 100);
  Points to;
  for (V2 const& p : from) to.push_back(byHand(kH, p));
  cc2XformPerspective const fit(from, to);
  for (V2 const& p : randomPoints(20, 3, 100)) EXPECT_TRUE(cfRealEq(fit.mapPoint(p), byHand(kH, p), 1e-8));
  cc2XformPerspective const exact(kH);
  EXPECT_FALSE(fit == exact);  // rounding differs beyond 1e-15
  EXPECT_TRUE(fit == fit);
  EXPECT_TRUE(cc2XformPerspective(fit) == fit);

  struct {
    Points from, to;
    char const* text;
  } const refusals[] = {
      {Points(from.begin(), from.begin() + 3), Points(to.begin(), to.begin() + 3),
       "Size of fromPoints vector must be >= 4"},
      {from, Points(to.begin(), to.begin() + 11), "Sizes of fromPoints vector and toPoints vector must be equal"},
      {Points(from.begin(), from.begin() + 5), to, "Sizes of fromPoints vector and toPoints vector must be equal"},
  };
  for (auto const& r : refusals) {
    try {
      cc2XformPerspective const x(r.from, r.to);
      ADD_FAILURE() << r.text;
    } catch (cc2XformPerspectiveDefs::BadParams const& e) {
      EXPECT_EQ(e.message(false), r.text);
      EXPECT_EQ(e.errorNumber(), 0x10003930);
    }
  }
  Points const line{V2(0, 0), V2(1, 1), V2(2, 2), V2(3, 3), V2(4, 4)};
  EXPECT_THROW(cc2XformPerspective(line, line), ccMathError::Singular);
}

TEST(Xform2Perspective, LinearisationInverseAndComposition) {
  cc2XformPerspective const h(kH);
  for (V2 const& at : randomPoints(50, 4, 100)) expectTangent(h, at, 1e-6);
  cc2XformBasePtrh const inv = h.inverseBase();
  ASSERT_NE(dynamic_cast<cc2XformPerspective const*>(inv.get()), nullptr);
  for (V2 const& p : randomPoints(50, 5, 100)) EXPECT_TRUE(cfRealEq(inv->mapPoint(h.mapPoint(p)), p, 1e-9));
  EXPECT_THROW((void)cc2XformPerspective(M3(1, 2, 3, 2, 4, 6, 0, 0, 1)).inverseBase(), ccMathError::Singular);

  cc2XformLinear const l(M2(0, 1, -1, 0), V2(2, 2));
  cc2XformBasePtrh const lh = l * h;
  cc2XformBasePtrh const hl = h * l;
  for (cc2XformBasePtrh const& c : {lh, hl}) {
    auto const* composed = dynamic_cast<cc2XformComposed const*>(c.get());
    ASSERT_NE(composed, nullptr);
    EXPECT_EQ(composed->elements().size(), 2u);
  }
  for (V2 const& p : randomPoints(10, 6, 100)) {
    EXPECT_EQ(lh->mapPoint(p), l.mapPoint(h.mapPoint(p)));
    EXPECT_EQ(hl->mapPoint(p), h.mapPoint(l.mapPoint(p)));
  }
  // Assignment copies the values into this object's kernel object.
  cc2XformPerspective g;
  g = h;
  EXPECT_EQ(g.matrix(), kH);
  cc2XformBasePtrh const c = h.clone();
  EXPECT_TRUE(*dynamic_cast<cc2XformPerspective const*>(c.get()) == h);
}

// Chains of every kind invert on a hundred random points and linearise as
// central differences say.
TEST(Xform2Chains, EveryKindInvertsAndLinearises) {
  Points b = randomPoints(40, 7, 50);
  Points a;
  for (V2 const& p : b) a.push_back(V2(p.x() + 0.002 * p.y() * p.y(), p.y() + 0.001 * p.x() * p.y()));
  cc2XformPoly const poly(a, b, 3);
  cc2XformComposed chain(cc2XformPerspective(kH), poly, true, true);
  chain.preCompose(cc2XformLinear(M2(0.5, 0.1, -0.1, 0.5), V2(1, 2)), true);
  chain.postCompose(ccTestWarp(0.001), true);
  cc2XformBasePtrh const inv = chain.inverseBase();
  // The polynomial's inverse is a separate fit, so a round trip is as good
  // as that fit; everything else inverts exactly.
  cc2XformComposed exact(cc2XformPerspective(kH), ccTestWarp(0.001), true, true);
  exact.preCompose(cc2XformLinear(M2(0.5, 0.1, -0.1, 0.5), V2(1, 2)), true);
  cc2XformBasePtrh const exactInv = exact.inverseBase();
  for (V2 const& p : randomPoints(100, 8, 40)) {
    V2 const back = exactInv->mapPoint(exact.mapPoint(p));
    EXPECT_NEAR(back.x(), p.x(), 1e-9 * (1 + p.len()));
    EXPECT_NEAR(back.y(), p.y(), 1e-9 * (1 + p.len()));
    EXPECT_TRUE(cfRealEq(inv->mapPoint(chain.mapPoint(p)), p, 1e-2 * (1 + p.len()))) << p.x() << "," << p.y();
  }
  for (V2 const& at : randomPoints(100, 9, 40)) {
    expectTangent(chain, at, 1e-5);
    expectTangent(*exactInv, exact.mapPoint(at), 1e-5);
  }
}

TEST(Xform2PerspectiveArchive, NineValuesReplaceTheKernelObject) {
  cc2XformBasePtrh_const const h(new cc2XformPerspective(kH));
  for (auto const& loaded : roundTripHandles(h)) {
    auto const* p = dynamic_cast<cc2XformPerspective const*>(loaded.get());
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->matrix(), kH);
  }
  ccMemoryArchive out(ccArchive::eMsbFirst, false);
  cc2XformBasePtrh_const copy = h;
  out || copy;
  Bytes const bytes = bytesOf(out);
  std::size_t const body = 2 + 18 + objectRecordHead(1, "cc2XformPerspective", true).size();
  Bytes want{0, 0, 0, 0};  // three class versions, the matrix's
  for (int i = 0; i < 9; ++i) want = cat({want, field64(kH.element(i / 3, i % 3), true)});
  want = cat({want, field64(kH.determinant(), true)});
  EXPECT_EQ(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(body), bytes.end()), want);
  // A value that is not finite is refused.
  Bytes bad = bytes;
  Bytes const nan = field64(std::nan(""), true);
  std::copy(nan.begin(), nan.end(), bad.begin() + static_cast<std::ptrdiff_t>(body + 4 + 8));
  ccMemoryArchive in(reinterpret_cast<char const*>(bad.data()), static_cast<c_Int32>(bad.size()), false, false);
  cc2XformBasePtrh_const loaded;
  EXPECT_THROW(in || loaded, ccArchive::BadContent);
}

}  // namespace
