#include "orvstd/kernel/ksys_stack.h"

#include <pthread.h>

#include <cstdint>

namespace {

// The lowest address of this thread's stack, found once per thread.
std::uintptr_t stackLow() {
  thread_local std::uintptr_t low = [] {
    pthread_attr_t attr;
    if (pthread_getattr_np(pthread_self(), &attr) != 0) return std::uintptr_t{0};
    void* addr = nullptr;
    std::size_t size = 0;
    int const rc = pthread_attr_getstack(&attr, &addr, &size);
    pthread_attr_destroy(&attr);
    return rc == 0 ? reinterpret_cast<std::uintptr_t>(addr) : std::uintptr_t{0};
  }();
  return low;
}

}  // namespace

std::size_t ksys_stack_headroom() {
  std::uintptr_t const low = stackLow();
  auto const here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (low == 0 || here <= low) return SIZE_MAX;
  return here - low;
}
