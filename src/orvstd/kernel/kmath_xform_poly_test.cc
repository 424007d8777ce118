#include "orvstd/kernel/kmath_xformPoly.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "orvstd/kernel/ksys_memory.h"
#include "orvstd/kernel/testing/xform_reference.h"

namespace {

// Direct summation over the documented layout, written without the
// library's indexing: degree by degree, x^(d-j) y^j.
kmath_vect sumDirectly(std::vector<double> const& c, int order, double x, double y) {
  kmath_vect r{0, 0};
  std::size_t k = 0;
  for (int d = 0; d <= order; ++d)
    for (int j = 0; j <= d; ++j, k += 2) {
      double const m = std::pow(x, d - j) * std::pow(y, j);
      r.x += c[k] * m;
      r.y += c[k + 1] * m;
    }
  return r;
}

std::vector<double> randomCoefficients(std::mt19937& rng, int order) {
  std::uniform_real_distribution<double> u(-2, 2);
  std::vector<double> c(static_cast<std::size_t>(kmath_xformPolySize(order)));
  for (double& x : c) x = u(rng);
  return c;
}

kmath_vect map(std::vector<double> const& c, int order, kmath_vect p) {
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPolyMapPoint_(c.data(), order, p, &q), 0);
  return q;
}

struct FreeInternal {
  void operator()(double* p) const { ksys_memory_free_internal(p); }
};
using Coefficients = std::unique_ptr<double, FreeInternal>;

struct Fit {
  c_Int32 rc;
  Coefficients c;
  c_Int32 n;
  std::vector<double> values() const { return std::vector<double>(c.get(), c.get() + n); }
};

Fit fitCount(std::vector<kmath_vect> const& from, std::vector<kmath_vect> const& to, int order, c_Int32 count) {
  double* out = reinterpret_cast<double*>(8);  // must be overwritten
  c_Int32 n = 99;
  c_Int32 rc = kmath_xformPolyFit_(from.data(), to.data(), count, order, &out, &n);
  return Fit{rc, Coefficients(out), n};
}

Fit fit(std::vector<kmath_vect> const& from, std::vector<kmath_vect> const& to, int order) {
  if (from.size() != to.size()) {
    ADD_FAILURE() << "point lists of different sizes";
    return Fit{0, nullptr, 0};
  }
  return fitCount(from, to, order, static_cast<c_Int32>(from.size()));
}

double relativeError(kmath_vect a, kmath_vect b, double scale) {
  return std::hypot(a.x - b.x, a.y - b.y) / scale;
}

TEST(KernelPolySizes, CountsOfCoefficientsAndTerms) {
  int const sizes[] = {2, 6, 12, 20, 30, 42};
  for (int order = 0; order <= 5; ++order) {
    EXPECT_EQ(kmath_xformPolySize(order), sizes[order]);
    EXPECT_EQ(kmath_xformPolyTermCount(order), sizes[order] / 2);
  }
  for (int bad : {-1, 6, -2147483647 - 1, 2147483647}) {
    EXPECT_EQ(kmath_xformPolySize(bad), 0) << bad;
    EXPECT_EQ(kmath_xformPolyTermCount(bad), 0) << bad;
  }
}

// Each row: a single coefficient set to 1 and the image of (2, 3).
TEST(KernelPolyLayout, EachSlotIsTheDocumentedMonomialAndComponent) {
  struct Row {
    int index;
    kmath_vect image;
  };
  Row const rows[] = {
      {0, {1, 0}},   {1, {0, 1}},                   // 1
      {2, {2, 0}},   {3, {0, 2}},                   // x: the image of the x axis
      {4, {3, 0}},   {5, {0, 3}},                   // y
      {6, {4, 0}},   {8, {6, 0}},   {11, {0, 9}},   // x^2, xy, y^2
      {14, {12, 0}}, {17, {0, 18}}, {19, {0, 27}},  // x^2y, xy^2, y^3
      {20, {16, 0}}, {29, {0, 81}},                 // x^4, y^4
      {30, {32, 0}}, {33, {0, 48}}, {41, {0, 243}}, // x^5, x^4y, y^5
  };
  for (Row const& row : rows) {
    std::vector<double> c(42, 0.0);
    c[static_cast<std::size_t>(row.index)] = 1;
    kmath_vect const q = map(c, 5, kmath_vect{2, 3});
    EXPECT_EQ(q.x, row.image.x) << row.index;
    EXPECT_EQ(q.y, row.image.y) << row.index;
  }
}

