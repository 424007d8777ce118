// ccNMMatrix decompositions and the solvers on top of them, against numpy
// (testdata/gen_nmmatrix.py) and against the properties that define them:
// reconstruction, orthogonality, the damping rule of the pseudoinverse,
// the condition limit of solve, the constrained minimum.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "orvstd/math/nmmatrix.h"
#include "orvstd/math/testing/nmmatrix_helpers.h"
#include "orvstd/math/testing/nmmatrix_reference.h"

// The private entry points of the older fitters.
struct cc_NMMatrixPrivate {
  static ccNMMatrix solve2(ccNMMatrix const& a, ccNMMatrix const& b, bool symmetric, double& cond, double limit) {
    return ccNMMatrix::solve2_(a, b, symmetric, cond, limit);
  }
  static ccNMMatrix constraint2(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c, ccNMMatrix const& e,
                                double condNumber) {
    return ccNMMatrix::constraintMinimization2_(a, x0, c, e, condNumber);
  }
  static ccNMMatrix oldConstraint(ccNMMatrix const& a, ccNMMatrix const& x0, ccNMMatrix const& c,
                                  ccNMMatrix const& e, double condNumber) {
    return ccNMMatrix::oldConstraintMinimization_(a, x0, c, e, condNumber);
  }
};

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();

// The least singular value carries an error of about eps·smax, so the
// condition number one of about eps·cond, relatively.
double condTolerance(LinearCase const& c) { return 64 * kEps * c.cond; }

std::vector<double> diagonalOf(ccNMMatrix const& w) {
  std::vector<double> d;
  for (int i = 0; i < std::min(w.rows(), w.cols()); ++i) d.push_back(w.element(i, i));
  return d;
}

std::vector<double> descending(std::vector<double> v) {
  std::sort(v.begin(), v.end(), std::greater<>());
  return v;
}

// Decomposition -------------------------------------------------------------------------------

void checkDecomposition(ccNMMatrix const& a, std::vector<double> const& wantSingular) {
  ccNMMatrix u, w, v;
  a.decompose(u, w, v);
  int const cols = a.cols();
  ASSERT_TRUE(u.isSizeEqual(a.rows(), cols));
  ASSERT_TRUE(w.isSizeEqual(cols, cols));
  ASSERT_TRUE(v.isSizeEqual(cols, cols));
  // W is diagonal with the singular values, none negative.
  std::vector<double> const s = diagonalOf(w);
  for (int i = 0; i < cols; ++i)
    for (int j = 0; j < cols; ++j)
      if (i != j) {
        EXPECT_EQ(w.element(i, j), 0.0);
      }
  double const smax = maxAbs(wantSingular);
  for (double x : s) EXPECT_GE(x, 0.0);
  std::vector<double> const got = descending(s);
  ASSERT_EQ(got.size(), wantSingular.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], wantSingular[i], 64 * kEps * std::max(smax, 1.0));
  // A = U·W·Vᵀ; V orthogonal; the columns of U that belong to a non-zero
  // singular value orthonormal.
  double const tol = 64 * kEps * std::max(smax, 1.0);
  EXPECT_TRUE(sameElements(u * w.multiplyT(v), a, tol));
  EXPECT_TRUE(sameElements(v.square(), ccNMMatrix::I(cols), 64 * kEps));
  ccNMMatrix const uTu = u.square();
  for (int i = 0; i < cols; ++i)
    for (int j = 0; j < cols; ++j)
      if (s[static_cast<std::size_t>(i)] > 1e-10 * smax && s[static_cast<std::size_t>(j)] > 1e-10 * smax) {
        EXPECT_NEAR(uTu.element(i, j), i == j ? 1.0 : 0.0, 64 * kEps) << i << ", " << j;
      }
}

TEST(NMMatrixDecompose, TallSquareWidePaddedRankDeficientAndOneByOne) {
  for (SvdCase const& c : kSvdCases) {
    SCOPED_TRACE(c.name);
    checkDecomposition(nmMatrix(c.rows, c.cols, c.a), c.singular);
  }
}

