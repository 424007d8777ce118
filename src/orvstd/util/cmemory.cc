#include "orvstd/util/cmemory.h"

#include "orvstd/except/except.h"
#include "orvstd/kernel/ksys_memory.h"

void* cfMalloc(std::size_t size) {
  void* block = nullptr;
  cfThrowExceptionOnFailure(ksys_memory_alloc(size, alignof(std::max_align_t), &block));
  return block;
}

void cfFree(void* block) { ksys_memory_free(block); }
