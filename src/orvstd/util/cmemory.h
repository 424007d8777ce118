// cfMalloc and cfFree: C-style blocks from the kernel layer's allocator,
// for the plain structures of the interface that callers free themselves.
//
//   auto* d = static_cast<csDistribution*>(cfMalloc(sizeof(csDistribution)));
//   cfFree(d);
#ifndef ORVSTD_UTIL_CMEMORY_H_
#define ORVSTD_UTIL_CMEMORY_H_

#include <cstddef>

// A block of `size` bytes aligned for any scalar; std::bad_alloc on failure.
void* cfMalloc(std::size_t size);
// Frees a block of cfMalloc; null is allowed.
void cfFree(void* block);

#endif  // ORVSTD_UTIL_CMEMORY_H_
