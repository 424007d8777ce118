#include "orvstd/math/polynomial_root_finder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <string>
#include <vector>

#include "orvstd/math/testing/reference_lines.h"

namespace {

// One line of testdata/roots_reference.txt (testdata/gen_roots.py, numpy).
struct ReferenceCase {
  std::string kind;
  std::vector<double> coefficients;
  double low = 0, high = 0;     // real only
  std::vector<double> numbers;  // real: roots; else re, im pairs
};

std::vector<ReferenceCase> readReference(std::string const& kind) {
  std::vector<ReferenceCase> cases;
  for (ReferenceLine const& line : readReferenceLines("roots_reference.txt", kind)) {
    ReferenceCase c;
    c.kind = kind;
    c.coefficients = line.coefficients;
    auto numbers = line.rest.begin();
    if (kind == "real") {
      c.low = *numbers++;
      c.high = *numbers++;
    }
    ++numbers;  // their count
    c.numbers.assign(numbers, line.rest.end());
    cases.push_back(c);
  }
  return cases;
}

TEST(RealPolynomialRoots, AgreeWithNumpyOnSimpleRoots) {
  auto const cases = readReference("real");
  ASSERT_EQ(cases.size(), 9u);
  for (auto const& c : cases) {
    SCOPED_TRACE(describe(c.coefficients));
    std::vector<double> roots{99.0};  // cleared first
    cfCompRealPolynomialRoots(c.coefficients, c.low, c.high, 1e-10, roots);
    ASSERT_EQ(roots.size(), c.numbers.size()) << describe(roots);
    for (std::size_t i = 0; i < roots.size(); ++i) EXPECT_NEAR(roots[i], c.numbers[i], 1e-9);
  }
}

TEST(RealPolynomialRoots, NegligibleLeadingTermsAreDropped) {
  // numpy keeps the 1e-9 x^4 term and finds +-1.999999996 and two roots
  // near +-31623; the search drops it and solves x^2 - 4.
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1e-9, 0, 1, 0, -4}, -3, 3, 1e-12, roots);
  ASSERT_EQ(roots.size(), 2u);
  EXPECT_NEAR(roots[0], -2, 1e-12);
  EXPECT_NEAR(roots[1], 2, 1e-12);
}

TEST(RealPolynomialRoots, DegenerateCoefficients) {
  struct Case {
    std::vector<double> coefficients;
    std::vector<double> expected;
  } const cases[] = {
      {{1e-9, -9e-9}, {2.0}},  // all negligible: the middle of [0, 4]
      {{}, {2.0}},
      {{0, 0, 5}, {}},         // a nonzero constant
      {{3}, {}},
      {{1e-9, 3}, {}},
      {{0, 2, -2}, {1.0}},     // linear after dropping
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(describe(c.coefficients));
    std::vector<double> roots{-1};
    cfCompRealPolynomialRoots(c.coefficients, 0, 4, 1e-12, roots);
    ASSERT_EQ(roots.size(), c.expected.size());
    for (std::size_t i = 0; i < roots.size(); ++i) EXPECT_NEAR(roots[i], c.expected[i], 1e-12);
  }
}

TEST(RealPolynomialRoots, ADoubleRootComesBackOnce) {
  // numpy lists (x - 1)^2 as 1, 1. The chain of a polynomial with a repeated
  // root ends in a zero remainder; the changes still drop by 2 across x = 1,
  // but the narrow interval there yields one root.
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1, -2, 1}, 0, 3, 1e-9, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], 1, 1e-9);
}

TEST(RealPolynomialRoots, RootsCloserThanToleranceMerge) {
  // (x - 1)(x - 1.0000001) with tolerance 1e-6: one root between the two.
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1, -2.0000001, 1.0000001}, -5, 5, 1e-6, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], 1.00000005, 1e-6);
  // With a finer tolerance both are found, as well as doubles allow: near
  // the pair p(x) is about 1e-7 * |x - root| while evaluating it rounds by
  // some 4 * 2.2e-16, so a root is fixed only to about 1e-8.
  cfCompRealPolynomialRoots({1, -2.0000001, 1.0000001}, -5, 5, 1e-10, roots);
  ASSERT_EQ(roots.size(), 2u);
  EXPECT_NEAR(roots[0], 1, 1e-8);
  EXPECT_NEAR(roots[1], 1.0000001, 1e-8);
}