TEST(KernelPolyLayout, LowerOrderIsAPrefix) {
  std::mt19937 rng(3);
  std::vector<double> c = randomCoefficients(rng, 5);
  std::fill(c.begin() + kmath_xformPolySize(2), c.end(), 0.0);
  for (kmath_vect p : {kmath_vect{0.3, -1.2}, kmath_vect{2, 5}}) {
    kmath_vect const q5 = map(c, 5, p), q2 = map(c, 2, p);
    EXPECT_DOUBLE_EQ(q5.x, q2.x);
    EXPECT_DOUBLE_EQ(q5.y, q2.y);
  }
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 5), 2);
}

TEST(KernelPolyMapPoint, HornerAgreesWithDirectSummation) {
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> u(-3, 3);
  for (int order = 0; order <= 5; ++order) {
    std::vector<double> const c = randomCoefficients(rng, order);
    for (int i = 0; i < 50; ++i) {
      double const x = u(rng), y = u(rng);
      kmath_vect const h = map(c, order, kmath_vect{x, y});
      kmath_vect const d = sumDirectly(c, order, x, y);
      double const scale = 1 + std::pow(std::max(std::fabs(x), std::fabs(y)), order) * 40;
      EXPECT_LE(relativeError(h, d, scale), 1e-14) << order << " at " << x << "," << y;
    }
  }
}

TEST(KernelPolyMapPoint, RefusesOrdersOutsideZeroToFive) {
  std::vector<double> c(42, 1.0);
  kmath_vect q{7, 7};
  EXPECT_EQ(kmath_xformPolyMapPoint_(c.data(), -1, kmath_vect{1, 1}, &q), kmath_badArgument);
  EXPECT_EQ(kmath_xformPolyMapPoint_(c.data(), 6, kmath_vect{1, 1}, &q), kmath_notImplemented);
  EXPECT_EQ(q.x, 7);
  ASSERT_EQ(kmath_xformPolyMapPoint_(c.data(), 0, kmath_vect{5, 5}, &q), 0);
  EXPECT_EQ(q.x, 1);
  EXPECT_EQ(q.y, 1);
}

TEST(KernelPolyDerivs, MatchCentralDifferences) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<double> u(-1.5, 1.5);
  for (int order = 1; order <= 5; ++order) {
    std::vector<double> const c = randomCoefficients(rng, order);
    std::vector<double> dx(static_cast<std::size_t>(kmath_xformPolySize(order - 1)), 99.0), dy = dx;
    ASSERT_EQ(kmath_xformPolyDerivs_(c.data(), order, dx.data(), dy.data()), 0);
    for (int i = 0; i < 20; ++i) {
      kmath_vect const p{u(rng), u(rng)};
      double const h = 1e-5;
      kmath_vect const gx = map(dx, order - 1, p), gy = map(dy, order - 1, p);
      kmath_vect const xp = map(c, order, {p.x + h, p.y}), xm = map(c, order, {p.x - h, p.y});
      kmath_vect const yp = map(c, order, {p.x, p.y + h}), ym = map(c, order, {p.x, p.y - h});
      EXPECT_NEAR(gx.x, (xp.x - xm.x) / (2 * h), 1e-6) << order;
      EXPECT_NEAR(gx.y, (xp.y - xm.y) / (2 * h), 1e-6) << order;
      EXPECT_NEAR(gy.x, (yp.x - ym.x) / (2 * h), 1e-6) << order;
      EXPECT_NEAR(gy.y, (yp.y - ym.y) / (2 * h), 1e-6) << order;
    }
  }
}

