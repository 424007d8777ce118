#include "orvstd/math/nonlinear_solve.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "orvstd/kernel/ksys_jobs.h"
#include "orvstd/kernel/testing/job_pool.h"
#include "orvstd/math/testing/nmmatrix_helpers.h"
#include "orvstd/math/testing/reference_lines.h"
#include "orvstd/platform/attention.h"
#include "orvstd/platform/timeout.h"

namespace {

using Residuals = std::function<void(ccNMMatrix const& x, ccNMMatrix& y)>;

// A least-squares problem around a residual function, counting calls. It
// can fail with a given status at a given call and sleep in each call.
template <class Solver>
class Counted : public Solver {
 public:
  template <class... Args>
  explicit Counted(Residuals f, Args... args) : Solver(args...), f_(std::move(f)) {}

  c_Int32 Func(ccNMMatrix const& x, ccNMMatrix& y) const override {
    int const call = ++funcCalls;
    if (call == failAtCall) return failStatus;
    if (sleepMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
    f_(x, y);
    return 0;
  }
  c_Int32 FuncI(ccNMMatrix const& x, ccNMMatrix& y, c_Int32 i) const override {
    ++funcICalls;
    return Solver::FuncI(x, y, i);
  }

  mutable std::atomic<int> funcCalls{0};
  mutable std::atomic<int> funcICalls{0};
  int failAtCall = -1;
  c_Int32 failStatus = 0;
  int sleepMs = 0;

 private:
  Residuals f_;
};

class Problem : public Counted<ccLevMarSolve> {
 public:
  Problem(c_Int32 m, c_Int32 n, Residuals f, c_Int32 nIter = 200)
      : Counted(std::move(f), m, n, 0.0, 0.0, nIter, 15, 0.01, 1e-8, 1e20, false, false) {}
};

class NewtonProblem : public Counted<ccNewtonSolve> {
 public:
  NewtonProblem(c_Int32 m, c_Int32 n, Residuals f, c_Int32 nIter)
      : Counted(std::move(f), m, n, nIter, 1e-8, 1e20, false, false) {}
};

ccNMMatrix column(std::vector<double> const& v) { return nmMatrix(static_cast<int>(v.size()), 1, v); }

ccNMMatrix xOf(ccNewtonSolve const& s) {
  ccNMMatrix x;
  s.getX(x);
  return x;
}

bool sameBits(ccNMMatrix const& a, ccNMMatrix const& b) {
  if (!a.isSizeEqual(b)) return false;
  for (int i = 0; i < a.rows(); ++i)
    if (std::memcmp(a[i], b[i], sizeof(double) * static_cast<std::size_t>(a.cols())) != 0) return false;
  return true;
}

void rosenbrock(ccNMMatrix const& x, ccNMMatrix& y) {
  y[0][0] = 10 * (x[1][0] - x[0][0] * x[0][0]);
  y[1][0] = 1 - x[0][0];
}

// The exponential fit and scipy's minimum of it, from
// testdata/poly_solve_reference.txt (gen_poly_solve.py).
struct ExpFit {
  std::vector<double> t, y;
  std::vector<double> minimum;  // a, b, c, sum of squares
};

ExpFit readExpFit() {
  ExpFit fit;
  for (ReferenceLine const& line : readReferenceLines("poly_solve_reference.txt", "expfit_data")) {
    for (std::size_t i = 0; i + 1 < line.coefficients.size(); i += 2) {
      fit.t.push_back(line.coefficients[i]);
      fit.y.push_back(line.coefficients[i + 1]);
    }
  }
  for (ReferenceLine const& line : readReferenceLines("poly_solve_reference.txt", "expfit_min"))
    fit.minimum = line.coefficients;
  return fit;
}

Residuals expResiduals(ExpFit const& fit) {
  return [&fit](ccNMMatrix const& x, ccNMMatrix& y) {
    for (std::size_t i = 0; i < fit.t.size(); ++i)
      y[static_cast<int>(i)][0] = x[0][0] * std::exp(x[1][0] * fit.t[i]) + x[2][0] - fit.y[i];
  };
}

// Seven variables, nine equations, every residual touching several
// variables nonlinearly.
void coupled(ccNMMatrix const& x, ccNMMatrix& y) {
  for (int i = 0; i < 9; ++i) {
    double s = std::sin(0.3 * i) - 0.5;
    for (int j = 0; j < 7; ++j) s += std::cos(x[j][0] * (i + 1) * 0.1) * (j + 1) * 0.2 + 0.05 * x[j][0] * x[(j + i) % 7][0];
    y[i][0] = s;
  }
}

// Runs minimize() under a time limit on this thread, expecting it to expire.
void expectExpires(ccFSolver& solver, double seconds) {
  EXPECT_THROW(
      {
        ccTimeout limit(seconds);
        solver.minimize();
      },
      ccTimeout::Expired);
}

// Tests that start job threads leave none behind: death tests fork.
class JobThreads : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ksys_jobShutdown(), 0); }
};

