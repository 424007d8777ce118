#include "orvstd/kernel/kmath_xformPtrh.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "orvstd/kernel/ksys_memory.h"

namespace {

// --- A foreign transform: (x, y) -> (x + bend y^2, y), built the way the
// maths layer wraps its own classes: a block with a shared count, a table
// of three shared-object operations, and a dispatch table of its own.

std::atomic<int> foreignMade{0}, foreignReleased{0};

struct Foreign {
  double bend;
};

c_Int32 makeForeign(double bend, kmath_xformPtrhConst* out);

Foreign const& foreignOf(kmath_xformObject const* o) { return *static_cast<Foreign const*>(o->context); }

constexpr double kFailingBend = 666;  // this one refuses to map, as a wrapped exception would

c_Int32 foreignMap(kmath_xformObject const* o, kmath_vect in, kmath_vect* out) {
  double const b = foreignOf(o).bend;
  if (b == kFailingBend) return static_cast<c_Int32>(0x80000000u);
  *out = kmath_vect{in.x + b * in.y * in.y, in.y};
  return 0;
}
c_Int32 foreignIsLinear(kmath_xformObject const* o) { return foreignOf(o).bend == 0 ? 1 : 0; }
c_Int32 foreignTangent(kmath_xformObject const* o, kmath_vect at, kmath_xformLinear* out) {
  double const b = foreignOf(o).bend;
  *out = kmath_xformLinear{{at.x + b * at.y * at.y - (at.x + 2 * b * at.y * at.y), 0}, {1, 2 * b * at.y, 0, 1}};
  return 0;
}
c_Int32 foreignCompose(kmath_xformObject const* o, kmath_xformPtrhConst const* right, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  kmath_xformPtrhConst self;
  kstd_ptrhConst_construct(&self, const_cast<kstd_shared*>(&o->shared));
  kmath_xformPtrhConst const items[2] = {*right, self};
  c_Int32 const rc = kmath_xformPtrhConst_constructComposed(out, items, 2);
  kmath_xformPtrhConst_destruct(&self);
  return rc;
}
c_Int32 foreignInverse(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return makeForeign(-foreignOf(o).bend, out);
}
c_Int32 foreignClone(kmath_xformObject const* o, kmath_xformPtrh* out) {
  kmath_xformPtrh_destruct(out);
  return makeForeign(foreignOf(o).bend, out);
}
kmath_xformDispatch const kForeignDispatch{&foreignMap,     &foreignIsLinear, &foreignTangent,
                                           &foreignCompose, &foreignInverse,  &foreignClone};

c_Int32 foreignRelease(kstd_shared* s) {
  auto* o = reinterpret_cast<kmath_xformObject*>(s);
  delete static_cast<Foreign*>(o->context);
  ++foreignReleased;
  return kstd_shared_release_default(s);
}
kstd_sharedOps const kForeignOps{&foreignRelease, &kstd_shared_increment_default, &kstd_shared_decrement_default};

c_Int32 makeForeign(double bend, kmath_xformPtrhConst* out) {
  void* block = nullptr;
  if (c_Int32 rc = ksys_memory_alloc_internal(sizeof(kmath_xformObject), &block); rc < 0) return rc;
  auto* o = static_cast<kmath_xformObject*>(block);
  kstd_shared_init(&o->shared, &kForeignOps);
  kstd_ptrhConst_construct(out, &o->shared);
  o->dispatch = &kForeignDispatch;
  o->context = new Foreign{bend};
  ++foreignMade;
  return 0;
}

// --- Helpers --------------------------------------------------------------------

// A const handle that destructs itself.
struct Handle {
  kmath_xformPtrh h;
  Handle() { kmath_xformPtrh_construct(&h); }
  ~Handle() { kmath_xformPtrh_destruct(&h); }
  Handle(Handle const&) = delete;
  Handle& operator=(Handle const&) = delete;
  kmath_xformPtrh* operator&() { return &h; }
  kmath_xformPtrhConst const* c() const { return &h; }
  kmath_xformObject* object() const { return kmath_xformPtrhConst_object(&h); }
};

kmath_xformLinear const kLin{{5, -3}, {2, 0.5, -0.25, 1.5}};
kmath_xformPerspective const kPersp{{1.2, 0.1, 15, -0.05, 0.95, -7, 2e-3, -1e-3, 1}};

kmath_vect mapVia(kmath_xformPtrhConst const* h, kmath_vect p) {
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(h, p, &q), 0);
  return q;
}