TEST(KernelPolyDerivs, ExactOnAKnownCubic) {
  // Px = 1 + 2x + 3xy + 4y^3, Py = x^2 y
  std::vector<double> c(20, 0.0);
  c[0] = 1;
  c[2] = 2;
  c[8] = 3;   // xy, x component
  c[19] = 0;  // y^3 y component stays 0
  c[18] = 4;  // y^3, x component
  c[15] = 1;  // x^2 y, y component
  std::vector<double> dx(12), dy(12);
  ASSERT_EQ(kmath_xformPolyDerivs_(c.data(), 3, dx.data(), dy.data()), 0);
  // d/dx: Px' = 2 + 3y, Py' = 2xy
  std::vector<double> const ex = {2, 0, 0, 0, 3, 0, 0, 0, 0, 2, 0, 0};
  // d/dy: Px' = 3x + 12y^2, Py' = x^2
  std::vector<double> const ey = {0, 0, 3, 0, 0, 0, 0, 1, 0, 0, 12, 0};
  EXPECT_EQ(dx, ex);
  EXPECT_EQ(dy, ey);
  EXPECT_EQ(kmath_xformPolyDerivs_(c.data(), 0, dx.data(), dy.data()), kmath_badArgument);
  EXPECT_EQ(kmath_xformPolyDerivs_(c.data(), 6, dx.data(), dy.data()), kmath_notImplemented);
}

TEST(KernelPolyLinearXform, TangentMapWithAndWithoutDerivatives) {
  std::mt19937 rng(8);
  for (int order = 2; order <= 5; ++order) {
    std::vector<double> const c = randomCoefficients(rng, order);
    std::vector<double> dx(static_cast<std::size_t>(kmath_xformPolySize(order - 1))), dy = dx;
    ASSERT_EQ(kmath_xformPolyDerivs_(c.data(), order, dx.data(), dy.data()), 0);
    kmath_vect const at{0.7, -0.4};
    kmath_xformLinear a{}, b{};
    ASSERT_EQ(kmath_xformPolyLinearXform_(c.data(), order, at, dx.data(), dy.data(), &a), 0);
    ASSERT_EQ(kmath_xformPolyLinearXform_(c.data(), order, at, nullptr, nullptr, &b), 0);
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    // T(at) = P(at); the matrix columns are the derivative polynomials there.
    kmath_vect const p = map(c, order, at);
    EXPECT_NEAR(a.matrix.e00 * at.x + a.matrix.e01 * at.y + a.trans.x, p.x, 1e-13);
    EXPECT_NEAR(a.matrix.e10 * at.x + a.matrix.e11 * at.y + a.trans.y, p.y, 1e-13);
    kmath_vect const gx = map(dx, order - 1, at), gy = map(dy, order - 1, at);
    EXPECT_EQ(a.matrix.e00, gx.x);
    EXPECT_EQ(a.matrix.e10, gx.y);
    EXPECT_EQ(a.matrix.e01, gy.x);
    EXPECT_EQ(a.matrix.e11, gy.y);
  }
}

TEST(KernelPolyLinearXform, OrderOneIsTheMapItselfExactly) {
  std::vector<double> const c = {5.5, -2.25, 0.1, 0.3, -0.7, 1.9};
  for (kmath_vect at : {kmath_vect{0, 0}, kmath_vect{1e6, -3e5}}) {
    kmath_xformLinear l{};
    ASSERT_EQ(kmath_xformPolyLinearXform_(c.data(), 1, at, nullptr, nullptr, &l), 0);
    EXPECT_EQ(l.trans.x, 5.5);
    EXPECT_EQ(l.trans.y, -2.25);
    EXPECT_EQ(l.matrix.e00, 0.1);  // image of the x axis: c[2], c[3]
    EXPECT_EQ(l.matrix.e10, 0.3);
    EXPECT_EQ(l.matrix.e01, -0.7);
    EXPECT_EQ(l.matrix.e11, 1.9);
  }
  kmath_xformLinear l{};
  EXPECT_EQ(kmath_xformPolyLinearXform_(c.data(), 0, {0, 0}, nullptr, nullptr, &l), kmath_badArgument);
  EXPECT_EQ(kmath_xformPolyLinearXform_(c.data(), 6, {0, 0}, nullptr, nullptr, &l), kmath_notImplemented);
}

