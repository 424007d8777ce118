// The library's diagnostic stream.
//
// Warnings that must not become exceptions (a destructor that swallowed a
// failure, a thread that ended badly) are written here. The stream is
// unbuffered, never destroyed, and safe to use at any time, static
// destruction included. By default it reaches standard error.
//
//   cfOrvDebug() << "archive:833: (warning) ignoring exception" << std::endl;
#ifndef ORVSTD_UTIL_DEBUG_H_
#define ORVSTD_UTIL_DEBUG_H_

#include <ostream>

std::ostream& cfOrvDebug();

#endif  // ORVSTD_UTIL_DEBUG_H_
