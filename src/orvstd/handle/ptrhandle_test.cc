#include "orvstd/handle/ptrhandle.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

int gDeleted = 0;

class Body : public ccRepBase {
 public:
  explicit Body(int v = 0) : value(v) {}
  ~Body() override { ++gDeleted; }
  int value;
};

class Derived : public Body {
 public:
  Derived() : Body(7) {}
};

// A body that returns to a pool instead of being deleted on last release.
class Pooled : public ccRepBase {
 public:
  std::vector<Pooled*>* pool = nullptr;

 protected:
  void lastReleased_() override { pool->push_back(this); }
};

TEST(PtrHandle, CountsSharesAndDeletesWithTheLast) {
  gDeleted = 0;
  Body* b = new Body(3);
  EXPECT_EQ(b->refCount(), 0);
  {
    ccPtrHandle<Body> h(b);
    EXPECT_EQ(b->refCount(), 1);
    ccPtrHandle<Body> g = h;
    ccPtrHandle_const<Body> c = h;
    EXPECT_EQ(b->refCount(), 3);
    EXPECT_EQ(c->value, 3);
    g->value = 4;
    EXPECT_EQ((*h).value, 4);
  }
  EXPECT_EQ(gDeleted, 1);
}

TEST(PtrHandle, SelfAndSameBodyAssignmentKeepTheCount) {
  gDeleted = 0;
  Body* b = new Body;
  ccPtrHandle<Body> h(b);
  ccPtrHandle<Body> g(b);
  EXPECT_EQ(b->refCount(), 2);
  auto& alias = h;
  h = alias;
  EXPECT_EQ(b->refCount(), 2);
  h = g;
  EXPECT_EQ(b->refCount(), 2);
  h = b;
  EXPECT_EQ(b->refCount(), 2);
  h = nullptr;
  EXPECT_EQ(b->refCount(), 1);
  g = new Body;  // old released first
  EXPECT_EQ(gDeleted, 1);
}

TEST(PtrHandle, EmptyHandleThrowsBadPointer) {
  ccPtrHandle<Body> none;
  ccPtrHandle_const<Body> none2(static_cast<Body const*>(nullptr));
  EXPECT_TRUE(!none);
  EXPECT_EQ(static_cast<void const*>(none2), nullptr);
  EXPECT_THROW(none->value = 1, ccBadPointer);
  EXPECT_THROW(static_cast<void>(*none2), ccBadPointer);
  try {
    static_cast<void>(none->value);
  } catch (ccBadPointer const& e) {
    EXPECT_EQ(e.message(true), "ccBadPointer: no further information provided");
  }
}

TEST(PtrHandle, DerivedConvertsToBaseWithOneCount) {
  Derived* d = new Derived;
  ccPtrHandle<Derived> hd(d);
  ccPtrHandle<Body> hb = hd;
  ccPtrHandle_const<Body> cb = hd;
  EXPECT_EQ(d->refCount(), 3);
  EXPECT_EQ(hb->value, 7);
  EXPECT_TRUE(hb == hd);
  static_assert(!std::is_constructible_v<ccPtrHandle<Body>, ccPtrHandle_const<Body>>);
  static_assert(!std::is_constructible_v<ccPtrHandle<Derived>, ccPtrHandle<Body>>);
}

TEST(RepBase, CopyIsANewBodyWithNoOwners) {
  Body* b = new Body(5);
  ccPtrHandle<Body> h(b);
  Body copy(*b);
  EXPECT_EQ(copy.refCount(), 0);
  EXPECT_EQ(b->refCount(), 1);
  copy = *b;
  EXPECT_EQ(copy.refCount(), 0);
}

TEST(RepBase, LastReleaseIsTheBodysChoice) {
  std::vector<Pooled*> pool;
  auto* p = new Pooled;
  p->pool = &pool;
  {
    ccPtrHandle<Pooled> h(p);
    ccPtrHandle<Pooled> g(h);
  }
  ASSERT_EQ(pool.size(), 1u);
  EXPECT_EQ(pool[0], p);
  EXPECT_EQ(p->refCount(), 0);
  delete p;
}

TEST(RepBase, ConcurrentCopiesKeepAnExactCount) {
  gDeleted = 0;
  ccPtrHandle<Body> h(new Body);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&h] {
      for (int i = 0; i < 20000; ++i) {
        ccPtrHandle<Body> local(h);
        ccPtrHandle_const<Body> other(local);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(h->refCount(), 1);
  h = nullptr;
  EXPECT_EQ(gDeleted, 1);
}

TEST(RepBaseDeathTest, DestroyingAnOwnedBodyAsserts) {
  EXPECT_DEATH(
      {
        Body* b = new Body;
        ccPtrHandle<Body> h(b);
        delete b;
      },
      "assertion failed");
}

TEST(Interlocked, Counters) {
  c_Int32 v = 0;
  EXPECT_EQ(cfInterlockedIncrement(&v), 1);
  EXPECT_EQ(cfInterlockedDecrement(&v), 0);
  EXPECT_EQ(cfInterlockedExchange(&v, 42), 0);
  EXPECT_EQ(v, 42);
}

}  // namespace