TEST(KernelPolyMinOrder, HighestDegreeWithATermThatIsNotZero) {
  std::vector<double> c(42, 0.0);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 5), 1);  // nothing at all: still a map of degree 1
  c[2] = 1;
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 5), 1);
  c[13] = 1e-300;  // x^3 in Py: degree 3
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 5), 3);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 2), 1);  // index 13 lies beyond a degree-2 array
  c[13] = 0;
  c[41] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 5), 5);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 4), 1);
  c[6] = -0.0;  // negative zero is zero
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 4), 1);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 0), kmath_badArgument);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), -3), kmath_badArgument);
  EXPECT_EQ(kmath_xformPolyMinOrder_(c.data(), 6), kmath_notImplemented);
}

// --- The fit ------------------------------------------------------------------

TEST(KernelPolyFit, CoefficientsAgreeWithNumpyLstsq) {
  auto const cases = readXformReference("polycoef");
  ASSERT_EQ(cases.size(), 10u);
  for (auto const& r : cases) {
    SCOPED_TRACE(::testing::Message() << "order " << r.order << ", " << r.from.size() << " points");
    Fit const f = fit(r.from, r.to, r.order);
    ASSERT_EQ(f.rc, 0);
    ASSERT_EQ(f.n, kmath_xformPolySize(r.order));
    ASSERT_EQ(r.numbers.size(), static_cast<std::size_t>(f.n));
    for (int k = 0; k < f.n; ++k) EXPECT_NEAR(f.c.get()[k], r.numbers[static_cast<std::size_t>(k)], 1e-9) << k;
  }
}

TEST(KernelPolyFit, MappedPointsAgreeWithNumpyLstsqInImageCoordinates) {
  auto const cases = readXformReference("polymap");
  ASSERT_EQ(cases.size(), 10u);
  for (auto const& r : cases) {
    SCOPED_TRACE(::testing::Message() << "order " << r.order << ", " << r.from.size() << " points");
    Fit const f = fit(r.from, r.to, r.order);
    ASSERT_EQ(f.rc, 0);
    std::vector<double> const c = f.values();
    for (std::size_t i = 0; i < r.probes.size(); ++i) {
      kmath_vect const q = map(c, r.order, r.probes[i]);
      EXPECT_LE(relativeError(q, r.probeImages[i], 1000), 1e-10) << i;
    }
  }
}

struct AffineCase {
  double offset;  // where the points lie
  double spread;
};

class KernelPolyFitAffine : public ::testing::TestWithParam<AffineCase> {};