TEST(NMMatrixDecompose, ZeroAndEmptyMatrices) {
  {
    SCOPED_TRACE("zero 3x2");
    checkDecomposition(ccNMMatrix(3, 2, 0.0), {0, 0});
  }
  {
    SCOPED_TRACE("zero 2x3, padded");
    checkDecomposition(ccNMMatrix(2, 3, 0.0), {0, 0, 0});
  }
  ccNMMatrix u(1, 1, 5.0), w(1, 1, 5.0), v(1, 1, 5.0);
  ccNMMatrix(3, 0).decompose(u, w, v);
  EXPECT_TRUE(u.isSizeEqual(3, 0));
  EXPECT_TRUE(w.isSizeEqual(0, 0));
  EXPECT_TRUE(v.isSizeEqual(0, 0));
  ccNMMatrix(0, 2).decompose(u, w, v);
  EXPECT_TRUE(u.isSizeEqual(0, 2));
  EXPECT_TRUE(sameElements(w, ccNMMatrix(2, 2, 0.0)));
  EXPECT_TRUE(v.isSizeEqual(2, 2));
}

TEST(NMMatrixDecompose, NonFiniteEntriesRaiseUnstableErrAndLeaveOutputsAlone) {
  for (double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(bad);
    ccNMMatrix const a = nmMatrix(2, 2, {1, bad, bad, 3});
    ccNMMatrix u(1, 1, 5.0), w(1, 1, 5.0), v(1, 1, 5.0);
    EXPECT_THROW(a.decompose(u, w, v), ccNMMatrix::unstableErr);
    EXPECT_TRUE(sameElements(u, ccNMMatrix(1, 1, 5.0)) && sameElements(w, u) && sameElements(v, u));
    std::vector<double> re{1}, im{2};
    EXPECT_THROW(a.eigenvalues(true, re, im, v), ccNMMatrix::unstableErr);
    EXPECT_THROW(a.eigenvalues(false, re, im), ccNMMatrix::unstableErr);
    EXPECT_EQ(re, std::vector<double>{1});
    EXPECT_EQ(im, std::vector<double>{2});
    EXPECT_TRUE(sameElements(v, ccNMMatrix(1, 1, 5.0)));
    EXPECT_THROW(a.conditionNumber(false), ccNMMatrix::unstableErr);
    EXPECT_THROW(a.conditionNumber(true), ccNMMatrix::unstableErr);
    EXPECT_THROW(a.pseudoinverse(1e12), ccNMMatrix::unstableErr);
    double cond = -1;
    EXPECT_THROW(ccNMMatrix::solve(a, ccNMMatrix(2, 1, 1.0), false, cond, 1e300), ccNMMatrix::unstableErr);
  }
}

TEST(NMMatrixDecompose, AnOutputMayBeTheMatrixItself) {
  SvdCase const& c = kSvdCases[0];
  ccNMMatrix a = nmMatrix(c.rows, c.cols, c.a);
  ccNMMatrix const original(a);
  ccNMMatrix w, v;
  a.decompose(a, w, v);
  EXPECT_TRUE(sameElements(a * w.multiplyT(v), original, 1e-13));
}

// Condition numbers ---------------------------------------------------------------------------

TEST(NMMatrixCondition, RatioOfExtremeValuesOrTheCeiling) {
  for (LinearCase const& c : kLinearCases) {
    SCOPED_TRACE(c.name);
    ccNMMatrix const a = nmMatrix(c.n, c.n, c.a);
    double const tol = condTolerance(c);
    EXPECT_NEAR(a.conditionNumber(false) / c.cond, 1.0, tol);
    if (c.symmetric) {
      EXPECT_NEAR(a.conditionNumber(true) / c.cond, 1.0, tol);
    }
  }
  EXPECT_EQ(ccNMMatrix(3, 3, 0.0).conditionNumber(false), 1e28);
  EXPECT_EQ(ccNMMatrix(3, 3, 0.0).conditionNumber(true), 1e28);
  EXPECT_EQ(ccNMMatrix().conditionNumber(false), 1e28);
  // The greatest value must reach 1e-14: diagonal matrices decompose exactly.
  EXPECT_EQ(nmMatrix(2, 2, {0.5e-14, 0, 0, 1e-14}).conditionNumber(true), 2.0);
  EXPECT_EQ(nmMatrix(2, 2, {0.5e-14, 0, 0, 0.99e-14}).conditionNumber(true), 1e28);
  EXPECT_EQ(nmMatrix(2, 2, {-4, 0, 0, 0.5}).conditionNumber(true), 8.0);
  EXPECT_THROW(ccNMMatrix(2, 3).conditionNumber(true), ccNMMatrix::sizeErr);
  // Not symmetric: any shape, through the singular values.
  SvdCase const& tall = kSvdCases[0];
  EXPECT_NEAR(nmMatrix(tall.rows, tall.cols, tall.a).conditionNumber(false),
              tall.singular.front() / tall.singular.back(), 1e-12);
}

