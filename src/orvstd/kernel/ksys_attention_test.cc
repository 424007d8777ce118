#include "orvstd/kernel/ksys_attention.h"

#include <gtest/gtest.h>

#include <chrono>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

// A constructed tag that is destroyed at scope exit.
struct Tag {
  ksys_attentionTag t;
  Tag() { ksys_attentionTag_construct(&t); }
  ~Tag() { ksys_attentionTag_destruct(&t); }
  Tag(Tag const&) = delete;
  Tag& operator=(Tag const&) = delete;
};

constexpr c_Int32 kCodeA = kstd_failureCode(3, 10);
constexpr c_Int32 kCodeB = kstd_failureCode(3, 11);
constexpr c_Int32 kCodeC = kstd_failureCode(3, 12);
constexpr char kAsserted[] = "assertion failed at .*ksys_attention\\.cc";

TEST(KernelAttention, CodesOfFacilityThree) {
  EXPECT_EQ(static_cast<c_UInt32>(ksys_attentionExpired), 0x80000061u);
  EXPECT_EQ(static_cast<c_UInt32>(ksys_attentionCancelled), 0x80000062u);
  EXPECT_EQ(static_cast<c_UInt32>(ksys_attentionInternalExpired), 0x80000064u);
}

TEST(KernelAttention, NothingAttachedIsQuiet) {
  EXPECT_EQ(ksys_attention_top_, nullptr);
  EXPECT_EQ(ksys_attention_check(), 0);
  EXPECT_EQ(ksys_attention_depth(), 0);
  Tag tag;  // constructed but not attached
  EXPECT_EQ(ksys_attention_check(), 0);
  EXPECT_EQ(ksys_attentionTag_detach(&tag.t), 0);  // detached: nothing to do
}

TEST(KernelAttention, DetachInAnyOrderKeepsTheStackLinked) {
  Tag a, b, c;
  ksys_attentionTag_attachCancel(&a.t, 0, kCodeA);
  ksys_attentionTag_attachCancel(&b.t, 0, kCodeB);
  ksys_attentionTag_attachCancel(&c.t, 0, kCodeC);
  EXPECT_EQ(ksys_attention_depth(), 3);
  EXPECT_EQ(ksys_attention_check(), kCodeC);  // innermost first

  ksys_attentionTag_detach(&b.t);  // from the middle
  EXPECT_EQ(ksys_attention_depth(), 2);
  EXPECT_EQ(ksys_attention_top_, &c.t);
  EXPECT_EQ(c.t.outer, &a.t);
  EXPECT_EQ(a.t.inner, &c.t);
  EXPECT_EQ(ksys_attention_check(), kCodeC);

  ksys_attentionTag_detach(&c.t);  // the top
  EXPECT_EQ(ksys_attention_top_, &a.t);
  EXPECT_EQ(a.t.inner, nullptr);
  EXPECT_EQ(ksys_attention_check(), kCodeA);

  ksys_attentionTag_attachCancel(&b.t, 0, kCodeB);  // re-attached goes on top
  EXPECT_EQ(ksys_attention_check(), kCodeB);
  ksys_attentionTag_detach(&a.t);  // the bottom
  EXPECT_EQ(ksys_attention_depth(), 1);
  EXPECT_EQ(b.t.outer, nullptr);
  EXPECT_EQ(ksys_attention_check(), kCodeB);
  ksys_attentionTag_detach(&b.t);
  EXPECT_EQ(ksys_attention_top_, nullptr);
  EXPECT_EQ(ksys_attention_check(), 0);
}

TEST(KernelAttention, ReattachOnTheSameThreadReplacesTheRequest) {
  Tag a, b;
  ksys_attentionTag_attachCancel(&a.t, 0, kCodeA);
  ksys_attentionTag_attachTimeout(&b.t, HUGE_VAL);
  EXPECT_EQ(ksys_attention_check(), kCodeA);
  ksys_attentionTag_attachTimeout(&a.t, HUGE_VAL);  // a stays where it is
  EXPECT_EQ(ksys_attention_depth(), 2);
  EXPECT_EQ(ksys_attention_top_, &b.t);
  EXPECT_EQ(ksys_attention_check(), 0);
  ksys_attentionTag_attachTimeoutCustom(&a.t, 0.0, kCodeB);
  EXPECT_EQ(ksys_attention_check(), kCodeB);
}

TEST(KernelAttention, EachTimeoutRunsOutAtItsOwnTime) {
  Tag outer, inner;
  ksys_attentionTag_attachTimeoutCustom(&outer.t, -1.0, kCodeA);  // already over
  ksys_attentionTag_attachTimeoutCustom(&inner.t, 3600.0, kCodeB);
  // The inner tag is not due; the walk goes on to the outer one.
  EXPECT_EQ(ksys_attention_check(), kCodeA);
  ksys_attentionTag_attachTimeoutCustom(&inner.t, 0.0, kCodeB);
  EXPECT_EQ(ksys_attention_check(), kCodeB);
  ksys_attentionTag_detach(&outer.t);
  EXPECT_EQ(ksys_attention_check(), kCodeB);
  ksys_attentionTag_attachTimeout(&inner.t, 3600.0);
  EXPECT_EQ(ksys_attention_check(), 0);
}

TEST(KernelAttention, ShortTimeoutFiresAfterItsTime) {
  Tag tag;
  auto const t0 = std::chrono::steady_clock::now();
  ksys_attentionTag_attachTimeout(&tag.t, 0.03);
  c_Int32 rc = 0;
  while ((rc = ksys_attention_check()) == 0 && std::chrono::steady_clock::now() - t0 < std::chrono::seconds(5))
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  auto const elapsed = std::chrono::steady_clock::now() - t0;
  ASSERT_EQ(rc, ksys_attentionExpired);
  EXPECT_GE(elapsed, std::chrono::milliseconds(30));
  EXPECT_EQ(ksys_attention_check(), ksys_attentionExpired);  // stays pending
}

