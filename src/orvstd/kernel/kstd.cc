#include "orvstd/kernel/kstd.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void writeStderr(char const* data, std::size_t size, void*) {
  while (size > 0) {
    ssize_t n = ::write(2, data, size);
    if (n <= 0) return;  // nowhere left to report to
    data += n;
    size -= static_cast<std::size_t>(n);
  }
}

// Plain atomics: the sink must work before and after every static object.
std::atomic<ksys_debugSinkFn> gSink{&writeStderr};
std::atomic<void*> gSinkContext{nullptr};

}  // namespace

void ksys_debugWrite(char const* data, std::size_t size) {
  gSink.load(std::memory_order_acquire)(data, size, gSinkContext.load(std::memory_order_acquire));
}

ksys_debugSinkFn ksys_debugSetSink(ksys_debugSinkFn sink, void* context, void** oldContext) {
  if (oldContext) *oldContext = gSinkContext.load();
  gSinkContext.store(context, std::memory_order_release);
  return gSink.exchange(sink ? sink : &writeStderr, std::memory_order_acq_rel);
}

void kstd_assertAt_(char const* file, c_Int32 line) {
  char text[512];
  int n = file ? std::snprintf(text, sizeof text, "orvstd: assertion failed at %s:%d\n", file, static_cast<int>(line))
               : std::snprintf(text, sizeof text, "orvstd: assertion failed at line %d\n", static_cast<int>(line));
  if (n > 0) ksys_debugWrite(text, std::strlen(text));
  std::abort();
}

void kstd_assert_(c_Int32 line) { kstd_assertAt_(nullptr, line); }
