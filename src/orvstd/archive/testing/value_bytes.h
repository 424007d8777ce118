// Test helpers for values that go through ccArchive::operator||: store a
// value in a plain or seekable memory archive, load it back, and see or
// supply the bytes a value writes after a plain archive's two head bytes.
//
//   Bytes b = cfTestValueBytes(ccArchive::eMsbFirst, range);
//   ccRange back = cfTestRoundTrip(range, ccArchive::eLsbFirst, true);
//   EXPECT_THROW(cfTestLoadValue<ccRange>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
#ifndef ORVSTD_ARCHIVE_TESTING_VALUE_BYTES_H_
#define ORVSTD_ARCHIVE_TESTING_VALUE_BYTES_H_

#include <vector>

#include "orvstd/archive/archive.h"

using Bytes = std::vector<unsigned char>;

// The bytes `value` writes into a plain archive, without the head.
template <class T>
Bytes cfTestValueBytes(ccArchive::Ordering ordering, T value) {
  ccMemoryArchive ar(ordering, false);
  ar || value;
  auto const* p = reinterpret_cast<unsigned char const*>(ar.storage());
  return Bytes(p + 2, p + ar.size());
}

// Loads into `value` from `body` behind a plain archive's head.
template <class T>
void cfTestLoadInto(ccArchive::Ordering ordering, Bytes const& body, T& value) {
  Bytes all{0x02, static_cast<unsigned char>(ordering == ccArchive::eLsbFirst ? 1 : 0)};
  all.insert(all.end(), body.begin(), body.end());
  ccMemoryArchive ar(reinterpret_cast<char const*>(all.data()), static_cast<c_Int32>(all.size()), false, false);
  ar || value;
}

template <class T>
T cfTestLoadValue(ccArchive::Ordering ordering, Bytes const& body, T value = T()) {
  cfTestLoadInto(ordering, body, value);
  return value;
}

// Stores `value` and loads it into `into` through a whole archive.
template <class T>
T cfTestRoundTrip(T value, ccArchive::Ordering ordering, bool seekable, T into = T()) {
  ccMemoryArchive out(ordering, seekable);
  out || value;
  ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), seekable, false);
  in || into;
  return into;
}

#endif  // ORVSTD_ARCHIVE_TESTING_VALUE_BYTES_H_
