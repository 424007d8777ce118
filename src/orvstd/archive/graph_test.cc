// Object graphs: handles through archives, wrong classes, and forgetting
// long chains of referring objects.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <map>
#include <random>
#include <vector>

#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/archive/internal/archive_rep.h"
#include "orvstd/archive/persistent_handle.h"
#include "orvstd/archive/testing/stored_archive.h"
#include "orvstd/except/testing/thrown.h"

// A shared, persistent body that refers to another through a handle.
class ccGraphBody : public ccRepBase, public ccPersistent {
 public:
  c_Int32 value = 0;
  ccPtrHandle<ccGraphBody> next;
  void touch() { mutating(); }  // about to change: stored again next time

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccGraphBody), 0, [&](unsigned char v) { serialize_(ar, v); });
  }
  void serialize_(ccArchive& ar, unsigned char version) {
    cfCheckClassVersion(version, 0, "graph_test", __LINE__);
    ccPersistent::dispatchSerialize(ar);
    ar || value;
    ar || next;
  }
};
static cc_Instantiator const graphBodyInstantiator(typeid(ccGraphBody), &cf_MakeNothrow<ccGraphBody>);

// Another class, to be loaded where a ccGraphBody is expected.
class ccGraphOther : public ccRepBase, public ccPersistent {
 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccGraphOther), 0, [&](unsigned char) { ccPersistent::dispatchSerialize(ar); });
  }
};
static cc_Instantiator const graphOtherInstantiator(typeid(ccGraphOther), &cf_MakeNothrow<ccGraphOther>);

namespace {

TEST(HandleGraph, SharedBodiesStayShared) {
  ccPtrHandle<ccGraphBody> a(new ccGraphBody), b(new ccGraphBody);
  a->value = 1;
  b->value = 2;
  a->next = b;
  ccMemoryArchive out(ccArchive::eLsbFirst, true);
  out || a;
  out || b;  // known: a reference only
  EXPECT_EQ(out.nextObjectID(2), 0);

  LoadArchive in(out);
  ccPtrHandle<ccGraphBody> la, lb;
  in || la;
  in || lb;
  ASSERT_TRUE(la && lb);
  EXPECT_EQ(la->value, 1);
  EXPECT_TRUE(la->next == lb);
  EXPECT_EQ(lb->refCount(), 2);
  EXPECT_EQ(la->refCount(), 1);
  ccPtrHandle_const<ccGraphBody> empty;
  ccMemoryArchive nullOut(ccArchive::eLsbFirst, false);
  nullOut || empty;  // a null handle is one pointer record with id 0
  EXPECT_EQ(nullOut.size(), 2u + 18u);
}

TEST(HandleGraph, ABodyOfAnotherClassIsATypedErrorNotABadCast) {
  ccPtrHandle<ccGraphOther> other(new ccGraphOther);
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  out || other;
  out || other;
  LoadArchive in(out, false);
  ccPtrHandle<ccGraphBody> wrong;
  EXPECT_EQ(thrownBy<ccArchive::BadType>([&] { in || wrong; }).line(), 2240);
  EXPECT_FALSE(wrong);
  // The refused body stays with the archive: a later pointer to it is NotFound.
  ccPtrHandle<ccGraphOther> again;
  EXPECT_THROW(in || again, ccArchive::NotFound);
}

TEST(ForgetGraph, TheSlotIndexAgreesWithAStandardMapUnderInsertsAndErases) {
  // Keys from a small range, so probe runs are long and erasing shifts
  // cells across the end of the table.
  std::mt19937 gen(7);
  cc_SlotIndex<c_Int32> index;
  std::map<c_Int32, c_UInt32> model;
  for (int step = 0; step < 200000; ++step) {
    c_Int32 const key = static_cast<c_Int32>(gen() % 3000) * 64;
    if (gen() % 3 == 0) {
      EXPECT_EQ(index.erase(key), model.erase(key) == 1);
    } else {
      index.insert(key, static_cast<c_UInt32>(step));
      model[key] = static_cast<c_UInt32>(step);
    }
    if (step % 997 == 0) {
      for (c_Int32 k = 0; k < 3000 * 64; k += 64) {
        auto const m = model.find(k);
        ASSERT_EQ(index.find(k), m == model.end() ? cc_SlotIndex<c_Int32>::kNone : m->second) << k;
      }
    }
  }
  EXPECT_EQ(index.size(), model.size());
}

TEST(ForgetGraph, AParentKnownAgainSinceItPointedHereIsNotForgotten) {
  ccGraphOther a, b;
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  cc_ArchiveRep& rep = cc_ArchiveIO::rep(ar);
  rep.know(&a, 1);
  c_UInt64 const bGeneration = rep.know(&b, 2).generation;
  rep.addParent(*rep.known(&a), &b, bGeneration);
  // b changes and is written again, no longer pointing to a.
  ccArchive::mutating(&b);
  EXPECT_EQ(rep.known(&b), nullptr);
  rep.know(&b, 3);
  // A change to a must not bring down the new b.
  ccArchive::mutating(&a);
  EXPECT_EQ(rep.known(&a), nullptr);
  EXPECT_NE(rep.known(&b), nullptr);
  EXPECT_EQ(rep.knownById(3), rep.known(&b));
  EXPECT_EQ(rep.knownById(2), nullptr);
}

TEST(ForgetGraph, ALongChainOfReferringObjectsIsForgottenWithoutRecursion) {
  // Object i refers to object i + 1, as if the chain had been stored: a
  // change to the last one must bring down all of them.
  constexpr int kLength = 300000;
  std::vector<ccGraphOther> objects(kLength);
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  cc_ArchiveRep& rep = cc_ArchiveIO::rep(ar);
  for (int i = 0; i < kLength; ++i) {
    c_UInt64 const previous = i > 0 ? rep.known(&objects[i - 1])->generation : 0;
    cc_SI& si = rep.know(&objects[i], i + 1);
    if (i > 0) rep.addParent(si, &objects[i - 1], previous);
  }
  ccArchive::mutating(&objects[kLength - 1]);
  EXPECT_EQ(rep.knownCount(), 0u);
  EXPECT_EQ(rep.knownById(1), nullptr);

  // A star: many objects refer to one.
  ccGraphOther hub;
  rep.know(&hub, 1);
  for (int i = 0; i < 1000; ++i) {
    c_UInt64 const generation = rep.know(&objects[i], i + 2).generation;
    rep.addParent(*rep.known(&hub), &objects[i], generation);
  }
  ccArchive::mutating(&hub);
  EXPECT_EQ(rep.knownCount(), 0u);
}

}  // namespace

