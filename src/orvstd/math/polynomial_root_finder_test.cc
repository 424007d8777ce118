#include "orvstd/math/polynomial_root_finder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// One line of testdata/roots_reference.txt (testdata/gen_roots.py, numpy).
struct ReferenceCase {
  std::string kind;
  std::vector<double> coefficients;
  double low = 0, high = 0;     // real only
  std::vector<double> numbers;  // real: roots; else re, im pairs
};

std::vector<ReferenceCase> readReference(std::string const& kind) {
  std::ifstream in(std::string(ORVSTD_TEST_DATA) + "/roots_reference.txt");
  std::vector<ReferenceCase> cases;
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream f(line);
    ReferenceCase c;
    int n = 0;
    double k = 0;  // written as a float by the script
    f >> c.kind >> n;
    if (c.kind != kind) continue;
    c.coefficients.resize(n);
    for (double& x : c.coefficients) f >> x;
    if (kind == "real") f >> c.low >> c.high;
    f >> k;
    c.numbers.resize(static_cast<std::size_t>(kind == "real" ? k : 2 * k));
    for (double& x : c.numbers) f >> x;
    cases.push_back(c);
  }
  return cases;
}

std::string describe(std::vector<double> const& v) {
  std::ostringstream os;
  os.precision(17);
  for (double x : v) os << x << ' ';
  return os.str();
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

}  // namespace
