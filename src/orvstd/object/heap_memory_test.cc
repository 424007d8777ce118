// Aligned heap blocks: the aligned start, the block's extent, shared
// copies, and counting through handles.
#include "orvstd/object/heap_memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>

#include "orvstd/handle/ptrhandle.h"

namespace {

std::uintptr_t address(void const* p) { return reinterpret_cast<std::uintptr_t>(p); }

struct Shape {
  c_Int32 size;
  c_Int32 alignment;
};

void PrintTo(Shape const& s, std::ostream* os) { *os << s.size << " bytes at " << s.alignment; }

class HeapMemoryAlignment : public testing::TestWithParam<Shape> {};

TEST_P(HeapMemoryAlignment, StartsOnTheBoundaryAndHoldsTheWholeSize) {
  auto const [size, alignment] = GetParam();
  for (int round = 0; round < 8; ++round) {  // several blocks: several raw offsets
    ccHeapMemory block(size, alignment);
    ASSERT_NE(block.ptr(), nullptr);
    // Alignments 0 and 1 keep the raw start, which is on a cache line.
    std::uintptr_t const boundary = alignment > 1 ? static_cast<std::uintptr_t>(alignment) : 64;
    EXPECT_EQ(address(block.ptr()) % boundary, 0u);
    // Every byte up to size is the block's (the address sanitizer checks).
    std::memset(block.ptr(), 0xA5, static_cast<std::size_t>(size));
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, HeapMemoryAlignment,
                         testing::Values(Shape{100, 0}, Shape{100, 1}, Shape{0, 0}, Shape{1, 2}, Shape{33, 16},
                                         Shape{64, 64}, Shape{5, 128}, Shape{1000, 256}, Shape{4097, 4096}));

TEST(HeapMemory, DefaultHasNoBlock) {
  ccHeapMemory none;
  EXPECT_EQ(none.ptr(), nullptr);
  ccHeapMemory copy(none);
  EXPECT_EQ(copy.ptr(), nullptr);
}

TEST(HeapMemory, CopiesShareTheBlockAndTheLastFreesIt) {
  auto* source = new ccHeapMemory(256, 32);
  std::memset(source->ptr(), 1, 256);
  ccHeapMemory copy(*source);
  EXPECT_EQ(copy.ptr(), source->ptr());
  ccHeapMemory assigned;
  assigned = *source;
  ccHeapMemory& self = assigned;
  assigned = self;  // self: no change
  EXPECT_EQ(assigned.ptr(), source->ptr());
  delete source;
  // The copies outlive their source and may still use the block.
  std::memset(copy.ptr(), 2, 256);
  EXPECT_EQ(static_cast<unsigned char*>(assigned.ptr())[255], 2);
  ccHeapMemory other(16, 16);
  assigned = other;  // gives up its share of the first block
  EXPECT_EQ(assigned.ptr(), other.ptr());
  std::memset(copy.ptr(), 3, 256);
}

int gDestroyed = 0;
class TrackedBlock : public ccHeapMemory {
 public:
  TrackedBlock() : ccHeapMemory(64, 64) {}
  ~TrackedBlock() override { ++gDestroyed; }
};

TEST(HeapMemory, HandlesCountTheBodyAndTheLastDeletesIt) {
  gDestroyed = 0;
  {
    ccPtrHandle<ccHeapMemory> h(new TrackedBlock);
    EXPECT_EQ(h->refCount(), 1);
    void* p = h->ptr();
    {
      ccPtrHandle<ccHeapMemory> g = h;
      ccPtrHandle_const<ccHeapMemory> c = g;
      EXPECT_EQ(h->refCount(), 3);
      EXPECT_EQ(c->ptr(), p);
    }
    EXPECT_EQ(h->refCount(), 1);
    EXPECT_EQ(gDestroyed, 0);
  }
  EXPECT_EQ(gDestroyed, 1);
}

TEST(HeapMemoryDeathTest, WrongArgumentsAreAsserted) {
  EXPECT_DEATH(ccHeapMemory(16, -8), "heap_memory.cc");
  EXPECT_DEATH(ccHeapMemory(16, 24), "heap_memory.cc");
  EXPECT_DEATH(ccHeapMemory(-1, 8), "heap_memory.cc");
}

TEST(HeapMemory, AnImpossibleSizeIsBadAlloc) {
  EXPECT_THROW(cfCacheAlloc(~std::size_t{0} - 8), std::bad_alloc);
  cfFree(nullptr);
  void* p = cfCacheAlloc(0);
  EXPECT_NE(p, nullptr);
  EXPECT_EQ(address(p) % 64, 0u);
  cfFree(p);
}

}  // namespace