// Eigenvalues ---------------------------------------------------------------------------------

std::vector<std::pair<double, double>> sortedPairs(std::vector<double> const& re, std::vector<double> const& im) {
  std::vector<std::pair<double, double>> z;
  for (std::size_t i = 0; i < re.size(); ++i) z.emplace_back(re[i], im[i]);
  std::sort(z.begin(), z.end(), [](auto const& p, auto const& q) {
    if (std::fabs(p.first - q.first) > 1e-9) return p.first < q.first;
    return p.second < q.second;
  });
  return z;
}

TEST(NMMatrixEigen, AgreeWithNumpy) {
  for (EigenCase const& c : kEigenCases) {
    SCOPED_TRACE(c.name);
    ccNMMatrix const a = nmMatrix(c.n, c.n, c.a);
    std::vector<double> re{42}, im{42};
    a.eigenvalues(c.symmetric, re, im);
    ASSERT_EQ(re.size(), static_cast<std::size_t>(c.n));
    ASSERT_EQ(im.size(), static_cast<std::size_t>(c.n));
    if (c.symmetric) {
      for (double x : im) EXPECT_EQ(x, 0.0);
    }
    auto const got = sortedPairs(re, im);
    double const tol = 1e-12 * std::max(1.0, maxAbs(c.re) + maxAbs(c.im));
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_NEAR(got[i].first, c.re[i], tol) << i;
      EXPECT_NEAR(got[i].second, c.im[i], tol) << i;
    }
  }
}