kmath_vect applyLinear(kmath_xformLinear const& l, kmath_vect p) {
  return {l.matrix.e00 * p.x + l.matrix.e01 * p.y + l.trans.x, l.matrix.e10 * p.x + l.matrix.e11 * p.y + l.trans.y};
}

kmath_vect applyPerspective(kmath_vect p) {
  kmath_vect q{};
  EXPECT_EQ(kmath_xformPerspective_mapPoint(&kPersp, p, &q), 0);
  return q;
}

struct Kinds {
  int linear, perspective, composed;
  bool operator==(Kinds const&) const = default;
};
Kinds kindsOf(kmath_xformPtrhConst const* h) {
  EXPECT_EQ(kmath_xformPtrhConst_getIsDeform(h), 0);
  EXPECT_EQ(kcal_xformPtrhConst_getIsCalib2(h), 0);
  return {kmath_xformPtrhConst_getIsLinear(h), kmath_xformPtrhConst_getIsPerspective(h),
          kmath_xformPtrhConst_getIsComposed(h)};
}

std::vector<kmath_xformObject*> listOf(kmath_xformPtrhConst const* h) {
  kmath_xformListNode const* n = nullptr;
  EXPECT_EQ(kmath_xformPtrhConst_getComposed(h, &n), 0);
  std::vector<kmath_xformObject*> out;
  for (; n != nullptr; n = n->next) out.push_back(kmath_xformPtrhConst_object(&n->xform));
  return out;
}

void expectNear(kmath_vect a, kmath_vect b, double tol) {
  EXPECT_NEAR(a.x, b.x, tol);
  EXPECT_NEAR(a.y, b.y, tol);
}

// --- Shared objects ---------------------------------------------------------------

int countingReleases = 0;
c_Int32 countingRelease(kstd_shared* s) {
  ++countingReleases;
  return kstd_shared_release_default(s);
}

TEST(KernelShared, CountsAndReleasesOnceAtZero) {
  static kstd_sharedOps const ops{&countingRelease, &kstd_shared_increment_default, &kstd_shared_decrement_default};
  void* block = nullptr;
  ASSERT_EQ(ksys_memory_alloc_internal(sizeof(kstd_shared), &block), 0);
  auto* s = static_cast<kstd_shared*>(block);
  s->count = 77;
  ASSERT_EQ(kstd_shared_init(s, &ops), 0);
  EXPECT_EQ(s->count, 0);
  kstd_ptrhConst a, b, none;
  kstd_ptrhConst_construct(&a, s);
  kstd_ptrh_construct(&b, s);
  kstd_ptrhConst_construct(&none, nullptr);
  EXPECT_EQ(s->count, 2);
  countingReleases = 0;
  EXPECT_EQ(kstd_ptrhConst_destruct(&none), 0);
  EXPECT_EQ(kstd_ptrhConst_destruct(&a), 0);
  EXPECT_EQ(a.object, nullptr);
  EXPECT_EQ(countingReleases, 0);
  EXPECT_EQ(kstd_ptrhConst_destruct(&b), 0);
  EXPECT_EQ(countingReleases, 1);
  EXPECT_EQ(kstd_ptrhConst_destruct(&b), 0);  // null by now: nothing more
  EXPECT_EQ(countingReleases, 1);
}

