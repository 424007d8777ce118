// ccLSPointToPointFitter: rigid, similarity and affine fits from running
// sums, the residual from the sums, and its refusals.
#include "orvstd/cfit/ls_fitters.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "orvstd/math/rigid.h"

namespace {

using M2 = ccMatrix<2>;
using V2 = ccVector<2>;
using X2 = ccXform<2>;

TEST(PointToPointFitter, RecoversEachKindOfMapFromExactData) {
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> u(-100, 100);
  std::vector<V2> b;
  for (int i = 0; i < 25; ++i) b.emplace_back(u(rng), u(rng));
  struct {
    int dof;
    X2 truth;
  } const cases[] = {
      {3, cc2Rigid(ccDegree(-30), V2(5, 7)).linear()},
      {4, X2(M2(2.0, 1.0, ccRadian(0), ccRadian(0.7)), V2(-3, 1))},
      {6, X2(M2(1.5, -0.25, 0.5, 0.75), V2(10, -20))},
  };
  for (auto const& c : cases) {
    std::vector<V2> a;
    for (V2 const& p : b) a.push_back(c.truth * p);
    ccLSPointToPointFitter const f(a, b);
    EXPECT_EQ(f.numPoints(), 25);
    X2 const fitted = f.fit(c.dof);
    EXPECT_TRUE(cfRealEq(fitted, c.truth, 1e-9)) << c.dof;
    EXPECT_NEAR(f.error(fitted), 0, 1e-6) << c.dof;
  }
}

TEST(PointToPointFitter, ErrorIsTheSumOfSquaredResiduals) {
  std::vector<V2> const a{V2(1, 2), V2(3, -1), V2(0, 5), V2(-2, -2)};
  std::vector<V2> const b{V2(0, 0), V2(2, 1), V2(-1, 3), V2(4, 4)};
  ccLSPointToPointFitter f;
  for (std::size_t i = 0; i < a.size(); ++i) f.update(a[i], b[i]);
  X2 const t(M2(0.5, 1, -1, 2), V2(0.25, -3));
  double want = 0;
  for (std::size_t i = 0; i < a.size(); ++i) { V2 const r = a[i] - t * b[i]; want += r.dot(r); }
  EXPECT_NEAR(f.error(t), want, 1e-9 * want);
  // The affine fit is the least-squares one: no other map does better.
  X2 const best = f.fit(6);
  EXPECT_LT(f.error(best), f.error(X2(best.matrix(), best.trans() + V2(0.01, 0))));
  EXPECT_LT(f.error(best), f.error(X2(best.matrix() * 1.001, best.trans())));
  f.reset();
  EXPECT_EQ(f.numPoints(), 0);
  EXPECT_THROW((void)f.fit(6), ccLSPointToPointFitter::UnstableErr);
}

TEST(PointToPointFitter, Refusals) {
  EXPECT_THROW(ccLSPointToPointFitter(std::vector<V2>(3), std::vector<V2>(2)), ccLSPointToPointFitter::BadArgErr);
  ccLSPointToPointFitter one;
  one.update(V2(1, 1), V2(2, 2));
  for (int dof : {3, 4, 6}) EXPECT_THROW((void)one.fit(dof), ccLSPointToPointFitter::UnstableErr) << dof;
  for (int dof : {2, 5, 7}) EXPECT_THROW((void)one.fit(dof), ccLSPointToPointFitter::BadArgErr) << dof;
  ccLSPointToPointFitter same;
  same.update(V2(1, 1), V2(2, 2));
  same.update(V2(1, 1), V2(2, 2));
  EXPECT_THROW((void)same.fit(3), ccLSPointToPointFitter::UnstableErr);  // c = s = 0
  EXPECT_THROW((void)same.fit(4), ccLSPointToPointFitter::UnstableErr);  // d = 0
  ccLSPointToPointFitter line;
  for (double x : {0.0, 1.0, 2.0, 5.0}) line.update(V2(x, 0), V2(x, 0));
  EXPECT_THROW((void)line.fit(6), ccLSPointToPointFitter::UnstableErr);
  EXPECT_NO_THROW((void)line.fit(4));
}

}  // namespace
