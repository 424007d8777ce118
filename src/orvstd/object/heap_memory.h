// ccHeapMemory: a heap block whose start is aligned as asked, shared by
// reference count through ccPtrHandle. cfCacheAlloc and cfFree: the
// cache-aligned heap that it comes from.
//
//   ccPtrHandle<ccHeapMemory> block(new ccHeapMemory(4096, 64));
//   std::memset(block->ptr(), 0, 4096);   // ptr() is a multiple of 64
//
// Copies of one ccHeapMemory share its block, which goes with the last of
// them.
#ifndef ORVSTD_OBJECT_HEAP_MEMORY_H_
#define ORVSTD_OBJECT_HEAP_MEMORY_H_

#include <cstddef>

#include "orvstd/defs/types.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/util/cmemory.h"

// A block of `size` bytes on a cache-line (64-byte) boundary;
// std::bad_alloc when none is left. Freed by cfFree, like cfMalloc's.
void* cfCacheAlloc(std::size_t size);

class ccHeapMemory : public ccRepBase {
 public:
  // No block.
  ccHeapMemory() = default;
  // `size` bytes starting at a multiple of `alignment`, which is 0 or a
  // power of two (asserted, like a negative size).
  ccHeapMemory(c_Int32 size, c_Int32 alignment);
  ccHeapMemory(ccHeapMemory const& other);
  ccHeapMemory& operator=(ccHeapMemory const& other);
  ~ccHeapMemory() override;

  // The aligned start; null without a block.
  void* ptr() const { return aligned_; }

 private:
  void release();

  void* raw_ = nullptr;
  void* aligned_ = nullptr;
  // Copies share the block; the last one frees it.
  c_Int32* shares_ = nullptr;
};

#endif  // ORVSTD_OBJECT_HEAP_MEMORY_H_
