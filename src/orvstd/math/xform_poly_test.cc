// cc2XformPoly: the checks of construction in their order, fits against
// numpy's least squares, the drop to a lower degree and the collapse to
// linear form, linearisation, composition, inversion and the archive forms
// of both versions.
#include "orvstd/math/xform_poly.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "orvstd/archive/testing/record_bytes.h"
#include "orvstd/cfit/plane_map.h"
#include "orvstd/math/testing/poly_fits_reference.h"
#include "orvstd/math/testing/xform_archive.h"
#include "orvstd/math/testing/xform_testing.h"
#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_composed.h"

namespace {

using namespace orvstd_testing;
using M2 = ccMatrix<2>;
using V2 = ccVector<2>;
using Points = std::vector<V2>;

std::vector<csPolyFitReference> const& reference() {
  static auto const cases = loadPolyFitReference(std::string(ORVSTD_TEST_DATA) + "/poly_fits_reference.txt");
  return cases;
}

template <class F>
Points mappedBy(F const& f, Points const& pts) {
  Points out;
  for (V2 const& p : pts) out.push_back(f(p));
  return out;
}

TEST(Xform2PolyErrors, NumbersAndFamily) {
  EXPECT_EQ(cc2XformPoly::BadParams().errorNumber(), 0x10000f38);
  EXPECT_EQ(cc2XformPoly::IllDefined().errorNumber(), 0x10000f39);
  EXPECT_EQ(cc2XformDefs::NotImplemented().errorNumber(), 0x10000f30);
  static_assert(std::is_base_of_v<cc2XformDefs::Errors, cc2XformPoly::BadParams>);
  static_assert(std::is_base_of_v<cc2XformDefs::Errors, cc2XformPoly::IllDefined>);
}

// The checks run in a fixed order, so a call that breaks two rules gets
// the earlier one's error.
TEST(Xform2Poly, ConstructionChecksInOrder) {
  Points const p30 = randomPoints(30, 1, -50, 50);
  Points const p5(p30.begin(), p30.begin() + 5), p6(p30.begin(), p30.begin() + 6);
  Points const line{V2(0, 0), V2(1, 1), V2(2, 2), V2(3, 3)};
  struct Case {
    char const* what;
    Points a, b;
    int order;
    int error;  // 0 BadParams, 1 NotImplemented, 2 IllDefined
  };
  std::vector<Case> const cases{
      {"order 0", p30, p30, 0, 0},
      {"order -3 with unequal sizes", p30, p5, -3, 0},
      {"order 6", p30, p30, 6, 1},
      {"order 6 with unequal sizes", p30, p5, 6, 1},
      {"unequal sizes", p30, p6, 2, 0},
      {"order 2 with five pairs", p5, p5, 2, 0},
      {"order 5 with twenty pairs", Points(p30.begin(), p30.begin() + 20), Points(p30.begin(), p30.begin() + 20), 5, 0},
      {"collinear, order 1", line, line, 1, 2},
      {"six points on a conic, order 2",
       mappedBy([](V2 p) { return V2(std::cos(p.x()), std::sin(p.x())); }, p6), p6, 2, 2},
  };
  for (auto const& c : cases) {
    try {
      cc2XformPoly const x(c.a, c.b, c.order);
      ADD_FAILURE() << c.what << ": constructed";
    } catch (cc2XformPoly::BadParams const&) {
      EXPECT_EQ(c.error, 0) << c.what;
    } catch (cc2XformDefs::NotImplemented const&) {
      EXPECT_EQ(c.error, 1) << c.what;
    } catch (cc2XformPoly::IllDefined const&) {
      EXPECT_EQ(c.error, 2) << c.what;
    }
  }
  // Exactly the number of terms is enough.
  EXPECT_NO_THROW(cc2XformPoly(p6, mappedBy([](V2 p) { return p * 2.0; }, p6), 2));
}

// The forward direction takes b to a: numpy's fit b -> a. The inverse is the
// separate fit a -> b, except at degree 1, where it is the inverse of pre.
TEST(Xform2Poly, FitsAgreeWithNumpyForOrdersOneToFive) {
  ASSERT_EQ(reference().size(), 5u);
  for (auto const& c : reference()) {
    cc2XformPoly const x(c.a, c.b, c.order);
    EXPECT_EQ(x.order(), c.order);
    EXPECT_EQ(x.isLinear(), c.order == 1);
    for (auto const& [p, q] : c.ba) EXPECT_TRUE(cfRealEq(x.mapPoint(p), q, 1e-9)) << c.order << " " << p.x();
    cc2XformBasePtrh const inv = x.inverseBase();
    if (c.order == 1) {
      EXPECT_NE(dynamic_cast<cc2XformLinear const*>(inv.get()), nullptr);
      for (auto const& [p, q] : c.ba) EXPECT_TRUE(cfRealEq(inv->mapPoint(q), p, 1e-9));
      continue;
    }
    for (auto const& [p, q] : c.ab) EXPECT_TRUE(cfRealEq(inv->mapPoint(p), q, 1e-9)) << c.order << " " << p.x();
  }
}

TEST(Xform2Poly, AffineDataCollapsesToLinear) {
  ccXform<2> const affine(M2(1.2, -0.4, 0.3, 0.9), V2(-5, 12));
  Points const b = randomPoints(40, 3, -200, 200);
  Points const a = mappedBy([&](V2 p) { return affine * p; }, b);
  for (int order = 1; order <= 5; ++order) {
    cc2XformPoly const x(a, b, order);
    EXPECT_EQ(x.order(), 1) << order;
    EXPECT_TRUE(x.isLinear()) << order;
    EXPECT_EQ(x.maxOrder(), order == 1 ? 1 : order);
    EXPECT_TRUE(x.coefficientBlock().empty());
    EXPECT_FALSE(x.hasPre() || x.hasPost());
    EXPECT_TRUE(cfRealEq(x.pre().xform(), affine, 1e-9)) << order;
    EXPECT_TRUE(cfRealEq(x.linearXform(V2(1e3, -1e3)).xform(), affine, 1e-9));
    // A linear polynomial composes as the linear map it is.
    cc2XformBasePtrh const composed = cc2XformLinear(M2(), V2(1, 1)) * x;
    EXPECT_NE(dynamic_cast<cc2XformLinear const*>(composed.get()), nullptr);
  }
  // Data quadratic in both directions at order 4: the two top degrees
  // vanish, degree 2 stays. (The inverse of most quadratic maps is not a
  // polynomial, and then the inverse fit keeps every degree.)
  auto const quad = [](V2 p) { return V2(p.x() + 0.01 * p.y() * p.y(), p.y()); };
  Points const q = randomPoints(40, 4, -50, 50);
  cc2XformPoly const x(mappedBy(quad, q), q, 4);
  EXPECT_EQ(x.maxOrder(), 4);
  EXPECT_EQ(x.order(), 2);
  EXPECT_EQ(x.coefficientBlock().size(), 2u * 12 + 2 * 6);
  for (V2 const& p : randomPoints(10, 5, -50, 50)) EXPECT_TRUE(cfRealEq(x.mapPoint(p), quad(p), 1e-9));
}

TEST(Xform2Poly, LinearisationMatchesCentralDifferences) {
  for (auto const& c : reference()) {
    cc2XformPoly const plain(c.a, c.b, c.order);
    // With pre and post as well, through composition with linear maps.
    cc2XformBasePtrh const wrapped =
        cc2XformLinear(M2(0.5, 0.1, 0, 2), V2(3, 3)) *
        *(plain * cc2XformLinear(M2(1, 0.2, -0.1, 1.1), V2(-4, 6)));
    auto const* wp = dynamic_cast<cc2XformPoly const*>(wrapped.get());
    if (c.order == 1) {
      EXPECT_NE(dynamic_cast<cc2XformLinear const*>(wrapped.get()), nullptr);
    } else {
      ASSERT_NE(wp, nullptr);
      EXPECT_TRUE(wp->hasPre() && wp->hasPost());
    }
    for (cc2XformBase const* x : std::vector<cc2XformBase const*>{&plain, wrapped.get()}) {
      for (auto const& pq : c.ba) expectTangent(*x, pq.first, 1e-6, 1e-4);
    }
  }
}

TEST(Xform2Poly, CompositionAbsorbsLinearFactors) {
  auto const& c = reference()[2];
  cc2XformPoly const x(c.a, c.b, c.order);
  cc2XformLinear const l(M2(0, -1, 1, 0), V2(5, 5));
  ccTestWarp const w(0.001);
  cc2XformBasePtrh const lx = l * x;  // x first: l becomes post
  cc2XformBasePtrh const xl = x * l;  // l first: l becomes pre
  cc2XformBasePtrh const xw = x * w;
  cc2XformBasePtrh const wx = w * x;
  auto const* plx = dynamic_cast<cc2XformPoly const*>(lx.get());
  auto const* pxl = dynamic_cast<cc2XformPoly const*>(xl.get());
  ASSERT_TRUE(plx && pxl);
  EXPECT_TRUE(plx->hasPost() && !plx->hasPre());
  EXPECT_TRUE(pxl->hasPre() && !pxl->hasPost());
  EXPECT_EQ(plx->coefficientBlock(), x.coefficientBlock());
  EXPECT_NE(dynamic_cast<cc2XformComposed const*>(xw.get()), nullptr);
  EXPECT_NE(dynamic_cast<cc2XformComposed const*>(wx.get()), nullptr);
  // A second factor on the same side multiplies in.
  cc2XformBasePtrh const llx = l * *lx;
  cc2XformBasePtrh const xll = *xl * l;
  for (V2 const& p : randomPoints(20, 6, 0, 150)) {
    EXPECT_TRUE(cfRealEq(lx->mapPoint(p), l.mapPoint(x.mapPoint(p)), 1e-9));
    EXPECT_TRUE(cfRealEq(xl->mapPoint(p), x.mapPoint(l.mapPoint(p)), 1e-9));
    EXPECT_TRUE(cfRealEq(llx->mapPoint(p), l.mapPoint(l.mapPoint(x.mapPoint(p))), 1e-9));
    EXPECT_TRUE(cfRealEq(xll->mapPoint(p), x.mapPoint(l.mapPoint(l.mapPoint(p))), 1e-9));
    EXPECT_EQ(xw->mapPoint(p), x.mapPoint(w.mapPoint(p)));
    EXPECT_EQ(wx->mapPoint(p), w.mapPoint(x.mapPoint(p)));
  }
  // The inverse swaps pre and post, inverted, around the inverse polynomial.
  cc2XformBasePtrh const both = *lx * l;
  cc2XformBasePtrh const inv = both->inverseBase();
  auto const* pinv = dynamic_cast<cc2XformPoly const*>(inv.get());
  ASSERT_NE(pinv, nullptr);
  auto const* pboth = dynamic_cast<cc2XformPoly const*>(both.get());
  EXPECT_EQ(pinv->pre(), pboth->post().inverse());
  EXPECT_EQ(pinv->post(), pboth->pre().inverse());
  cc2XformBasePtrh const bare = x.inverseBase();
  for (V2 const& q : randomPoints(10, 7, 0, 150))
    EXPECT_TRUE(cfRealEq(inv->mapPoint(q), l.inverse().mapPoint(bare->mapPoint(l.inverse().mapPoint(q))), 1e-9));
}

TEST(Xform2Poly, ConvertFromTwoMaps) {
  auto const& c = reference()[1];
  cc2DPolynomialMap const forward(c.b, c.a, c.order), inverse(c.a, c.b, c.order);
  cc2XformPoly const x = cf_2XformPolyConvert(forward, inverse);
  EXPECT_EQ(x.order(), c.order);
  for (auto const& [p, q] : c.ba) EXPECT_TRUE(cfRealEq(x.mapPoint(p), q, 1e-9));
  // The forward map's first and last transforms become pre and post.
  std::unique_ptr<cc2DMap> const shifted(forward.postCompose(V2(1, 2)));
  cc2XformPoly const y = cf_2XformPolyConvert(dynamic_cast<cc2DPolynomialMap&>(*shifted), inverse);
  EXPECT_TRUE(y.hasPre());
  EXPECT_FALSE(y.hasPost());
  for (auto const& [p, q] : c.ba) EXPECT_TRUE(cfRealEq(y.mapPoint(p - V2(1, 2)), q, 1e-9));
  // Affine maps with transforms around them collapse: pre = last·L·first.
  Points const b = randomPoints(10, 8, -50, 50);
  ccXform<2> const affine(M2(2, 0, 0, 3), V2(1, 1));
  Points const a = mappedBy([&](V2 p) { return affine * p; }, b);
  cc2DPolynomialMap const f(b, a, 2), g(a, b, 2);
  std::unique_ptr<cc2DMap> const f1(f.postCompose(V2(1, 0)));
  std::unique_ptr<cc2DMap> const f2(f1->preCompose(cc2DLinearMap(ccXform<2>(M2(0, 1, 1, 0), V2()))));
  cc2XformPoly const z = cf_2XformPolyConvert(dynamic_cast<cc2DPolynomialMap&>(*f2), g);
  EXPECT_EQ(z.order(), 1);
  EXPECT_FALSE(z.hasPre() || z.hasPost());
  EXPECT_TRUE(cfRealEq(z.pre().xform(), ccXform<2>(M2(0, 1, 1, 0), V2()) * affine * ccXform<2>(M2(), V2(1, 0)), 1e-9));
  EXPECT_THROW(cf_2XformPolyConvert(cc2DPolynomialMap(Points(5), Points(5), 2), g), cc2XformPoly::IllDefined);
  EXPECT_THROW(cf_2XformPolyConvert(f, cc2DPolynomialMap(Points(3), Points(3), 2)), cc2XformPoly::IllDefined);
}

TEST(Xform2PolyDeathTest, ConvertAssertsEqualOrders) {
  auto const& c = reference()[2];
  cc2DPolynomialMap const forward(c.b, c.a, 3), inverse(c.a, c.b, 2);
  EXPECT_DEATH(cf_2XformPolyConvert(forward, inverse), "");
}

// --- Archives ---------------------------------------------------------------------

TEST(Xform2PolyArchive, RoundTripsThroughBaseHandles) {
  auto const& c = reference()[3];
  cc2XformBasePtrh const x(new cc2XformPoly(c.a, c.b, c.order));
  cc2XformBasePtrh const wrapped = cc2XformLinear(M2(2, 0, 0, 2), V2()) * *(*x * cc2XformLinear(M2(), V2(1, 1)));
  cc2XformBasePtrh const linear(new cc2XformPoly(c.a, c.b, 1));
  for (auto const& original : {x, wrapped, linear, cc2XformBasePtrh(new cc2XformPoly)}) {
    for (auto const& loaded : roundTripHandles(original)) {
      auto const* p = dynamic_cast<cc2XformPoly const*>(loaded.get());
      ASSERT_NE(p, nullptr);
      auto const* o = dynamic_cast<cc2XformPoly const*>(original.get());
      EXPECT_EQ(p->order(), o->order());
      EXPECT_EQ(p->maxOrder(), o->maxOrder());
      EXPECT_EQ(p->coefficientBlock(), o->coefficientBlock());
      EXPECT_EQ(p->hasPre(), o->hasPre());
      EXPECT_EQ(p->pre(), o->pre());
      EXPECT_EQ(p->hasPost(), o->hasPost());
      EXPECT_EQ(p->post(), o->post());
      expectSameMap(*original, *loaded);
    }
  }
  // As an element of a composition.
  cc2XformBasePtrh_const const chain(new cc2XformComposed(*x, ccTestWarp(0.01), true, true));
  for (auto const& loaded : roundTripHandles(chain)) expectSameMap(*chain, *loaded);
}

// The body of a cc2XformPoly record in a plain msb archive, after its
// record head: the version bytes, then `fields`.
Bytes polyArchive(unsigned char version, Bytes const& fields) {
  return cat({{0x02, 0x00}, pointerRecord(1, 1, true), objectRecordHead(1, "cc2XformPoly", true), {version, 0, 0},
              fields});
}

Bytes doubles(std::vector<double> const& v, unsigned char version = 0) {
  Bytes b = cat({{version}, field32(static_cast<c_UInt32>(v.size()), true)});
  for (double d : v) b = cat({b, field64(d, true)});
  return b;
}

// An embedded cc2XformLinear in a plain archive: the prefix, three
// versions, trans and matrix.
Bytes embeddedLinear(ccXform<2> const& x) {
  M2 const& m = x.matrix();
  return cat({{0xF1, 0x66, 0x4B, 0xDF, 0, 0, 0, 0}, field64(x.trans().x(), true), field64(x.trans().y(), true), {0},
              field64(m.element(0, 0), true), field64(m.element(0, 1), true), field64(m.element(1, 0), true),
              field64(m.element(1, 1), true), field64(m.determinant(), true)});
}

cc2XformBasePtrh_const load(Bytes const& bytes) {
  ccMemoryArchive in(reinterpret_cast<char const*>(bytes.data()), static_cast<c_Int32>(bytes.size()), false, false);
  cc2XformBasePtrh_const h;
  in || h;
  return h;
}

TEST(Xform2PolyArchive, VersionZeroLoadsAndRunsInit) {
  // Order 2, forward and inverse as two plain arrays.
  auto const& c = reference()[1];
  cc2DPolynomialMap const f(c.b, c.a, 2), g(c.a, c.b, 2);
  std::vector<double> const fv(f.coefficients(), f.coefficients() + 12), gv(g.coefficients(), g.coefficients() + 12);
  ccXform<2> const pre(M2(1, 0, 0, 1), V2(0.5, 0));
  Bytes const v0 = polyArchive(0, cat({field32(2, true), doubles(fv), doubles(gv), {1}, embeddedLinear(pre), {0},
                                       embeddedLinear(ccXform<2>())}));
  cc2XformBasePtrh_const const h = load(v0);
  auto const* p = dynamic_cast<cc2XformPoly const*>(h.get());
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->order(), 2);
  EXPECT_EQ(p->maxOrder(), 2);
  EXPECT_EQ(p->coefficientBlock().size(), 2u * 12 + 2 * 6);
  for (auto const& [q, r] : c.ba) EXPECT_TRUE(cfRealEq(p->mapPoint(q - V2(0.5, 0)), r, 1e-9));
  // It goes out again at version 1.
  for (auto const& loaded : roundTripHandles(h)) expectSameMap(*h, *loaded);

