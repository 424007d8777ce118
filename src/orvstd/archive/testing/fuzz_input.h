// The input form of archive_fuzzer, shared with the test that writes its
// seeds: one control byte, then the archive bytes. Test-only.
//
//   bits 0-2  what a read loop reads (FuzzPlan)
//   bit 3     give each loader the head's seekable bit it expects, so that
//             both the plain and the seekable loader get past the head
//   bit 4     free loaded objects while the archive still lives
//   bit 5     the archive takes ownership of its copy of the bytes
//   bits 6-7  the first of the embedded types the loops read
#ifndef ORVSTD_ARCHIVE_TESTING_FUZZ_INPUT_H_
#define ORVSTD_ARCHIVE_TESTING_FUZZ_INPUT_H_

#include <memory>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/testing/graph_node.h"
#include "orvstd/devices/board.h"

enum FuzzPlan {
  kFuzzPointers = 0,
  kFuzzEmbedded = 1,
  kFuzzNarrow = 2,
  kFuzzU16 = 3,
  kFuzzWide = 4,
  kFuzzU32 = 5,
  kFuzzMixed = 6,          // readings of every kind, in turn (kFuzzKinds)
  kFuzzMixedReversed = 7,  // the same in the opposite turn
};

constexpr unsigned char kFuzzFixHead = 8;
constexpr unsigned char kFuzzFreeEarly = 16;
constexpr unsigned char kFuzzGiveOwnership = 32;
constexpr int kFuzzEmbeddedShift = 6;

// The mixed loops read, for step s, the kind s % kFuzzKinds: unsigned
// char, bool, c_Int16, c_UInt16, c_Int32, c_UInt32, float, c_Int64,
// c_UInt64, double, wchar_t, char16_t, std::string, std::u16string,
// std::wstring, std::u32string, a pointer, an embedded object, 3 raw bytes.
constexpr int kFuzzKinds = 19;
// Step s of the reversed loop reads kind kFuzzKinds - 1 - s % kFuzzKinds.
constexpr int fuzzReversedKind(int s) { return kFuzzKinds - 1 - s % kFuzzKinds; }

// The class an embedded read of kind k loads into.
constexpr int kFuzzEmbeddedTypes = 5;
inline std::unique_ptr<ccPersistent> fuzzEmbeddedTarget(int k) {
  switch (k % kFuzzEmbeddedTypes) {
    case 0:
      return std::make_unique<ccArchive::Eof>();
    case 1:
      return std::make_unique<ccArchive::UnknownType>();
    case 2:
      return std::make_unique<ccAssertFailure>();
    case 3:
      return std::make_unique<ccArchiveTestNode>();
    default:
      return std::make_unique<ccBoard::BadParams>();
  }
}

#endif  // ORVSTD_ARCHIVE_TESTING_FUZZ_INPUT_H_