TEST(KernelShared, HandlesOnManyThreadsReleaseExactlyOnce) {
  int const before = foreignReleased;
  Handle h;
  ASSERT_EQ(makeForeign(0.5, &h), 0);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        kmath_xformPtrhConst copy;
        kmath_xformPtrhConst_constructCopy(&copy, h.c());
        kmath_vect q{};
        if (kmath_xformPtrhConst_mapPoint(&copy, {1, 2}, &q) != 0 || q.x != 3) ++wrong;
        kmath_xformPtrhConst_destruct(&copy);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(h.object()->shared.count, 1);
  EXPECT_EQ(foreignReleased, before);
  kmath_xformPtrh_destruct(&h);
  EXPECT_EQ(foreignReleased, before + 1);
}

// --- Kinds and their own operations -----------------------------------------------------

TEST(KernelXformHandle, LinearObjects) {
  Handle h;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&h, &kLin), 0);
  EXPECT_EQ(kindsOf(h.c()), (Kinds{1, 0, 0}));
  kmath_xformLinear l{};
  ASSERT_EQ(kmath_xformPtrhConst_getLinear(h.c(), &l), 0);
  EXPECT_EQ(std::memcmp(&l, &kLin, sizeof l), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(h.c()), 1);
  kmath_xformLinear t{};
  ASSERT_EQ(kmath_xformPtrhConst_getLinearXform(h.c(), {100, 100}, &t), 0);
  EXPECT_EQ(std::memcmp(&t, &kLin, sizeof t), 0);
  kmath_vect const q = mapVia(h.c(), {1, 2});
  EXPECT_EQ(q.x, 2 * 1 + 0.5 * 2 + 5);
  EXPECT_EQ(q.y, -0.25 * 1 + 1.5 * 2 - 3);
  kmath_xformPerspective p;
  kmath_xformListNode const* n = nullptr;
  EXPECT_EQ(kmath_xformPtrhConst_getPerspective(h.c(), &p), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_getComposed(h.c(), &n), kmath_badArgument);

  Handle inv;
  ASSERT_EQ(kmath_xformPtrhConst_getInverse(h.c(), &inv), 0);
  EXPECT_EQ(kindsOf(inv.c()), (Kinds{1, 0, 0}));
  expectNear(mapVia(inv.c(), q), {1, 2}, 1e-14);

  kmath_xformLinear const singular{{1, 1}, {1, 2, 2, 4}};
  Handle s, sInv;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&s, &singular), 0);
  ASSERT_EQ(kmath_xformPtrhConst_clone(h.c(), &sInv), 0);  // something to be replaced
  EXPECT_EQ(kmath_xformPtrhConst_getInverse(s.c(), &sInv), kmath_singular);
  EXPECT_EQ(sInv.object(), nullptr);
}

TEST(KernelXformHandle, PerspectiveObjectsCopyTheirTransform) {
  kmath_xformPerspective source = kPersp;
  Handle h;
  ASSERT_EQ(kmath_xformPtrhConst_constructPerspective(&h, &source), 0);
  source.h[2] = 1000;  // the object has its own copy
  EXPECT_EQ(kindsOf(h.c()), (Kinds{0, 1, 0}));
  kmath_xformPerspective back;
  kmath_xformPerspective_construct(&back);
  ASSERT_EQ(kmath_xformPtrhConst_getPerspective(h.c(), &back), 0);
  EXPECT_EQ(std::memcmp(&back, &kPersp, sizeof back), 0);
  kmath_xformLinear l{};
  EXPECT_EQ(kmath_xformPtrhConst_getLinear(h.c(), &l), kmath_notLinear);
  EXPECT_EQ(static_cast<c_UInt32>(kmath_notLinear), 0x80000585u);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(h.c()), 0);
  kmath_vect const p{30, 40};
  kmath_vect const q = mapVia(h.c(), p);
  kmath_vect const expected = applyPerspective(p);
  EXPECT_EQ(q.x, expected.x);
  EXPECT_EQ(q.y, expected.y);
  // The line 2e-3 x - 1e-3 y + 1 = 0 goes to infinity, through a handle too.
  kmath_vect r{};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(h.c(), {0, 1000}, &r), kmath_mapsToInfinity);

  Handle inv;
  ASSERT_EQ(kmath_xformPtrhConst_getInverse(h.c(), &inv), 0);
  EXPECT_EQ(kindsOf(inv.c()), (Kinds{0, 1, 0}));
  expectNear(mapVia(inv.c(), q), p, 1e-11);

  kmath_xformPerspective const flat{{1, 2, 3, 2, 4, 6, 0, 0, 1}};
  Handle f;
  ASSERT_EQ(kmath_xformPtrhConst_constructPerspective(&f, &flat), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getInverse(f.c(), &inv), kmath_singular);
  EXPECT_EQ(inv.object(), nullptr);
}