TEST(NMMatrixEigen, SymmetricVectorsAreOrthonormalEigenvectors) {
  for (EigenCase const& c : kEigenCases) {
    if (!c.symmetric) continue;
    SCOPED_TRACE(c.name);
    ccNMMatrix const a = nmMatrix(c.n, c.n, c.a);
    std::vector<double> re, im;
    ccNMMatrix vectors;
    a.eigenvalues(true, re, im, vectors);
    ASSERT_TRUE(vectors.isSizeEqual(c.n, c.n));
    EXPECT_TRUE(sameElements(vectors.square(), ccNMMatrix::I(c.n), 1e-13));
    ccNMMatrix lambda(c.n, c.n, 0.0);
    for (int i = 0; i < c.n; ++i) lambda.element(i, i, re[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(sameElements(a * vectors, vectors * lambda, 1e-12 * maxAbs(c.re)));
    std::vector<double> values;
    double const cond = a.symEigenvaluesAndConditionNumber(values);
    EXPECT_EQ(descending(values), descending(re));
    EXPECT_EQ(cond, a.conditionNumber(true));
  }
}

TEST(NMMatrixEigen, GeneralFormLeavesVectorsAloneAndShapesAreChecked) {
  EigenCase const& c = kEigenCases[2];  // rotationLike3: ±2i and 5
  ccNMMatrix const a = nmMatrix(c.n, c.n, c.a);
  std::vector<double> re, im;
  ccNMMatrix vectors(2, 5, 7.0);
  a.eigenvalues(false, re, im, vectors);
  EXPECT_TRUE(sameElements(vectors, ccNMMatrix(2, 5, 7.0)));
  // A complex pair: adjacent, positive imaginary part first.
  int pairs = 0;
  for (std::size_t i = 0; i < im.size(); ++i)
    if (im[i] > 0) {
      ASSERT_LT(i + 1, im.size());
      EXPECT_NEAR(im[i + 1], -im[i], 1e-12);
      EXPECT_NEAR(re[i + 1], re[i], 1e-12);
      ++pairs;
    }
  EXPECT_EQ(pairs, 1);

  ccNMMatrix const wide(2, 3, 1.0);
  EXPECT_THROW(wide.eigenvalues(true, re, im), ccNMMatrix::sizeErr);
  EXPECT_THROW(wide.eigenvalues(false, re, im), ccNMMatrix::sizeErr);
  EXPECT_THROW(wide.eigenvalues(true, re, im, vectors), ccNMMatrix::sizeErr);
  EXPECT_THROW(wide.eigenvalues(false, re, im, vectors), ccNMMatrix::sizeErr);
  EXPECT_THROW(wide.symEigenvaluesAndConditionNumber(re), ccNMMatrix::sizeErr);
  ccNMMatrix().eigenvalues(false, re, im);
  EXPECT_TRUE(re.empty() && im.empty());
}

// Pseudoinverse -------------------------------------------------------------------------------

TEST(NMMatrixPseudoinverse, DampedAsNumpyWithTheSameRule) {
  for (SvdCase const& c : kSvdCases) {
    ccNMMatrix const a = nmMatrix(c.rows, c.cols, c.a);
    double const smax = c.singular.front();
    bool const deficient = c.singular.back() < 1e-10 * smax;
    for (PinvAt const& at : c.pinv) {
      SCOPED_TRACE(::testing::Message() << c.name << " at " << at.cond);
      // A singular value at rounding level is damped to about eps·smax/s0²,
      // which differs between any two SVD codes.
      double const s0 = smax / std::sqrt(at.cond);
      double const tol = 1e-12 * std::max(1.0, maxAbs(at.p)) + (deficient ? 64 * kEps * smax / (s0 * s0) : 0);
      EXPECT_TRUE(sameElements(a.pseudoinverse(at.cond), nmMatrix(at.rows, at.cols, at.p), tol));
    }
  }
}

TEST(NMMatrixPseudoinverse, SmallValuesAreDampedNotCut) {
  // Singular values 4 and 1 at condNumber 4: s0 = 2. 4 inverts to 1/4;
  // 1 is damped to 1/s0² = 1/4 (cutting would give 0, inverting 1).
  ccNMMatrix const p = nmMatrix(2, 2, {4, 0, 0, 1}).pseudoinverse(4);
  EXPECT_TRUE(sameElements(p, nmMatrix(2, 2, {0.25, 0, 0, 0.25}), 1e-15));
  // Just above the threshold every value is inverted.
  EXPECT_TRUE(sameElements(nmMatrix(2, 2, {4, 0, 0, 1}).pseudoinverse(16.5), nmMatrix(2, 2, {0.25, 0, 0, 1}), 1e-15));
}

TEST(NMMatrixPseudoinverse, TinyMatricesComeBackAsThemselves) {
  // s0 = smax/√condNumber below 1e-9: the matrix itself, shape and all.
  ccNMMatrix const tiny(2, 3, 1e-12);
  EXPECT_TRUE(sameElements(tiny.pseudoinverse(1e4), tiny));
  EXPECT_TRUE(sameElements(ccNMMatrix(3, 2, 0.0).pseudoinverse(1e12), ccNMMatrix(3, 2, 0.0)));
  EXPECT_TRUE(sameElements(nmMatrix(1, 1, {0.99e-9}).pseudoinverse(1), nmMatrix(1, 1, {0.99e-9})));
  EXPECT_TRUE(sameElements(nmMatrix(1, 1, {1.01e-9}).pseudoinverse(1), nmMatrix(1, 1, {1 / 1.01e-9}), 1e-6));
  // A larger condition number lowers s0 below the limit too.
  EXPECT_TRUE(sameElements(nmMatrix(1, 1, {1e-3}).pseudoinverse(1e13), nmMatrix(1, 1, {1e-3})));
}

TEST(NMMatrixPseudoinverse, MinimalInverseAndPseudoSolve) {
  ccNMMatrix const a = nmMatrix(2, 4, {1, 2, 0, -1, 0, 1, 3, 2});
  ccNMMatrix const b = nmMatrix(4, 2, {1, 0, 0, 1, 2, 1, -1, 1});
  ccNMMatrix const mi = a.minimalInverse(b, 1e12);
  ASSERT_TRUE(mi.isSizeEqual(4, 2));
  EXPECT_TRUE(sameElements(a * mi, ccNMMatrix::I(2), 1e-13));
  // In the span of B's columns: B·(A·B)⁻¹ exactly that.
  EXPECT_TRUE(sameElements(mi, b * (a * b).inverse(), 1e-13));

  // Overdetermined: the least-squares solution meets the normal equations.
  SvdCase const& tall = kSvdCases[0];
  ccNMMatrix const t = nmMatrix(tall.rows, tall.cols, tall.a);
  ccNMMatrix const rhs = nmMatrix(5, 2, {1, 0, 2, 1, -1, 3, 0.5, 0, 4, -2});
  ccNMMatrix const x = ccNMMatrix::pseudoSolve(t, rhs, 1e12);
  ASSERT_TRUE(x.isSizeEqual(3, 2));
  EXPECT_TRUE(sameElements(t.Tmultiply(t * x - rhs), ccNMMatrix(3, 2, 0.0), 1e-12));
  EXPECT_THROW(ccNMMatrix::pseudoSolve(t, ccNMMatrix(3, 1, 1.0), 1e12), ccNMMatrix::sizeErr);
}

// Solving -------------------------------------------------------------------------------------

TEST(NMMatrixSolve, AgreesWithNumpyForEveryRightHandColumn) {
  for (LinearCase const& c : kLinearCases) {
    SCOPED_TRACE(c.name);
    ccNMMatrix const a = nmMatrix(c.n, c.n, c.a), b = nmMatrix(c.n, c.k, c.b);
    ccNMMatrix const want = nmMatrix(c.n, c.k, c.x);
    double const tol = 64 * kEps * c.cond * maxAbs(c.x);
    for (bool symmetric : {false, true}) {
      if (symmetric && !c.symmetric) continue;
      double cond = -1;
      EXPECT_TRUE(sameElements(ccNMMatrix::solve(a, b, symmetric, cond, 1e20), want, tol));
      EXPECT_NEAR(cond / c.cond, 1.0, condTolerance(c));
      double const first = cond;
      cond = -1;
      EXPECT_TRUE(sameElements(cc_NMMatrixPrivate::solve2(a, b, symmetric, cond, 1e20), want, tol));
      EXPECT_EQ(cond, first);
    }
  }
}

TEST(NMMatrixSolve, ConditionOverTheLimitStillReportsTheConditionNumber) {
  LinearCase const& h6 = kLinearCases[1];
  ASSERT_STREQ(h6.name, "hilbert6");
  ccNMMatrix const a = nmMatrix(6, 6, h6.a), b = nmMatrix(6, 1, h6.b);
  using Solver = ccNMMatrix (*)(ccNMMatrix const&, ccNMMatrix const&, bool, double&, double);
  for (Solver solver : {Solver{&ccNMMatrix::solve}, Solver{&cc_NMMatrixPrivate::solve2}}) {
    double cond = -1;
    EXPECT_THROW(solver(a, b, true, cond, 1e6), ccNMMatrix::unstableErr);
    EXPECT_NEAR(cond / h6.cond, 1.0, condTolerance(h6));
    cond = -1;
    EXPECT_NO_THROW(solver(a, b, true, cond, h6.cond * 1.01));
  }
}

TEST(NMMatrixSolve, ZeroRowsAndShapes) {
  ccNMMatrix const zeroRow = nmMatrix(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 6});
  ccNMMatrix const b(3, 1, 1.0);
  double cond = -1;
  // Past any condition limit, the LU still finds the zero row.
  EXPECT_THROW(ccNMMatrix::solve(zeroRow, b, false, cond, 1e300), ccNMMatrix::unstableErr);
  EXPECT_GT(cond, 1e15);
  EXPECT_THROW(cc_NMMatrixPrivate::solve2(zeroRow, b, false, cond, 1e300), ccNMMatrix::unstableErr);
  cond = -1;
  EXPECT_THROW(ccNMMatrix::solve(ccNMMatrix(3, 3, 0.0), b, true, cond, 1e300), ccNMMatrix::unstableErr);
  EXPECT_EQ(cond, 1e28);

  EXPECT_THROW(ccNMMatrix::solve(ccNMMatrix(2, 3, 1.0), b, false, cond, 1e20), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix::solve(ccNMMatrix::I(2), b, false, cond, 1e20), ccNMMatrix::sizeErr);
  EXPECT_THROW(cc_NMMatrixPrivate::solve2(ccNMMatrix::I(2), b, false, cond, 1e20), ccNMMatrix::sizeErr);
  // No right-hand side columns: an n-by-0 answer.
  EXPECT_TRUE(ccNMMatrix::solve(ccNMMatrix::I(3), ccNMMatrix(3, 0), true, cond, 10).isSizeEqual(3, 0));
  EXPECT_EQ(cond, 1.0);
}

TEST(NMMatrixSolve, PartialSolveEliminatesTheFirstBlock) {
  PartialCase const& p = kPartialCase;
  ccNMMatrix const a = nmMatrix(3, 3, p.a), b = nmMatrix(2, 2, p.b), c = nmMatrix(3, 2, p.c);
  ccNMMatrix const d = nmMatrix(3, 2, p.d), e = nmMatrix(2, 2, p.e);
  double cond = -1;
  EXPECT_TRUE(sameElements(ccNMMatrix::partialSolve(a, b, c, d, e, false, cond, 1e12), nmMatrix(2, 2, p.y), 1e-12));
  EXPECT_GT(cond, 1.0);
  struct Bad {
    char const* name;
    ccNMMatrix a, b, c, d, e;
  } const bad[] = {
      {"A not square", ccNMMatrix(3, 2, 1.0), b, c, d, e},
      {"B not square", a, ccNMMatrix(2, 3, 1.0), c, d, e},
      {"C rows", a, b, ccNMMatrix(2, 2, 1.0), d, e},
      {"C cols", a, b, ccNMMatrix(3, 3, 1.0), d, e},
      {"d rows", a, b, c, ccNMMatrix(2, 2, 1.0), e},
      {"e rows", a, b, c, d, ccNMMatrix(3, 2, 1.0)},
      {"e cols", a, b, c, d, ccNMMatrix(2, 1, 1.0)},
  };
  for (Bad const& x : bad) {
    SCOPED_TRACE(x.name);
    EXPECT_THROW(ccNMMatrix::partialSolve(x.a, x.b, x.c, x.d, x.e, false, cond, 1e12), ccNMMatrix::sizeErr);
  }
  // A singular first block: its inverse fails.
  ccNMMatrix const zeroRow = nmMatrix(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 6});
  EXPECT_THROW(ccNMMatrix::partialSolve(zeroRow, b, c, d, e, false, cond, 1e12), ccNMMatrix::unstableErr);
}