TEST(RealPolynomialRoots, ARootAtAnEndCountsByTheSignRule) {
  // x^2 - 1: a zero value counts as positive, so at x = 1 the chain reads
  // (+, +, +) like a point beyond the root: [1, 2] holds no root, while
  // [-2, 1] finds both -1 and (just inside) 1.
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1, 0, -1}, 1, 2, 1e-9, roots);
  EXPECT_TRUE(roots.empty());
  cfCompRealPolynomialRoots({1, 0, -1}, -2, 1, 1e-9, roots);
  ASSERT_EQ(roots.size(), 2u);
  EXPECT_NEAR(roots[0], -1, 1e-9);
  EXPECT_NEAR(roots[1], 1, 1e-9);
  // At the lower end, x = -1 reads (+, -, +): two changes, as beyond it.
  cfCompRealPolynomialRoots({1, 0, -1}, -1, 0, 1e-9, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], -1, 1e-9);
}

TEST(RealPolynomialRoots, ANarrowIntervalGivesItsMiddleWithoutASignChange) {
  // A tolerance wider than the interval: the interval is narrow at once.
  // (x - 1)^2 has no sign change between 0.5 and 1.5: the middle, 1.
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1, -2, 1}, 0.5, 1.5, 10, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_EQ(roots[0], 1.0);
  // With a sign change the point comes from the straight line through the
  // ends: x^2 - 1 on [0, 3] gives f = -1/(-1 - 8) = 1/9, so 3/9.
  cfCompRealPolynomialRoots({1, 0, -1}, 0, 3, 10, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_DOUBLE_EQ(roots[0], 1.0 / 3.0);
}

TEST(RealPolynomialRoots, ATinyToleranceStillEnds) {
  std::vector<double> roots;
  cfCompRealPolynomialRoots({1, 0, -2}, 0, 2, 1e-300, roots);
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_NEAR(roots[0], std::sqrt(2.0), 1e-15);
}

TEST(PolynomialRootFinderErrors, BadParamsNumber) {
  EXPECT_EQ(ccPolynomialRootFinder::BadParams().errorNumber(), 0x10006000);
}

// The closed forms ------------------------------------------------------------

using Roots = std::vector<ccVector<2>>;

Roots solve(std::vector<double> const& c) {
  Roots r{ccVector<2>(99, 99)};  // cleared first
  switch (c.size()) {
    case 2: cfCompPolynomialRoots(c[0], c[1], r); break;
    case 3: cfCompPolynomialRoots(c[0], c[1], c[2], r); break;
    case 4: cfCompPolynomialRoots(c[0], c[1], c[2], c[3], r); break;
    case 5: cfCompPolynomialRoots(c[0], c[1], c[2], c[3], c[4], r); break;
  }
  return r;
}

// numpy's roots come sorted; so are ours before comparing.
void expectSameRootsAsNumpy(Roots r, std::vector<double> const& numpy, double tol) {
  ASSERT_EQ(2 * r.size(), numpy.size());
  std::sort(r.begin(), r.end(), [](ccVector<2> const& a, ccVector<2> const& b) {
    return std::round(a.x() * 1e9) != std::round(b.x() * 1e9) ? a.x() < b.x() : a.y() < b.y();
  });
  for (std::size_t i = 0; i < r.size(); ++i) {
    EXPECT_NEAR(r[i].x(), numpy[2 * i], tol) << i;
    EXPECT_NEAR(r[i].y(), numpy[2 * i + 1], tol) << i;
  }
}

TEST(ClosedFormRoots, CubicsAndQuarticsWithRealSquareRootsAgreeWithNumpy) {
  struct Kind {
    char const* name;
    std::size_t count;
    double tolerance;  // the quartic goes through a cubic first
  } const kinds[] = {{"cubic", 8, 1e-9}, {"quartic", 8, 1e-8}};
  for (auto const& kind : kinds) {
    auto const cases = readReference(kind.name);
    ASSERT_EQ(cases.size(), kind.count);
    for (auto const& c : cases) {
      SCOPED_TRACE(describe(c.coefficients));
      expectSameRootsAsNumpy(solve(c.coefficients), c.numbers, kind.tolerance);
    }
  }
}

