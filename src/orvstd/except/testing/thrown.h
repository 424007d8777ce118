// What a call raised, for tests that look into the exception itself (its
// text, file, line or fields) rather than only at its type. Test-only.
//
//   EXPECT_EQ(thrownBy<ccArchive::BadType>([&] { in >> s; }).line(), 305);
//
// A call that raises nothing fails the test at the caller's line and gives
// a default-constructed E, whose fields then fail the caller's checks too.
// An exception of another type is not caught: gtest reports it. Catching
// by a leaf type also proves the exception was raised as that type.
#ifndef ORVSTD_EXCEPT_TESTING_THROWN_H_
#define ORVSTD_EXCEPT_TESTING_THROWN_H_

#include <gtest/gtest.h>

#include <utility>

template <class E, class F>
E thrownBy(F&& call, char const* file = __builtin_FILE(), int line = __builtin_LINE()) {
  try {
    std::forward<F>(call)();
  } catch (E const& e) {
    return e;
  }
  ADD_FAILURE_AT(file, line) << "the call raised nothing";
  return E();
}

#endif  // ORVSTD_EXCEPT_TESTING_THROWN_H_
