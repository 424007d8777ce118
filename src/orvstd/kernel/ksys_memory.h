// Kernel layer memory: aligned blocks for pel storage and kernel objects.
//
//   void* p = nullptr;
//   if (c_Int32 rc = ksys_memory_alloc(bytes, 32, &p); rc < 0) ...;
//   ksys_memory_free(p);
#ifndef ORVSTD_KERNEL_KSYS_MEMORY_H_
#define ORVSTD_KERNEL_KSYS_MEMORY_H_

#include <cstddef>

#include "orvstd/defs/types.h"

// Allocates `size` bytes aligned to `alignment` (a power of two, asserted).
// Returns 0, or kstd_outOfMemory with *out null. A size of 0 gives a valid,
// unique block.
c_Int32 ksys_memory_alloc(std::size_t size, std::size_t alignment, void** out);
// Frees a block from ksys_memory_alloc; null is allowed.
c_Int32 ksys_memory_free(void* block);

// Small blocks for the kernel's own records (16-byte aligned); the free has
// the clean-up list's signature, so it can be a record's release.
c_Int32 ksys_memory_alloc_internal(std::size_t size, void** out);
c_Int32 ksys_memory_free_internal(void* block);

#endif  // ORVSTD_KERNEL_KSYS_MEMORY_H_
