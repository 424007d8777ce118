#include "orvstd/platform/attention.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <thread>

#include "orvstd/kernel/ksys_attention.h"
#include "orvstd/math/math_error.h"
#include "orvstd/platform/timeout.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr c_Int32 kExpiredCode = static_cast<c_Int32>(0x80000061u);
constexpr c_Int32 kCancelCode = static_cast<c_Int32>(0x80000062u);
constexpr c_Int32 kInternalCode = static_cast<c_Int32>(0x80000064u);

double secondsSince(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

// Polls check() with short sleeps until it raises E. Returns the seconds
// that took, or a negative value if nothing came within 5 s. Anything other
// than E propagates and fails the test.
template <class E>
double pollUntilRaised(Clock::time_point t0) {
  while (secondsSince(t0) < 5.0) {
    try {
      ccAttention::check();
    } catch (E const&) {
      return secondsSince(t0);
    }
    std::this_thread::sleep_for(milliseconds(1));
  }
  return -1.0;
}

TEST(Attention, CheckReturnsWithNothingAttached) {
  ASSERT_EQ(ksys_attention_depth(), 0);
  for (int i = 0; i < 1000; ++i) ccAttention::check();
  ccAttentionTag unattached;
  EXPECT_NO_THROW(ccAttention::check());
}

TEST(Attention, TimeoutRaisesExpiredAfterItsTime) {
  auto const t0 = Clock::now();
  ccTimeout limit(0.05);
  double const took = pollUntilRaised<ccTimeout::Expired>(t0);
  ASSERT_GE(took, 0.0) << "a 50 ms timeout did not fire within 5 s";
  EXPECT_GE(took, 0.05);
  // Still pending: every check raises until the limit is lifted.
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
  limit.detach();
  EXPECT_NO_THROW(ccAttention::check());
}

TEST(Attention, ExpiredIsExactlyExpired) {
  ccTimeout limit(0.0);  // allowed, and over at once
  try {
    ccAttention::check();
    FAIL() << "a zero timeout did not raise";
  } catch (ccTimeout::Expired const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10001500);
    EXPECT_EQ(typeid(e), typeid(ccTimeout::Expired));
  }
}

TEST(Attention, DetachedTimeoutNeverFires) {
  {
    ccTimeout limit(0.0);
    limit.detach();
    limit.detach();  // harmless
    EXPECT_EQ(ksys_attention_depth(), 0);
    for (int i = 0; i < 100; ++i) EXPECT_NO_THROW(ccAttention::check());
  }  // and the destructor after detach is harmless too
  {
    ccTimeout limit(0.01);
  }  // destroyed before its time: gone from the thread
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_NO_THROW(ccAttention::check());
  EXPECT_EQ(ksys_attention_depth(), 0);
}

TEST(Attention, TimeoutFiresOnlyOnItsOwnThread) {
  ccTimeout limit(0.0);
  std::atomic<bool> stop{false};
  std::atomic<int> raisedThere{0};
  std::atomic<long long> checksThere{0};
  std::thread other([&] {
    ccTimeout ownLimit(3600.0);  // the other thread may have limits of its own
    while (!stop.load()) {
      try {
        ccAttention::check();
      } catch (ccTimeout::Expired const&) {
        ++raisedThere;
      }
      ++checksThere;
    }
  });
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
  auto const t0 = Clock::now();
  while (checksThere.load() < 10000 && secondsSince(t0) < 5.0) std::this_thread::yield();
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
  stop = true;
  other.join();
  EXPECT_GE(checksThere.load(), 10000);
  EXPECT_EQ(raisedThere.load(), 0);
}

TEST(Attention, NestedTimeoutsFireEachAtItsOwnTime) {
  constexpr double kOuter = 0.4, kInner = 0.02;
  auto const outerStart = Clock::now();
  ccAttentionTag outer;
  outer.attachTimeoutCustom(kOuter, kInternalCode);  // tells the two apart
  {
    auto const innerStart = Clock::now();
    ccTimeout inner(kInner);
    double took = -1.0;
    while (took < 0.0 && secondsSince(innerStart) < 5.0) {
      try {
        ccAttention::check();
      } catch (ccTimeout::InternalExpired const&) {
        // Only acceptable if the machine stalled past the outer limit.
        ASSERT_GE(secondsSince(outerStart), kOuter);
        GTEST_SKIP() << "stalled past the outer limit before the inner one was seen";
      } catch (ccTimeout::Expired const&) {
        took = secondsSince(innerStart);
      }
      std::this_thread::sleep_for(milliseconds(1));
    }
    ASSERT_GE(took, kInner) << "the inner timeout did not fire (or fired early)";
  }
  // Inner gone: quiet until the outer limit has passed.
  try {
    ccAttention::check();
  } catch (ccTimeout::InternalExpired const&) {
    EXPECT_GE(secondsSince(outerStart), kOuter);
  }
  double const took = pollUntilRaised<ccTimeout::InternalExpired>(outerStart);
  ASSERT_GE(took, 0.0) << "the outer timeout did not fire within 5 s";
  EXPECT_GE(took, kOuter);
}

