#include "orvstd/kernel/ksys_attention.h"

#include <time.h>

#include <cmath>
#include <limits>
#include <new>

thread_local constinit ksys_attentionTag* ksys_attention_top_ [[gnu::tls_model("initial-exec")]] = nullptr;

namespace {

constexpr c_UInt32 kMagic = 0x41545447u;  // "ATTG"
constexpr c_Int64 kNever = std::numeric_limits<c_Int64>::max();

enum Kind : c_Int32 { kNone = 0, kTimeout = 1, kCancel = 2 };

// The earliest deadline on the thread's stack, kNever if none: a stack of
// cancel tags or never-ending timeouts is checked without a clock read.
thread_local constinit c_Int64 tEarliest [[gnu::tls_model("initial-exec")]] = kNever;
// Until the coarse clock reaches this, the earliest deadline cannot have
// passed and the precise clock need not be read.
thread_local constinit c_Int64 tCoarseBound [[gnu::tls_model("initial-exec")]] = kNever;

c_Int64 readNs(clockid_t clock) {
  timespec ts;
  clock_gettime(clock, &ts);
  return static_cast<c_Int64>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

c_Int64 monotonicNs() { return readNs(CLOCK_MONOTONIC); }

// The coarse monotonic clock costs a fifth of the precise one, but stands
// still between timer ticks and may lag a little more than a tick behind.
// It never runs ahead, so with twice its resolution as margin it can only
// ever tell "not yet", and the precise clock decides near the deadline.
c_Int64 coarseMarginNs() {
  static c_Int64 const margin = [] {
    timespec res;
    if (clock_getres(CLOCK_MONOTONIC_COARSE, &res) != 0) return kNever;  // always ask the precise clock
    c_Int64 const tick = static_cast<c_Int64>(res.tv_sec) * 1000000000 + res.tv_nsec;
    return tick > 1000000000 ? kNever : 2 * tick;
  }();
  return margin;
}

c_Int64 deadlineAfter(double seconds) {
  KSTD_ASSERT(!std::isnan(seconds));
  c_Int64 const now = monotonicNs();
  if (seconds <= 0.0) return now;
  double const ns = seconds * 1e9;
  // Compared in double, before any conversion, so that huge values and
  // HUGE_VAL cannot overflow: they simply never run out.
  if (ns >= static_cast<double>(kNever - now)) return kNever;
  return now + static_cast<c_Int64>(ns);
}

void checkTag(ksys_attentionTag const* tag) { KSTD_ASSERT(tag != nullptr && tag->magic == kMagic); }

void recomputeEarliest() {
  c_Int64 earliest = kNever;
  for (ksys_attentionTag const* t = ksys_attention_top_; t; t = t->outer)
    if (t->kind == kTimeout && t->deadline < earliest) earliest = t->deadline;
  tEarliest = earliest;
  c_Int64 const margin = coarseMarginNs();
  // Deadlines are clock readings, far above any margin, unless the margin
  // is kNever; then the bound is the lowest value and the precise clock is
  // read on every check.
  if (earliest == kNever)
    tCoarseBound = kNever;
  else
    tCoarseBound = earliest > margin ? earliest - margin : std::numeric_limits<c_Int64>::min();
}

void unlink(ksys_attentionTag* tag) {
  if (tag->inner)
    tag->inner->outer = tag->outer;
  else
    ksys_attention_top_ = tag->outer;
  if (tag->outer) tag->outer->inner = tag->inner;
  tag->outer = tag->inner = nullptr;
  tag->owner.store(nullptr, std::memory_order_release);
}

// At thread exit, whatever is still attached is let go, so that a tag that
// outlives its thread is merely detached and may be destroyed anywhere.
struct ThreadExitHook {
  ThreadExitHook() = default;
  ThreadExitHook(ThreadExitHook const&) = delete;
  ThreadExitHook& operator=(ThreadExitHook const&) = delete;
  ~ThreadExitHook() {
    while (ksys_attention_top_) unlink(ksys_attention_top_);
    tEarliest = tCoarseBound = kNever;
  }
};

void armThreadExitHook() {
  // Kept apart from ksys_attention_top_ so that the hot pointer stays a
  // plain, constant-initialised thread-local without a guard.
  static thread_local ThreadExitHook hook;
  static_cast<void>(hook);
}

c_Int32 attach(ksys_attentionTag* tag, Kind kind, c_Int64 deadline, c_Int32 code) {
  checkTag(tag);
  KSTD_ASSERT(code < 0);
  ksys_attentionTag** const mine = &ksys_attention_top_;
  ksys_attentionTag** const owner = tag->owner.load(std::memory_order_acquire);
  KSTD_ASSERT(owner == nullptr || owner == mine);  // attached to another thread
  tag->kind = kind;
  tag->deadline = deadline;
  tag->code = code;
  if (owner == nullptr) {
    armThreadExitHook();
    tag->inner = nullptr;
    tag->outer = ksys_attention_top_;
    if (tag->outer) tag->outer->inner = tag;
    tag->owner.store(mine, std::memory_order_release);
    ksys_attention_top_ = tag;
  }
  recomputeEarliest();
  return 0;
}

}  // namespace

c_Int32 ksys_attentionTag_construct(ksys_attentionTag* tag) {
  KSTD_ASSERT(tag != nullptr);
  ::new (static_cast<void*>(tag)) ksys_attentionTag{nullptr, nullptr, {nullptr}, 0, 0, kNone, {0}, kMagic};
  return 0;
}

c_Int32 ksys_attentionTag_destruct(ksys_attentionTag* tag) {
  checkTag(tag);
  // Never leave a thread's stack pointing at freed memory.
  ksys_attentionTag_detach(tag);
  tag->magic = 0;
  tag->~ksys_attentionTag();
  return 0;
}

c_Int32 ksys_attentionTag_attachTimeout(ksys_attentionTag* tag, double seconds) {
  return attach(tag, kTimeout, deadlineAfter(seconds), ksys_attentionExpired);
}

c_Int32 ksys_attentionTag_attachTimeoutCustom(ksys_attentionTag* tag, double seconds, c_Int32 code) {
  return attach(tag, kTimeout, deadlineAfter(seconds), code);
}

c_Int32 ksys_attentionTag_attachCancel(ksys_attentionTag* tag, c_Int32 flags, c_Int32 code) {
  KSTD_ASSERT(flags == 0);
  return attach(tag, kCancel, kNever, code);
}

c_Int32 ksys_attentionTag_detach(ksys_attentionTag* tag) {
  checkTag(tag);
  ksys_attentionTag** const owner = tag->owner.load(std::memory_order_acquire);
  if (owner == nullptr) return 0;
  KSTD_ASSERT(owner == &ksys_attention_top_);  // only the attaching thread may detach
  unlink(tag);
  tag->kind = kNone;
  recomputeEarliest();
  return 0;
}

c_Int32 ksys_attentionTag_requestCancel(ksys_attentionTag* tag, c_Int32 code) {
  checkTag(tag);
  KSTD_ASSERT(code < 0);
  tag->cancelRequest.store(code, std::memory_order_release);
  return 0;
}

c_Int32 ksys_attention_checkAttached_() {
  // At most one precise clock read serves the whole stack; none is needed
  // without a finite deadline, nor while the coarse clock is well short of
  // the earliest one.
  c_Int64 const earliest = tEarliest;
  c_Int64 now = 0;
  bool timeUp = false;
  if (earliest != kNever && readNs(CLOCK_MONOTONIC_COARSE) >= tCoarseBound) {
    now = monotonicNs();
    timeUp = now >= earliest;
  }
  for (ksys_attentionTag const* t = ksys_attention_top_; t; t = t->outer) {
    if (c_Int32 const requested = t->cancelRequest.load(std::memory_order_acquire); requested < 0) return requested;
    if (t->kind == kCancel) return t->code;
    if (timeUp && t->kind == kTimeout && t->deadline <= now) return t->code;
  }
  return 0;
}

c_Int32 ksys_attention_depth() {
  c_Int32 n = 0;
  for (ksys_attentionTag const* t = ksys_attention_top_; t; t = t->outer) ++n;
  return n;
}
