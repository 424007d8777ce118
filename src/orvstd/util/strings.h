// Small text utilities shared by the library.
//
//   cfHex(0x8000001F, 8) == "8000001F"
#ifndef ORVSTD_UTIL_STRINGS_H_
#define ORVSTD_UTIL_STRINGS_H_

#include <string>

#include "orvstd/defs/types.h"

// Upper-case hexadecimal, at least `digits` digits (zero-padded), no prefix.
std::string cfHex(c_UInt64 value, int digits);
// A 32-bit value is shown as its 32-bit pattern, never sign-extended.
inline std::string cfHex(c_Int32 value, int digits) { return cfHex(static_cast<c_UInt64>(static_cast<c_UInt32>(value)), digits); }
inline std::string cfHex(c_UInt32 value, int digits) { return cfHex(static_cast<c_UInt64>(value), digits); }

#endif  // ORVSTD_UTIL_STRINGS_H_
