// Test helpers for hand-assembled object graphs in plain archives: the
// bytes of a pointer record and of an object record's head, laid out field
// by field as the file format has them, and a byte concatenation. Test-only.
//
//   Bytes want = cat({{0x02, 0x00},                          // plain head, msb
//                     pointerRecord(1, 1, true),             // first sight
//                     objectRecordHead(1, "cc2XformLinear", true),
//                     {0, 0, 0, ...}});                      // the body
#ifndef ORVSTD_ARCHIVE_TESTING_RECORD_BYTES_H_
#define ORVSTD_ARCHIVE_TESTING_RECORD_BYTES_H_

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_io.h"

namespace orvstd_testing {

using Bytes = std::vector<unsigned char>;

inline Bytes cat(std::initializer_list<Bytes> parts) {
  Bytes b;
  for (auto const& p : parts) b.insert(b.end(), p.begin(), p.end());
  return b;
}

inline Bytes bytesOf(ccMemoryArchive const& ar) {
  auto const* p = reinterpret_cast<unsigned char const*>(ar.storage());
  return Bytes(p, p + ar.size());
}

// A 32-bit field in the archive's ordering.
inline Bytes field32(c_UInt32 v, bool msb) {
  Bytes b{static_cast<unsigned char>(v >> 24), static_cast<unsigned char>(v >> 16),
          static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
  if (!msb) std::reverse(b.begin(), b.end());
  return b;
}

// A double in the archive's ordering.
inline Bytes field64(double d, bool msb) {
  unsigned char raw[8];
  std::memcpy(raw, &d, 8);  // the host is little-endian
  Bytes b(raw, raw + 8);
  if (msb) std::reverse(b.begin(), b.end());
  return b;
}

// A narrow pointer record of a plain archive: no chain links.
inline Bytes pointerRecord(c_Int32 id, unsigned char flag, bool msb) {
  return cat({{0x4F, 0xE5, 0x70, 0x54, 0}, field32(static_cast<c_UInt32>(id), msb), {flag}, Bytes(8, 0)});
}

// The head of a narrow object record of a plain archive: chain header with
// no links, layout 0, size and pointer offset 0 (a plain archive never
// patches them), and the type name block with the name substituted.
inline Bytes objectRecordHead(c_Int32 id, std::string const& typeName, bool msb) {
  Bytes b = cat({{0x6F, 0x8B, 0x68, 0x44, 0}, field32(static_cast<c_UInt32>(id), msb), Bytes(17, 0), {0},
                 Bytes(8, 0), {0, 0, static_cast<unsigned char>(typeName.size()), 0x22}});
  for (std::size_t i = 0; i < typeName.size(); ++i) {
    unsigned char const c = cc_ArchiveIO::substitute(static_cast<unsigned char>(typeName[i]));
    b.push_back(i == 0 ? (c | 0x80) : c);
  }
  return cat({b, {0x22, 0, 0}});
}

}  // namespace orvstd_testing

#endif  // ORVSTD_ARCHIVE_TESTING_RECORD_BYTES_H_
