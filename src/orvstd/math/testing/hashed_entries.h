// Reproducible matrix entries for tests and benchmarks, the same bit for
// bit in Python (testdata/gen_nm_decompose.py, hashed()): an integer hash
// of the entry's position below 2^32, divided by 2^32, less one half.
// Test-only.
//
//   double const x = cfHashedEntry(cols, i, j, seed);  // in [-0.5, 0.5)
#ifndef ORVSTD_MATH_TESTING_HASHED_ENTRIES_H_
#define ORVSTD_MATH_TESTING_HASHED_ENTRIES_H_

#include <cstdint>

inline double cfHashedEntry(int cols, int i, int j, unsigned seed) {
  std::uint64_t const k =
      (static_cast<std::uint64_t>(i) * cols + j + seed) * 2654435761u % (std::uint64_t{1} << 32);
  return static_cast<double>(k) / 4294967296.0 - 0.5;
}

#endif  // ORVSTD_MATH_TESTING_HASHED_ENTRIES_H_
