#include "orvstd/kernel/kmath_xformPerspective.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "orvstd/kernel/testing/xform_reference.h"

namespace {

using Persp = kmath_xformPerspective;

Persp fromMatrix(std::vector<double> const& m) {
  Persp h;
  EXPECT_EQ(kmath_xformPerspective_constructMatrix(&h, m.data()), 0);
  return h;
}

kmath_vect map(Persp const& h, kmath_vect p) {
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPerspective_mapPoint(&h, p, &q), 0);
  return q;
}

bool isIdentity(Persp const& h) {
  double const id[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  return std::memcmp(h.h, id, sizeof id) == 0;
}

// Homographies are equal up to scale: compare after dividing by h8.
void expectSameHomography(double const* a, std::vector<double> const& b, double tol) {
  for (int i = 0; i < 9; ++i)
    EXPECT_NEAR(a[i] / a[8], b[static_cast<std::size_t>(i)] / b[8], tol * (1 + std::fabs(b[static_cast<std::size_t>(i)] / b[8])))
        << "element " << i;
}

// A perspective transform that sends the line x + 2y = 100 to infinity.
std::vector<double> const kTilted = {1.5, 0.2, 3, -0.1, 0.8, 7, 0.01, 0.02, -1};

TEST(KernelPerspective, IdentityAndMatrixConstruction) {
  Persp h;
  h.h[0] = 42;
  ASSERT_EQ(kmath_xformPerspective_construct(&h), 0);
  EXPECT_TRUE(isIdentity(h));
  kmath_vect const q = map(h, {3.5, -2});
  EXPECT_EQ(q.x, 3.5);
  EXPECT_EQ(q.y, -2);

  Persp m = fromMatrix(kTilted);
  double back[9];
  ASSERT_EQ(kmath_xformPerspective_getMatrix(&m, back), 0);
  EXPECT_EQ(std::vector<double>(back, back + 9), kTilted);  // as given, not rescaled

  for (double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    std::vector<double> v = kTilted;
    v[4] = bad;
    EXPECT_EQ(kmath_xformPerspective_constructMatrix(&m, v.data()), kmath_badArgument);
    EXPECT_TRUE(isIdentity(m));
  }
  Persp a = fromMatrix(kTilted), b;
  kmath_xformPerspective_construct(&b);
  ASSERT_EQ(kmath_xformPerspective_assign(&b, &a), 0);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  EXPECT_EQ(kmath_xformPerspective_destruct(&b), 0);
}

TEST(KernelPerspective, FourPointsAgreeWithOpenCV) {
  auto const cases = readXformReference("persp4");
  ASSERT_EQ(cases.size(), 4u);
  kmath_vect const square[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  for (auto const& r : cases) {
    Persp h;
    ASSERT_EQ(kmath_xformPerspective_construct4Points(&h, r.to[0], r.to[1], r.to[2], r.to[3]), 0);
    EXPECT_EQ(h.h[8], 1);
    expectSameHomography(h.h, r.numbers, 1e-12);
    for (int i = 0; i < 4; ++i) {
      kmath_vect const q = map(h, square[i]);
      EXPECT_NEAR(q.x, r.to[static_cast<std::size_t>(i)].x, 1e-12 * (1 + std::fabs(q.x))) << i;
      EXPECT_NEAR(q.y, r.to[static_cast<std::size_t>(i)].y, 1e-12 * (1 + std::fabs(q.y))) << i;
    }
  }
}

TEST(KernelPerspective, FourPointsRefuseCollinearOrCoincidentCorners) {
  kmath_vect const good[4] = {{10, 20}, {300, 40}, {280, 250}, {30, 200}};
  // Each row moves one corner onto the line through two others.
  struct Row {
    int moved;
    kmath_vect to;
  };
  Row const rows[] = {
      {2, {590, 60}},    // p0, p1, p2 collinear
      {3, {-280, 0}},    // p0, p1, p3
      {3, {145, 135}},   // p0, p2, p3: p3 the midpoint of p0 p2
      {3, {260, 460}},   // p1, p2, p3
      {0, {320, -170}},  // p0 on the line through p1 and p2
      {1, {10, 20}},     // p1 coincides with p0
  };
  for (Row const& row : rows) {
    kmath_vect p[4] = {good[0], good[1], good[2], good[3]};
    p[row.moved] = row.to;
    Persp h;
    EXPECT_EQ(kmath_xformPerspective_construct4Points(&h, p[0], p[1], p[2], p[3]), kmath_singular)
        << row.moved << ": " << row.to.x << "," << row.to.y;
    EXPECT_TRUE(isIdentity(h));
  }
  Persp h;
  double const nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(kmath_xformPerspective_construct4Points(&h, good[0], {nan, 1}, good[2], good[3]), kmath_singular);
  EXPECT_EQ(static_cast<c_UInt32>(kmath_singular), 0x80000582u);
}

// The reference points are single precision (what OpenCV works in): four
// pairs have one exact answer; more pairs agree only to the rounding of the
// images, and OpenCV polishes the geometric error where the kernel stays
// algebraic, so they are compared more loosely.
TEST(KernelPerspective, PointsAgreeWithOpenCVFindHomography) {
  auto const cases = readXformReference("perspn");
  ASSERT_EQ(cases.size(), 3u);
  for (auto const& r : cases) {
    SCOPED_TRACE(r.from.size());
    bool const exact = r.from.size() == 4;
    Persp h;
    ASSERT_EQ(kmath_xformPerspective_constructPoints(&h, r.from.data(), r.to.data(),
                                                     static_cast<c_Int32>(r.from.size())),
              0);
    EXPECT_EQ(h.h[8], 1);
    expectSameHomography(h.h, r.numbers, exact ? 1e-9 : 1e-7);
    for (std::size_t i = 0; i < r.from.size(); ++i) {
      kmath_vect const q = map(h, r.from[i]);
      EXPECT_NEAR(q.x, r.to[i].x, exact ? 1e-9 : 1e-4);
      EXPECT_NEAR(q.y, r.to[i].y, exact ? 1e-9 : 1e-4);
    }
  }
}

TEST(KernelPerspective, FourPointFormsAgree) {
  kmath_vect const square[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  kmath_vect const quad[4] = {{-5, 3}, {7, -2}, {9, 12}, {-8, 10}};
  Persp a, b;
  ASSERT_EQ(kmath_xformPerspective_construct4Points(&a, quad[0], quad[1], quad[2], quad[3]), 0);
  ASSERT_EQ(kmath_xformPerspective_constructPoints(&b, square, quad, 4), 0);
  expectSameHomography(b.h, std::vector<double>(a.h, a.h + 9), 1e-12);
}

TEST(KernelPerspective, PointsRefuseBadCountsAndDegenerateSets) {
  std::vector<kmath_vect> const from = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {5, 3}};
  std::vector<kmath_vect> const to = {{1, 1}, {12, 2}, {11, 13}, {0, 9}, {6, 4}};
  Persp h;
  for (c_Int32 count : {3, 0, -1, -2147483647 - 1}) {
    EXPECT_EQ(kmath_xformPerspective_constructPoints(&h, from.data(), to.data(), count), kmath_badArgument)
        << count;
    EXPECT_TRUE(isIdentity(h));
  }
  auto refuses = [&](std::vector<kmath_vect> const& f, std::vector<kmath_vect> const& t) {
    Persp g;
    EXPECT_EQ(kmath_xformPerspective_constructPoints(&g, f.data(), t.data(), static_cast<c_Int32>(f.size())),
              kmath_singular);
    EXPECT_TRUE(isIdentity(g));
  };
  refuses({{0, 0}, {1, 1}, {2, 2}, {3, 3}, {7, 7}}, to);          // all on one line
  refuses({{0, 0}, {10, 0}, {20, 0}, {0, 10}}, to);               // three of four collinear
  refuses(from, {{2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}});        // every image the same
  refuses(from, {{0, 0}, {1, 2}, {2, 4}, {3, 6}, {4, 8}});        // images on a line: singular map
  refuses({{0, 0}, {10, 0}, {10, std::numeric_limits<double>::infinity()}, {0, 10}, {5, 3}}, to);
  // Many points, one transform: an outlier-free set of 5 is fine.
  EXPECT_EQ(kmath_xformPerspective_constructPoints(&h, from.data(), to.data(), 5), 0);
}

TEST(KernelPerspective, MapPointRefusesTheLineAtInfinity) {
  Persp const h = fromMatrix(kTilted);
  kmath_vect q{-7, -7};
  // 0.01 x + 0.02 y - 1 = 0
  for (kmath_vect p : {kmath_vect{100, 0}, kmath_vect{0, 50}, kmath_vect{20, 40}}) {
    EXPECT_EQ(kmath_xformPerspective_mapPoint(&h, p, &q), kmath_mapsToInfinity);
    EXPECT_EQ(static_cast<c_UInt32>(kmath_xformPerspective_mapPoint(&h, p, &q)), 0x80000583u);
    kmath_xformLinear l{};
    EXPECT_EQ(kmath_xformPerspective_getLinearXform(&h, p, &l), kmath_mapsToInfinity);
  }
  EXPECT_EQ(q.x, -7);  // untouched
  // w is tiny but not zero: the quotient overflows, which is refused too.
  Persp const tiny = fromMatrix({1e300, 0, 0, 0, 1, 0, 1e-300, 0, 0});
  EXPECT_EQ(kmath_xformPerspective_mapPoint(&tiny, {1e-10, 1}, &q), kmath_mapsToInfinity);
  // Off the line the quotient is what it should be.
  q = map(h, {2, 3});
  double const w = 0.01 * 2 + 0.02 * 3 - 1;
  EXPECT_DOUBLE_EQ(q.x, (1.5 * 2 + 0.2 * 3 + 3) / w);
  EXPECT_DOUBLE_EQ(q.y, (-0.1 * 2 + 0.8 * 3 + 7) / w);
}

TEST(KernelPerspective, TangentMapMatchesCentralDifferences) {
  Persp const h = fromMatrix(kTilted);
  for (kmath_vect at : {kmath_vect{0, 0}, kmath_vect{10, -4}, kmath_vect{60, 30}, kmath_vect{-200, 7}}) {
    kmath_xformLinear l{};
    ASSERT_EQ(kmath_xformPerspective_getLinearXform(&h, at, &l), 0);
    kmath_vect const f = map(h, at);
    EXPECT_NEAR(l.matrix.e00 * at.x + l.matrix.e01 * at.y + l.trans.x, f.x, 1e-9 * (1 + std::fabs(f.x)));
    EXPECT_NEAR(l.matrix.e10 * at.x + l.matrix.e11 * at.y + l.trans.y, f.y, 1e-9 * (1 + std::fabs(f.y)));
    double const e = 1e-5;
    kmath_vect const xp = map(h, {at.x + e, at.y}), xm = map(h, {at.x - e, at.y});
    kmath_vect const yp = map(h, {at.x, at.y + e}), ym = map(h, {at.x, at.y - e});
    EXPECT_NEAR(l.matrix.e00, (xp.x - xm.x) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e10, (xp.y - xm.y) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e01, (yp.x - ym.x) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e11, (yp.y - ym.y) / (2 * e), 1e-6);
  }
  // An affine matrix is its own tangent map everywhere.
  Persp const a = fromMatrix({2, 1, 5, -1, 3, 4, 0, 0, 1});
  kmath_xformLinear l{};
  ASSERT_EQ(kmath_xformPerspective_getLinearXform(&a, {123, -45}, &l), 0);
  EXPECT_DOUBLE_EQ(l.matrix.e00, 2);
  EXPECT_DOUBLE_EQ(l.matrix.e01, 1);
  EXPECT_DOUBLE_EQ(l.matrix.e10, -1);
  EXPECT_DOUBLE_EQ(l.matrix.e11, 3);
  EXPECT_NEAR(l.trans.x, 5, 1e-12);
  EXPECT_NEAR(l.trans.y, 4, 1e-12);
}

TEST(KernelPerspective, LinearAndSingularAreExactTests) {
  struct Row {
    std::vector<double> m;
    int linear, singular;
  };
  Row const rows[] = {
      {{1, 0, 0, 0, 1, 0, 0, 0, 1}, 1, 0},
      {{2, 1, 5, -1, 3, 4, 0, 0, 7}, 1, 0},
      {{2, 1, 5, -1, 3, 4, 1e-300, 0, 1}, 0, 0},
      {{2, 1, 5, -1, 3, 4, 0, 0, 0}, 0, 1},   // w = 0 everywhere: neither affine nor regular
      {{1, 2, 3, 2, 4, 6, 0, 0, 1}, 1, 1},    // rows 0 and 1 proportional
      {{1, 2, 3, 4, 5, 6, 5, 7, 9}, 0, 1},    // row 2 = row 0 + row 1
      {{0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 1},
  };
  for (Row const& row : rows) {
    Persp const h = fromMatrix(row.m);
    EXPECT_EQ(kmath_xformPerspective_getIsLinear(&h), row.linear);
    EXPECT_EQ(kmath_xformPerspective_getIsSingular(&h), row.singular);
    Persp inv;
    kmath_xformPerspective_construct(&inv);
    EXPECT_EQ(kmath_xformPerspective_getInverse(&h, &inv), row.singular ? kmath_singular : 0);
    if (row.singular) {
      EXPECT_TRUE(isIdentity(inv));
    }
  }
}

TEST(KernelPerspective, InverseMapsBackInPlaceOrNot) {
  Persp h = fromMatrix(kTilted), inv;
  kmath_xformPerspective_construct(&inv);
  ASSERT_EQ(kmath_xformPerspective_getInverse(&h, &inv), 0);
  for (kmath_vect p : {kmath_vect{0, 0}, kmath_vect{10, -4}, kmath_vect{300, 200}}) {
    kmath_vect const back = map(inv, map(h, p));
    EXPECT_NEAR(back.x, p.x, 1e-10 * (1 + std::fabs(p.x)));
    EXPECT_NEAR(back.y, p.y, 1e-10 * (1 + std::fabs(p.y)));
  }
  // The matrix inverse itself, not a multiple of it.
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      double s = 0;
      for (int k = 0; k < 3; ++k) s += h.h[3 * i + k] * inv.h[3 * k + j];
      EXPECT_NEAR(s, i == j ? 1 : 0, 1e-14);
    }
  ASSERT_EQ(kmath_xformPerspective_getInverse(&h, &h), 0);
  EXPECT_EQ(std::memcmp(&h, &inv, sizeof h), 0);
  // An inverse too large to represent is refused, not returned as infinity.
  Persp const small = fromMatrix({1e-200, 0, 0, 0, 1e-200, 0, 0, 0, 1e-200});
  EXPECT_EQ(kmath_xformPerspective_getInverse(&small, &inv), kmath_singular);
}

TEST(KernelPerspective, PointsRecoverRandomHomographiesWithManyPoints) {
  std::mt19937 rng(31);
  std::uniform_real_distribution<double> u(-1, 1), img(0, 1000);
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<double> m = {1 + 0.2 * u(rng), 0.2 * u(rng), 50 * u(rng), 0.2 * u(rng), 1 + 0.2 * u(rng),
                             50 * u(rng),      2e-4 * u(rng), 2e-4 * u(rng), 1};
    Persp const truth = fromMatrix(m);
    std::vector<kmath_vect> from, to;
    for (int i = 0; i < 4 + trial * 5; ++i) {
      from.push_back({img(rng), img(rng)});
      to.push_back(map(truth, from.back()));
    }
    Persp h;
    ASSERT_EQ(kmath_xformPerspective_constructPoints(&h, from.data(), to.data(), static_cast<c_Int32>(from.size())),
              0);
    expectSameHomography(h.h, m, 1e-9);
  }
}

}  // namespace
