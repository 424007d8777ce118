// The record layer of seekable archives: chain headers, object and pointer
// records, and the walks over their chains. Internal.
//
// Every walk reads records from the stream (no index in memory) and checks
// what it reads: chains of marks and objects must rise in number, the
// pointer chain must rise in position, so a damaged file that loops ends in
// ccArchive::BadContent instead of an endless walk.
#ifndef ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_IO_H_
#define ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_IO_H_

#include <string>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_rep.h"

class cc_ArchiveIO {
 public:
  using Pos = ccArchive::Pos;

  static constexpr int kHeaderSize = 26;
  static constexpr int kNarrowPointerSize = 18;
  static constexpr int kWidePointerSize = 26;

  enum Chain { eMarks, eObjects };

  struct Header {
    Pos start;
    unsigned char magic[4];
    c_Int32 number;
    Pos next, prev;
  };

  struct ObjectRecord {
    Header header;
    bool wideLayout = false;  // layout byte 1
    bool promoted = false;    // magic 45, layout 0
    c_UInt64 size = 0;
    Pos pointerPos;           // first pointer inside the body, or invalid
    bool hasType = false;     // false for the "$nt" head record
    std::string storedName;   // as it stands in the file, after substitution
    std::string nativeName;
    cc_MakeFn make = nullptr;
  };

  struct PointerRecord {
    Pos start;
    bool magicWide = false;   // magic 55
    bool wideLayout = false;  // layout byte 1
    c_Int32 id = 0;
    unsigned char flag = 0;
    Pos next, prev;           // prev is the true predecessor
    int size = kNarrowPointerSize;
    bool wideNext() const { return magicWide || wideLayout; }
  };

  struct Search {
    bool found = false;
    Pos pos;       // the found record
    Pos pred;      // the last record with a smaller number (valid unless none)
    Pos predNext;  // that record's next link
  };

  // Sets a direction for a scope (seekable archives only).
  class ModeGuard {
   public:
    ModeGuard(ccArchive& ar, ccArchive::Direction d);
    ~ModeGuard();
    ModeGuard(ModeGuard const&) = delete;
    ModeGuard& operator=(ModeGuard const&) = delete;

   private:
    ccArchive& ar_;
    ccArchive::Direction old_;
  };

  // Seeks to a position for a scope and back at its end.
  class PositionGuard {
   public:
    PositionGuard(ccArchive& ar, Pos to);
    ~PositionGuard();
    PositionGuard(PositionGuard const&) = delete;
    PositionGuard& operator=(PositionGuard const&) = delete;

   private:
    ccArchive& ar_;
    Pos back_;
  };

  // Records at the current position; readers require load direction.
  static Header readHeader(ccArchive& ar, Chain chain);
  static void writeHeader(ccArchive& ar, unsigned char const magic[4], c_Int32 number, Pos next, Pos prev);
  static ObjectRecord readObjectRecord(ccArchive& ar, bool resolveType);
  static void writeObjectRecord(ccArchive& ar, c_Int32 id, std::string const& canonicalName);
  static PointerRecord readPointer(ccArchive& ar);
  // Appends a pointer record at the current position (storing).
  static void writePointer(ccArchive& ar, c_Int32 id, unsigned char flag);
  // A pointer record of a plain archive: no chain, no links.
  static void writeUnlinkedPointer(ccArchive& ar, c_Int32 id, unsigned char flag);

  // Chain walks; each leaves the stream where it was.
  static Search search(ccArchive& ar, Chain chain, c_Int32 target, Pos start);
  static Header headerAt(ccArchive& ar, Chain chain, Pos at);
  static Pos lastOf(ccArchive& ar, Chain chain, Pos from);
  // Links the record just written at `at` into its chain.
  static void link(ccArchive& ar, Chain chain, Pos at);
  static void unlink(ccArchive& ar, Chain chain, Pos at, bool erase);

  // Object records are patched in place after their body is written.
  // Returns the true end, which promotion may have moved.
  static Pos patchObjectRecord(ccArchive& ar, Pos start, Pos end, Pos firstPointer);
  // The preamble of a seekable archive.
  static void writePreamble(ccArchive& ar);
  static void readPreamble(ccArchive& ar);

  // The fixed self-inverse substitution of stored type names.
  static unsigned char substitute(unsigned char c);

  static cc_ArchiveRep& rep(ccArchive& ar) { return *ar.rep_; }
};

#endif  // ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_IO_H_