// Constrained minimisation --------------------------------------------------------------------

TEST(NMMatrixConstraint, NearestPointInTheMetricMatchesTheKktSolution) {
  ConstraintCase const& k = kConstraintCase;
  ccNMMatrix const a = nmMatrix(4, 4, k.a), x0 = nmMatrix(4, 1, k.x0), c = nmMatrix(2, 4, k.c),
                   e = nmMatrix(2, 1, k.e);
  ccNMMatrix const x = ccNMMatrix::constraintMinimization(a, x0, c, e, 1e12);
  EXPECT_TRUE(sameElements(x, nmMatrix(4, 1, k.x), 1e-12));
  EXPECT_TRUE(sameElements(c * x, e, 1e-12));
  // The older forms, each by its own formula.
  EXPECT_TRUE(sameElements(cc_NMMatrixPrivate::constraint2(a, x0, c, e, 1e6), nmMatrix(4, 1, k.x2), 1e-12));
  EXPECT_TRUE(sameElements(c * cc_NMMatrixPrivate::constraint2(a, x0, c, e, 1e6), e, 1e-12));
  EXPECT_TRUE(sameElements(cc_NMMatrixPrivate::oldConstraint(a, x0, c, e, 1e12), nmMatrix(4, 1, k.xold), 1e-12));
  EXPECT_THROW(ccNMMatrix::constraintMinimization(a, x0, ccNMMatrix(2, 3, 1.0), e, 1e12), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix::constraintMinimization(a, x0, c, ccNMMatrix(3, 1, 1.0), 1e12), ccNMMatrix::sizeErr);
}

}  // namespace