TEST(KernelXformHandle, NullHandlesAreOfNoKindAndRefused) {
  Handle none, out, lin;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&lin, &kLin), 0);
  EXPECT_EQ(kindsOf(none.c()), (Kinds{0, 0, 0}));
  kmath_vect q{};
  kmath_xformLinear l{};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(none.c(), {0, 0}, &q), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(none.c()), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_getLinearXform(none.c(), {0, 0}, &l), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_getLinear(none.c(), &l), kmath_notLinear);
  EXPECT_EQ(kmath_xformPtrhConst_compose(none.c(), lin.c(), &out), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_compose(lin.c(), none.c(), &out), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_getInverse(none.c(), &out), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_clone(none.c(), &out), kmath_badArgument);
  EXPECT_EQ(out.object(), nullptr);
}

// --- Composition --------------------------------------------------------------------------

TEST(KernelXformHandle, ComposeTwoLinearsGivesALinear) {
  kmath_xformLinear const b{{1, 2}, {0, -1, 1, 0}};
  Handle a, bh, ab;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&a, &kLin), 0);
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&bh, &b), 0);
  ASSERT_EQ(kmath_xformPtrhConst_compose(a.c(), bh.c(), &ab), 0);
  EXPECT_EQ(kindsOf(ab.c()), (Kinds{1, 0, 0}));
  for (kmath_vect p : {kmath_vect{0, 0}, kmath_vect{3, -7}})
    expectNear(mapVia(ab.c(), p), applyLinear(kLin, applyLinear(b, p)), 1e-13);
}

TEST(KernelXformHandle, ComposeWithAnotherKindListsBothRightFirst) {
  Handle lin, persp, c;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&lin, &kLin), 0);
  ASSERT_EQ(kmath_xformPtrhConst_constructPerspective(&persp, &kPersp), 0);
  ASSERT_EQ(kmath_xformPtrhConst_compose(lin.c(), persp.c(), &c), 0);
  EXPECT_EQ(kindsOf(c.c()), (Kinds{0, 0, 1}));
  // The nodes share the objects: the perspective (applied first) heads the list.
  EXPECT_EQ(listOf(c.c()), (std::vector<kmath_xformObject*>{persp.object(), lin.object()}));
  EXPECT_EQ(persp.object()->shared.count, 2);
  kmath_vect const p{12, -9};
  expectNear(mapVia(c.c(), p), applyLinear(kLin, applyPerspective(p)), 1e-12);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(c.c()), 0);

  Handle c2;
  ASSERT_EQ(kmath_xformPtrhConst_compose(persp.c(), lin.c(), &c2), 0);
  EXPECT_EQ(listOf(c2.c()), (std::vector<kmath_xformObject*>{lin.object(), persp.object()}));
  expectNear(mapVia(c2.c(), p), applyPerspective(applyLinear(kLin, p)), 1e-12);
}

