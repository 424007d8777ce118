// Includes only the umbrella header, converts a registered failure code and
// catches the typed exception.
#include <orvstd.h>

#include <cstdio>
#include <new>

int main() {
  try {
    cfThrowExceptionOnFailure(static_cast<c_Int32>(0x80000023));  // out of memory, facility 1
  } catch (std::bad_alloc const&) {
    std::puts("caught std::bad_alloc");
  }
  try {
    cfThrowExceptionOnFailure(static_cast<c_Int32>(0x80001FE1));
  } catch (ccUnknownError const& e) {
    std::printf("caught %s (0x%08X)\n", e.message(true).c_str(), static_cast<unsigned>(e.errorNumber()));
    return e.errorNumber() == 0x10000004 ? 0 : 1;
  }
  return 1;
}
