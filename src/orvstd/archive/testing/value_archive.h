// Test helpers for plain value formats: the bytes a value writes after the
// archive head, and round trips through plain and seekable memory archives
// in both byte orders. Test-only.
//
//   EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, v), (ValueBytes{0x00, 0x3F, ...}));
//   forEachArchiveKind([&](ccArchive& ar) { ... ar << v; ... ar >> w; });
#ifndef ORVSTD_ARCHIVE_TESTING_VALUE_ARCHIVE_H_
#define ORVSTD_ARCHIVE_TESTING_VALUE_ARCHIVE_H_

#include <string>
#include <vector>

#include "orvstd/archive/archive.h"

using ValueBytes = std::vector<unsigned char>;

// What storing `v` appends to a plain archive's two head bytes.
template <class T>
ValueBytes valueBytes(ccArchive::Ordering ordering, T const& v) {
  ccMemoryArchive ar(ordering, false);
  ar << v;
  auto const* p = reinterpret_cast<unsigned char const*>(ar.storage());
  return ValueBytes(p + 2, p + ar.size());
}

// Loads into an existing `v` from `body` placed behind a plain archive head
// (to see what a load keeps or leaves alone).
template <class T>
void loadValueInto(ccArchive::Ordering ordering, ValueBytes const& body, T& v) {
  std::string bytes{'\x02', ordering == ccArchive::eMsbFirst ? '\x00' : '\x01'};
  bytes.append(body.begin(), body.end());
  ccMemoryArchive ar(bytes.data(), static_cast<c_Int32>(bytes.size()), false, false);
  ar >> v;
}

// Loads a T from `body` placed behind a plain archive head.
template <class T>
T loadValue(ccArchive::Ordering ordering, ValueBytes const& body) {
  T v{};
  loadValueInto(ordering, body, v);
  return v;
}

// Stores `v` and loads it back through a plain archive (written and then
// reopened from its bytes) and a seekable one (switched to loading), in
// both byte orders; returns the four loaded values.
template <class T>
std::vector<T> roundTrips(T const& v) {
  std::vector<T> out;
  for (auto ordering : {ccArchive::eLsbFirst, ccArchive::eMsbFirst}) {
    {
      ccMemoryArchive store(ordering, false);
      store << v;
      std::string const bytes(store.storage(), store.size());
      ccMemoryArchive load(bytes.data(), static_cast<c_Int32>(bytes.size()), false, false);
      T w{};
      load >> w;
      out.push_back(w);
    }
    {
      ccMemoryArchive ar(ordering, true);
      ccArchive::Pos const at = ar.tell();
      ar << v;
      ar.mode(ccArchive::eLoad);
      ar.seek(at);
      T w{};
      ar >> w;
      out.push_back(w);
    }
  }
  return out;
}

#endif  // ORVSTD_ARCHIVE_TESTING_VALUE_ARCHIVE_H_
