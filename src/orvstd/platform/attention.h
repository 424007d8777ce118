// Attention tags: time limits and cancel requests for long-running work.
//
// A tag attaches a request to the thread that attaches it: a timeout, or a
// cancel. Code that has promised to be interruptible calls
// ccAttention::check() in its loops; once a request of the calling thread is
// pending, check() raises it as ccTimeout::Expired, ccTimeout::Cancel or
// ccTimeout::InternalExpired (or what a custom code converts to). Tags nest:
// an inner short time limit and an outer long one each fire at their own
// time. With nothing attached, check() costs one test.
//
//   ccAttentionTag tag;
//   tag.attachTimeout(HUGE_VAL);        // on the worker: attached, never expires
//   ...                                 // another thread: tag.requestCancel();
//   for (;;) { ccAttention::check(); step(); }   // raises ccTimeout::Cancel
//
// For the usual time limit on the caller's stack see ccTimeout.
#ifndef ORVSTD_PLATFORM_ATTENTION_H_
#define ORVSTD_PLATFORM_ATTENTION_H_

#include "orvstd/defs/types.h"

struct ksys_attentionTag;

// The calling thread's innermost attached tag, kept by the kernel layer;
// null when nothing is attached. Only its nullness is read here.
extern thread_local constinit ksys_attentionTag* ksys_attention_top_ [[gnu::tls_model("initial-exec")]];

class ccAttentionTag {
 public:
  // Detaching at destruction is the safe default; either way the tag is
  // never left on its thread's stack once destroyed.
  explicit ccAttentionTag(bool detachAtDestruction = true);
  ~ccAttentionTag();
  // The kernel links to the tag's address: neither copied nor moved.
  ccAttentionTag(ccAttentionTag const&) = delete;
  ccAttentionTag& operator=(ccAttentionTag const&) = delete;

  // Attach to the calling thread, or replace the request of a tag already
  // attached to it. A tag attached to another thread must not be attached
  // again elsewhere (asserted).
  //
  // Runs out `seconds` from now (0 or less: at once; HUGE_VAL: never), then
  // raises ccTimeout::Expired.
  void attachTimeout(double seconds);
  // The same, raising what the failure code `code` (negative) converts to.
  void attachTimeoutCustom(double seconds, c_Int32 code);
  // A cancel request, pending at once: raises what `code` converts to.
  void attachCancel(c_Int32 code);
  // Off the thread's stack, wherever it sits; harmless when detached. Only
  // the thread that attached the tag may detach it (asserted).
  void detach();

  // Thread-safe, from any thread: cancel the work this tag guards. While
  // the tag is attached, its thread's next check raises what `code`
  // converts to, by default ccTimeout::Cancel. The mark stays for the life
  // of the tag. The caller must make sure the tag outlives the call.
  void requestCancel(c_Int32 code = kCancelCode);

  static constexpr c_Int32 kCancelCode = static_cast<c_Int32>(0x80000062u);

 private:
  ksys_attentionTag* tag();

  bool detachAtDestruction_;
  // The kernel's tag, constructed in place; its size is checked where it is
  // defined.
  alignas(8) unsigned char kernelTag_[64];
};

class ccAttention {
 public:
  // Raises the innermost pending request of the calling thread; returns
  // when there is none.
  static void check() {
    if (ksys_attention_top_ != nullptr) checkAttached();
  }

 private:
  static void checkAttached();
};

#endif  // ORVSTD_PLATFORM_ATTENTION_H_
