// Plane maps: validity rules, the refusal of invalid maps, linear and
// polynomial fits (against numpy's least squares), composition and the
// archive forms, byte for byte.
#include "orvstd/cfit/plane_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "orvstd/archive/persistent_handle.h"
#include "orvstd/archive/testing/record_bytes.h"
#include "orvstd/cfit/ls_fitters.h"
#include "orvstd/math/testing/poly_fits_reference.h"
#include "orvstd/math/testing/xform_testing.h"

namespace {

using namespace orvstd_testing;
using M2 = ccMatrix<2>;
using V2 = ccVector<2>;
using X2 = ccXform<2>;
using Points = std::vector<V2>;

double const kInf = HUGE_VAL;
double const kNaN = std::numeric_limits<double>::quiet_NaN();

Points mapped(X2 const& x, Points const& pts) {
  Points out;
  for (V2 const& p : pts) out.push_back(x * p);
  return out;
}

V2 apply(cc2DMap const& m, V2 p) {
  V2 q;
  m.transform(p, q);
  return q;
}

std::vector<csPolyFitReference> const& reference() {
  static auto const cases = loadPolyFitReference(std::string(ORVSTD_MATH_TEST_DATA) + "/poly_fits_reference.txt");
  return cases;
}

TEST(PlaneMapErrors, NumbersTextsAndFamilies) {
  cc2DMap::notValid const nv;
  cc2DLinearMap::notValidFit const nf;
  EXPECT_EQ(nv.errorNumber(), 0x10005810);
  EXPECT_EQ(nf.errorNumber(), 0x10005820);
  EXPECT_EQ(nv.message(), "cc2DMap::notValid: Operation attempted using invalid map");
  EXPECT_EQ(nf.message(false), "A fit could not be computed with the given data.");
  EXPECT_NE(dynamic_cast<cc2DMap::Errors const*>(&nv), nullptr);
  EXPECT_NE(dynamic_cast<cc2DLinearMap::Errors const*>(&nf), nullptr);
  static_assert(!std::is_base_of_v<ccExceptionWithString, cc2DMap::notValid>);
  // Through an archive as its true type.
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  ccPersistent* p = const_cast<cc2DLinearMap::notValidFit*>(&nf);
  ccPersistent* ignored = nullptr;
  ccPersistent::serializePointer(out, p, ignored);
  ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), false, false);
  ccPersistent* loaded = nullptr;
  ccPersistent::serializePointer(in, nullptr, loaded);
  auto* e = dynamic_cast<cc2DLinearMap::notValidFit*>(loaded);
  ASSERT_NE(e, nullptr);
  EXPECT_THROW(e->suicideAndRethrow(), cc2DLinearMap::notValidFit);
}

TEST(PlaneMapValidity, XformIsValidTable) {
  struct {
    char const* what;
    X2 x;
    int valid;
  } const cases[] = {
      {"identity", X2(), 1},
      {"tiny determinant", X2(M2(1e-160, 0, 0, 1e-160), V2()), 1},
      {"singular", X2(M2(1, 2, 2, 4), V2()), 0},
      {"NaN element", X2(M2(kNaN, 0, 0, 1), V2()), 0},
      {"HUGE_VAL element", X2(M2(1, kInf, 0, 1), V2()), 0},
      {"NaN translation", X2(M2(), V2(0, kNaN)), 0},
      {"HUGE_VAL translation", X2(M2(), V2(kInf, 0)), 0},
      // Minus infinity is not a bad value; only the singularity test can
      // reject it.
      {"-inf translation", X2(M2(), V2(-kInf, 0)), 1},
      {"-inf element", X2(M2(-kInf, 0, 0, 1), V2()), 1},
      {"-inf translation, singular", X2(M2(1, 1, 1, 1), V2(-kInf, 0)), 0},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(cc2DLinearMap::xformIsValid(c.x), c.valid) << c.what;
    EXPECT_EQ(cc2DLinearMap(c.x).isValid(), c.valid) << c.what;  // no exception either way
    EXPECT_EQ(cc2DLinearMap(c.x, cc2DMap::fastAndInvalid).isValid(), 1) << c.what;
  }
}