TEST(KernelXformHandle, ComposeIntoTheOnlyHandleOfItsSource) {
  int const made = foreignMade, released = foreignReleased;
  {
    Handle f, lin;
    ASSERT_EQ(makeForeign(0.25, &f), 0);
    ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&lin, &kLin), 0);
    // f is the only handle of the foreign object and also the output.
    ASSERT_EQ(kmath_xformPtrhConst_compose(f.c(), lin.c(), &f), 0);
    EXPECT_EQ(kindsOf(f.c()), (Kinds{0, 0, 1}));
    kmath_vect const p{1, 2}, l = applyLinear(kLin, p);
    expectNear(mapVia(f.c(), p), {l.x + 0.25 * l.y * l.y, l.y}, 1e-12);
    ASSERT_EQ(kmath_xformPtrhConst_clone(f.c(), &f), 0);
    expectNear(mapVia(f.c(), p), {l.x + 0.25 * l.y * l.y, l.y}, 1e-12);
  }
  EXPECT_EQ(foreignMade - made, foreignReleased - released);
}

class KernelComposed : public ::testing::Test {
 protected:
  void SetUp() override {
    made_ = foreignMade;
    released_ = foreignReleased;
    ASSERT_EQ(makeForeign(0.01, &foreign_), 0);
    ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&lin_, &kLin), 0);
    ASSERT_EQ(kmath_xformPtrhConst_constructPerspective(&persp_, &kPersp), 0);
    kmath_xformPtrhConst const items[3] = {foreign_.h, lin_.h, persp_.h};
    ASSERT_EQ(kmath_xformPtrhConst_constructComposed(&chain_, items, 3), 0);
  }
  void TearDown() override {
    kmath_xformPtrh_destruct(&chain_);
    kmath_xformPtrh_destruct(&foreign_);
    kmath_xformPtrh_destruct(&lin_);
    kmath_xformPtrh_destruct(&persp_);
    // Every foreign object made in the test has been released again.
    EXPECT_EQ(foreignMade - made_, foreignReleased - released_);
  }
  kmath_vect truth(kmath_vect p) const {
    kmath_vect const f{p.x + 0.01 * p.y * p.y, p.y};
    return applyPerspective(applyLinear(kLin, f));
  }
  int made_ = 0, released_ = 0;
  Handle foreign_, lin_, persp_, chain_;
};

TEST_F(KernelComposed, MapsThroughEveryKindFromTheHead) {
  EXPECT_EQ(kindsOf(chain_.c()), (Kinds{0, 0, 1}));
  EXPECT_EQ(listOf(chain_.c()),
            (std::vector<kmath_xformObject*>{foreign_.object(), lin_.object(), persp_.object()}));
  for (kmath_vect p : {kmath_vect{0, 0}, kmath_vect{10, 20}, kmath_vect{-40, 7}})
    expectNear(mapVia(chain_.c(), p), truth(p), 1e-10);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(chain_.c()), 0);
}

TEST_F(KernelComposed, TangentMapFollowsTheChainRule) {
  for (kmath_vect at : {kmath_vect{0, 0}, kmath_vect{10, 20}, kmath_vect{-40, 7}}) {
    kmath_xformLinear l{};
    ASSERT_EQ(kmath_xformPtrhConst_getLinearXform(chain_.c(), at, &l), 0);
    expectNear(applyLinear(l, at), truth(at), 1e-9);
    double const e = 1e-5;
    kmath_vect const xp = truth({at.x + e, at.y}), xm = truth({at.x - e, at.y});
    kmath_vect const yp = truth({at.x, at.y + e}), ym = truth({at.x, at.y - e});
    EXPECT_NEAR(l.matrix.e00, (xp.x - xm.x) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e10, (xp.y - xm.y) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e01, (yp.x - ym.x) / (2 * e), 1e-6);
    EXPECT_NEAR(l.matrix.e11, (yp.y - ym.y) / (2 * e), 1e-6);
  }
}