// Fields and their rules -------------------------------------------------------

TEST(SolverFields, DefaultsAndConstructorRules) {
  Problem p(3, 2, rosenbrock);
  c_Int32 m = 0, n = 0;
  p.getSize(m, n);
  EXPECT_EQ(m * 10 + n, 32);
  EXPECT_TRUE(sameBits(xOf(p), column({0, 0})));  // x starts at zero

  struct Default : ccLevMarSolve {
    c_Int32 Func(ccNMMatrix const&, ccNMMatrix&) const override { return 0; }
  } d;
  EXPECT_EQ(d.getM() + d.getN() + d.nIter(), 0);
  EXPECT_EQ(d.diffDelta(), 1e-8);
  EXPECT_EQ(d.condNumber(), 1e20);
  EXPECT_FALSE(d.enableMulticore() || d.recomputeY() || !d.recomputeYVals().empty());
  EXPECT_EQ(d.minDeltaE() + d.minE(), 0.0);
  EXPECT_EQ(d.lambda(), 0.01);
  EXPECT_EQ(d.maxMLInnerIter(), 15.0);
  EXPECT_THROW(d.minimize(), ccInvariantFailure);  // no size

  double const nan = std::nan("");
  struct Args {
    c_Int32 m, n;
    double minE, minDeltaE;
    c_Int32 nIter, inner;
    double lambda, delta, cond;
  } const bad[] = {
      {0, 2, 0, 0, 1, 1, 1, 1, 1},   {2, 0, 0, 0, 1, 1, 1, 1, 1},   {2, 2, -1, 0, 1, 1, 1, 1, 1},
      {2, 2, 0, -1, 1, 1, 1, 1, 1},  {2, 2, 0, 0, 0, 1, 1, 1, 1},   {2, 2, 0, 0, 1, 0, 1, 1, 1},
      {2, 2, 0, 0, 1, 1, 0, 1, 1},   {2, 2, 0, 0, 1, 1, 1, 0, 1},   {2, 2, 0, 0, 1, 1, 1, 1, 0},
      {2, 2, nan, 0, 1, 1, 1, 1, 1}, {2, 2, 0, 0, 1, 1, nan, 1, 1}, {2, 2, 0, 0, 1, 1, 1, -1e-9, 1},
  };
  struct Concrete : ccLevMarSolve {
    using ccLevMarSolve::ccLevMarSolve;
    c_Int32 Func(ccNMMatrix const&, ccNMMatrix&) const override { return 0; }
  };
  for (std::size_t i = 0; i < std::size(bad); ++i) {
    Args const& a = bad[i];
    EXPECT_THROW(Concrete(a.m, a.n, a.minE, a.minDeltaE, a.nIter, a.inner, a.lambda, a.delta, a.cond, false, false),
                 ccInvariantFailure)
        << "case " << i;
  }
  EXPECT_NO_THROW(Concrete(1, 1, 0, 0, 1, 1, 1e-300, 1e-300, 1e-300, true, true));
}