TEST(PlaneMapLinear, ConstructorsAndFlags) {
  cc2DLinearMap const id;
  EXPECT_TRUE(id.isValid());
  EXPECT_TRUE(id.isLinear());
  EXPECT_EQ(X2(id), X2());
  cc2DLinearMap const none(cc2DMap::fastAndInvalid);
  EXPECT_FALSE(none.isValid());
  EXPECT_TRUE(none.isLinear());
  X2 const x(M2(2, 1, 0, 3), V2(4, 5));
  cc2DLinearMap const moved(cc2DLinearMap(x), V2(-1, 1));
  EXPECT_TRUE(moved.isValid());
  EXPECT_EQ(X2(moved), X2(x.matrix(), V2(-1, 1)));
  EXPECT_FALSE(cc2DLinearMap(none, V2(1, 1)).isValid());  // the flag goes with the copy
  cc2DLinearMap copy = none;
  EXPECT_FALSE(copy.isValid());
  copy = moved;
  EXPECT_TRUE(copy.isValid());
  EXPECT_EQ(apply(copy, V2(1, 1)), V2(2, 4));
  EXPECT_FALSE(cc2DPolynomialMap().isLinear());
}

// Every use of an invalid map, of either kind, is refused with notValid.
TEST(PlaneMapInvalid, EveryUseIsRefused) {
  cc2DLinearMap const badLinear(X2(M2(0, 0, 0, 0), V2()));
  cc2DPolynomialMap const badPoly(Points(2), Points(2), 1);
  ASSERT_FALSE(badLinear.isValid());
  ASSERT_FALSE(badPoly.isValid());
  cc2DLinearMap const good;
  std::vector<std::pair<char const*, std::function<void()>>> const uses{
      {"linear transform", [&] { (void)apply(badLinear, V2()); }},
      {"linear conversion", [&] { (void)X2(badLinear); }},
      {"linear inverse", [&] { (void)badLinear.inverse(); }},
      {"linear times good", [&] { (void)(badLinear * good); }},
      {"good times linear", [&] { (void)(good * badLinear); }},
      {"linear pre linear", [&] { delete badLinear.preCompose(good); }},
      {"linear post linear", [&] { delete badLinear.postCompose(good); }},
      {"good pre bad", [&] { delete good.preCompose(badLinear); }},
      {"good post bad", [&] { delete good.postCompose(badLinear); }},
      {"linear pre vector", [&] { delete badLinear.preCompose(V2(1, 1)); }},
      {"linear post vector", [&] { delete badLinear.postCompose(V2(1, 1)); }},
      {"poly transform", [&] { (void)apply(badPoly, V2()); }},
      {"poly pre linear", [&] { delete badPoly.preCompose(good); }},
      {"poly post linear", [&] { delete badPoly.postCompose(good); }},
      {"poly pre vector", [&] { delete badPoly.preCompose(V2(1, 1)); }},
      {"poly post vector", [&] { delete badPoly.postCompose(V2(1, 1)); }},
      // A bad vector is an invalid argument too.
      {"good pre NaN", [&] { delete good.preCompose(V2(kNaN, 0)); }},
      {"good post HUGE_VAL", [&] { delete good.postCompose(V2(0, kInf)); }},
  };
  for (auto const& [what, use] : uses) {
    try {
      use();
      ADD_FAILURE() << what << ": no exception";
    } catch (cc2DMap::notValid const& e) {
      EXPECT_EQ(e.message(false), "Operation attempted using invalid map") << what;
    }
  }
  EXPECT_EQ(badPoly.essentiallyEqual(badPoly, 1e300), 0);
}

