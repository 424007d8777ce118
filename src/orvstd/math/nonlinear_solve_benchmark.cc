// The forward-difference Jacobian on one thread against the job threads,
// for cheap and costly residual functions, and one whole solve.
#include <benchmark/benchmark.h>

#include <cmath>

#include "orvstd/kernel/ksys_jobs.h"
#include "orvstd/math/nonlinear_solve.h"

namespace {

// m residuals in n variables; each residual costs `spins` rounds of work.
class Synthetic : public ccLevMarSolve {
 public:
  Synthetic(c_Int32 m, c_Int32 n, int spins)
      : ccLevMarSolve(m, n, 0, 0, 20, 15, 0.01, 1e-8, 1e20, false, false), spins_(spins) {}
  c_Int32 Func(ccNMMatrix const& x, ccNMMatrix& y) const override {
    for (int i = 0; i < y.rows(); ++i) {
      double s = 0;
      for (int j = 0; j < x.rows(); ++j) s += std::sin(x[j][0] * (i + j + 1) * 0.01);
      for (int k = 0; k < spins_; ++k) s = s * 0.999 + 1e-3 * std::cos(s);
      y[i][0] = s - 0.1 * i;
    }
    return 0;
  }

 private:
  int spins_;
};

void usePool(c_Int32 threads) {
  if (threads == 0) {
    ksys_jobShutdown();
    return;
  }
  ksys_jobResetParams* params = nullptr;
  ksys_jobResetParams_construct(&params);
  ksys_jobResetParams_setNumThreads(params, threads);
  ksys_jobReset(params);
  ksys_jobResetParams_destroy(params);
}

// Arguments: job threads (0: enableMulticore off), n, spins per residual.
void BM_Jacobian(benchmark::State& state) {
  auto const threads = static_cast<c_Int32>(state.range(0));
  auto const n = static_cast<c_Int32>(state.range(1));
  Synthetic s(2 * n, n, static_cast<int>(state.range(2)));
  s.enableMulticore(threads > 0);
  usePool(threads);
  ccNMMatrix x(n, 1, 0.5), y(2 * n, 1), J, grad, H;
  s.Func(x, y);
  for (auto _ : state) {
    s.compJacob(x, y, J, grad, H);
    benchmark::DoNotOptimize(H[0]);
  }
  state.SetItemsProcessed(state.iterations() * n);
  usePool(0);
}
BENCHMARK(BM_Jacobian)
    ->ArgNames({"threads", "n", "spins"})
    ->ArgsProduct({{0, 2}, {8, 32}, {0, 200}})
    ->Unit(benchmark::kMicrosecond);

void BM_LevMarSolve(benchmark::State& state) {
  Synthetic s(24, 8, 0);
  for (auto _ : state) {
    s.setX(ccNMMatrix(8, 1, 0.5));
    s.lambda(0.01);
    benchmark::DoNotOptimize(s.minimize());
  }
}
BENCHMARK(BM_LevMarSolve)->Unit(benchmark::kMicrosecond);

}  // namespace
