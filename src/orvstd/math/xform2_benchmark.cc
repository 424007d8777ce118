// Mapping a million points through the plane transform classes (linear,
// perspective, polynomial of order 3, a composition of three) beside Eigen's
// Affine2d and Projective2d and, where the build found it, OpenCV's
// cv::perspectiveTransform. The peers are used here only.
#include <benchmark/benchmark.h>

#include <Eigen/Geometry>
#include <random>
#include <vector>

#include "orvstd/math/xform_base.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/math/xform_perspective.h"
#include "orvstd/math/xform_poly.h"

#if defined(ORVSTD_HAVE_OPENCV)
#include <opencv2/core.hpp>
#endif

namespace {

constexpr int kPoints = 1 << 20;

// Rows of the homography; points stay far from its line at infinity.
constexpr double kH[9] = {1.2, 0.1, 5, -0.2, 0.9, -3, 0.0004, -0.0003, 1};

struct Data {
  std::vector<ccVector<2>> points;
  std::vector<Eigen::Vector2d> eigenPoints;
  cc2XformBasePtrh linear, perspective, poly3, composed;
  Eigen::Affine2d eigenAffine;
  Eigen::Projective2d eigenProjective;

  Data() {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> u(-100, 100);
    for (int i = 0; i < kPoints; ++i) {
      double const x = u(rng), y = u(rng);
      points.emplace_back(x, y);
      eigenPoints.emplace_back(x, y);
    }
    ccMatrix<2> const m(1.1, 0.2, -0.3, 0.9);
    ccVector<2> const t(4, -2);
    linear = new cc2XformLinear(m, t);
    eigenAffine.linear() << 1.1, 0.2, -0.3, 0.9;
    eigenAffine.translation() << 4, -2;
    perspective = new cc2XformPerspective(ccMatrix<3>(kH[0], kH[1], kH[2], kH[3], kH[4], kH[5], kH[6], kH[7], kH[8]));
    eigenProjective.matrix() << kH[0], kH[1], kH[2], kH[3], kH[4], kH[5], kH[6], kH[7], kH[8];
    // An order-3 fit to a smooth warp.
    std::vector<ccVector<2>> a, b;
    for (int i = 0; i < 200; ++i) {
      ccVector<2> const p = points[static_cast<std::size_t>(i)];
      b.push_back(p);
      a.emplace_back(p.x() + 1e-3 * p.y() * p.y() + 1e-5 * p.x() * p.x() * p.y(), p.y() - 2e-3 * p.x() * p.y());
    }
    poly3 = new cc2XformPoly(a, b, 3);
    // Three elements the composition cannot multiply out.
    auto* c = new cc2XformComposed(*perspective, *poly3, true, true);
    c->postCompose(cc2XformPerspective(ccMatrix<3>(1, 0, 0, 0, 1, 0, 0.0002, 0.0001, 1)), true);
    composed = c;
  }
};

Data const& data() {
  static Data const d;
  return d;
}

// Every class is mapped through its base handle, as images and shapes do.
void mapThrough(benchmark::State& state, cc2XformBase const& x) {
  Data const& d = data();
  std::vector<ccVector<2>> out(kPoints);
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) out[i] = x.mapPoint(d.points[i]);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_Map_Linear(benchmark::State& state) { mapThrough(state, *data().linear); }
void BM_Map_Perspective(benchmark::State& state) { mapThrough(state, *data().perspective); }
void BM_Map_Poly3(benchmark::State& state) { mapThrough(state, *data().poly3); }
void BM_Map_Composed3(benchmark::State& state) { mapThrough(state, *data().composed); }

void BM_Map_EigenAffine2d(benchmark::State& state) {
  Data const& d = data();
  std::vector<Eigen::Vector2d> out(kPoints);
  for (auto _ : state) {
    for (int i = 0; i < kPoints; ++i) out[i] = d.eigenAffine * d.eigenPoints[i];
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_Map_EigenProjective2d(benchmark::State& state) {
  Data const& d = data();
  std::vector<Eigen::Vector2d> out(kPoints);
  for (auto _ : state) {
    Eigen::Matrix3d const& h = d.eigenProjective.matrix();
    for (int i = 0; i < kPoints; ++i) out[i] = (h * d.eigenPoints[i].homogeneous()).hnormalized();
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

BENCHMARK(BM_Map_Linear)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Map_EigenAffine2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Map_Perspective)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Map_EigenProjective2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Map_Poly3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Map_Composed3)->Unit(benchmark::kMillisecond);

#if defined(ORVSTD_HAVE_OPENCV)
void BM_Map_OpenCvPerspectiveTransform(benchmark::State& state) {
  Data const& d = data();
  std::vector<cv::Point2d> in, out(kPoints);
  for (auto const& p : d.points) in.emplace_back(p.x(), p.y());
  cv::Matx33d const h(kH[0], kH[1], kH[2], kH[3], kH[4], kH[5], kH[6], kH[7], kH[8]);
  for (auto _ : state) {
    cv::perspectiveTransform(in, out, h);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_Map_OpenCvPerspectiveTransform)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