TEST(KernelAttention, NeverEndingTimeouts) {
  Tag forever, huge;
  ksys_attentionTag_attachTimeout(&forever.t, HUGE_VAL);
  ksys_attentionTag_attachTimeout(&huge.t, 1e300);  // must not overflow into the past
  EXPECT_EQ(ksys_attention_check(), 0);
  ksys_attentionTag_attachTimeout(&huge.t, 9.3e9);  // just past the 64-bit nanosecond range
  EXPECT_EQ(ksys_attention_check(), 0);
}

TEST(KernelAttention, CancelRequestFromAnotherThread) {
  Tag tag;
  ksys_attentionTag_requestCancel(&tag.t, kCodeA);  // before attaching: noted, not yet seen
  EXPECT_EQ(ksys_attention_check(), 0);
  ksys_attentionTag_attachTimeout(&tag.t, HUGE_VAL);
  EXPECT_EQ(ksys_attention_check(), kCodeA);
  ksys_attentionTag_detach(&tag.t);
  EXPECT_EQ(ksys_attention_check(), 0);

  Tag fresh;
  ksys_attentionTag_attachTimeout(&fresh.t, HUGE_VAL);
  std::thread([&] { ksys_attentionTag_requestCancel(&fresh.t, kCodeB); }).join();
  EXPECT_EQ(ksys_attention_check(), kCodeB);
  ksys_attentionTag_attachTimeout(&fresh.t, HUGE_VAL);  // the mark outlives a re-attach
  EXPECT_EQ(ksys_attention_check(), kCodeB);
}

TEST(KernelAttention, TagsBelongToTheirThread) {
  Tag mine;
  ksys_attentionTag_attachCancel(&mine.t, 0, kCodeA);
  c_Int32 seenThere = 1, depthThere = -1;
  std::thread([&] {
    seenThere = ksys_attention_check();
    depthThere = ksys_attention_depth();
  }).join();
  EXPECT_EQ(seenThere, 0);
  EXPECT_EQ(depthThere, 0);
  EXPECT_EQ(ksys_attention_check(), kCodeA);
}

TEST(KernelAttention, ThreadExitLetsGoOfItsTags) {
  Tag left;
  std::thread([&] { ksys_attentionTag_attachTimeout(&left.t, 0.0); }).join();
  EXPECT_EQ(left.t.owner.load(), nullptr);
  EXPECT_EQ(ksys_attention_check(), 0);
  // Now free to attach here, and to destroy anywhere.
  ksys_attentionTag_attachTimeout(&left.t, 0.0);
  EXPECT_EQ(ksys_attention_check(), ksys_attentionExpired);
}

TEST(KernelAttention, DestructUnlinksAnAttachedTag) {
  Tag outer;
  ksys_attentionTag_attachTimeout(&outer.t, HUGE_VAL);
  {
    Tag inner;
    ksys_attentionTag_attachCancel(&inner.t, 0, kCodeA);
    EXPECT_EQ(ksys_attention_check(), kCodeA);
  }
  EXPECT_EQ(ksys_attention_depth(), 1);
  EXPECT_EQ(ksys_attention_top_, &outer.t);
  EXPECT_EQ(outer.t.inner, nullptr);
  EXPECT_EQ(ksys_attention_check(), 0);
}

TEST(KernelAttentionDeathTest, MisuseIsAsserted) {
  Tag tag;
  EXPECT_DEATH(ksys_attentionTag_attachTimeout(&tag.t, std::nan("")), kAsserted);
  EXPECT_DEATH(ksys_attentionTag_attachTimeoutCustom(&tag.t, 1.0, 0), kAsserted);
  EXPECT_DEATH(ksys_attentionTag_attachCancel(&tag.t, 1, kCodeA), kAsserted);
  EXPECT_DEATH(ksys_attentionTag_attachCancel(&tag.t, 0, 5), kAsserted);
  EXPECT_DEATH(ksys_attentionTag_requestCancel(&tag.t, 0), kAsserted);

  alignas(ksys_attentionTag) unsigned char raw[sizeof(ksys_attentionTag)];
  std::memset(raw, 0, sizeof raw);
  EXPECT_DEATH(ksys_attentionTag_detach(reinterpret_cast<ksys_attentionTag*>(raw)), kAsserted);
}

TEST(KernelAttentionDeathTest, AnotherThreadMayNotTakeOrDropAnAttachedTag) {
  // Each statement runs in a child process, where the other thread lives on
  // (parked) while holding the tag.
  auto withTagHeldElsewhere = [](auto&& act) {
    Tag tag;
    std::atomic<bool> attached{false};
    std::thread holder([&] {
      ksys_attentionTag_attachTimeout(&tag.t, HUGE_VAL);
      attached = true;
      for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
    });
    while (!attached) std::this_thread::yield();
    act(&tag.t);
    std::_Exit(0);  // surviving the act is the failure being tested for
  };
  EXPECT_DEATH(withTagHeldElsewhere([](ksys_attentionTag* t) { ksys_attentionTag_detach(t); }), kAsserted);
  EXPECT_DEATH(withTagHeldElsewhere([](ksys_attentionTag* t) { ksys_attentionTag_attachTimeout(t, 1.0); }), kAsserted);
  EXPECT_DEATH(withTagHeldElsewhere([](ksys_attentionTag* t) { ksys_attentionTag_destruct(t); }), kAsserted);
}

}  // namespace
