// cc2XformCache: the shared identity, cloning and sharing rules, the lazy
// inverse made once, the cached linear form and its refusal for nonlinear
// transforms.
#include "orvstd/math/xform_cache.h"

#include <gtest/gtest.h>

#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/pelbuf/pel.h"

namespace {

using M2 = ccMatrix<2>;
using V2 = ccVector<2>;

TEST(Xform2Cache, DefaultAndResetShareOneIdentity) {
  cc2XformCache a, b;
  EXPECT_TRUE(a.isLinear());
  EXPECT_TRUE(a.linearXform().isIdentity());
  EXPECT_EQ(a.xform().get(), b.xform().get());
  EXPECT_EQ(a.xform().get(), a.xformInverse().get());
  EXPECT_EQ(a.xform()->mapPoint(V2(3, 4)), V2(3, 4));
  a.xform(cc2XformLinear(M2(), V2(1, 1)));
  EXPECT_NE(a.xform().get(), b.xform().get());
  a.setIdentity();
  EXPECT_EQ(a.xform().get(), b.xform().get());
  EXPECT_EQ(a.xformInverse().get(), b.xform().get());
  EXPECT_TRUE(a.linearXform().isIdentity());
}

TEST(Xform2Cache, CloneOrShareByTheFlag) {
  cc2XformBasePtrh_const x(new cc2XformLinear(M2(2, 0, 0, 2), V2(1, 0)));
  cc2XformCache c;
  c.xform(x, false);
  EXPECT_EQ(c.xform().get(), x.get());
  c.xform(x, true);
  EXPECT_NE(c.xform().get(), x.get());
  EXPECT_EQ(c.xform()->mapPoint(V2(1, 1)), V2(3, 2));
  EXPECT_EQ(c.linearXform(), *dynamic_cast<cc2XformLinear const*>(x.get()));
  EXPECT_EQ(c.linearXformInverse(), dynamic_cast<cc2XformLinear const*>(x.get())->inverse());

  // The inverse given: the forward transform is made from it.
  c.xformInverse(x, false);
  EXPECT_EQ(c.xformInverse().get(), x.get());
  EXPECT_EQ(c.xform()->mapPoint(V2(3, 2)), V2(1, 1));
  EXPECT_EQ(c.linearXform().mapPoint(V2(3, 2)), V2(1, 1));
  c.xformInverse(*x);
  EXPECT_NE(c.xformInverse().get(), x.get());
  EXPECT_EQ(c.xform()->mapPoint(V2(3, 2)), V2(1, 1));

  cc2XformBasePtrh_const w(new ccTestWarp(1)), wi(new ccTestWarp(-1));
  c.xformAndXformInverse(w, wi);
  EXPECT_EQ(c.xform().get(), w.get());
  EXPECT_EQ(c.xformInverse().get(), wi.get());
  EXPECT_FALSE(c.isLinear());
}

TEST(Xform2Cache, InverseIsMadeOnceAndDroppedWithANewTransform) {
  cc2XformCache c;
  int const before = ccTestWarp::inversesMade();
  c.xform(ccTestWarp(0.5));
  cc2XformBase const* first = c.xformInverse().get();
  cc2XformBase const* second = c.xformInverse().get();
  EXPECT_EQ(first, second);
  EXPECT_EQ(ccTestWarp::inversesMade(), before + 1);
  EXPECT_EQ(c.xformInverse()->mapPoint(c.xform()->mapPoint(V2(2, 3))), V2(2, 3));
  c.xform(ccTestWarp(0.25));  // a new transform drops the old inverse
  EXPECT_EQ(c.xformInverse()->mapPoint(V2(1, 2)), V2(0, 2));
  EXPECT_EQ(ccTestWarp::inversesMade(), before + 2);
}

TEST(Xform2Cache, NonlinearRefusesTheLinearForm) {
  cc2XformCache c;
  c.xform(ccTestWarp(0.5));
  EXPECT_FALSE(c.isLinear());
  EXPECT_THROW((void)c.linearXform(), ccPel::NonlinearXform);
  EXPECT_THROW((void)c.linearXformInverse(), ccPel::NonlinearXform);
  // A composition that is linear as a whole is linear to the cache.
  c.xform(cc2XformComposed(cc2XformLinear(M2(), V2(1, 0)), cc2XformLinear(M2(2, 0, 0, 2), V2()), true, true));
  EXPECT_TRUE(c.isLinear());
  EXPECT_EQ(c.linearXform(), cc2XformLinear(M2(2, 0, 0, 2), V2(1, 0)));
}

TEST(Xform2Cache, CloneIsDeepAndKeepsANullInverse) {
  cc2XformCache c;
  c.xform(ccTestWarp(0.5));
  ccPtrHandle<cc2XformCache> const copy = c.clone();
  EXPECT_NE(copy->xform().get(), c.xform().get());
  EXPECT_EQ(copy->xform()->mapPoint(V2(1, 2)), V2(3, 2));
  EXPECT_FALSE(copy->isLinear());
  (void)c.xformInverse();
  ccPtrHandle<cc2XformCache> const withInverse = c.clone();
  EXPECT_NE(withInverse->xformInverse().get(), c.xformInverse().get());
  // The copy's inverse was null and is made on demand from its own xform.
  int const before = ccTestWarp::inversesMade();
  EXPECT_EQ(copy->xformInverse()->mapPoint(V2(3, 2)), V2(1, 2));
  EXPECT_EQ(ccTestWarp::inversesMade(), before + 1);

  cc2XformCache linear;
  linear.xform(cc2XformLinear(M2(0, 1, 1, 0), V2()));
  ccPtrHandle<cc2XformCache> const lc = linear.clone();
  EXPECT_TRUE(lc->isLinear());
  EXPECT_EQ(lc->linearXform(), linear.linearXform());
}

TEST(Xform2CacheDeathTest, NullHandlesAssert) {
  cc2XformCache c;
  EXPECT_DEATH(c.xform(cc2XformBasePtrh_const(), false), "");
  EXPECT_DEATH(c.xformInverse(cc2XformBasePtrh_const(), true), "");
}

}  // namespace
