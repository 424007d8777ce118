#include <benchmark/benchmark.h>

#include <vector>

#include "orvstd/math/polynomial_root_finder.h"

namespace {

void BM_QuarticClosedForm(benchmark::State& state) {
  std::vector<ccVector<2>> roots;
  for (auto _ : state) {
    cfCompPolynomialRoots(1, -10, 35, -50, 24, roots);
    benchmark::DoNotOptimize(roots.data());
  }
}
BENCHMARK(BM_QuarticClosedForm);

void BM_SturmRootsDegree6(benchmark::State& state) {
  std::vector<double> const t6{32, 0, -48, 0, 18, 0, -1};
  std::vector<double> roots;
  for (auto _ : state) {
    cfCompRealPolynomialRoots(t6, -1.1, 1.1, 1e-10, roots);
    benchmark::DoNotOptimize(roots.data());
  }
}
BENCHMARK(BM_SturmRootsDegree6);

}  // namespace
