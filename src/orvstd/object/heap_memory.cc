#include "orvstd/object/heap_memory.h"

#include <cstdint>
#include <new>

#include "orvstd/except/assert.h"
#include "orvstd/except/except.h"
#include "orvstd/kernel/ksys_memory.h"

void* cfCacheAlloc(std::size_t size) {
  constexpr std::size_t kCacheLine = 64;
  void* block = nullptr;
  cfThrowExceptionOnFailure(ksys_memory_alloc(size, kCacheLine, &block));
  return block;
}

ccHeapMemory::ccHeapMemory(c_Int32 size, c_Int32 alignment) {
  cmAssert(alignment >= 0);
  cmAssert((alignment & (alignment - 1)) == 0);  // else the start could run past the block
  cmAssert(size >= 0);
  shares_ = new c_Int32(1);
  try {
    raw_ = cfCacheAlloc(static_cast<std::size_t>(size) + static_cast<std::size_t>(alignment));
  } catch (...) {
    delete shares_;
    throw;
  }
  auto* p = static_cast<unsigned char*>(raw_);
  if (alignment > 1) {
    auto const mask = static_cast<std::uintptr_t>(alignment - 1);
    while ((reinterpret_cast<std::uintptr_t>(p) & mask) != 0) ++p;
  }
  aligned_ = p;
}

ccHeapMemory::ccHeapMemory(ccHeapMemory const& other)
    : ccRepBase(other), raw_(other.raw_), aligned_(other.aligned_), shares_(other.shares_) {
  if (shares_) cfInterlockedIncrement(shares_);
}

ccHeapMemory& ccHeapMemory::operator=(ccHeapMemory const& other) {
  if (shares_ == other.shares_) return *this;
  if (other.shares_) cfInterlockedIncrement(other.shares_);
  release();
  raw_ = other.raw_;
  aligned_ = other.aligned_;
  shares_ = other.shares_;
  return *this;
}

ccHeapMemory::~ccHeapMemory() { release(); }

void ccHeapMemory::release() {
  if (shares_ && cfInterlockedDecrement(shares_) == 0) {
    if (aligned_) cfFree(raw_);
    delete shares_;
  }
  raw_ = nullptr;
  aligned_ = nullptr;
  shares_ = nullptr;
}