TEST(ClosedFormRoots, LowDegreesAndTheirOrder) {
  EXPECT_EQ(solve({2, -3}), (Roots{{1.5, 0}}));
  EXPECT_EQ(solve({0, 5}), Roots{});  // no root
  Roots r;
  cfCompPolynomialRoots(0, 0, 5, r);
  EXPECT_TRUE(r.empty());
  EXPECT_EQ(solve({1, -3, 2}), (Roots{{1, 0}, {2, 0}}));      // (-b - s)k first
  EXPECT_EQ(solve({-1, 3, -2}), (Roots{{2, 0}, {1, 0}}));     // k < 0 turns the order
  EXPECT_EQ(solve({1, -2, 1}), (Roots{{1, 0}, {1, 0}}));      // double root twice
  EXPECT_EQ(solve({1, 2, 5}), (Roots{{-1, -2}, {-1, 2}}));    // negative imaginary first
  EXPECT_EQ(solve({0, 1, -2, 1}), (Roots{{1, 0}, {1, 0}}));   // cubic falls through
  EXPECT_EQ(solve({0, 0, 2, -3}), (Roots{{1.5, 0}}));
  EXPECT_EQ(solve({0, 0, 0, 2, -3}), (Roots{{1.5, 0}}));      // quartic, twice down
}

TEST(ClosedFormRoots, CubicBranchesKeepTheirStatedOrder) {
  // D = 0 exactly: x^3 - 3x + 2 = (x - 1)^2 (x + 2). numpy gives 1, 1, -2
  // in some order; the formula gives 2w - t first and the double root twice.
  EXPECT_EQ(solve({1, 0, -3, 2}), (Roots{{-2, 0}, {1, 0}, {1, 0}}));
  // D > 0: the real root first, then the pair with the positive imaginary
  // part: x^3 - 1.
  Roots r = solve({1, 0, 0, -1});
  ASSERT_EQ(r.size(), 3u);
  EXPECT_NEAR(r[0].x(), 1, 1e-15);
  EXPECT_EQ(r[0].y(), 0.0);
  EXPECT_NEAR(r[1].x(), -0.5, 1e-15);
  EXPECT_NEAR(r[1].y(), std::sqrt(0.75), 1e-15);
  EXPECT_EQ(r[2].x(), r[1].x());
  EXPECT_EQ(r[2].y(), -r[1].y());
  // D < 0 with q >= 0: theta = pi - atan2(g, h)/3 is the textbook angle
  // plus a third of a turn, so the same three roots come in another order.
  // x^3 - 7x + 6 = (x - 1)(x - 2)(x + 3).
  r = solve({1, 0, -7, 6});
  ASSERT_EQ(r.size(), 3u);
  EXPECT_NEAR(r[0].x(), -3, 1e-12);
  EXPECT_NEAR(r[1].x(), 2, 1e-12);
  EXPECT_NEAR(r[2].x(), 1, 1e-12);
  // q < 0: x^3 - 7x - 6 = (x + 1)(x + 2)(x - 3).
  r = solve({1, 0, -7, -6});
  EXPECT_NEAR(r[0].x(), 3, 1e-12);
  EXPECT_NEAR(r[1].x(), -1, 1e-12);
  EXPECT_NEAR(r[2].x(), -2, 1e-12);
}

TEST(ClosedFormRoots, QuarticHalfModulusRuleIsKept) {
  // x^4 + 1: numpy gives (+-0.7071, +-0.7071). Here the resolvent
  // y^3 - 4y has roots 2, -2, 0 (some order); both +-2 give |s| = 2 and the
  // earlier wins, whichever sign it is. With s = -2: R = sqrt(2),
  // P = 2, Q = 0, and complexRoot(2, -0) = complexRoot(2, 0) = (1, +-0):
  // half the modulus 2, where the principal root would be sqrt(2). So the
  // real parts come out +-0.5 instead of +-0.7071, imaginary +-R/2.
  Roots r = solve({1, 0, 0, 0, 1});
  ASSERT_EQ(r.size(), 4u);
  double const h = std::sqrt(2.0) / 2;
  Roots const expected{{0.5, h}, {-0.5, h}, {0.5, -h}, {-0.5, -h}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(r[i].x(), expected[i].x(), 1e-15) << i;
    EXPECT_NEAR(r[i].y(), expected[i].y(), 1e-15) << i;
  }
  // The scaled polynomial 3x^4 + 3 is divided down to the same answer.
  EXPECT_EQ(solve({3, 0, 0, 0, 3}), r);
}

