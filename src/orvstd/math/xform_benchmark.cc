// ccXform<2> beside Eigen's Affine2d on the same data: mapping a million
// points, composing and inverting transforms. Eigen is used here only.
#include <benchmark/benchmark.h>

#include <Eigen/Geometry>
#include <random>
#include <vector>

#include "orvstd/math/xform.h"

namespace {

constexpr int kPoints = 1 << 20;
constexpr int kXforms = 1024;

struct Data {
  std::vector<ccVector<2>> points;
  std::vector<Eigen::Vector2d> eigenPoints;
  std::vector<ccXform<2>> xforms;
  std::vector<Eigen::Affine2d> eigenXforms;

  Data() {
    std::mt19937_64 rng(6);
    std::uniform_real_distribution<double> u(-100, 100), s(0.5, 2);
    for (int i = 0; i < kPoints; ++i) {
      double const x = u(rng), y = u(rng);
      points.emplace_back(x, y);
      eigenPoints.emplace_back(x, y);
    }
    for (int i = 0; i < kXforms; ++i) {
      double const a = s(rng), b = u(rng) / 100, c = u(rng) / 100, d = s(rng), tx = u(rng), ty = u(rng);
      xforms.emplace_back(ccMatrix<2>(a, b, c, d), ccVector<2>(tx, ty));
      Eigen::Affine2d e;
      e.linear() << a, b, c, d;
      e.translation() << tx, ty;
      eigenXforms.push_back(e);
    }
  }
};

Data const& data() {
  static Data const d;
  return d;
}

void BM_MapPoints_Orv(benchmark::State& state) {
  Data const& d = data();
  ccXform<2> const x = d.xforms[0];
  int const n = static_cast<int>(state.range(0));
  std::vector<ccVector<2>> out(n);
  for (auto _ : state) {
    for (int i = 0; i < n; ++i) out[i] = x * d.points[i];
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}
// A million points (bound by memory), and a few thousand that stay in cache.
BENCHMARK(BM_MapPoints_Orv)->Arg(kPoints)->Arg(4096);

void BM_MapPoints_Eigen(benchmark::State& state) {
  Data const& d = data();
  Eigen::Affine2d const x = d.eigenXforms[0];
  int const n = static_cast<int>(state.range(0));
  std::vector<Eigen::Vector2d> out(n);
  for (auto _ : state) {
    for (int i = 0; i < n; ++i) out[i] = x * d.eigenPoints[i];
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_MapPoints_Eigen)->Arg(kPoints)->Arg(4096);

void BM_Compose_Orv(benchmark::State& state) {
  Data const& d = data();
  std::vector<ccXform<2>> out(kXforms);
  for (auto _ : state) {
    for (int i = 0; i < kXforms; ++i) out[i] = d.xforms[i] * d.xforms[(i + 1) % kXforms];
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kXforms);
}
BENCHMARK(BM_Compose_Orv);

void BM_Compose_Eigen(benchmark::State& state) {
  Data const& d = data();
  std::vector<Eigen::Affine2d> out(kXforms);
  for (auto _ : state) {
    for (int i = 0; i < kXforms; ++i) out[i] = d.eigenXforms[i] * d.eigenXforms[(i + 1) % kXforms];
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kXforms);
}
BENCHMARK(BM_Compose_Eigen);

void BM_Inverse_Orv(benchmark::State& state) {
  Data const& d = data();
  std::vector<ccXform<2>> out(kXforms);
  for (auto _ : state) {
    for (int i = 0; i < kXforms; ++i) out[i] = d.xforms[i].inverse();
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kXforms);
}
BENCHMARK(BM_Inverse_Orv);

void BM_Inverse_Eigen(benchmark::State& state) {
  Data const& d = data();
  std::vector<Eigen::Affine2d> out(kXforms);
  for (auto _ : state) {
    for (int i = 0; i < kXforms; ++i) out[i] = d.eigenXforms[i].inverse(Eigen::Affine);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kXforms);
}
BENCHMARK(BM_Inverse_Eigen);

}  // namespace
