// cfDiagPrint: printf-style diagnostics with a level.
//
// Messages at or below the current level (0 unless raised) go to the debug
// stream (cfOrvDebug); higher levels are dropped. Diagnostics never throw.
//
//   cfDiagPrint(0, "unimplemented csDistribution type %d\n", type);
#ifndef ORVSTD_UTIL_DIAG_PRINT_H_
#define ORVSTD_UTIL_DIAG_PRINT_H_

#include "orvstd/defs/types.h"

void cfDiagPrint(c_Int32 level, char const* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;
// The highest level that is printed; returns the previous one.
c_Int32 cfDiagLevel(c_Int32 level);

#endif  // ORVSTD_UTIL_DIAG_PRINT_H_