TEST_F(KernelComposed, InverseReversesTheListAndMapsBack) {
  Handle inv;
  ASSERT_EQ(kmath_xformPtrhConst_getInverse(chain_.c(), &inv), 0);
  std::vector<kmath_xformObject*> const nodes = listOf(inv.c());
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(nodes[0]->dispatch, persp_.object()->dispatch);
  EXPECT_EQ(nodes[1]->dispatch, lin_.object()->dispatch);
  EXPECT_EQ(nodes[2]->dispatch, &kForeignDispatch);
  for (kmath_vect p : {kmath_vect{0, 0}, kmath_vect{10, 20}})
    expectNear(mapVia(inv.c(), truth(p)), p, 1e-9);
}

TEST_F(KernelComposed, CloneSharesTheNodesAndComposeNests) {
  Handle copy;
  ASSERT_EQ(kmath_xformPtrhConst_clone(chain_.c(), &copy), 0);
  EXPECT_NE(copy.object(), chain_.object());
  EXPECT_EQ(listOf(copy.c()), listOf(chain_.c()));
  Handle nested;
  ASSERT_EQ(kmath_xformPtrhConst_compose(lin_.c(), chain_.c(), &nested), 0);
  EXPECT_EQ(listOf(nested.c()), (std::vector<kmath_xformObject*>{chain_.object(), lin_.object()}));
  kmath_vect const p{3, 4};
  expectNear(mapVia(nested.c(), p), applyLinear(kLin, truth(p)), 1e-9);
}

TEST_F(KernelComposed, AForeignFailureComesBackAsItsCode) {
  Handle bad, c;
  ASSERT_EQ(makeForeign(kFailingBend, &bad), 0);
  ASSERT_EQ(kmath_xformPtrhConst_compose(bad.c(), lin_.c(), &c), 0);  // through the foreign table
  kmath_vect q{-1, -1};
  EXPECT_EQ(kmath_xformPtrhConst_mapPoint(c.c(), {1, 1}, &q), static_cast<c_Int32>(0x80000000u));
  EXPECT_EQ(q.x, -1);
}

TEST(KernelXformHandle, EmptyAndRefusedComposedObjects) {
  Handle empty;
  ASSERT_EQ(kmath_xformPtrhConst_constructComposed(&empty, nullptr, 0), 0);
  EXPECT_EQ(kindsOf(empty.c()), (Kinds{0, 0, 1}));
  EXPECT_TRUE(listOf(empty.c()).empty());
  kmath_vect const q = mapVia(empty.c(), {3, 4});
  EXPECT_EQ(q.x, 3);
  EXPECT_EQ(q.y, 4);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(empty.c()), 1);
  kmath_xformLinear l{};
  ASSERT_EQ(kmath_xformPtrhConst_getLinearXform(empty.c(), {9, 9}, &l), 0);
  EXPECT_EQ(applyLinear(l, {9, 9}).x, 9);

  Handle lin, none, c;
  ASSERT_EQ(kmath_xformPtrhConst_constructLinear(&lin, &kLin), 0);
  kmath_xformPtrhConst const items[2] = {lin.h, none.h};
  EXPECT_EQ(kmath_xformPtrhConst_constructComposed(&c, items, 2), kmath_badArgument);
  EXPECT_EQ(c.object(), nullptr);
  EXPECT_EQ(kmath_xformPtrhConst_constructComposed(&c, items, -1), kmath_badArgument);
  EXPECT_EQ(kmath_xformPtrhConst_constructComposed(&c, items, -2147483647 - 1), kmath_badArgument);
  EXPECT_EQ(c.object(), nullptr);
  EXPECT_EQ(lin.object()->shared.count, 1);  // nothing left behind

  // Linear maps of other kinds count as linear maps, not as linear objects.
  Handle twoLinear;
  kmath_xformPtrhConst const both[2] = {lin.h, lin.h};
  ASSERT_EQ(kmath_xformPtrhConst_constructComposed(&twoLinear, both, 2), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinearMap(twoLinear.c()), 1);
  EXPECT_EQ(kmath_xformPtrhConst_getIsLinear(twoLinear.c()), 0);
  EXPECT_EQ(kmath_xformPtrhConst_getLinear(twoLinear.c(), &l), kmath_notLinear);
}

}  // namespace