// ---- the global count and two threads at once

namespace {

TEST(GraphGlobals, CountFollowsArchivesAndBoundObjects) {
  { ccMemoryArchive first(ccArchive::eLsbFirst, false); }  // the lock and its own count exist from here on
  c_Int32 const base = cf_ArchiveGlobalCount();
  EXPECT_GE(base, 1);
  {
    ccPtrHandle<ccGraphBody> a(new ccGraphBody), b(new ccGraphBody);
    a->next = b;
    {
      ccMemoryArchive out(ccArchive::eLsbFirst, true);
      EXPECT_EQ(cf_ArchiveGlobalCount(), base + 1);  // the archive
      out || a;
      EXPECT_EQ(cf_ArchiveGlobalCount(), base + 3);  // and its two bound objects
      EXPECT_TRUE(a->isBound());
      b->touch();  // forgets b, and a, which refers to it
      EXPECT_FALSE(b->isBound());
      EXPECT_EQ(cf_ArchiveGlobalCount(), base + 2);  // a keeps its flag until it leaves
      out || a;
      EXPECT_EQ(cf_ArchiveGlobalCount(), base + 3);
    }
    // The archive went: its objects are no longer bound.
    EXPECT_FALSE(a->isBound());
    EXPECT_FALSE(b->isBound());
  }
  EXPECT_EQ(cf_ArchiveGlobalCount(), base);
}

// Two threads store and load cyclic graphs through their own archives
// while a third keeps invalidating objects that are bound to both. Every
// walk takes the list lock, then the serialisation lock; an embedded
// object or a nested pointer taking them the other way round would
// deadlock here, and a map touched outside them would show under TSan.
TEST(GraphThreads, TwoArchivesAtOnceWithMutationsBetween) {
  constexpr int kRounds = 150, kLength = 40;
  ccPtrHandle<ccGraphBody> shared(new ccGraphBody);
  shared->value = -1;
  std::atomic<bool> done{false};
  auto worker = [&](int seed, std::atomic<int>* failures) {
    for (int round = 0; round < kRounds; ++round) {
      std::vector<ccPtrHandle<ccGraphBody>> chain(kLength);
      for (int i = 0; i < kLength; ++i) {
        chain[i] = ccPtrHandle<ccGraphBody>(new ccGraphBody);
        chain[i]->value = seed * 1000 + i;
      }
      for (int i = 0; i + 1 < kLength; ++i) chain[i]->next = chain[i + 1];
      chain[kLength - 1]->next = chain[0];  // a cycle
      ccMemoryArchive out(ccArchive::eLsbFirst, round % 2 == 0);
      out || chain[0];
      out || shared;
      LoadArchive in(out, round % 2 == 0);
      ccPtrHandle<ccGraphBody> head, other;
      in || head;
      in || other;
      ccGraphBody const* p = head.get();
      for (int i = 0; i < kLength; ++i, p = p->next.get())
        if (p == nullptr || p->value != seed * 1000 + i) ++*failures;
      if (p != head.get() || !other || other->value != -1) ++*failures;
      chain[kLength - 1]->next = ccPtrHandle<ccGraphBody>();  // break the cycles, or they leak
      if (head) {
        ccGraphBody* q = head.get();
        for (int i = 0; i < kLength - 1 && q; ++i) q = q->next.get();
        if (q) q->next = ccPtrHandle<ccGraphBody>();
      }
    }
  };
  std::atomic<int> failures{0};
  std::thread mutator([&] {
    while (!done) shared->touch();
  });
  std::thread t1(worker, 1, &failures), t2(worker, 2, &failures);
  t1.join();
  t2.join();
  done = true;
  mutator.join();
  EXPECT_EQ(failures.load(), 0);
}

}  // namespace