  // An affine pair of arrays collapses to degree 1 on loading.
  std::vector<double> affine(12, 0.0);
  affine[0] = 1;
  affine[2] = 2;
  affine[5] = 2;
  Bytes const flat = polyArchive(0, cat({field32(2, true), doubles(affine), doubles(affine), {0},
                                         embeddedLinear(ccXform<2>()), {1}, embeddedLinear(pre)}));
  cc2XformBasePtrh_const const l = load(flat);
  EXPECT_TRUE(l->isLinear());
  EXPECT_EQ(dynamic_cast<cc2XformPoly const*>(l.get())->pre().xform(), pre * ccXform<2>(M2(2, 0, 0, 2), V2(1, 0)));

  // Damaged forms of version 0.
  EXPECT_THROW(load(polyArchive(0, cat({field32(7, true), doubles(fv), doubles(gv)}))), ccArchive::BadContent);
  EXPECT_THROW(load(polyArchive(0, cat({field32(2, true), doubles(fv), doubles(std::vector<double>(11, 0))}))),
               ccArchive::BadContent);
  EXPECT_THROW(load(polyArchive(0, cat({field32(2, true), doubles(fv, 1), doubles(gv)}))), ccArchive::UnknownVersion);
}

TEST(Xform2PolyArchive, DamagedVersionOneIsRefused) {
  auto const& c = reference()[1];
  cc2XformBasePtrh_const const x(new cc2XformPoly(c.a, c.b, 2));
  ccMemoryArchive out(ccArchive::eMsbFirst, false);
  cc2XformBasePtrh_const copy = x;
  out || copy;
  Bytes const good = bytesOf(out);
  std::size_t const body = 2 + 18 + objectRecordHead(1, "cc2XformPoly", true).size();
  EXPECT_EQ(Bytes(good.begin() + static_cast<std::ptrdiff_t>(body), good.begin() + static_cast<std::ptrdiff_t>(body) + 11),
            cat({{1, 0, 0}, field32(2, true), field32(2, true)}));
  expectSameMap(*x, *load(good));

  auto edited = [&](std::size_t at, Bytes const& with) {
    Bytes b = good;
    std::copy(with.begin(), with.end(), b.begin() + static_cast<std::ptrdiff_t>(at));
    return b;
  };
  try {
    (void)load(edited(body, {2}));
    ADD_FAILURE();
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/xfpoly");
  }
  std::size_t const order = body + 3, maxOrder = body + 7;
  std::size_t const block = body + 11;  // vector version, count, 36 doubles
  std::size_t const indices = block + 5 + 36 * 8;
  for (Bytes const& bad : {edited(order, field32(3, true)), edited(order, field32(0, true)),
                           edited(maxOrder, field32(6, true)), edited(maxOrder, field32(1, true)),
                           edited(indices, field32(11, true)), edited(indices + 8, field32(0x7FFFFFFF, true))})
    EXPECT_THROW(load(bad), ccArchive::BadContent);
  EXPECT_THROW(load(edited(block, {1})), ccArchive::UnknownVersion);
  EXPECT_THROW(load(edited(block + 1, field32(0xFFFFFFF0u, true))), ccArchive::Errors);
}

}  // namespace