TEST(PlaneMapLinear, FitRecoversAffineMapsAndRefusesWhatItCannot) {
  X2 const truth(M2(1.5, -0.25, 0.5, 0.75), V2(10, -20));
  Points const from = randomPoints(20, 1, 100);
  // The first list onto the second, as the fitter is given them (from, to).
  cc2DLinearMap const fit(from, mapped(truth, from));
  ASSERT_TRUE(fit.isValid());
  EXPECT_TRUE(cfRealEq(X2(fit), truth, 1e-10));
  // Exactly three pairs fix it; two do not.
  Points const three(from.begin(), from.begin() + 3);
  EXPECT_TRUE(cfRealEq(X2(cc2DLinearMap(three, mapped(truth, three))), truth, 1e-9));
  Points const two(from.begin(), from.begin() + 2);
  EXPECT_THROW(cc2DLinearMap(two, mapped(truth, two)), cc2DLinearMap::notValidFit);
  EXPECT_THROW(cc2DLinearMap(two, mapped(truth, from)), cc2DLinearMap::notValidFit);  // sizes
  Points const line{V2(0, 0), V2(1, 0), V2(2, 0), V2(5, 0)};
  EXPECT_THROW(cc2DLinearMap(line, line), cc2DLinearMap::notValidFit);
  // Noisy data: the affine least-squares map, as numpy's order-1 fit has it.
  auto const& noisy = reference()[0];
  cc2DLinearMap const lsq(noisy.a, noisy.b);
  for (auto const& [p, q] : noisy.ab) EXPECT_TRUE(cfRealEq(apply(lsq, p), q, 1e-7)) << p.x();
  // The fitter's own errors are not what escapes.
  try {
    cc2DLinearMap(Points(1), Points(1));
    ADD_FAILURE();
  } catch (ccLSPointToPointFitter::Errors const&) {
    ADD_FAILURE() << "the fitter's error escaped";
  } catch (cc2DLinearMap::notValidFit const&) {
  }
}

TEST(PlaneMapLinear, CompositionOrder) {
  cc2DLinearMap const a(X2(M2(0, -1, 1, 0), V2(1, 2)));
  cc2DLinearMap const b(X2(M2(2, 0, 0, 3), V2(-1, 0)));
  V2 const p(3, -4);
  EXPECT_EQ(apply(a * b, p), apply(a, apply(b, p)));  // b first
  EXPECT_TRUE((a * b).isValid());
  std::unique_ptr<cc2DMap> const pre(a.preCompose(b));   // b after a
  std::unique_ptr<cc2DMap> const post(a.postCompose(b));  // b before a
  EXPECT_EQ(apply(*pre, p), apply(b, apply(a, p)));
  EXPECT_EQ(apply(*post, p), apply(a, apply(b, p)));
  std::unique_ptr<cc2DMap> const preV(a.preCompose(V2(10, 20)));
  std::unique_ptr<cc2DMap> const postV(a.postCompose(V2(10, 20)));
  EXPECT_EQ(apply(*preV, p), apply(a, p) + V2(10, 20));
  EXPECT_EQ(apply(*postV, p), apply(a, p + V2(10, 20)));
  // Minus infinity is a valid vector.
  std::unique_ptr<cc2DMap> const far(a.preCompose(V2(-kInf, 0)));
  EXPECT_TRUE(far->isValid());
  EXPECT_EQ(apply(a.inverse(), apply(a, p)), p);
  EXPECT_TRUE(a.inverse().isValid());
  // The inverse is made with no test, so a map that skipped its test fails here.
  EXPECT_THROW((void)cc2DLinearMap(X2(M2(1, 1, 1, 1), V2()), cc2DMap::fastAndInvalid).inverse(),
               ccMathError::Singular);
}

// --- cc2DPolynomialMap ------------------------------------------------------------

