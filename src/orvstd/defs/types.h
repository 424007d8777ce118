// Fixed-width integer names used throughout the exported interface.
//
// Every `long` of the library's interface is 32 bits, on every platform: it
// is the width that goes to archives and to the wire. The platform `long`
// (64 bits on Linux) is never used in an interface; these aliases are.
//
//   c_Int32 code = cfSomeKernelCall();   // never `long`
#ifndef ORVSTD_DEFS_TYPES_H_
#define ORVSTD_DEFS_TYPES_H_

#include <cstdint>

using c_Int8 = std::int8_t;
using c_UInt8 = std::uint8_t;
using c_Int16 = std::int16_t;
using c_UInt16 = std::uint16_t;
using c_Int32 = std::int32_t;
using c_UInt32 = std::uint32_t;
using c_Int64 = std::int64_t;
using c_UInt64 = std::uint64_t;

static_assert(sizeof(c_Int32) == 4 && sizeof(c_Int64) == 8, "fixed widths");

#endif  // ORVSTD_DEFS_TYPES_H_
