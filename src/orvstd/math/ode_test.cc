#include "orvstd/math/ode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

// Parameters of the test equations, counting derivative evaluations.
struct Probe {
  double k = 1;
  mutable int calls = 0;
};

Probe const& probe(void const* data) { return *static_cast<Probe const*>(data); }

// y' = -k y.
void decay(double, std::vector<double> const& y, void const* data, std::vector<double>& dydx) {
  ++probe(data).calls;
  dydx[0] = -probe(data).k * y[0];
}

// y'' = -k^2 y as (y, y').
void oscillator(double, std::vector<double> const& y, void const* data, std::vector<double>& dydx) {
  ++probe(data).calls;
  double const k = probe(data).k;
  dydx[0] = y[1];
  dydx[1] = -k * k * y[0];
}

// y0 = x beside y1' = cos(k x): y0 tells how far the integration got.
void clockAndCosine(double x, std::vector<double> const&, void const* data, std::vector<double>& dydx) {
  ++probe(data).calls;
  dydx[0] = 1;
  dydx[1] = std::cos(probe(data).k * x);
}

// y0 = x beside y1' = 1 / (1 - x), which blows up at x = 1.
void pole(double x, std::vector<double> const&, void const* data, std::vector<double>& dydx) {
  ++probe(data).calls;
  dydx[0] = 1;
  dydx[1] = 1 / (1 - x);
}

void quartic(double x, std::vector<double> const&, void const* data, std::vector<double>& dydx) {
  ++probe(data).calls;
  dydx[0] = 5 * x * x * x * x;
}

TEST(IntegrateODE, ClosedFormSolutions) {
  struct Case {
    double k, x1, eps;
  } const cases[] = {{1, 3, 1e-10}, {0.25, 10, 1e-12}, {5, 2, 1e-9}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.k);
    Probe p;
    p.k = c.k;
    std::vector<double> y{2.0};
    ASSERT_TRUE(cfIntegrateODE(0, c.x1, 0.01, 1e-12, c.eps, decay, &p, y));
    ASSERT_EQ(y.size(), 1u);
    // Each step holds its error to eps relative; a few dozen steps add up.
    EXPECT_NEAR(y[0], 2 * std::exp(-c.k * c.x1), 100 * c.eps * 2 * std::exp(-c.k * c.x1));

    std::vector<double> z{1.0, 0.0};
    double const x1 = 2 * std::numbers::pi + 0.5;
    ASSERT_TRUE(cfIntegrateODE(0, x1, 0.1, 1e-12, c.eps, oscillator, &p, z));
    EXPECT_NEAR(z[0], std::cos(c.k * x1), 1000 * c.eps);
    EXPECT_NEAR(z[1], -c.k * std::sin(c.k * x1), 1000 * c.eps * c.k);
  }
}

TEST(IntegrateODE, OneAcceptedStepIsFifthOrder) {
  // A first step that already reaches x1, with an eps no error exceeds,
  // is one Cash-Karp step of six evaluations.
  Probe p;
  std::vector<double> y{0.0};
  ASSERT_TRUE(cfIntegrateODE(0, 0.5, 0.5, 0, 1e30, quartic, &p, y));
  EXPECT_EQ(p.calls, 6);
  // The fifth-order weights integrate x^4 exactly.
  EXPECT_NEAR(y[0], std::pow(0.5, 5), 1e-16);

  // On y' = y the local error falls as h^6: halving h divides it by 64
  // (by 32 or less if a coefficient were off).
  p.k = -1;
  double errors[2];
  double const hs[2] = {0.2, 0.1};
  for (int i = 0; i < 2; ++i) {
    std::vector<double> e{1.0};
    ASSERT_TRUE(cfIntegrateODE(0, hs[i], hs[i], 0, 1e30, decay, &p, e));
    errors[i] = std::fabs(e[0] - std::exp(hs[i]));
  }
  EXPECT_GT(errors[0], 0);
  EXPECT_LT(errors[0], 1e-7);
  EXPECT_GT(errors[0] / errors[1], 50);
  EXPECT_LT(errors[0] / errors[1], 80);
}

TEST(IntegrateODE, StepBoundsAndEmptyIntervals) {
  // h below hMin from the start: nothing happens, false ...
  Probe p;
  std::vector<double> y{3.0};
  EXPECT_FALSE(cfIntegrateODE(0, 1, 1e-6, 1e-5, 1e-8, decay, &p, y));
  EXPECT_EQ(y[0], 3.0);
  EXPECT_EQ(p.calls, 0);
  // ... unless x0 == x1, which counts as reached whatever h is.
  EXPECT_TRUE(cfIntegrateODE(1, 1, 1e-6, 1e-5, 1e-8, decay, &p, y));
  EXPECT_TRUE(cfIntegrateODE(1, 1, 0.1, 0, 1e-8, decay, &p, y));
  EXPECT_EQ(y[0], 3.0);
  EXPECT_EQ(p.calls, 0);
}

TEST(IntegrateODE, GivesUpWithYAsFarAsItGot) {
  // Near the pole the step falls below hMin before x = 1.
  Probe p;
  std::vector<double> y{0.0, 0.0};
  EXPECT_FALSE(cfIntegrateODE(0, 2, 0.1, 1e-6, 1e-8, pole, &p, y));
  double const x = y[0];
  EXPECT_GT(x, 0.99);
  EXPECT_LT(x, 1);
  EXPECT_NEAR(y[1], -std::log(1 - x), 1e-4 * std::fabs(std::log(1 - x)));

  // 10000 steps cannot cover a hundred thousand periods of cos(100 x).
  Probe q;
  q.k = 100;
  std::vector<double> z{0.0, 0.0};
  EXPECT_FALSE(cfIntegrateODE(0, 2 * std::numbers::pi * 1000, 0.01, 0, 1e-8, clockAndCosine, &q, z));
  EXPECT_GT(z[0], 0);
  EXPECT_LT(z[0], 2 * std::numbers::pi * 1000);
  EXPECT_NEAR(z[1], std::sin(100 * z[0]) / 100, 1e-6);
  // Every step evaluates at least six times; retries add five each.
  EXPECT_GE(q.calls, 6 * 10000);
}

TEST(IntegrateODEDeathTest, BackwardsIntervalIsAsserted) {
  Probe p;
  std::vector<double> y{1.0};
  EXPECT_DEATH(cfIntegrateODE(1, 0, 0.1, 0, 1e-8, decay, &p, y), "");
}

}  // namespace