TEST(SolverFields, SetterRules) {
  Problem p(2, 2, rosenbrock);
  EXPECT_THROW(p.nIter(0), ccInvariantFailure);
  EXPECT_THROW(p.condNumber(0), ccInvariantFailure);
  EXPECT_THROW(p.condNumber(std::nan("")), ccInvariantFailure);
  EXPECT_THROW(p.minDeltaE(-1e-300), ccInvariantFailure);
  EXPECT_THROW(p.minE(-1), ccInvariantFailure);
  EXPECT_THROW(p.lambda(-0.5), ccInvariantFailure);
  EXPECT_THROW(p.maxMLInnerIter(0), ccInvariantFailure);
  EXPECT_NO_THROW(p.lambda(0));  // allowed here, though not in the constructor
  // diffDelta: the setter takes anything, the getter (and so the
  // Jacobian) refuses it.
  p.diffDelta(0);
  EXPECT_THROW((void)p.diffDelta(), ccInvariantFailure);
  p.diffDelta(-1e-6);
  ccNMMatrix J, g, H;
  EXPECT_THROW(p.compJacob(column({0, 0}), column({0, 0}), J, g, H), ccInvariantFailure);

  // x must be n by 1; a refused x leaves the old one.
  p.setX(column({4, 5}));
  EXPECT_THROW(p.setX(column({1, 2, 3})), ccInvariantFailure);
  EXPECT_THROW(p.setX(ccNMMatrix(1, 2, 0.0)), ccInvariantFailure);
  EXPECT_THROW(p.setX(ccNMMatrix()), ccInvariantFailure);
  EXPECT_TRUE(sameBits(xOf(p), column({4, 5})));
  // One flag per variable, or none.
  EXPECT_THROW(p.recomputeYVals({true}), ccInvariantFailure);
  EXPECT_NO_THROW(p.recomputeYVals({true, false}));
  EXPECT_NO_THROW(p.recomputeYVals({}));
}

// Minimisation -----------------------------------------------------------------

TEST(LevMarSolve, Rosenbrock) {
  Problem p(2, 2, rosenbrock);
  p.setX(column({-1.2, 1}));
  double const e = p.minimize();
  ccNMMatrix const x = xOf(p);
  EXPECT_NEAR(x[0][0], 1, 1e-7);
  EXPECT_NEAR(x[1][0], 1, 1e-7);
  EXPECT_LT(e, 1e-14);
  EXPECT_LT(p.lambda(), 0.01);  // written back, smaller after successes
}

TEST(LevMarSolve, ExponentialFitMatchesScipy) {
  ExpFit const fit = readExpFit();
  ASSERT_EQ(fit.t.size(), 12u);
  ASSERT_EQ(fit.minimum.size(), 4u);
  Problem p(12, 3, expResiduals(fit));
  p.setX(column({1, -1, 0}));
  double const e = p.minimize();
  ccNMMatrix const x = xOf(p);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(x[i][0], fit.minimum[i], 1e-6 * std::fabs(fit.minimum[i])) << i;
  EXPECT_NEAR(e, fit.minimum[3], 1e-9 * fit.minimum[3]);
  ccNMMatrix r(12, 1);
  p.Func(x, r);
  EXPECT_NEAR(r.fnorm2(), fit.minimum[3], 1e-9 * fit.minimum[3]);
}

TEST(LevMarSolve, AllTrialsFailing) {
  // r = 1 + |x - 2|: the forward difference at 2 sees slope 1, every step
  // towards lower x makes it worse.
  Problem p(1, 1, [](ccNMMatrix const& x, ccNMMatrix& y) { y[0][0] = 1 + std::fabs(x[0][0] - 2); });
  p.setX(column({2}));
  double const e = p.minimize();
  EXPECT_EQ(xOf(p)[0][0], 2.0);
  EXPECT_GT(e, 1.0);  // the rejected trial's error, not the accepted 1
  // The 15th trial is made with lambda 0.01·10^14, just short of x:
  // (1 + 1/(1 + 1e12))^2.
  EXPECT_NEAR(e, 1 + 2e-12, 1e-15);
  EXPECT_NEAR(p.lambda(), 1e13, 1e13 * 1e-13);
  // One start, one Jacobian column, fifteen trials.
  EXPECT_EQ(p.funcCalls.load(), 1 + 1 + 15);
  EXPECT_EQ(p.funcICalls.load(), 1);
}

