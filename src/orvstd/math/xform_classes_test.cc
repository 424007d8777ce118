// The plane transform classes: the storage pool of linear bodies,
// cc2XformLinear, cc2XformComposed; composition rules, inversion and the
// chain rule of the linear approximation.
#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "orvstd/math/storage_pool.h"
#include "orvstd/math/testing/xform_testing.h"
#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_base.h"
#include "orvstd/math/xform_composed.h"

namespace {

using M2 = ccMatrix<2>;
using V2 = ccVector<2>;

// --- Storage pool ------------------------------------------------------------

TEST(StoragePool, BlocksOfFixedCountReusedAndFreedWhenIdle) {
  ccStoragePool pool(24, 4, "test");
  EXPECT_EQ(pool.name(), "test");
  EXPECT_EQ(pool.objectSize(), 24u);
  std::vector<void*> got;
  for (int i = 0; i < 5; ++i) got.push_back(pool.alloc(24));
  EXPECT_EQ(pool.blocks(), 2);  // four to a block
  EXPECT_EQ(pool.outstanding(), 5);
  for (std::size_t i = 0; i < got.size(); ++i) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(got[i]) % alignof(std::max_align_t), 0u);
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(got[i], got[j]);
  }
  pool.free(got[2]);
  EXPECT_EQ(pool.alloc(24), got[2]);  // the free list first
  EXPECT_FALSE(pool.maybeDelete());   // objects are out
  EXPECT_EQ(pool.blocks(), 2);
  for (void* p : got) pool.free(p);
  pool.free(nullptr);
  EXPECT_EQ(pool.outstanding(), 0);
  EXPECT_EQ(pool.blocks(), 2);  // autoDelete is off
  EXPECT_TRUE(pool.maybeDelete());
  EXPECT_EQ(pool.blocks(), 0);

  EXPECT_FALSE(pool.autoDelete());
  pool.autoDelete(true);
  void* a = pool.alloc(24);
  void* b = pool.alloc(24);
  pool.free(a);
  EXPECT_EQ(pool.blocks(), 1);
  pool.free(b);  // the last one back frees the block
  EXPECT_EQ(pool.blocks(), 0);
}

TEST(StoragePoolDeathTest, WrongSizeAsserts) {
  ccStoragePool pool(24, 4, "test");
  EXPECT_DEATH(pool.alloc(32), "");
}

