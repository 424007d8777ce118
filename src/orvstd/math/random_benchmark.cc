#include <benchmark/benchmark.h>

#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/math/random.h"

namespace {

void BM_UniformNext(benchmark::State& state) {
  ccRandomUniform r(1);
  for (auto _ : state) benchmark::DoNotOptimize(r.next(0, 1));
}
BENCHMARK(BM_UniformNext);

void BM_GaussianNext(benchmark::State& state) {
  ccRandomGaussian g(1);
  for (auto _ : state) benchmark::DoNotOptimize(g.next(1, 0));
}
BENCHMARK(BM_GaussianNext);

// Loading replays the stored number of draws: the cost grows with it.
void BM_UniformLoadReplay(benchmark::State& state) {
  ccRandomUniform r(1);
  for (c_Int64 i = 0; i < state.range(0); ++i) r.next(0, 1);
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  out || r;
  for (auto _ : state) {
    ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), false, false);
    ccRandomUniform back;
    in || back;
    benchmark::DoNotOptimize(back);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_UniformLoadReplay)->Arg(1000)->Arg(1000000);

}  // namespace