TEST(PlaneMapPolynomial, FitsAgreeWithNumpyForOrdersOneToFive) {
  ASSERT_EQ(reference().size(), 5u);
  for (auto const& c : reference()) {
    cc2DPolynomialMap const ab(c.a, c.b, c.order);
    cc2DPolynomialMap const ba(c.b, c.a, c.order);
    ASSERT_TRUE(ab.isValid() && ba.isValid()) << c.order;
    EXPECT_EQ(ab.order(), c.order);
    for (auto const& [p, q] : c.ab) EXPECT_TRUE(cfRealEq(apply(ab, p), q, 1e-9)) << c.order << " " << p.x();
    for (auto const& [p, q] : c.ba) EXPECT_TRUE(cfRealEq(apply(ba, p), q, 1e-9)) << c.order << " " << p.x();
    // Coefficients beyond the order are 0.
    for (int i = (c.order + 1) * (c.order + 2); i < cc2DPolynomialMap::kMaxCoefficients; ++i)
      EXPECT_EQ(ab.coefficients()[i], 0);
  }
}

TEST(PlaneMapPolynomial, CountsSizesAndOrdersLeaveItInvalid) {
  Points const pts = randomPoints(30, 2, 100);
  X2 const x(M2(1, 0.5, -0.5, 1), V2(3, 4));
  Points const img = mapped(x, pts);
  int const terms[] = {3, 6, 10, 15, 21};
  for (int order = 1; order <= 5; ++order) {
    int const n = terms[order - 1];
    Points const enough(pts.begin(), pts.begin() + n), fewer(pts.begin(), pts.begin() + n - 1);
    EXPECT_TRUE(cc2DPolynomialMap(enough, mapped(x, enough), order).isValid()) << order;
    EXPECT_FALSE(cc2DPolynomialMap(fewer, mapped(x, fewer), order).isValid()) << order;
  }
  EXPECT_FALSE(cc2DPolynomialMap(pts, Points(img.begin(), img.end() - 1), 2).isValid());
  for (int order : {-1, 0, 6, 99}) {
    cc2DPolynomialMap const m(pts, img, order);
    EXPECT_FALSE(m.isValid()) << order;
    EXPECT_EQ(m.order(), 1);
  }
  Points const line{V2(0, 0), V2(1, 1), V2(2, 2), V2(3, 3)};
  EXPECT_FALSE(cc2DPolynomialMap(line, line, 1).isValid());
  Points withNaN = pts;
  withNaN[3] = V2(kNaN, 0);
  EXPECT_FALSE(cc2DPolynomialMap(withNaN, img, 2).isValid());
  // An affine fit has the affine map's derivative at the origin.
  cc2DPolynomialMap const affine(pts, img, 1);
  EXPECT_NEAR(affine.xRotAtOrigin().plain(), x.xRot().plain(), 1e-12);
}

