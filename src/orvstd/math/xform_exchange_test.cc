// Plane transforms to and from kernel transform handles: the kernel's own
// kinds both ways, generic wrappers that the kernel maps, composes, inverts
// and clones through, wrappers coming back as the wrapped object, composed
// lists in order, and counts.
#include "orvstd/math/xform_exchange.h"

#include <gtest/gtest.h>

#include <vector>

#include "orvstd/kernel/kmath_xformPtrh.h"
#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_composed.h"
#include "orvstd/math/xform_perspective.h"

namespace {

using M2 = ccMatrix<2>;
using M3 = ccMatrix<3>;
using V2 = ccVector<2>;

// A kernel handle that is destructed with the test.
struct KernelHandle {
  kmath_xformPtrh h{};
  KernelHandle() { kmath_xformPtrh_construct(&h); }
  ~KernelHandle() { kmath_xformPtrh_destruct(&h); }
  KernelHandle(KernelHandle const&) = delete;
  KernelHandle& operator=(KernelHandle const&) = delete;
  kmath_xformPtrhConst* c() { return &h; }
};

V2 kernelMap(kmath_xformPtrhConst const* k, V2 p) {
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(k, p, &q), 0);
  return q;
}

std::vector<V2> const kProbes{V2(0, 0), V2(1, 2), V2(-3, 0.5), V2(10, -7)};

TEST(Xform2Exchange, LinearAndPerspectiveAreTheKernelsOwnKinds) {
  cc2XformLinear const l(M2(2, 1, 0, 3), V2(-1, 4));
  KernelHandle kl;
  kmath_xformPtrh_destruct(&kl.h);
  cc2XformBaseTokmath_xform(l, kl.c());
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinear(kl.c()), 1);
  kmath_xformLinear got{};
  ASSERT_EQ(kmath_xformPtrhConst_getLinear(kl.c(), &got), 0);
  EXPECT_EQ(ccXform<2>(got), l.xform());
  cc2XformBasePtrh_const const backL = kmath_xformTocc2XformBase(*kl.c());
  auto const* bl = dynamic_cast<cc2XformLinear const*>(backL.get());
  ASSERT_NE(bl, nullptr);
  EXPECT_EQ(*bl, l);

  M3 const h(1.1, 0.2, 3, 0, 0.9, -1, 0.001, 0.002, 1);
  cc2XformPerspective const p(h);
  KernelHandle kp;
  kmath_xformPtrh_destruct(&kp.h);
  cc2XformBaseTokmath_xform(p, kp.c());
  EXPECT_EQ(kmath_xformPtrhConst_getIsPerspective(kp.c()), 1);
  cc2XformBasePtrh_const const backP = kmath_xformTocc2XformBase(*kp.c());
  auto const* bp = dynamic_cast<cc2XformPerspective const*>(backP.get());
  ASSERT_NE(bp, nullptr);
  EXPECT_EQ(bp->matrix(), h);
  for (V2 const& q : kProbes) EXPECT_EQ(kernelMap(kp.c(), q), p.mapPoint(q));
}

TEST(Xform2Exchange, AnyOtherClassTravelsAsAWrapperAndComesBackItself) {
  ccTestWarp const w(0.25);
  KernelHandle k;
  kmath_xformPtrh_destruct(&k.h);
  cc2XformBaseTokmath_xform(w, k.c());
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinear(k.c()), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getIsPerspective(k.c()), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getIsComposed(k.c()), 0);
  // The kernel maps through the wrapper's table.
  for (V2 const& q : kProbes) EXPECT_EQ(kernelMap(k.c(), q), w.mapPoint(q));
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(k.c()), 0);
  kmath_xformLinear t{};
  ASSERT_EQ(kmath_xformPtrhConst_getLinearXform(k.c(), V2(1, 2), &t), 0);
  EXPECT_EQ(ccXform<2>(t), w.linearXform(V2(1, 2)).xform());

  // Back: the wrapped clone itself, the same object every time.
  cc2XformBasePtrh_const const a = kmath_xformTocc2XformBase(*k.c());
  cc2XformBasePtrh_const const b = kmath_xformTocc2XformBase(*k.c());
  EXPECT_EQ(a.get(), b.get());
  EXPECT_NE(a.get(), &w);
  ASSERT_NE(dynamic_cast<ccTestWarp const*>(a.get()), nullptr);
  EXPECT_EQ(a->refCount(), 3);  // the wrapper's and ours
  // Wrapping the wrapped object again and reading it back gives a clone of
  // it: a wrapper is never wrapped.
  KernelHandle again;
  genericConstruct(*a, &again.h);
  cc2XformBasePtrh_const const c = kmath_xformTocc2XformBase(*again.c());
  EXPECT_NE(c.get(), a.get());
  EXPECT_NE(dynamic_cast<ccTestWarp const*>(c.get()), nullptr);

  // The wrapper lets its object go when the kernel handle goes.
  kmath_xformPtrh_destruct(&k.h);
  EXPECT_EQ(a->refCount(), 2);
}