// a cos^2 + b sin cos + c sin^2 + d cos + e sin + f at theta.
double sinusoid(std::vector<double> const& k, double theta) {
  double const c = std::cos(theta), s = std::sin(theta);
  return k[0] * c * c + k[1] * s * c + k[2] * s * s + k[3] * c + k[4] * s + k[5];
}

TEST(SinusoidRoots, SolveTheEquation) {
  struct Case {
    std::vector<double> k;
    std::vector<double> expected;  // sorted
  } const cases[] = {
      {{1, 2, 0, 0, 0, -0.5},  // cos 2theta / 2 + sin 2theta = 0
       {(std::atan(-0.5) - M_PI) / 2, std::atan(-0.5) / 2, (std::atan(-0.5) + M_PI) / 2,
        (std::atan(-0.5) + 2 * M_PI) / 2}},
      {{1, 0, -1, 0, 0, 0}, {-3 * M_PI / 4, -M_PI / 4, M_PI / 4, 3 * M_PI / 4}},  // cos^2 = sin^2
      {{0, 0, 0, 0, 1, -0.5}, {M_PI / 6, 5 * M_PI / 6}},       // sin = 1/2
      {{1, 0, 0, 0, 0, -0.25}, {-2 * M_PI / 3, -M_PI / 3, M_PI / 3, 2 * M_PI / 3}},  // cos^2 = 1/4
      {{0, 0, 0, 1, 1, 0}, {-M_PI / 4, 3 * M_PI / 4}},         // cos = -sin
      {{0, 0, 0, 0, 0, 1}, {}},                                // 1 = 0
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(describe(c.k));
    std::vector<double> roots{7};
    cfCompSinusoidRoots(c.k[0], c.k[1], c.k[2], c.k[3], c.k[4], c.k[5], 1e-9, roots);
    for (double theta : roots) {
      EXPECT_GT(theta, -M_PI);
      EXPECT_LT(theta, M_PI);
      EXPECT_NEAR(sinusoid(c.k, theta), 0, 1e-12);
    }
    std::sort(roots.begin(), roots.end());
    ASSERT_EQ(roots.size(), c.expected.size());
    for (std::size_t i = 0; i < roots.size(); ++i) EXPECT_NEAR(roots[i], c.expected[i], 1e-9);
  }
}

TEST(SinusoidRoots, TheQuarticsHalfModulusRuleCanLoseRealRoots) {
  // cos = 1/2 (theta = +-pi/3) becomes -1.5t^4 - t^2 + 0.5 = 0, whose true
  // roots are t = +-0.577 and +-i. The quartic formula takes the s < 0
  // branch there, and complexRoot's half modulus turns every root into
  // +-i/3: none is real, so no angle is reported. numpy would find both.
  std::vector<double> roots{7};
  cfCompSinusoidRoots(0, 0, 0, 1, 0, -0.5, 1e-9, roots);
  EXPECT_TRUE(roots.empty());
  Roots t;
  cfCompPolynomialRoots(-1.5, 0, -1, 0, 0.5, t);
  ASSERT_EQ(t.size(), 4u);
  for (ccVector<2> const& z : t) {
    EXPECT_NEAR(z.x(), 0, 1e-15);
    EXPECT_NEAR(std::fabs(z.y()), 1.0 / 3.0, 1e-7);
  }
}

TEST(SinusoidRoots, HalfATurnIsNotReported) {
  // cos = -1 only at theta = pi, which is t = infinity: the quartic in t has
  // a zero leading coefficient and no root there.
  std::vector<double> roots{7};
  cfCompSinusoidRoots(0, 0, 0, 1, 0, 1, 1e-9, roots);
  EXPECT_TRUE(roots.empty());
}

TEST(SinusoidRoots, ToleranceOnTheImaginaryPartIsStrict) {
  // sin = 1/2 gives -0.5t^4 + 2t^3 - t^2 + 2t - 0.5, whose real roots come
  // with imaginary parts exactly 0: a tolerance of 0 admits nothing, the
  // smallest positive one admits those two.
  std::vector<double> roots;
  cfCompSinusoidRoots(0, 0, 0, 0, 1, -0.5, 0, roots);
  EXPECT_TRUE(roots.empty());
  cfCompSinusoidRoots(0, 0, 0, 0, 1, -0.5, 1e-300, roots);
  EXPECT_EQ(roots.size(), 2u);
}

}  // namespace
