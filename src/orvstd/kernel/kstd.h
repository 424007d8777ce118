// Kernel layer base: failure codes, assertions and the debug sink.
//
// The kernel layer is the library's private numeric and system layer. Its
// operations return a 32-bit status that is negative on failure; the library
// turns such a code into a typed exception with cfThrowExceptionOnFailure.
// A failure code is 0x80000000 | facility << 5 | index.
//
//   c_Int32 rc = ksys_memory_alloc(n, 32, &p);
//   if (rc < 0) cfThrowExceptionOnFailure(rc);
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSTD_H_
#define ORVSTD_KERNEL_KSTD_H_

#include <cstddef>

#include "orvstd/defs/types.h"

constexpr c_Int32 kstd_failureCode(c_Int32 facility, c_Int32 index) {
  return static_cast<c_Int32>(0x80000000u | static_cast<c_UInt32>(facility) << 5 |
                              static_cast<c_UInt32>(index));
}
constexpr c_Int32 kstd_facilityOf(c_Int32 code) { return (code & 0xFFFF) >> 5; }

// Facilities the kernel layer itself raises.
inline constexpr c_Int32 kstd_facilityMemory = 1;
inline constexpr c_Int32 kstd_outOfMemory = kstd_failureCode(kstd_facilityMemory, 3);  // 0x80000023

// A failed internal precondition: writes the source line to the debug
// stream and aborts. Callers never carry on behind a failed assertion.
[[noreturn]] void kstd_assert_(c_Int32 line);
// The same with the file name, which makes the message usable.
[[noreturn]] void kstd_assertAt_(char const* file, c_Int32 line);

#define KSTD_ASSERT(cond) ((cond) ? static_cast<void>(0) : kstd_assertAt_(__FILE__, __LINE__))

// The debug sink: all diagnostics of the library end here. By default it
// writes to standard error with write(2), which is safe at any time,
// static destruction included.
using ksys_debugSinkFn = void (*)(char const* data, std::size_t size, void* context);
void ksys_debugWrite(char const* data, std::size_t size);
// Replaces the sink (null restores standard error); returns the old one.
ksys_debugSinkFn ksys_debugSetSink(ksys_debugSinkFn sink, void* context, void** oldContext);

#endif  // ORVSTD_KERNEL_KSTD_H_
