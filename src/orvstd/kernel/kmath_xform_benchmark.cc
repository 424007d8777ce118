// The kernel's plane-transform work: polynomial fits by order and point
// count, evaluation and tangent maps, the normalised DLT, and mapping
// through a composed handle.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "orvstd/kernel/kmath_xformPerspective.h"
#include "orvstd/kernel/kmath_xformPoly.h"
#include "orvstd/kernel/kmath_xformPtrh.h"
#include "orvstd/kernel/ksys_memory.h"

namespace {

struct Pairs {
  std::vector<kmath_vect> from, to;
  explicit Pairs(int n) {
    std::mt19937 rng(4);
    std::uniform_real_distribution<double> x(0, 640), y(0, 480), noise(-0.01, 0.01);
    for (int i = 0; i < n; ++i) {
      kmath_vect const p{x(rng), y(rng)};
      double const w = 1 + 2e-4 * p.x - 1e-4 * p.y;
      from.push_back(p);
      to.push_back({(1.1 * p.x + 0.1 * p.y + 5) / w + noise(rng), (-0.1 * p.x + 0.9 * p.y - 3) / w + noise(rng)});
    }
  }
};

void BM_PolyFit(benchmark::State& state) {
  int const order = static_cast<int>(state.range(0)), n = static_cast<int>(state.range(1));
  Pairs const d(n);
  for (auto _ : state) {
    double* c = nullptr;
    c_Int32 count = 0;
    benchmark::DoNotOptimize(kmath_xformPolyFit_(d.from.data(), d.to.data(), n, order, &c, &count));
    ksys_memory_free_internal(c);
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_PolyFit)->ArgsProduct({{1, 3, 5}, {100, 10000}});

void BM_PolyMapPoint(benchmark::State& state) {
  int const order = static_cast<int>(state.range(0));
  Pairs const d(1024);
  double* c = nullptr;
  c_Int32 count = 0;
  kmath_xformPolyFit_(d.from.data(), d.to.data(), 1024, order, &c, &count);
  for (auto _ : state)
    for (kmath_vect const& p : d.from) {
      kmath_vect q;
      kmath_xformPolyMapPoint_(c, order, p, &q);
      benchmark::DoNotOptimize(q);
    }
  ksys_memory_free_internal(c);
  state.SetItemsProcessed(state.iterations() * 1024);
}
BENCHMARK(BM_PolyMapPoint)->Arg(1)->Arg(3)->Arg(5);

void BM_PolyLinearXform(benchmark::State& state) {
  int const order = static_cast<int>(state.range(0));
  bool const withDerivs = state.range(1) != 0;
  Pairs const d(1024);
  double* c = nullptr;
  c_Int32 count = 0;
  kmath_xformPolyFit_(d.from.data(), d.to.data(), 1024, order, &c, &count);
  std::vector<double> dx(static_cast<std::size_t>(kmath_xformPolySize(order - 1))), dy = dx;
  kmath_xformPolyDerivs_(c, order, dx.data(), dy.data());
  for (auto _ : state)
    for (kmath_vect const& p : d.from) {
      kmath_xformLinear l;
      kmath_xformPolyLinearXform_(c, order, p, withDerivs ? dx.data() : nullptr, withDerivs ? dy.data() : nullptr,
                                  &l);
      benchmark::DoNotOptimize(l);
    }
  ksys_memory_free_internal(c);
  state.SetItemsProcessed(state.iterations() * 1024);
}
BENCHMARK(BM_PolyLinearXform)->ArgsProduct({{3, 5}, {0, 1}});

void BM_PerspectivePoints(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  Pairs const d(n);
  for (auto _ : state) {
    kmath_xformPerspective h;
    benchmark::DoNotOptimize(kmath_xformPerspective_constructPoints(&h, d.from.data(), d.to.data(), n));
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_PerspectivePoints)->Arg(4)->Arg(100)->Arg(10000);

void BM_ComposedHandleMap(benchmark::State& state) {
  kmath_xformLinear const lin{{5, -3}, {2, 0.5, -0.25, 1.5}};
  kmath_xformPerspective const persp{{1.2, 0.1, 15, -0.05, 0.95, -7, 2e-4, -1e-4, 1}};
  kmath_xformPtrhConst items[2], chain;
  kmath_xformPtrhConst_constructPerspective(&items[0], &persp);
  kmath_xformPtrhConst_constructLinear(&items[1], &lin);
  kmath_xformPtrhConst_constructComposed(&chain, items, 2);
  Pairs const d(1024);
  for (auto _ : state)
    for (kmath_vect const& p : d.from) {
      kmath_vect q;
      kmath_xformPtrhConst_mapPoint(&chain, p, &q);
      benchmark::DoNotOptimize(q);
    }
  kmath_xformPtrhConst_destruct(&chain);
  kmath_xformPtrhConst_destruct(&items[0]);
  kmath_xformPtrhConst_destruct(&items[1]);
  state.SetItemsProcessed(state.iterations() * 1024);
}
BENCHMARK(BM_ComposedHandleMap);

}  // namespace