TEST(StoragePool, LinearBodiesComeFromTheSharedPoolUnderManyThreads) {
  ccStoragePool& pool = cc2XformLinear::storagePool();
  EXPECT_EQ(pool.name(), "LEAKcc2XformLinear");
  EXPECT_EQ(pool.objectSize(), sizeof(cc2XformLinear));
  c_Int32 const before = pool.outstanding();
  {
    cc2XformBasePtrh h(new cc2XformLinear);
    EXPECT_EQ(pool.outstanding(), before + 1);
  }
  EXPECT_EQ(pool.outstanding(), before);

  // Four threads make and drop chains of bodies at once; every body must
  // come back and no two live bodies may share storage.
  std::vector<std::thread> threads;
  std::atomic<bool> clash{false};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &clash] {
      for (int round = 0; round < 200; ++round) {
        std::vector<cc2XformBasePtrh> live;
        for (int i = 0; i < 300; ++i) live.emplace_back(new cc2XformLinear(M2(), V2(t, i)));
        for (int i = 0; i < 300; ++i)
          if (live[i]->mapPoint(V2()) != V2(t, i)) clash = true;
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_FALSE(clash);
  EXPECT_EQ(pool.outstanding(), before);
}

// --- cc2XformLinear ------------------------------------------------------------

TEST(Xform2Linear, ForwardsToTheValueAndComparesExactly) {
  ccXform<2> const x(M2(2, 1, -1, 3), V2(5, -4));
  cc2XformLinear const a(x);
  EXPECT_EQ(ccXform<2>(a), x);
  EXPECT_EQ(a.matrix(), x.matrix());
  EXPECT_EQ(a.trans(), x.trans());
  EXPECT_EQ(a.mapPoint(V2(1, 2)), x.mapPoint(V2(1, 2)));
  EXPECT_EQ(a * V2(1, 2), x * V2(1, 2));
  EXPECT_EQ(a.mapVector(V2(1, 2)), x.mapVector(V2(1, 2)));
  EXPECT_EQ(a.invMapPoint(V2(1, 2)), x.invMapPoint(V2(1, 2)));
  EXPECT_EQ(a.invMapVector(V2(1, 2)), x.invMapVector(V2(1, 2)));
  EXPECT_EQ(a.mapArea(2), x.mapArea(2));
  EXPECT_EQ(a.invMapArea(2), x.invMapArea(2));
  EXPECT_EQ(a.mapAngle(ccRadian(0.3)), x.mapAngle(ccRadian(0.3)));
  EXPECT_EQ(a.invMapAngle(ccRadian(0.3)), x.invMapAngle(ccRadian(0.3)));
  EXPECT_EQ(a.xRot(), x.xRot());
  EXPECT_EQ(a.yRot(), x.yRot());
  EXPECT_EQ(a.xScale(), x.xScale());
  EXPECT_EQ(a.yScale(), x.yScale());
  EXPECT_EQ(a.scale(), x.scale());
  EXPECT_EQ(a.aspect(), x.aspect());
  EXPECT_EQ(a.shear(), x.shear());
  EXPECT_EQ(a.rotation(), x.rotation());
  EXPECT_EQ(ccXform<2>(a.inverse()), x.inverse());
  EXPECT_TRUE(cc2XformLinear().isIdentity());
  EXPECT_FALSE(a.isIdentity());

  cc2XformLinear const b(V2(1, 1), ccRadian(0.5), ccRadian(0.25), 2, 3);
  EXPECT_EQ(ccXform<2>(b), ccXform<2>(V2(1, 1), ccRadian(0.5), ccRadian(0.25), 2, 3));
  cc2XformLinear const c(V2(1, 1), 2.0, 0.5, ccRadian(0.1), ccRadian(0.2));
  EXPECT_EQ(ccXform<2>(c), ccXform<2>(V2(1, 1), 2.0, 0.5, ccRadian(0.1), ccRadian(0.2)));
  EXPECT_EQ(ccXform<2>(a * b), x * ccXform<2>(b));  // b first
  EXPECT_EQ(a.compose(b), a * b);

  cc2XformLinear d;
  d = x;
  EXPECT_EQ(d, a);
  d.trans(V2(5, -3.5));
  EXPECT_NE(d, a);
  EXPECT_TRUE(cfRealEq(d, a, 0.5));
  EXPECT_FALSE(cfRealEq(d, a, 0.49));
  d.trans(a.trans());
  d.matrix(M2(2, 1, -1, 3.25));
  EXPECT_NE(d, a);
  EXPECT_TRUE(cfRealEq(d, a, 0.25));
  EXPECT_FALSE(cfRealEq(d, a, 0.2));

  cc2XformLinear const singular(M2(1, 2, 2, 4), V2());
  EXPECT_TRUE(singular.isSingular());
  EXPECT_THROW((void)singular.inverse(), ccMathError::Singular);
  EXPECT_THROW((void)singular.inverseBase(), ccMathError::Singular);
}

TEST(Xform2Linear, BaseOperationsReturnNewObjects) {
  cc2XformBasePtrh a(new cc2XformLinear(M2(0, -1, 1, 0), V2(3, 4)));
  EXPECT_TRUE(a->isLinear());
  for (V2 at : {V2(), V2(100, -7)}) EXPECT_EQ(a->linearXform(at), *static_cast<cc2XformLinear*>(a.get()));
  cc2XformBasePtrh const c = a->clone();
  EXPECT_NE(c.get(), a.get());
  EXPECT_EQ(c->refCount(), 1);
  EXPECT_EQ(a->refCount(), 1);
  auto const* cl = dynamic_cast<cc2XformLinear const*>(c.get());
  ASSERT_NE(cl, nullptr);
  EXPECT_EQ(*cl, *static_cast<cc2XformLinear*>(a.get()));
  cc2XformBasePtrh const inv = a->inverseBase();
  for (V2 p : randomPoints(10, 1, 10)) EXPECT_TRUE(cfRealEq(inv->mapPoint(a->mapPoint(p)), p, 1e-12));
}

// Which class composition yields, by the kind of the right side.
TEST(Xform2Compose, LinearAbsorbsLinearAndChainsTheRest) {
  cc2XformLinear const a(M2(2, 0, 0, 2), V2(1, 0));
  cc2XformLinear const b(M2(0, 1, -1, 0), V2(0, 5));
  cc2XformBasePtrh const ab = a.composeBase(b);
  auto const* lab = dynamic_cast<cc2XformLinear const*>(ab.get());
  ASSERT_NE(lab, nullptr);
  EXPECT_EQ(*lab, a * b);

  // A composition that is linear as a whole multiplies out as well.
  cc2XformComposed const linearChain(b, cc2XformLinear(M2(), V2(1, 1)), true, true);
  cc2XformBasePtrh const ac = a * linearChain;
  ASSERT_NE(dynamic_cast<cc2XformLinear const*>(ac.get()), nullptr);
  for (V2 p : randomPoints(5, 2, 10)) EXPECT_EQ(ac->mapPoint(p), a.mapPoint(linearChain.mapPoint(p)));

  ccTestWarp const w(0.5);
  cc2XformBasePtrh const aw = a * w;
  auto const* caw = dynamic_cast<cc2XformComposed const*>(aw.get());
  ASSERT_NE(caw, nullptr);
  ASSERT_EQ(caw->elements().size(), 2u);
  EXPECT_NE(caw->elements()[1].get(), &w);  // clones
  for (V2 p : randomPoints(5, 3, 10)) EXPECT_EQ(aw->mapPoint(p), a.mapPoint(w.mapPoint(p)));
  // The default rule of any other class: a composition of two clones.
  cc2XformBasePtrh const wa = w * a;
  auto const* cwa = dynamic_cast<cc2XformComposed const*>(wa.get());
  ASSERT_NE(cwa, nullptr);
  EXPECT_EQ(cwa->elements().size(), 2u);
  for (V2 p : randomPoints(5, 4, 10)) EXPECT_EQ(wa->mapPoint(p), w.mapPoint(a.mapPoint(p)));
}

// --- cc2XformComposed -------------------------------------------------------------

TEST(Xform2Composed, DefaultIsOneIdentity) {
  cc2XformComposed const c;
  ASSERT_EQ(c.elements().size(), 1u);
  EXPECT_TRUE(c.isLinear());
  for (V2 p : randomPoints(5, 5, 10)) EXPECT_EQ(c.mapPoint(p), p);
  EXPECT_TRUE(c.linearXform(V2(3, 4)).isIdentity());
}

TEST(Xform2Composed, OrderCloningAndSharing) {
  cc2XformBasePtrh shift(new cc2XformLinear(M2(), V2(1, 0)));
  cc2XformBasePtrh warp(new ccTestWarp(0.25));
  cc2XformBasePtrh scale(new cc2XformLinear(M2(3, 0, 0, 3), V2()));
  cc2XformComposed c(*warp, false);  // shared
  EXPECT_EQ(c.elements()[0].get(), warp.get());
  EXPECT_EQ(warp->refCount(), 2);
  c.preCompose(*scale, true);   // applied last
  c.postCompose(*shift, false);  // applied first
  ASSERT_EQ(c.elements().size(), 3u);
  EXPECT_NE(c.elements()[0].get(), scale.get());
  EXPECT_EQ(c.elements()[2].get(), shift.get());
  EXPECT_FALSE(c.isLinear());
  for (V2 p : randomPoints(10, 6, 10)) EXPECT_EQ(c.mapPoint(p), scale->mapPoint(warp->mapPoint(shift->mapPoint(p))));

  // Copies and clones share the elements, never clone them.
  cc2XformComposed const copy(c);
  cc2XformBasePtrh const cl = c.clone();
  auto const* ccl = dynamic_cast<cc2XformComposed const*>(cl.get());
  ASSERT_NE(ccl, nullptr);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(copy.elements()[i].get(), c.elements()[i].get());
    EXPECT_EQ(ccl->elements()[i].get(), c.elements()[i].get());
  }
  // Composing appends a clone of the right side to a copy; this is untouched.
  cc2XformBasePtrh const more = c * *shift;
  auto const* cm = dynamic_cast<cc2XformComposed const*>(more.get());
  ASSERT_NE(cm, nullptr);
  EXPECT_EQ(cm->elements().size(), 4u);
  EXPECT_EQ(c.elements().size(), 3u);
  EXPECT_EQ(cm->elements()[0].get(), c.elements()[0].get());
  EXPECT_NE(cm->elements()[3].get(), shift.get());

  cc2XformComposed const two(*scale, *warp, false, true);
  EXPECT_EQ(two.elements()[0].get(), scale.get());
  EXPECT_NE(two.elements()[1].get(), warp.get());
}