TEST(Xform2Exchange, KernelComposesInvertsAndClonesThroughWrappers) {
  cc2XformComposed const chain(ccTestWarp(0.5), cc2XformLinear(M2(), V2(1, 0)), true, true);
  KernelHandle k, lin, out;
  genericConstruct(chain, k.c());
  cc2XformBaseTokmath_xform(cc2XformLinear(M2(2, 0, 0, 2), V2()), lin.c());
  ASSERT_EQ(kmath_xformPtrhConst_compose(k.c(), lin.c(), &out.h), 0);  // lin first
  for (V2 const& q : kProbes) EXPECT_EQ(kernelMap(out.c(), q), chain.mapPoint(V2(2 * q.x(), 2 * q.y())));
  cc2XformBasePtrh_const const composed = kmath_xformTocc2XformBase(*out.c());
  auto const* cc = dynamic_cast<cc2XformComposed const*>(composed.get());
  ASSERT_NE(cc, nullptr);
  EXPECT_EQ(cc->elements().size(), 3u);

  KernelHandle inv, copy;
  ASSERT_EQ(kmath_xformPtrhConst_getInverse(k.c(), &inv.h), 0);
  for (V2 const& q : kProbes) EXPECT_TRUE(cfRealEq(kernelMap(inv.c(), chain.mapPoint(q)), q, 1e-12));
  ASSERT_EQ(kmath_xformPtrhConst_clone(k.c(), &copy.h), 0);
  EXPECT_NE(kmath_xformTocc2XformBase(*copy.c()).get(), kmath_xformTocc2XformBase(*k.c()).get());
  for (V2 const& q : kProbes) EXPECT_EQ(kernelMap(copy.c(), q), chain.mapPoint(q));

  // A failure inside an entry comes back as the one foreign failure code:
  // no exception crosses into the kernel.
  cc2XformComposed const atInfinity(cc2XformPerspective(M3(1, 0, 0, 0, 1, 0, 1, 0, 0)), true);
  KernelHandle bad, none;
  genericConstruct(atInfinity, bad.c());
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(bad.c(), V2(0, 3), &q), static_cast<c_Int32>(0x80000000u));
  cc2XformComposed const singular(cc2XformLinear(M2(1, 1, 1, 1), V2()), ccTestWarp(1), true, true);
  KernelHandle s;
  genericConstruct(singular, s.c());
  EXPECT_LT(kmath_xformPtrhConst_getInverse(s.c(), &none.h), 0);
  EXPECT_EQ(none.h.object, nullptr);
}

TEST(Xform2Exchange, KernelListsComeBackHeadRightmost) {
  cc2XformLinear const first(M2(), V2(1, 0));
  cc2XformPerspective const second(M3(1, 0, 0, 0, 1, 0, 0.01, 0, 1));
  ccTestWarp const third(0.5);
  KernelHandle items[3];
  cc2XformBaseTokmath_xform(first, items[0].c());
  cc2XformBaseTokmath_xform(second, items[1].c());
  cc2XformBaseTokmath_xform(third, items[2].c());
  kmath_xformPtrhConst const raw[3] = {*items[0].c(), *items[1].c(), *items[2].c()};
  KernelHandle list;
  ASSERT_EQ(kmath_xformPtrhConst_constructComposed(list.c(), raw, 3), 0);
  cc2XformBasePtrh_const const back = kmath_xformTocc2XformBase(*list.c());
  auto const* c = dynamic_cast<cc2XformComposed const*>(back.get());
  ASSERT_NE(c, nullptr);
  ASSERT_EQ(c->elements().size(), 3u);
  EXPECT_NE(dynamic_cast<cc2XformLinear const*>(c->elements()[2].get()), nullptr);  // applied first
  EXPECT_NE(dynamic_cast<cc2XformPerspective const*>(c->elements()[1].get()), nullptr);
  EXPECT_NE(dynamic_cast<ccTestWarp const*>(c->elements()[0].get()), nullptr);
  for (V2 const& q : kProbes) {
    EXPECT_EQ(c->mapPoint(q), third.mapPoint(second.mapPoint(first.mapPoint(q))));
    EXPECT_TRUE(cfRealEq(kernelMap(list.c(), q), c->mapPoint(q), 1e-12));
  }
  KernelHandle empty;
  ASSERT_EQ(kmath_xformPtrhConst_constructComposed(empty.c(), nullptr, 0), 0);
  EXPECT_FALSE(kmath_xformTocc2XformBase(*empty.c()));
}

TEST(Xform2ExchangeDeathTest, AHandleOfNoKnownKindAsserts) {
  KernelHandle null;
  EXPECT_DEATH((void)kmath_xformTocc2XformBase(*null.c()), "");
}

}  // namespace
