// The closed-form real-root solvers and the integrator on small problems.
#include <benchmark/benchmark.h>

#include <vector>

#include "orvstd/math/ode.h"
#include "orvstd/math/poly_solve.h"

namespace {

void BM_SolveCubic(benchmark::State& state) {
  std::vector<double> r;
  for (auto _ : state) benchmark::DoNotOptimize(cfSolveCubic(-6, 11, -6, r));
}
BENCHMARK(BM_SolveCubic);

void BM_SolveQuartic(benchmark::State& state) {
  std::vector<double> r;
  for (auto _ : state) benchmark::DoNotOptimize(cfSolveQuartic(-10, 35, -50, 24, r));
}
BENCHMARK(BM_SolveQuartic);

void oscillator(double, std::vector<double> const& y, void const*, std::vector<double>& dydx) {
  dydx[0] = y[1];
  dydx[1] = -y[0];
}

void BM_IntegrateOscillator(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<double> y{1.0, 0.0};
    benchmark::DoNotOptimize(cfIntegrateODE(0, 10, 0.1, 1e-12, 1e-10, oscillator, nullptr, y));
  }
}
BENCHMARK(BM_IntegrateOscillator)->Unit(benchmark::kMicrosecond);

}  // namespace