TEST(Xform2Composed, InvertsOnAHundredRandomPoints) {
  cc2XformComposed c(cc2XformLinear(M2(1.5, 0.2, -0.3, 0.8), V2(2, -1)), ccTestWarp(0.03), true, true);
  c.preCompose(ccTestWarp(-0.01), true);
  c.postCompose(cc2XformLinear(M2(0, 2, -0.5, 0), V2(-4, 7)), true);
  cc2XformBasePtrh const inv = c.inverseBase();
  auto const* ci = dynamic_cast<cc2XformComposed const*>(inv.get());
  ASSERT_NE(ci, nullptr);
  ASSERT_EQ(ci->elements().size(), 4u);
  // Order reversed, each element inverted.
  auto const* w = dynamic_cast<ccTestWarp const*>(ci->elements()[3].get());
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(w->a(), 0.01);
  for (V2 p : randomPoints(100, 7, 10)) {
    V2 const q = c.mapPoint(p);
    V2 const back = inv->mapPoint(q);
    EXPECT_NEAR(back.x(), p.x(), 1e-9 * (1 + p.len()));
    EXPECT_NEAR(back.y(), p.y(), 1e-9 * (1 + p.len()));
    EXPECT_TRUE(cfRealEq(c.mapPoint(back), q, 1e-9 * (1 + q.len())));
  }
  cc2XformComposed d = c;
  d.invert();
  for (V2 p : randomPoints(10, 8, 10)) EXPECT_EQ(d.mapPoint(p), inv->mapPoint(p));

  // An element without an inverse: Singular, and invert() leaves the chain.
  cc2XformComposed bad(cc2XformLinear(M2(1, 1, 1, 1), V2()), ccTestWarp(0.5), true, true);
  EXPECT_THROW((void)bad.inverseBase(), ccMathError::Singular);
  EXPECT_THROW(bad.invert(), ccMathError::Singular);
  EXPECT_NE(dynamic_cast<cc2XformLinear const*>(bad.elements()[0].get()), nullptr);
}

