// Test helpers for plane transforms: reproducible random points, and a
// check of a transform's local linear approximation against central
// differences of its map. Test-only.
//
//   for (ccVector<2> const& at : randomPoints(100, 9, -5, 5)) expectTangent(chain, at, 1e-6);
#ifndef ORVSTD_MATH_TESTING_XFORM_TESTING_H_
#define ORVSTD_MATH_TESTING_XFORM_TESTING_H_

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "orvstd/math/xform_base.h"

// n points, uniform in [lo, hi) in both coordinates.
inline std::vector<ccVector<2>> randomPoints(int n, unsigned seed, double lo, double hi) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(lo, hi);
  std::vector<ccVector<2>> pts;
  for (int i = 0; i < n; ++i) pts.emplace_back(u(rng), u(rng));
  return pts;
}
inline std::vector<ccVector<2>> randomPoints(int n, unsigned seed, double range) {
  return randomPoints(n, seed, -range, range);
}

// The Jacobian of x's map at p by central differences of step h.
inline ccMatrix<2> numericJacobian(cc2XformBase const& x, ccVector<2> const& p, double h) {
  ccVector<2> const dx = (x.mapPoint(p + ccVector<2>(h, 0)) - x.mapPoint(p - ccVector<2>(h, 0))) / (2 * h);
  ccVector<2> const dy = (x.mapPoint(p + ccVector<2>(0, h)) - x.mapPoint(p - ccVector<2>(0, h))) / (2 * h);
  return ccMatrix<2>(dx.x(), dy.x(), dx.y(), dy.y());
}

// linearXform(at) takes `at` where the map does, and its matrix agrees with
// central differences within `tolerance` relative to each element (plus
// an absolute `tolerance`).
inline void expectTangent(cc2XformBase const& x, ccVector<2> const& at, double tolerance, double h = 1e-5) {
  cc2XformLinear const l = x.linearXform(at);
  ccVector<2> const image = x.mapPoint(at);
  EXPECT_TRUE(cfRealEq(l.mapPoint(at), image, 1e-9 * (1 + image.len()))) << at.x() << "," << at.y();
  ccMatrix<2> const j = numericJacobian(x, at, h);
  for (int r = 0; r < 2; ++r)
    for (int c = 0; c < 2; ++c)
      EXPECT_NEAR(l.matrix().element(r, c), j.element(r, c), tolerance * (1 + std::fabs(j.element(r, c))))
          << at.x() << "," << at.y();
}

#endif  // ORVSTD_MATH_TESTING_XFORM_TESTING_H_
