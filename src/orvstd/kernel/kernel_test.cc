#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_atomic.h"
#include "orvstd/kernel/ksys_cleanup.h"
#include "orvstd/kernel/ksys_memory.h"

namespace {

TEST(KernelCodes, FailureCodeLayout) {
  EXPECT_EQ(static_cast<c_UInt32>(kstd_failureCode(1, 3)), 0x80000023u);
  EXPECT_EQ(static_cast<c_UInt32>(kstd_failureCode(63, 2)), 0x800007e2u);
  EXPECT_EQ(static_cast<c_UInt32>(kstd_failureCode(132, 10)), 0x8000108au);
  EXPECT_EQ(kstd_facilityOf(kstd_failureCode(130, 31)), 130);
  EXPECT_LT(kstd_failureCode(0, 0), 0);
  EXPECT_EQ(kstd_outOfMemory, kstd_failureCode(1, 3));
}

TEST(KernelAtomic, ReturnsNewAndOldValues) {
  c_Int32 v = 5, out = 0;
  EXPECT_EQ(ksys_atomicIncrement(&v, &out), 0);
  EXPECT_EQ(out, 6);
  ksys_atomicDecrement(&v, &out);
  EXPECT_EQ(out, 5);
  ksys_atomicExchange(&v, -9, &out);
  EXPECT_EQ(out, 5);
  EXPECT_EQ(v, -9);
}

TEST(KernelMemory, AlignedBlocksAndFailure) {
  for (std::size_t align : {1u, 8u, 32u, 64u, 4096u}) {
    void* p = nullptr;
    ASSERT_EQ(ksys_memory_alloc(100, align, &p), 0);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % align, 0u);
    ksys_memory_free(p);
  }
  void* zero = nullptr;
  ASSERT_EQ(ksys_memory_alloc(0, 32, &zero), 0);
  EXPECT_NE(zero, nullptr);
  ksys_memory_free(zero);

  void* huge = reinterpret_cast<void*>(1);
  EXPECT_EQ(ksys_memory_alloc(SIZE_MAX / 2, 32, &huge), kstd_outOfMemory);
  EXPECT_EQ(huge, nullptr);
}

TEST(KernelDeathTest, AssertWritesLineAndAborts) {
  EXPECT_DEATH(kstd_assert_(4242), "assertion failed at line 4242");
  EXPECT_DEATH(kstd_assertAt_("pelbuf.cc", 17), "assertion failed at pelbuf.cc:17");
  void* p;
  EXPECT_DEATH(ksys_memory_alloc(8, 3, &p), "assertion failed");  // alignment not a power of two
}

TEST(KernelDebugSink, RedirectsAndRestores) {
  std::string captured;
  auto sink = [](char const* d, std::size_t n, void* ctx) { static_cast<std::string*>(ctx)->append(d, n); };
  void* oldCtx = nullptr;
  ksys_debugSinkFn old = ksys_debugSetSink(sink, &captured, &oldCtx);
  ksys_debugWrite("hello", 5);
  ksys_debugSetSink(old, oldCtx, nullptr);
  ksys_debugWrite("", 0);
  EXPECT_EQ(captured, "hello");
}

// Destructors record their order into a shared log.
std::vector<int>* gLog;
c_Int32 logDtor(void* obj) {
  gLog->push_back(*static_cast<int*>(obj));
  return *static_cast<int*>(obj) == 13 ? kstd_failureCode(7, 1) : 0;
}

TEST(KernelCleanup, RunsOnlyItsTagNewestFirst) {
  std::vector<int> log;
  gLog = &log;
  int a = 1, b = 2, c = 3;
  ksys_cleanup_struct_ list;
  c_Int32 t1 = ksys_cleanup_getNextTag(), t2 = ksys_cleanup_getNextTag();
  EXPECT_NE(t1, t2);
  EXPECT_GT(t1, 0);
  ASSERT_EQ(ksys_cleanupPush(&list, t1, &a, &logDtor), 0);
  ASSERT_EQ(ksys_cleanupPush(&list, t2, &b, &logDtor), 0);
  ASSERT_EQ(ksys_cleanupPush(&list, t1, &c, &logDtor), 0);
  EXPECT_EQ(ksys_cleanupCount(&list, 0), 3);
  EXPECT_EQ(list.head->kind, 50);
  c_Int32 status = 0, code = 0;
  ksys_cleanupExecute_(&list, &status, &code, t1);
  EXPECT_EQ(log, (std::vector<int>{3, 1}));
  EXPECT_EQ(ksys_cleanupCount(&list, t1), 0);
  EXPECT_EQ(ksys_cleanupCount(&list, t2), 1);
  EXPECT_EQ(status, 0);
  // The list's destructor runs what is left.
}

TEST(KernelCleanup, FailureReportedUnlessUnwinding) {
  std::vector<int> log;
  gLog = &log;
  int bad = 13, ok = 4;
  ksys_cleanup_struct_ list;
  c_Int32 tag = ksys_cleanup_getNextTag();
  ksys_cleanupPush(&list, tag, &ok, &logDtor);
  ksys_cleanupPush(&list, tag, &bad, &logDtor);
  c_Int32 status = 0, code = 0;
  ksys_cleanupExecute_(&list, &status, &code, tag);
  EXPECT_EQ(code, kstd_failureCode(7, 1));
  EXPECT_EQ(status, kstd_failureCode(7, 1));
  EXPECT_EQ(log, (std::vector<int>{13, 4}));  // a failure does not stop the rest

  ksys_cleanupPush(&list, tag, &bad, &logDtor);
  status = 0;
  code = static_cast<c_Int32>(0x80000000u);
  ksys_cleanupExecute_(&list, &status, &code, tag);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(static_cast<c_UInt32>(code), 0x80000000u);
}

TEST(KernelCleanup, SequenceWrapsBeyondFFFFFFFE) {
  ksys_cleanup_setSequenceForTest(0xFFFFFFFDu);
  EXPECT_EQ(ksys_cleanup_nextSequence(), 0xFFFFFFFDu);
  EXPECT_EQ(ksys_cleanup_nextSequence(), 0xFFFFFFFEu);
  EXPECT_EQ(ksys_cleanup_nextSequence(), 0u);
  EXPECT_EQ(ksys_cleanup_nextSequence(), 1u);
}

}  // namespace