TEST(LevMarSolve, InnerLimitReachedByAnAcceptedTrial) {
  // With maxMLInnerIter 1 the first trial ends the solve even when it is
  // better: its error comes back, x does not move, lambda went down.
  Problem p(1, 1, [](ccNMMatrix const& x, ccNMMatrix& y) { y[0][0] = x[0][0] - 3; });
  p.maxMLInnerIter(1);
  p.setX(column({0}));
  double const e = p.minimize();
  EXPECT_EQ(xOf(p)[0][0], 0.0);
  EXPECT_NEAR(e, std::pow(3 - 3 / 1.01, 2), 1e-8);
  EXPECT_DOUBLE_EQ(p.lambda(), 0.001);
}

TEST(LevMarSolve, StopsOnSmallErrorOrSmallImprovement) {
  // minE above the start error: no Jacobian, nothing changes.
  {
    Problem p(2, 2, rosenbrock);
    p.minE(5);  // the start error, 24.2, is below 25
    p.setX(column({-1.2, 1}));
    double const e = p.minimize();
    double const r0 = 10 * (1 - (-1.2) * (-1.2)), r1 = 1 - (-1.2);
    EXPECT_EQ(e, r0 * r0 + r1 * r1);
    EXPECT_EQ(p.funcCalls.load(), 1);
    EXPECT_EQ(p.funcICalls.load(), 0);
    EXPECT_EQ(xOf(p)[0][0], -1.2);
    EXPECT_EQ(p.lambda(), 0.01);
  }
  // minDeltaE large: the first accepted step ends it.
  {
    Problem p(2, 2, rosenbrock);
    p.minDeltaE(1e3);
    p.setX(column({-1.2, 1}));
    p.minimize();
    EXPECT_EQ(p.funcICalls.load(), 2);  // one Jacobian
    EXPECT_NE(xOf(p)[0][0], -1.2);
  }
  // nIter rounds at most.
  {
    Problem p(2, 2, rosenbrock, 3);
    p.setX(column({-1.2, 1}));
    p.minimize();
    EXPECT_EQ(p.funcICalls.load(), 3 * 2);
  }
}

TEST(LevMarSolve, IllConditionedSystemRaisesUnstable) {
  Problem p(2, 2, [](ccNMMatrix const& x, ccNMMatrix& y) {
    y[0][0] = x[0][0] - 1;
    y[1][0] = 10 * (x[1][0] - 1);
  });
  p.condNumber(2);  // H + lambda·I is about diag(1, 100)
  p.setX(column({0, 0}));
  EXPECT_THROW(p.minimize(), ccNMMatrix::unstableErr);
  EXPECT_EQ(p.lambda(), 0.01);  // not written back
  p.condNumber(1e3);
  EXPECT_NO_THROW(p.minimize());
}

TEST(LevMarSolve, FailingStatusRaisesItsException) {
  c_Int32 const unknown = static_cast<c_Int32>(0x8000ABCDu);
  struct Case {
    int call;  // 1: the start, 2: the Jacobian, 4: the first trial
    c_Int32 status;
  } const cases[] = {{1, ccAttentionTag::kCancelCode}, {2, ccAttentionTag::kCancelCode}, {4, unknown}, {2, unknown}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.call);
    Problem p(2, 2, rosenbrock);
    p.setX(column({-1.2, 1}));
    p.failAtCall = c.call;
    p.failStatus = c.status;
    if (c.status == unknown) {
      try {
        p.minimize();
        ADD_FAILURE() << "no exception";
      } catch (ccUnknownError const& e) {
        EXPECT_EQ(e.message(false), "Internal error code: 8000ABCD");
      }
    } else {
      EXPECT_THROW(p.minimize(), ccTimeout::Cancel);
    }
    EXPECT_EQ(xOf(p)[0][0], -1.2);
  }
}

TEST(LevMarSolve, TimeoutStopsASlowSolve) {
  ExpFit const fit = readExpFit();
  Problem p(12, 3, expResiduals(fit));
  p.sleepMs = 20;
  p.setX(column({1, -1, 0}));
  // Untimed, this takes dozens of calls; 50 ms allows about three.
  expectExpires(p, 0.05);
  EXPECT_LT(p.funcCalls.load(), 8);
  EXPECT_EQ(xOf(p)[0][0], 1.0);
}

