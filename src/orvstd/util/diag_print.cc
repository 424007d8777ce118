#include "orvstd/util/diag_print.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "orvstd/util/debug.h"

namespace {
std::atomic<c_Int32> diagLevel{0};
}

c_Int32 cfDiagLevel(c_Int32 level) { return diagLevel.exchange(level); }

void cfDiagPrint(c_Int32 level, char const* format, ...) {
  if (level > diagLevel.load()) return;
  std::va_list args;
  va_start(args, format);
  std::va_list again;
  va_copy(again, args);
  int const size = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (size > 0) {
    std::vector<char> text(static_cast<std::size_t>(size) + 1);
    std::vsnprintf(text.data(), text.size(), format, again);
    cfOrvDebug().write(text.data(), size);
  }
  va_end(again);
}
