#include "orvstd/kernel/ksys_memory.h"

#include <cstdint>
#include <cstdlib>

#include "orvstd/kernel/kstd.h"

c_Int32 ksys_memory_alloc(std::size_t size, std::size_t alignment, void** out) {
  KSTD_ASSERT(out != nullptr);
  KSTD_ASSERT(alignment != 0 && (alignment & (alignment - 1)) == 0);
  *out = nullptr;
  if (alignment < sizeof(void*)) alignment = sizeof(void*);
  // No block can be larger than the address space allows an object to be.
  if (size > static_cast<std::size_t>(PTRDIFF_MAX) - alignment) return kstd_outOfMemory;
  void* block = nullptr;
  // posix_memalign accepts any size; a zero size still yields a unique block.
  if (::posix_memalign(&block, alignment, size == 0 ? 1 : size) != 0 || block == nullptr)
    return kstd_outOfMemory;
  *out = block;
  return 0;
}

c_Int32 ksys_memory_free(void* block) {
  std::free(block);
  return 0;
}

c_Int32 ksys_memory_alloc_internal(std::size_t size, void** out) { return ksys_memory_alloc(size, 16, out); }

c_Int32 ksys_memory_free_internal(void* block) { return ksys_memory_free(block); }