TEST(PlaneMapPolynomial, CompositionWorksOnCopiesAndNeverOnCoefficients) {
  auto const& c = reference()[2];
  cc2DPolynomialMap const m(c.a, c.b, c.order);
  cc2DLinearMap const l(X2(M2(0.5, 0.1, -0.2, 2), V2(3, -1)));
  V2 const v(7, -3);
  V2 const p(100, 50);
  std::unique_ptr<cc2DMap> const post(m.postCompose(l));
  std::unique_ptr<cc2DMap> const postV(m.postCompose(v));
  std::unique_ptr<cc2DMap> const pre(m.preCompose(l));
  std::unique_ptr<cc2DMap> const preV(m.preCompose(v));
  EXPECT_EQ(apply(*post, p), apply(m, apply(l, p)));
  EXPECT_EQ(apply(*postV, p), apply(m, p + v));
  EXPECT_EQ(apply(*pre, p), apply(l, apply(m, p)));
  EXPECT_EQ(apply(*preV, p), apply(m, p) + v);
  EXPECT_FALSE(m.hasFirstXform() || m.hasLastXform());
  auto const& twice = dynamic_cast<cc2DPolynomialMap const&>(*post);
  EXPECT_TRUE(twice.hasFirstXform());
  EXPECT_FALSE(twice.hasLastXform());
  for (int i = 0; i < cc2DPolynomialMap::kMaxCoefficients; ++i) EXPECT_EQ(twice.coefficients()[i], m.coefficients()[i]);
  // A second composition on the same side multiplies in: first × m.
  std::unique_ptr<cc2DMap> const both(twice.postCompose(v));
  EXPECT_TRUE(cfRealEq(apply(*both, p), apply(m, apply(l, p + v)), 1e-9));
  std::unique_ptr<cc2DMap> const outer(dynamic_cast<cc2DPolynomialMap const&>(*pre).preCompose(v));
  EXPECT_TRUE(cfRealEq(apply(*outer, p), apply(l, apply(m, p)) + v, 1e-9));

  // essentiallyEqual: presence flags, orders, coefficients within tolerance.
  EXPECT_TRUE(m.essentiallyEqual(m, 0));
  EXPECT_FALSE(m.essentiallyEqual(twice, 1e300));
  EXPECT_TRUE(twice.essentiallyEqual(dynamic_cast<cc2DPolynomialMap const&>(*post), 0));
  cc2DPolynomialMap const other(c.a, c.b, c.order + 1);
  EXPECT_FALSE(m.essentiallyEqual(other, 1e300));
  Points nudged = c.b;
  nudged[0] = nudged[0] + V2(1e-3, 0);
  cc2DPolynomialMap const near(c.a, nudged, c.order);
  double maxDiff = 0;
  for (int i = 0; i < (c.order + 1) * (c.order + 2); ++i)
    maxDiff = std::fmax(maxDiff, std::fabs(near.coefficients()[i] - m.coefficients()[i]));
  ASSERT_GT(maxDiff, 0);
  EXPECT_TRUE(m.essentiallyEqual(near, maxDiff));
  EXPECT_FALSE(m.essentiallyEqual(near, maxDiff / 2));
  cc2DPolynomialMap copy(cc2DMap::fastAndInvalid);
  copy = m;
  EXPECT_TRUE(copy.essentiallyEqual(m, 0));
}

// --- Archives ----------------------------------------------------------------------

Bytes xformBytes(X2 const& x, bool msb) {
  M2 const& m = x.matrix();
  return cat({{0, 0}, field64(x.trans().x(), msb), field64(x.trans().y(), msb), {0}, field64(m.element(0, 0), msb),
              field64(m.element(0, 1), msb), field64(m.element(1, 0), msb), field64(m.element(1, 1), msb),
              field64(m.determinant(), msb), {static_cast<unsigned char>(x.isIdentity() ? 1 : 0)}});
}

TEST(PlaneMapArchive, LinearAndPolynomialBytes) {
  for (bool msb : {true, false}) {
    X2 const x(M2(2, 0.5, -1, 4), V2(6, -7));
    ccPtrHandle<cc2DMap> const linear(new cc2DLinearMap(x));
    ccMemoryArchive out(msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst, false);
    ccPtrHandle<cc2DMap> h = linear;
    out || h;
    EXPECT_EQ(bytesOf(out), cat({{0x02, static_cast<unsigned char>(msb ? 0 : 1)}, pointerRecord(1, 1, msb),
                                 objectRecordHead(1, "cc2DLinearMap", msb),
                                 {0, 0, 0},  // cc2DLinearMap, cc2DMap, ccPersistent
                                 {1},        // valid
                                 xformBytes(x, msb)}))
        << msb;

    // An order-1 polynomial map with a last transform.
    Points const pts{V2(0, 0), V2(1, 0), V2(0, 1), V2(1, 1)};
    X2 const affine(M2(2, 0, 0, 2), V2(1, 1));
    cc2DPolynomialMap const fit(pts, mapped(affine, pts), 1);
    ASSERT_TRUE(fit.isValid());
    std::unique_ptr<cc2DMap> const shifted(fit.preCompose(V2(0.5, 0)));
    ccPtrHandle<cc2DMap> poly(shifted->isValid() ? new cc2DPolynomialMap(dynamic_cast<cc2DPolynomialMap&>(*shifted))
                                                 : nullptr);
    ccMemoryArchive pout(msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst, false);
    pout || poly;
    Bytes coefficients;
    auto const* cs = dynamic_cast<cc2DPolynomialMap const&>(*poly).coefficients();
    for (int i = 0; i < 6; ++i) coefficients = cat({coefficients, field64(cs[i], msb)});
    EXPECT_EQ(bytesOf(pout), cat({{0x02, static_cast<unsigned char>(msb ? 0 : 1)}, pointerRecord(1, 1, msb),
                                  objectRecordHead(1, "cc2DPolynomialMap", msb), {0, 0, 0}, field32(1, msb),
                                  field32(1, msb), field32(0, msb), xformBytes(X2(), msb), field32(1, msb),
                                  xformBytes(X2(M2(), V2(0.5, 0)), msb), coefficients}))
        << msb;
    EXPECT_NEAR(cs[0], 1, 1e-12);  // the image of the origin
    EXPECT_NEAR(cs[2], 2, 1e-12);  // the image of the x axis
  }
}