TEST(Attention, InnermostPendingRequestIsRaisedFirst) {
  ccAttentionTag outer, inner;
  outer.attachCancel(kCancelCode);
  inner.attachTimeoutCustom(0.0, kInternalCode);
  EXPECT_THROW(ccAttention::check(), ccTimeout::InternalExpired);
  inner.detach();
  EXPECT_THROW(ccAttention::check(), ccTimeout::Cancel);
  inner.attachTimeout(HUGE_VAL);  // not due: the walk goes on to the outer cancel
  EXPECT_THROW(ccAttention::check(), ccTimeout::Cancel);
  outer.detach();  // from below the inner tag
  EXPECT_NO_THROW(ccAttention::check());
  EXPECT_EQ(ksys_attention_depth(), 1);
}

TEST(Attention, CustomCodesAndCancelRaiseTheirExceptions) {
  auto raised = [](auto attach) {
    ccAttentionTag tag;
    attach(tag);
    try {
      ccAttention::check();
    } catch (ccException const& e) {
      return e.errorNumber();
    }
    return 0;
  };
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachCancel(kCancelCode); }), ccTimeout::Cancel::kErrorNumber);
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachCancel(kExpiredCode); }), ccTimeout::Expired::kErrorNumber);
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachCancel(kInternalCode); }),
            ccTimeout::InternalExpired::kErrorNumber);
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachTimeoutCustom(0.0, kInternalCode); }),
            ccTimeout::InternalExpired::kErrorNumber);
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachTimeoutCustom(-3.0, kCancelCode); }),
            ccTimeout::Cancel::kErrorNumber);
  // A code the converter of facility 3 does not know falls through.
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachCancel(static_cast<c_Int32>(0x80000065u)); }),
            ccUnknownError::kErrorNumber);
  // A code of another facility reaches that facility's converter.
  EXPECT_EQ(raised([](ccAttentionTag& t) { t.attachCancel(static_cast<c_Int32>(0x80000582u)); }),
            ccMathError::Singular::kErrorNumber);

  // One handler takes all three.
  ccAttentionTag tag;
  tag.attachCancel(kCancelCode);
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
}

TEST(Attention, CancelRequestedFromAnotherThread) {
  std::atomic<ccAttentionTag*> published{nullptr};
  std::atomic<bool> attachedWhenCancelled{false};
  double took = -1.0;
  std::thread worker([&] {
    ccAttentionTag tag;
    tag.attachTimeout(HUGE_VAL);  // attached, never expires by itself
    auto const t0 = Clock::now();
    published = &tag;
    took = pollUntilRaised<ccTimeout::Cancel>(t0);
    attachedWhenCancelled = ksys_attention_depth() == 1;
  });
  ccAttentionTag* tag = nullptr;
  while ((tag = published.load()) == nullptr) std::this_thread::yield();
  tag->requestCancel();
  worker.join();
  EXPECT_GE(took, 0.0) << "the worker never saw the cancel";
  EXPECT_TRUE(attachedWhenCancelled.load());
  EXPECT_NO_THROW(ccAttention::check());  // nothing of it here
}

TEST(Attention, CancelOfADetachedTagIsHeldUntilAttached) {
  ccAttentionTag tag;
  tag.requestCancel(kInternalCode);
  EXPECT_NO_THROW(ccAttention::check());
  tag.attachTimeout(3600.0);
  EXPECT_THROW(ccAttention::check(), ccTimeout::InternalExpired);
  tag.detach();
  EXPECT_NO_THROW(ccAttention::check());
}

TEST(Attention, ReattachingReplacesTheRequest) {
  ccAttentionTag tag;
  tag.attachCancel(kCancelCode);
  EXPECT_THROW(ccAttention::check(), ccTimeout::Cancel);
  tag.attachTimeout(3600.0);
  EXPECT_NO_THROW(ccAttention::check());
  EXPECT_EQ(ksys_attention_depth(), 1);
}

TEST(Attention, TagKeptAttachedAtDestructionIsStillUnlinked) {
  {
    ccAttentionTag keep(false);
    keep.attachCancel(kCancelCode);
    EXPECT_THROW(ccAttention::check(), ccTimeout::Cancel);
  }
  EXPECT_EQ(ksys_attention_depth(), 0);
  EXPECT_NO_THROW(ccAttention::check());
}

TEST(Attention, TagOutlivingItsThreadMayBeDestroyedElsewhere) {
  auto tag = std::make_unique<ccAttentionTag>();
  std::thread([&] { tag->attachTimeout(0.0); }).join();
  EXPECT_NO_THROW(ccAttention::check());
  tag.reset();  // detaches nothing, asserts nothing
  EXPECT_EQ(ksys_attention_depth(), 0);
}

TEST(AttentionDeathTest, NegativeTimeoutIsRefused) {
  EXPECT_DEATH({ ccTimeout limit(-1.0); }, "assertion failed at .*timeout\\.cc");
  EXPECT_DEATH({ ccTimeout limit(std::nan("")); }, "assertion failed at .*timeout\\.cc");
  ccTimeout zero(0.0);  // the boundary itself is allowed
  EXPECT_THROW(ccAttention::check(), ccTimeout::Expired);
}

TEST(AttentionDeathTest, CodesMustBeFailures) {
  ccAttentionTag tag;
  EXPECT_DEATH(tag.attachCancel(0), "assertion failed at .*ksys_attention\\.cc");
  EXPECT_DEATH(tag.attachTimeoutCustom(1.0, 0x61), "assertion failed at .*ksys_attention\\.cc");
  EXPECT_DEATH(tag.requestCancel(1), "assertion failed at .*ksys_attention\\.cc");
}

}  // namespace