TEST(NewtonSolve, FixedStepsWithoutEarlyExit) {
  // Gauss-Newton lands on Rosenbrock's zero in two steps; the rest are
  // taken all the same.
  NewtonProblem p(2, 2, rosenbrock, 6);
  p.setX(column({-1.2, 1}));
  double const e = p.minimize();
  EXPECT_NEAR(xOf(p)[0][0], 1, 1e-15);
  EXPECT_NEAR(xOf(p)[1][0], 1, 1e-15);
  EXPECT_LT(e, 1e-28);
  EXPECT_EQ(p.funcCalls.load(), 1 + 6 * (2 + 1));
  EXPECT_EQ(p.funcICalls.load(), 6 * 2);

  ExpFit const fit = readExpFit();
  NewtonProblem q(12, 3, expResiduals(fit), 30);
  q.setX(column({2, -1, 0.3}));
  double const eq = q.minimize();
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(xOf(q)[i][0], fit.minimum[i], 1e-6 * std::fabs(fit.minimum[i])) << i;
  EXPECT_NEAR(eq, fit.minimum[3], 1e-9 * fit.minimum[3]);
}

TEST(NewtonSolve, FuncStatusIgnoredButJacobianStatusRaised) {
  // A failing Func is not looked at by minimize ...
  NewtonProblem p(2, 2, rosenbrock, 3);
  p.setX(column({-1.2, 1}));
  p.failAtCall = 1;
  p.failStatus = ccAttentionTag::kCancelCode;
  EXPECT_NO_THROW(p.minimize());
  // ... but compJacob raises a failing FuncI.
  NewtonProblem q(2, 2, rosenbrock, 3);
  q.setX(column({-1.2, 1}));
  q.failAtCall = 3;
  q.failStatus = ccAttentionTag::kCancelCode;
  EXPECT_THROW(q.minimize(), ccTimeout::Cancel);
  EXPECT_EQ(xOf(q)[0][0], -1.2);

  NewtonProblem r(2, 2, rosenbrock, 1000);
  r.sleepMs = 20;
  r.setX(column({-1.2, 1}));
  expectExpires(r, 0.05);
  EXPECT_LT(r.funcCalls.load(), 8);

  struct Unsized : ccNewtonSolve {
    c_Int32 Func(ccNMMatrix const&, ccNMMatrix&) const override { return 0; }
  } u;
  EXPECT_THROW(u.minimize(), ccInvariantFailure);
}

// The Jacobian -----------------------------------------------------------------

TEST(Jacobian, ForwardDifferencesAndProducts) {
  Problem p(2, 2, rosenbrock);
  p.diffDelta(1e-7);
  ccNMMatrix const x = column({0.5, -2});
  ccNMMatrix y(2, 1);
  p.Func(x, y);
  ccNMMatrix J, grad, H;
  p.compJacob(x, y, J, grad, H);
  ASSERT_TRUE(J.isSizeEqual(2, 2));
  ASSERT_TRUE(grad.isSizeEqual(2, 1));
  ASSERT_TRUE(H.isSizeEqual(2, 2));
  // d/dx1 of 10(x2 - x1^2) is -20 x1 - 10 delta by forward difference.
  EXPECT_NEAR(J[0][0], -10 - 1e-6, 1e-7);
  EXPECT_NEAR(J[0][1], 10, 1e-7);
  EXPECT_NEAR(J[1][0], -1, 1e-8);
  EXPECT_NEAR(J[1][1], 0, 1e-8);
  EXPECT_TRUE(sameBits(grad, J.Tmultiply(y)));
  EXPECT_TRUE(sameBits(H, J.square()));
  // y must be m by 1.
  EXPECT_THROW(p.compJacob(x, column({1, 2, 3}), J, grad, H), ccNMMatrix::sizeErr);
  EXPECT_THROW(p.compJacob(column({1}), y, J, grad, H), ccNMMatrix::sizeErr);
}