TEST(PlaneMapArchive, RoundTripsAndDamage) {
  auto const& c = reference()[4];
  cc2DPolynomialMap m(c.a, c.b, c.order);
  std::unique_ptr<cc2DMap> const composed(m.postCompose(cc2DLinearMap(X2(M2(1, 0, 0, -1), V2(2, 2)))));
  std::vector<ccPtrHandle<cc2DMap>> const maps{
      new cc2DLinearMap(X2(M2(1, 2, 3, 4), V2(5, 6))), new cc2DLinearMap(cc2DMap::fastAndInvalid),
      new cc2DPolynomialMap(dynamic_cast<cc2DPolynomialMap&>(*composed)), new cc2DPolynomialMap()};
  for (auto ordering : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
    for (bool seekable : {false, true}) {
      for (auto const& original : maps) {
        ccMemoryArchive out(ordering, seekable);
        ccPtrHandle<cc2DMap> h = original;
        out || h;
        ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), seekable, false);
        ccPtrHandle<cc2DMap> loaded;
        in || loaded;
        ASSERT_TRUE(loaded);
        cc2DMap const &l = *loaded, &o = *original;
        EXPECT_EQ(typeid(l), typeid(o));
        EXPECT_EQ(loaded->isValid(), original->isValid());
        if (!original->isValid()) continue;
        for (auto const& [p, q] : c.ab) EXPECT_EQ(apply(*loaded, p), apply(*original, p));
      }
    }
  }
  // An order outside 1 to 5 in a file is refused before any coefficient is read.
  ccPtrHandle<cc2DMap> h(new cc2DPolynomialMap(m));
  ccMemoryArchive out(ccArchive::eMsbFirst, false);
  out || h;
  Bytes bytes = bytesOf(out);
  std::size_t const orderAt = 2 + 18 + objectRecordHead(1, "cc2DPolynomialMap", true).size() + 3 + 4;
  for (c_UInt32 order : {0u, 6u, 0x80000000u}) {
    Bytes const f = field32(order, true);
    std::copy(f.begin(), f.end(), bytes.begin() + static_cast<std::ptrdiff_t>(orderAt));
    ccMemoryArchive in(reinterpret_cast<char const*>(bytes.data()), static_cast<c_Int32>(bytes.size()), false,
                       false);
    ccPtrHandle<cc2DMap> loaded;
    EXPECT_THROW(in || loaded, ccArchive::BadContent) << order;
  }
  Bytes version = bytesOf(out);
  version[2 + 18 + objectRecordHead(1, "cc2DPolynomialMap", true).size() + 1] = 1;  // cc2DMap's
  ccMemoryArchive in(reinterpret_cast<char const*>(version.data()), static_cast<c_Int32>(version.size()), false,
                     false);
  ccPtrHandle<cc2DMap> loaded;
  EXPECT_THROW(in || loaded, ccArchive::UnknownVersion);
}

}  // namespace
