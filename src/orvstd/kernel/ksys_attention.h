// Kernel layer attention tags: time limits and cancel requests that long
// work polls for.
//
// A tag applies to the thread that attached it. Each thread keeps an
// intrusive stack of its attached tags, innermost on top, so tags nest: an
// inner short timeout and an outer long one each fire at their own time, and
// a tag may be detached in any order. Interruptible code polls
// ksys_attention_check(), which returns the failure code of the innermost
// pending request and 0 when nothing is pending. With no tag attached the
// check is one test of a thread-local pointer.
//
//   ksys_attentionTag tag;
//   ksys_attentionTag_construct(&tag);
//   ksys_attentionTag_attachTimeout(&tag, 0.5);
//   for (...) {
//     if (c_Int32 rc = ksys_attention_check(); rc < 0) { ...; return rc; }
//   }
//   ksys_attentionTag_detach(&tag);
//   ksys_attentionTag_destruct(&tag);
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSYS_ATTENTION_H_
#define ORVSTD_KERNEL_KSYS_ATTENTION_H_

#include <atomic>

#include "orvstd/defs/types.h"
#include "orvstd/kernel/kstd.h"

// Facility 3: what a pending request reports.
inline constexpr c_Int32 ksys_attentionExpired = kstd_failureCode(3, 1);          // 0x80000061
inline constexpr c_Int32 ksys_attentionCancelled = kstd_failureCode(3, 2);        // 0x80000062
inline constexpr c_Int32 ksys_attentionInternalExpired = kstd_failureCode(3, 4);  // 0x80000064,
// for time limits the kernel layer sets on its own work (attachTimeoutCustom)

// One request. The library keeps it in raw storage of its own and constructs
// it in place with ksys_attentionTag_construct; it must not move while
// constructed. Fields are the kernel's business.
struct ksys_attentionTag {
  ksys_attentionTag* outer;  // next tag down the owner's stack
  ksys_attentionTag* inner;  // next tag up, null on top
  // The owning thread's stack (the address of its ksys_attention_top_),
  // null while detached. Atomic because a tag may be destroyed on another
  // thread once its own thread has ended.
  std::atomic<ksys_attentionTag**> owner;
  c_Int64 deadline;  // monotonic nanoseconds of a timeout
  c_Int32 code;      // what the request reports once pending
  c_Int32 kind;      // none, timeout or cancel
  std::atomic<c_Int32> cancelRequest;  // set from any thread; 0 while none
  c_UInt32 magic;                      // catches use of an unconstructed tag
};

// The calling thread's innermost attached tag; null when none. Initial-exec
// so that the test costs one load in the library and in its clients alike.
extern thread_local constinit ksys_attentionTag* ksys_attention_top_ [[gnu::tls_model("initial-exec")]];

// Makes a detached tag with no request in the memory at `tag`. Returns 0.
c_Int32 ksys_attentionTag_construct(ksys_attentionTag* tag);
// Detaches the tag first if it is still attached to the calling thread
// (a tag attached to another, living thread is asserted). Returns 0.
c_Int32 ksys_attentionTag_destruct(ksys_attentionTag* tag);

// The attach operations push the tag on the calling thread's stack, or, if
// it is already attached there, replace its request in place. Attaching a
// tag that another thread holds is asserted. Each returns 0.
//
// A timeout runs out `seconds` from now (0 or less: at once; HUGE_VAL:
// never; NaN asserted) and then reports ksys_attentionExpired, or `code`
// (negative, asserted) for the custom form. Any negative code may be used:
// it reaches the converters of its own facility.
c_Int32 ksys_attentionTag_attachTimeout(ksys_attentionTag* tag, double seconds);
c_Int32 ksys_attentionTag_attachTimeoutCustom(ksys_attentionTag* tag, double seconds, c_Int32 code);
// A cancel request, pending at once, that reports `code` (negative,
// asserted). `flags` is reserved and must be 0 (asserted).
c_Int32 ksys_attentionTag_attachCancel(ksys_attentionTag* tag, c_Int32 flags, c_Int32 code);
// Takes the tag off its thread's stack, wherever it sits in it. Detaching a
// detached tag, or one whose thread has ended, does nothing; detaching from
// a thread other than the owner is asserted. Returns 0.
c_Int32 ksys_attentionTag_detach(ksys_attentionTag* tag);

// Thread-safe: marks the tag cancelled with `code` (negative, asserted),
// from any thread. While the tag is attached, its owner's next check
// reports the code; the mark stays for the life of the tag, through detach
// and re-attach. The tag must stay constructed during the call. Returns 0.
c_Int32 ksys_attentionTag_requestCancel(ksys_attentionTag* tag, c_Int32 code);

// The slow path of ksys_attention_check, for a thread with tags attached.
c_Int32 ksys_attention_checkAttached_();

// The failure code of the innermost pending request of the calling thread,
// or 0. Reads a clock only while a finite timeout is attached: the coarse
// monotonic clock, and the precise one only near the earliest deadline. A
// timeout is never seen early.
inline c_Int32 ksys_attention_check() {
  return ksys_attention_top_ == nullptr ? 0 : ksys_attention_checkAttached_();
}

// How many tags the calling thread has attached; for diagnostics and tests.
c_Int32 ksys_attention_depth();

#endif  // ORVSTD_KERNEL_KSYS_ATTENTION_H_
