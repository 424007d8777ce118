// Helpers for tests that take stored archives apart: their bytes, a loading
// archive over a copy of them, pointers stored and loaded one at a time,
// fields overwritten in place, and the record chains listed. Test-only.
//
//   ccMemoryArchive out(ccArchive::eLsbFirst, true);
//   ccArchive::Pos const at = out.tell();
//   storePointer(out, nullptr);
//   std::string bytes = storedBytes(out);
//   patch(bytes, off(at) + 5, c_Int32{-5});  // the pointer's object id
//   LoadArchive in(bytes);
//   in.seek(at);
//   EXPECT_THROW(loadPointer(in), ccArchive::NotFound);
#ifndef ORVSTD_ARCHIVE_TESTING_STORED_ARCHIVE_H_
#define ORVSTD_ARCHIVE_TESTING_STORED_ARCHIVE_H_

#include <cstring>
#include <ios>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"

inline std::string storedBytes(ccMemoryArchive const& ar) { return std::string(ar.storage(), ar.size()); }

inline std::streamoff off(ccArchive::Pos p) { return std::streamoff(p); }

// A loading archive over its own copy of `bytes`, so that the test may go
// on changing them.
class LoadArchive : public ccMemoryArchive {
 public:
  explicit LoadArchive(std::string const& bytes, bool seekable = true)
      : ccMemoryArchive(copyOf(bytes), static_cast<c_Int32>(bytes.size()), seekable, true) {}
  explicit LoadArchive(ccMemoryArchive const& stored, bool seekable = true)
      : LoadArchive(storedBytes(stored), seekable) {}

 private:
  static char const* copyOf(std::string const& bytes) {
    char* copy = new char[bytes.size() + 1];
    std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
  }
};

// `v` stored embedded in a plain archive, and the first value of a plain
// archive loaded into `v`.
template <class T>
std::string storedPlain(T const& v, ccArchive::Ordering ordering = ccArchive::eLsbFirst) {
  ccMemoryArchive out(ordering, false);
  out << v;
  return storedBytes(out);
}
template <class T>
void loadPlain(std::string const& bytes, T& v) {
  LoadArchive in(bytes, false);
  in >> v;
}

// One pointer record (and the object behind it, the first time).
inline void storePointer(ccArchive& ar, ccPersistent* object) {
  ccPersistent* unused = nullptr;
  ccPersistent::serializePointer(ar, object, unused);
}

// What one pointer record loads: null, an object the archive has already
// handed out, or a new one the caller now owns.
inline ccPersistent* loadPointer(ccArchive& ar) {
  ccPersistent* loaded = nullptr;
  ccPersistent::serializePointer(ar, nullptr, loaded);
  return loaded;
}

template <class T>
T* loadPointerAs(ccArchive& ar) {
  return dynamic_cast<T*>(loadPointer(ar));
}

// Overwrites the bytes at `at` with `value` in this host's order, which is
// the order of the tests' least-significant-first archives.
template <class T>
void patch(std::string& bytes, std::streamoff at, T value) {
  std::memcpy(&bytes[static_cast<std::size_t>(at)], &value, sizeof value);
}

// The chains of a seekable archive, in chain order. Listing pointers needs
// a loading archive; it leaves the position behind the last record read.
inline std::vector<c_Int32> markNumbers(ccArchive& ar) {
  std::vector<c_Int32> numbers;
  for (c_Int32 n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) numbers.push_back(n);
  return numbers;
}
inline std::vector<c_Int32> objectIDs(ccArchive& ar) {
  std::vector<c_Int32> ids;
  for (c_Int32 id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
  return ids;
}
inline std::vector<ccArchive::Pos> pointerPositions(ccArchive& ar) {
  std::vector<ccArchive::Pos> positions;
  for (ccArchive::Pos p = ar.firstPointerPos(); ccArchive::isValid(p); p = ar.nextPointerPos()) {
    positions.push_back(p);
    ar.seek(p);
  }
  return positions;
}

#endif  // ORVSTD_ARCHIVE_TESTING_STORED_ARCHIVE_H_
