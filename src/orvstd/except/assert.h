// Assertions: a caller's programming error, never bad data.
//
// A stated precondition that a caller breaks (a size, a null pointer, a
// direction) stops the program through the kernel layer's assertion, which
// writes the source line to the debug stream and aborts. Content that comes
// from a file or the wire never reaches an assertion: it raises the typed
// exception of its class instead.
//
//   cmAssert(count >= 0);
#ifndef ORVSTD_EXCEPT_ASSERT_H_
#define ORVSTD_EXCEPT_ASSERT_H_

#include "orvstd/defs/types.h"

[[noreturn]] void cfAssertFailed(char const* file, c_Int32 line);

#define cmAssert(cond) ((cond) ? static_cast<void>(0) : cfAssertFailed(__FILE__, __LINE__))

#endif  // ORVSTD_EXCEPT_ASSERT_H_
