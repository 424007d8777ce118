#include "orvstd/math/poly_solve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "orvstd/math/math_error.h"
#include "orvstd/math/nmmatrix.h"
#include "orvstd/math/testing/reference_lines.h"

namespace {

// One line of testdata/poly_solve_reference.txt (gen_poly_solve.py, numpy).
struct ReferenceCase {
  std::vector<double> coefficients;
  std::vector<double> roots;  // real roots, ascending; for "poly" all roots as re, im
};

std::vector<ReferenceCase> readReference(std::string const& kind) {
  std::vector<ReferenceCase> cases;
  for (ReferenceLine const& line : readReferenceLines("poly_solve_reference.txt", kind))
    cases.push_back({line.coefficients, std::vector<double>(line.rest.begin() + 1, line.rest.end())});
  return cases;
}

// Our roots come in formula order; numpy's are sorted. Relative tolerance.
void expectRoots(std::vector<double> ours, std::vector<double> const& reference, double tol) {
  ASSERT_EQ(ours.size(), reference.size()) << describe(ours);
  std::sort(ours.begin(), ours.end());
  for (std::size_t i = 0; i < ours.size(); ++i)
    EXPECT_NEAR(ours[i], reference[i], tol * std::max(1.0, std::fabs(reference[i]))) << i;
}

// Every reported root really is one: the polynomial, highest power first,
// nearly vanishes there relative to the size of its terms.
void expectResidualsSmall(std::vector<double> const& coefficients, std::vector<double> const& roots) {
  for (double x : roots) {
    double value = 0, size = 0;
    for (double c : coefficients) {
      value = value * x + c;
      size = size * std::fabs(x) + std::fabs(c);
    }
    EXPECT_LE(std::fabs(value), 1e-12 * size) << "root " << x;
  }
}

TEST(PolySolveReference, AgreesWithNumpy) {
  auto const quadratics = readReference("quadratic");
  ASSERT_EQ(quadratics.size(), 10u);
  for (auto const& c : quadratics) {
    SCOPED_TRACE(describe(c.coefficients));
    double r1 = 77, r2 = 77;
    int const n = cfSolveQuadratic(c.coefficients[0], c.coefficients[1], c.coefficients[2], &r1, &r2);
    ASSERT_EQ(n, static_cast<int>(c.roots.size()));
    if (n == 0) {
      EXPECT_EQ(r1, 77);  // left alone
      EXPECT_EQ(r2, 77);
    } else {
      expectRoots({r1, r2}, c.roots, 1e-13);
    }
  }
  auto const cubics = readReference("cubic");
  ASSERT_EQ(cubics.size(), 11u);
  for (auto const& c : cubics) {
    SCOPED_TRACE(describe(c.coefficients));
    std::vector<double> r(5, 77.0);
    int const n = cfSolveCubic(c.coefficients[0], c.coefficients[1], c.coefficients[2], r);
    EXPECT_EQ(static_cast<std::size_t>(n), r.size());
    // The trigonometric form loses the small roots against a large a/3.
    expectRoots(r, c.roots, 1e-14 * std::max(100.0, std::fabs(c.coefficients[0])));
    expectResidualsSmall({1, c.coefficients[0], c.coefficients[1], c.coefficients[2]}, r);
  }
  auto const quartics = readReference("quartic");
  ASSERT_EQ(quartics.size(), 12u);
  for (auto const& c : quartics) {
    SCOPED_TRACE(describe(c.coefficients));
    auto const& k = c.coefficients;
    std::vector<double> r(7, 77.0);
    int const n = cfSolveQuartic(k[0], k[1], k[2], k[3], r);
    EXPECT_EQ(static_cast<std::size_t>(n), r.size());
    expectRoots(r, c.roots, 1e-9);  // through the resolvent cubic first
    // Scaled by a leading coefficient and given to the degree dispatcher.
    std::vector<double> s;
    EXPECT_EQ(cfSolveMaxDegreeQuartic(-2, -2 * k[0], -2 * k[1], -2 * k[2], -2 * k[3], s), n);
    expectRoots(s, c.roots, 1e-9);
  }
}

TEST(SolveQuadratic, StatedRules) {
  double r1 = 5, r2 = 6;
  EXPECT_THROW(cfSolveQuadratic(0, 0, 1, &r1, &r2), ccMathError::Singular);
  EXPECT_THROW(cfSolveQuadratic(0, 0, 0, &r1, &r2), ccMathError::Singular);
  struct Case {
    double a, b, c;
    int count;
    double r1, r2;
  } const cases[] = {
      {0, 4, -2, 1, 0.5, 0.5},   // linear: one root, in both outputs
      {1, -2, 1, 1, 1, 1},       // a double root counts once, fills both
      {1, 3, 2, 2, -1, -2},      // b >= 0: r1 = c/q, r2 = q/a
      {1, -3, 2, 2, 2, 1},       // b < 0: r1 = q/a, r2 = c/q
  };
  for (Case const& c : cases) {
    EXPECT_EQ(cfSolveQuadratic(c.a, c.b, c.c, &r1, &r2), c.count);
    EXPECT_EQ(r1, c.r1);
    EXPECT_EQ(r2, c.r2);
  }
}

TEST(SolveQuadratic, SlightlyNegativeDiscriminantIsADoubleRoot) {
  // x^2 + 2x + c: disc = 4 - 4c exactly; the threshold is
  // 100 * 4c * 2.22e-16, about 8.9e-14.
  struct Case {
    double c;
    int count;
  } const cases[] = {
      {1 + 1e-14, 1},   // disc about -4.4e-14: inside the threshold
      {1 + 2e-14, 1},   // about -8.4e-14
      {1 + 3e-14, 0},   // about -1.2e-13: beyond it
      {1 + 1e-12, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.c);
    double r1 = 9, r2 = 9;
    ASSERT_EQ(cfSolveQuadratic(1, 2, c.c, &r1, &r2), c.count);
    EXPECT_EQ(r1, c.count ? -1.0 : 9.0);
    EXPECT_EQ(r2, c.count ? -1.0 : 9.0);
  }
}

TEST(SolveCubic, StatedRules) {
  std::vector<double> r{1, 2, 3, 4};
  EXPECT_EQ(cfSolveCubic(0, 0, 0, r), 3);
  ASSERT_EQ(r.size(), 3u);
  for (double x : r) EXPECT_EQ(x, 0.0);
  // (x - 1)^2 (x - 2): the single root first, then the double one twice.
  EXPECT_EQ(cfSolveCubic(-4, 5, -2, r), 3);
  ASSERT_EQ(r.size(), 3u);
  EXPECT_NEAR(r[0], 2, 1e-12);
  EXPECT_NEAR(r[1], 1, 1e-12);
  EXPECT_EQ(r[1], r[2]);
  // (x + 3)^2 (x - 1): R < 0, so s < 0.
  EXPECT_EQ(cfSolveCubic(5, 3, -9, r), 3);
  EXPECT_NEAR(r[0], 1, 1e-12);
  EXPECT_NEAR(r[1], -3, 1e-12);
  EXPECT_EQ(r[1], r[2]);
  // (x - 1)^2 (x + 2): Q = R = 1 exactly, s = 1.
  EXPECT_EQ(cfSolveCubic(0, -3, 2, r), 3);
  EXPECT_EQ(r, (std::vector<double>{-2, 1, 1}));
  // Three distinct roots in the trigonometric order: (x-1)(x-2)(x-3) has
  // R = 0, theta = pi/2, so 1, 3, 2.
  EXPECT_EQ(cfSolveCubic(-6, 11, -6, r), 3);
  EXPECT_NEAR(r[0], 1, 1e-14);
  EXPECT_NEAR(r[1], 3, 1e-14);
  EXPECT_NEAR(r[2], 2, 1e-14);
  // One real root shrinks the vector.
  EXPECT_EQ(cfSolveCubic(0, 0, -8, r), 1);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_NEAR(r[0], 2, 1e-15);
}

TEST(SolveQuartic, StatedRules) {
  struct Case {
    double a, b, c, d;
    std::vector<double> roots;  // exactly, in this order
  } const cases[] = {
      // x^4 + d, d < 0: the shortcut reports the positive root alone.
      {0, 0, 0, -16, {2}},
      {0, 0, 0, -1, {1}},
      {0, 0, 0, 16, {}},
      // An exactly zero D2 and E2 pass neither "> -|other|·1e-14" test, so
      // a fourfold root is not reported: x^4 and (x - 1)^4.
      {0, 0, 0, 0, {}},
      {-4, 6, -4, 1, {}},
      // x^4 - 5x^2 + 4: resolvent roots 4, -4, -5; y = 4 gives R = 3 and
      // D = E = 1, so 2, 1, -2, -1.
      {0, -5, 0, 4, {2, 1, -2, -1}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(describe({c.a, c.b, c.c, c.d}));
    std::vector<double> r{7};
    EXPECT_EQ(cfSolveQuartic(c.a, c.b, c.c, c.d, r), static_cast<int>(c.roots.size()));
    EXPECT_EQ(r, c.roots);
  }
}

TEST(SolveQuartic, DoubleRootsAreListedTwice) {
  struct Case {
    std::vector<double> c;         // a, b, c, d
    std::vector<double> expected;  // ascending
  } const cases[] = {
      {{2, -3, -4, 4}, {-2, -2, 1, 1}},         // (x - 1)^2 (x + 2)^2
      {{-2, -3, 4, 4}, {-1, -1, 2, 2}},         // (x + 1)^2 (x - 2)^2
      {{-3, 1, 3, -2}, {-1, 1, 1, 2}},          // (x - 1)^2 (x + 1)(x - 2)
      {{0, -2, 0, 1}, {-1, -1, 1, 1}},          // (x^2 - 1)^2
      {{-2, 2, -2, 1}, {1, 1}},                 // (x - 1)^2 (x^2 + 1)
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(describe(c.c));
    std::vector<double> r;
    ASSERT_EQ(cfSolveQuartic(c.c[0], c.c[1], c.c[2], c.c[3], r), static_cast<int>(c.expected.size()));
    expectRoots(r, c.expected, 1e-7);  // a double root is only good to about sqrt(eps)
  }
}

TEST(FindMinQuartic, LeastMagnitudeEarlierOnATie) {
  double x = 42;
  EXPECT_EQ(cfFindMinQuartic(0, 0, 0, 16, &x), 0);
  EXPECT_EQ(x, 42.0);  // untouched
  EXPECT_EQ(cfFindMinQuartic(2, 3, 2, 1, &x), 0);  // (x^2 + x + 1)^2
  EXPECT_EQ(x, 42.0);
  // 2, 1, -2, -1 (see above): 1 and -1 tie, 1 comes first.
  EXPECT_EQ(cfFindMinQuartic(0, -5, 0, 4, &x), 1);
  EXPECT_EQ(x, 1.0);
  // (x - 1)(x - 2)(x - 3)(x + 0.5): -0.5.
  EXPECT_EQ(cfFindMinQuartic(-5.5, 8, -0.5, -3, &x), 1);
  EXPECT_NEAR(x, -0.5, 1e-12);
}

TEST(SolveMaxDegreeQuartic, DegreeFromTheLeadingCoefficientsAboveTheLimit) {
  struct Case {
    double a, b, c, d, e;
    int count;
    std::vector<double> r;  // all of r, ascending
  } const cases[] = {
      {0, 0, 0, 0, 0, 0, {}},  // no degree
      {0, 0, 0, 0, 3, 0, {}},  // a constant
      {0, 0, 0, 2, -5, 1, {2.5}},
      {0, 0, 1, 0, 1, 0, {0, 0}},  // a quadratic leaves two entries
      {0, 0, 1, -2, 1, 1, {1, 1}},
      // Leading terms up to 1e-12 of the largest coefficient are dropped.
      {3e-13, -3e-13, 1, -3, 2, 2, {1, 2}},
      {0, 0, 5e-13, 1, -1, 1, {1}},
      {0, 0, 5e-12, 1, -1, 2, {-2e11 - 1, 1}},
      {0, 2, -12, 22, -12, 3, {1, 2, 3}},
      {0, 0, 1e-100, -3e-100, 2e-100, 2, {1, 2}},  // the limit is relative
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(describe({c.a, c.b, c.c, c.d, c.e}));
    std::vector<double> r{99};
    EXPECT_EQ(cfSolveMaxDegreeQuartic(c.a, c.b, c.c, c.d, c.e, r), c.count);
    expectRoots(r, c.r, 1e-11);
  }
}

// Sorts (re, im) pairs the way the generator does.
std::vector<std::pair<double, double>> sortedPairs(std::vector<double> const& re, std::vector<double> const& im) {
  std::vector<std::pair<double, double>> z;
  for (std::size_t i = 0; i < re.size(); ++i) z.emplace_back(re[i], im[i]);
  std::sort(z.begin(), z.end(), [](auto const& a, auto const& b) {
    double const ra = std::round(a.first * 1e9), rb = std::round(b.first * 1e9);
    return ra != rb ? ra < rb : a.second < b.second;
  });
  return z;
}

TEST(SolvePolynomial, CompanionEigenvaluesAgreeWithNumpy) {
  auto const cases = readReference("poly");
  ASSERT_EQ(cases.size(), 9u);
  for (auto const& c : cases) {
    SCOPED_TRACE(describe(c.coefficients));
    std::vector<double> re{1, 2}, im;
    int const real = cfSolvePolynomial(c.coefficients, re, im);
    std::size_t const n = c.coefficients.size();
    ASSERT_EQ(re.size(), n);
    ASSERT_EQ(im.size(), n);
    ASSERT_EQ(c.roots.size(), 2 * n);
    // The real roots lead, the complex ones follow.
    int expectedReal = 0;
    for (std::size_t i = 0; i < n; ++i) expectedReal += c.roots[2 * i + 1] == 0;
    EXPECT_EQ(real, expectedReal);
    for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(std::fabs(im[i]) < 1e-14, static_cast<int>(i) < real) << i;
    auto const ours = sortedPairs(re, im);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_NEAR(ours[i].first, c.roots[2 * i], 1e-9) << i;
      EXPECT_NEAR(ours[i].second, c.roots[2 * i + 1], 1e-9) << i;
    }
  }
}

TEST(SolvePolynomial, RealRootsMoveForwardInTheOrderFound) {
  // (x - 3)(x^2 + 1)(x + 0.5)(x^2 + 2x + 5)(x - 1): negated coefficients of
  // the monic product, lowest power first.
  std::vector<double> const c{-7.5, -8.0, 6.5, -7.0, 15.5, 0.0, 1.5};
  ccNMMatrix companion(7, 7, 0.0);
  for (int i = 0; i < 6; ++i) companion[i][i + 1] = 1;
  for (int j = 0; j < 7; ++j) companion[6][j] = c[static_cast<std::size_t>(j)];
  std::vector<double> foundRe, foundIm;
  companion.eigenvalues(false, foundRe, foundIm);
  std::vector<double> realFound;
  for (std::size_t i = 0; i < foundRe.size(); ++i)
    if (std::fabs(foundIm[i]) < 1e-14) realFound.push_back(foundRe[i]);

  std::vector<double> re, im;
  ASSERT_EQ(cfSolvePolynomial(c, re, im), 3);
  EXPECT_EQ(std::vector<double>(re.begin(), re.begin() + 3), realFound);
  expectRoots(realFound, {-0.5, 1, 3}, 1e-12);
  // The complex roots are the rest, as found.
  EXPECT_EQ(sortedPairs(re, im), sortedPairs(foundRe, foundIm));

  // Degenerate sizes: nothing, and the 1-by-1 matrix [c0].
  re = {1};
  im = {1};
  EXPECT_EQ(cfSolvePolynomial({}, re, im), 0);
  EXPECT_TRUE(re.empty());
  EXPECT_TRUE(im.empty());
  EXPECT_EQ(cfSolvePolynomial({-4.5}, re, im), 1);
  EXPECT_EQ(re, (std::vector<double>{-4.5}));
  EXPECT_THROW(cfSolvePolynomial({1, std::nan(""), 2}, re, im), ccNMMatrix::unstableErr);
}

}  // namespace