// Records which columns recompute their base: FuncI at the unperturbed x.
class RecomputeProbe : public ccLevMarSolve {
 public:
  RecomputeProbe() : ccLevMarSolve(9, 7, 0, 0, 30, 15, 0.01, 1e-8, 1e20, false, false) {}
  c_Int32 Func(ccNMMatrix const& x, ccNMMatrix& y) const override {
    coupled(x, y);
    return 0;
  }
  c_Int32 FuncI(ccNMMatrix const& x, ccNMMatrix& y, c_Int32 i) const override {
    if (x[i][0] == start[i][0]) ++recomputed[static_cast<std::size_t>(i)];
    return Func(x, y);
  }
  std::vector<int> recomputedColumns() const {
    std::vector<int> columns;
    for (std::size_t i = 0; i < recomputed.size(); ++i) {
      EXPECT_LE(recomputed[i].load(), 1) << i;
      if (recomputed[i].load() > 0) columns.push_back(static_cast<int>(i));
    }
    return columns;
  }
  void clear() {
    for (auto& r : recomputed) r = 0;
  }

  ccNMMatrix start = column({0.1, -0.2, 0.3, 0.4, -0.5, 0.6, 0.7});
  mutable std::array<std::atomic<int>, 7> recomputed{};
};

TEST_F(JobThreads, SameJacobianAndResultOnAnyNumberOfThreads) {
  struct Config {
    bool recomputeY;
    std::vector<bool> flags;
    std::vector<int> recomputed;  // columns that recompute their base
  } const configs[] = {
      {false, {}, {}},
      {true, {}, {0, 1, 2, 3, 4, 5, 6}},
      // A set flag closes a run: runs {0, 1, 2}, {3, 4}, {5, 6}.
      {true, {false, false, true, false, true, false, false}, {0, 3, 5}},
      {true, {true, true, true, true, true, true, true}, {0, 1, 2, 3, 4, 5, 6}},
      {true, {false, false, false, false, false, false, false}, {0}},
      {false, {false, true, false, false, false, false, true}, {}},
  };
  for (Config const& c : configs) {
    SCOPED_TRACE(testing::Message() << c.recomputeY << " with " << c.flags.size() << " flags");
    RecomputeProbe p;
    p.recomputeY(c.recomputeY);
    p.recomputeYVals(c.flags);
    ccNMMatrix y(9, 1);
    p.Func(p.start, y);
    ccNMMatrix J0, g0, H0;
    p.compJacob(p.start, y, J0, g0, H0);
    EXPECT_EQ(p.recomputedColumns(), c.recomputed);
    p.setX(p.start);
    double const e0 = p.minimize();
    ccNMMatrix const x0 = xOf(p);
    EXPECT_LT(e0, y.fnorm2());

    p.enableMulticore(true);
    for (c_Int32 threads : {1, 2, 4}) {
      SCOPED_TRACE(threads);
      resetJobPool(threads);
      p.clear();
      ccNMMatrix J, g, H;
      p.compJacob(p.start, y, J, g, H);
      EXPECT_TRUE(sameBits(J, J0));
      EXPECT_TRUE(sameBits(g, g0));
      EXPECT_TRUE(sameBits(H, H0));
      EXPECT_EQ(p.recomputedColumns(), c.recomputed);
      p.setX(p.start);
      p.lambda(0.01);
      EXPECT_EQ(p.minimize(), e0);
      EXPECT_TRUE(sameBits(xOf(p), x0));
    }
  }
}

TEST_F(JobThreads, FailuresInJobsReachTheCaller) {
  resetJobPool(3);
  ExpFit const fit = readExpFit();
  // A failing status in the second column's job.
  {
    Problem p(12, 3, expResiduals(fit));
    p.enableMulticore(true);
    p.setX(column({1, -1, 0}));
    p.failAtCall = 3;
    p.failStatus = ccAttentionTag::kCancelCode;
    EXPECT_THROW(p.minimize(), ccTimeout::Cancel);
  }
  // A time limit on the caller stops the solve whichever thread runs the
  // columns.
  {
    Problem p(12, 3, expResiduals(fit));
    p.enableMulticore(true);
    p.sleepMs = 20;
    p.setX(column({1, -1, 0}));
    expectExpires(p, 0.05);
    EXPECT_LT(p.funcCalls.load(), 10);
  }
}

}  // namespace
