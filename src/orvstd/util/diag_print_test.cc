#include "orvstd/util/diag_print.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "orvstd/kernel/kstd.h"
#include "orvstd/util/cmemory.h"

namespace {

void append(char const* data, std::size_t size, void* context) {
  static_cast<std::string*>(context)->append(data, size);
}

TEST(DiagPrint, FormatsAtOrBelowTheLevel) {
  std::string text;
  void* oldContext = nullptr;
  ksys_debugSinkFn old = ksys_debugSetSink(&append, &text, &oldContext);
  cfDiagPrint(0, "type %d, %7.3f|", 5, 2.5);
  cfDiagPrint(1, "dropped");
  c_Int32 const before = cfDiagLevel(2);
  cfDiagPrint(1, "kept %s", "now");
  cfDiagPrint(3, "dropped");
  cfDiagLevel(before);
  cfDiagPrint(1, "dropped again");
  ksys_debugSetSink(old, oldContext, nullptr);
  EXPECT_EQ(before, 0);
  EXPECT_EQ(text, "type 5,   2.500|kept now");
}

TEST(CMemory, BlocksAreAlignedAndWritable) {
  void* p = cfMalloc(100);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignof(std::max_align_t), 0u);
  static_cast<char*>(p)[99] = 1;
  cfFree(p);
  cfFree(nullptr);
  EXPECT_THROW(cfMalloc(~std::size_t{0} / 2), std::bad_alloc);
}

}  // namespace