TEST_P(KernelPolyFitAffine, CollapsesToOrderOneAndRecoversTheMap) {
  AffineCase const p = GetParam();
  std::mt19937 rng(17);
  std::uniform_real_distribution<double> u(-p.spread, p.spread);
  kmath_xformLinear const a{{-12.5, 340.0}, {0.98, -0.17, 0.2, 1.03}};
  for (int order = 1; order <= 5; ++order) {
    for (int count : {kmath_xformPolyTermCount(order) + 4, 150}) {
      SCOPED_TRACE(::testing::Message() << "order " << order << ", " << count << " points");
      std::vector<kmath_vect> from, to;
      for (int i = 0; i < count; ++i) {
        kmath_vect const s{p.offset + u(rng), p.offset / 2 + u(rng)};
        from.push_back(s);
        to.push_back({a.matrix.e00 * s.x + a.matrix.e01 * s.y + a.trans.x,
                      a.matrix.e10 * s.x + a.matrix.e11 * s.y + a.trans.y});
      }
      Fit const f = fit(from, to, order);
      ASSERT_EQ(f.rc, 0);
      EXPECT_EQ(kmath_xformPolyMinOrder_(f.c.get(), order), 1);
      kmath_xformLinear l{};
      ASSERT_EQ(kmath_xformPolyLinearXform_(f.c.get(), 1, {0, 0}, nullptr, nullptr, &l), 0);
      double const tol = 1e-10 * (1 + p.offset / p.spread);
      EXPECT_NEAR(l.matrix.e00, a.matrix.e00, tol);
      EXPECT_NEAR(l.matrix.e01, a.matrix.e01, tol);
      EXPECT_NEAR(l.matrix.e10, a.matrix.e10, tol);
      EXPECT_NEAR(l.matrix.e11, a.matrix.e11, tol);
      EXPECT_NEAR(l.trans.x, a.trans.x, tol * (1 + p.offset));
      EXPECT_NEAR(l.trans.y, a.trans.y, tol * (1 + p.offset));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Placements, KernelPolyFitAffine,
                         ::testing::Values(AffineCase{0, 1}, AffineCase{0, 500}, AffineCase{320, 320},
                                           AffineCase{5000, 50}));

TEST(KernelPolyFit, ExactQuadraticDataFittedAtOrderFourDropsToTwo) {
  std::vector<kmath_vect> from, to;
  for (int i = 0; i < 8; ++i)
    for (int j = 0; j < 7; ++j) {
      double const x = 40.0 * i, y = 30.0 * j + 5;
      from.push_back({x, y});
      to.push_back({1 + 0.5 * x + 1e-3 * x * y, 2 - 0.25 * y + 2e-3 * x * x});
    }
  Fit const f = fit(from, to, 4);
  ASSERT_EQ(f.rc, 0);
  EXPECT_EQ(kmath_xformPolyMinOrder_(f.c.get(), 4), 2);
  double const* c = f.c.get();
  EXPECT_NEAR(c[8], 1e-3, 1e-12);  // xy in Px
  EXPECT_NEAR(c[7], 2e-3, 1e-12);  // x^2 in Py
}

TEST(KernelPolyFit, MinimumPointCountsFitExactly) {
  std::mt19937 rng(23);
  std::uniform_real_distribution<double> u(-10, 10);
  for (int order = 1; order <= 5; ++order) {
    std::vector<double> const truth = randomCoefficients(rng, order);
    std::vector<kmath_vect> from, to;
    for (int i = 0; i < kmath_xformPolyTermCount(order); ++i) {
      from.push_back({u(rng), u(rng)});
      to.push_back(map(truth, order, from.back()));
    }
    Fit const f = fit(from, to, order);
    ASSERT_EQ(f.rc, 0) << order;
    std::vector<double> const c = f.values();
    for (std::size_t i = 0; i < from.size(); ++i)
      EXPECT_LE(relativeError(map(c, order, from[i]), to[i], 1 + std::hypot(to[i].x, to[i].y)), 1e-8) << order;
  }
}

TEST(KernelPolyFit, NoFitForTooFewOrDegeneratePoints) {
  auto expectNoFit = [](std::vector<kmath_vect> const& from, std::vector<kmath_vect> const& to, int order) {
    Fit const f = fit(from, to, order);
    EXPECT_EQ(f.rc, kmath_noFit);
    EXPECT_EQ(static_cast<c_UInt32>(f.rc), 0x80000593u);
    EXPECT_EQ(f.c.get(), nullptr);
    EXPECT_EQ(f.n, 0);
  };
  std::vector<kmath_vect> const three = {{0, 0}, {1, 0}, {0, 1}};
  expectNoFit({{0, 0}, {1, 0}}, {{0, 0}, {1, 0}}, 1);                   // two pairs
  expectNoFit(three, three, 2);                                         // order 2 needs six
  expectNoFit({{0, 0}, {1, 1}, {2, 2}, {5, 5}}, {{0, 0}, {1, 0}, {0, 1}, {4, 4}}, 1);  // collinear
  expectNoFit({{3, 3}, {3, 3}, {3, 3}, {3, 3}}, {{0, 0}, {1, 0}, {0, 1}, {2, 2}}, 1);  // one point
  // Six points on the unit circle: a conic, so degree 2 is not determined.
  std::vector<kmath_vect> circle, images;
  for (int i = 0; i < 6; ++i) {
    double const t = i * 1.0471975511965976;
    circle.push_back({std::cos(t), std::sin(t)});
    images.push_back({std::cos(t) + 1, 2 * std::sin(t)});
  }
  expectNoFit(circle, images, 2);
  // Thirty copies of three distinct points still fix only degree 1.
  std::vector<kmath_vect> repeated;
  for (int i = 0; i < 30; ++i) repeated.push_back(three[static_cast<std::size_t>(i % 3)]);
  EXPECT_EQ(fit(repeated, repeated, 1).rc, 0);
  expectNoFit(repeated, repeated, 2);
  // Not finite.
  double const nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  expectNoFit({{0, 0}, {1, 0}, {0, nan}}, three, 1);
  expectNoFit(three, {{0, 0}, {inf, 0}, {0, 1}}, 1);
  expectNoFit(three, {{0, 0}, {-inf, 0}, {0, 1}}, 1);
}

TEST(KernelPolyFit, HostileCountsAndOrders) {
  std::vector<kmath_vect> const pts = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}, {3, 1}};
  struct Row {
    int count, order;
    c_Int32 rc;
  };
  Row const rows[] = {
      {7, 0, kmath_badArgument},       {7, -1, kmath_badArgument},  {7, -2147483647 - 1, kmath_badArgument},
      {7, 6, kmath_notImplemented},    {7, 2147483647, kmath_notImplemented},
      {-1, 1, kmath_badArgument},      {-2147483647 - 1, 1, kmath_badArgument},
      {0, 1, kmath_noFit},             {2, 1, kmath_noFit},           {5, 2, kmath_noFit},
      {-1, 6, kmath_notImplemented},   // the order is looked at first
      {3, 1, 0},                       {7, 2, 0},
  };
  for (Row const& row : rows) {
    Fit const f = fitCount(pts, pts, row.order, row.count);
    EXPECT_EQ(f.rc, row.rc) << row.count << " points, order " << row.order;
    if (row.rc == 0) {
      EXPECT_EQ(f.n, kmath_xformPolySize(row.order));
    } else {
      EXPECT_EQ(f.c.get(), nullptr);
      EXPECT_EQ(f.n, 0);
    }
  }
}

TEST(KernelPolyFit, ExtremeCoordinatesGiveAFiniteFitOrNoFit) {
  double const big = std::numeric_limits<double>::max() / 2;
  std::vector<std::vector<kmath_vect>> const sets = {
      {{-big, -big}, {big, -big}, {-big, big}, {big, big}},
      {{1e300, 1e300}, {1e300 + 1e285, 1e300}, {1e300, 1e300 + 1e285}, {1e300, 1e300}},
      {{1e-300, 0}, {0, 1e-300}, {0, 0}, {1e-300, 1e-300}},
  };
  for (auto const& pts : sets)
    for (int order : {1, 2}) {
      Fit const f = fit(pts, pts, order);
      ASSERT_TRUE(f.rc == 0 || f.rc == kmath_noFit) << f.rc;
      for (int k = 0; k < f.n; ++k) EXPECT_TRUE(std::isfinite(f.c.get()[k]));
    }
  // Tiny but regular: still the identity.
  Fit const f = fit(sets[2], sets[2], 1);
  ASSERT_EQ(f.rc, 0);
  EXPECT_NEAR(f.c.get()[2], 1, 1e-12);
  EXPECT_NEAR(f.c.get()[5], 1, 1e-12);
}

}  // namespace