TEST(Xform2Composed, LinearisationIsTheChainRule) {
  cc2XformComposed c(ccTestWarp(0.2), cc2XformLinear(M2(1, 0.5, -0.25, 2), V2(1, 2)), true, true);
  c.preCompose(cc2XformLinear(M2(0.5, 0, 0, -1), V2(0, 3)), true);
  c.postCompose(ccTestWarp(-0.1), true);
  for (V2 at : randomPoints(100, 9, 5)) expectTangent(c, at, 1e-6);
}

TEST(Xform2Composed, DecomposeFlattensNestedChains) {
  cc2XformBasePtrh a(new cc2XformLinear(M2(), V2(1, 0)));
  cc2XformBasePtrh b(new ccTestWarp(1));
  cc2XformBasePtrh c(new cc2XformLinear(M2(), V2(0, 1)));
  cc2XformBasePtrh inner(new cc2XformComposed(*b, *c, false, false));
  cc2XformComposed outer(*a, *inner, false, false);
  outer.postCompose(*a, false);
  std::vector<cc2XformBasePtrh_const> parts{cc2XformBasePtrh_const(new cc2XformLinear)};
  outer.decompose(parts);  // emptied first
  ASSERT_EQ(parts.size(), 4u);
  EXPECT_EQ(parts[0].get(), a.get());
  EXPECT_EQ(parts[1].get(), b.get());
  EXPECT_EQ(parts[2].get(), c.get());
  EXPECT_EQ(parts[3].get(), a.get());
}

}  // namespace
