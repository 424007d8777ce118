// The record layer of seekable archives. See internal/archive_io.h.
#include <cstring>
#include <limits>

#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/util/devenv.h"

using Pos = ccArchive::Pos;

namespace {

constexpr unsigned char kMarkMagic[4] = {0x61, 0x13, 0x4D, 0x6B};
constexpr unsigned char kObjectMagic[4] = {0x6F, 0x8B, 0x68, 0x44};
constexpr unsigned char kPointerMagic[4] = {0x4F, 0xE5, 0x70, 0x54};
constexpr unsigned char kObjectWide = 0x45;
constexpr unsigned char kPointerWide = 0x55;
constexpr c_Int32 kMaxNumber = 0x7FFFFFFE;
constexpr c_Int64 kNarrowMax = 0x7FFFFFFF;

// Frozen: every file with a type name depends on this table. A
// self-inverse permutation of 0..127 with the 16 multiples of 8 fixed.
constexpr unsigned char kSubstitution[128] = {0x00, 0x0B, 0x66, 0x49, 0x1F, 0x7B, 0x44, 0x5E, 0x08, 0x31, 0x51, 0x01, 0x32, 0x22, 0x46, 0x6C, 0x10, 0x24, 0x5C, 0x26, 0x47, 0x67, 0x2F, 0x1B, 0x18, 0x6F, 0x4D, 0x17, 0x25, 0x7E, 0x36, 0x04, 0x20, 0x2A, 0x0D, 0x52, 0x11, 0x1C, 0x13, 0x73, 0x28, 0x33, 0x21, 0x65, 0x6D, 0x5B, 0x4B, 0x16, 0x30, 0x09, 0x0C, 0x29, 0x62, 0x7C, 0x1E, 0x6E, 0x38, 0x55, 0x71, 0x3E, 0x76, 0x61, 0x3B, 0x4C, 0x40, 0x5D, 0x54, 0x53, 0x06, 0x79, 0x0E, 0x14, 0x48, 0x03, 0x5F, 0x2E, 0x3F, 0x1A, 0x4F, 0x4E, 0x50, 0x0A, 0x23, 0x43, 0x42, 0x39, 0x6B, 0x72, 0x58, 0x74, 0x7F, 0x2D, 0x12, 0x41, 0x07, 0x4A, 0x60, 0x3D, 0x34, 0x77, 0x7D, 0x2B, 0x02, 0x15, 0x68, 0x75, 0x7A, 0x56, 0x0F, 0x2C, 0x37, 0x19, 0x70, 0x3A, 0x57, 0x27, 0x59, 0x69, 0x3C, 0x63, 0x78, 0x45, 0x6A, 0x05, 0x35, 0x64, 0x1D, 0x5A};

bool isValid(Pos p) { return ccArchive::isValid(p); }
c_Int64 offsetOf(Pos p) { return static_cast<c_Int64>(std::streamoff(p)); }
Pos at(c_Int64 off) { return Pos(std::streamoff(off)); }

// Relative links: 0 is no link.
Pos linkTarget(Pos start, c_Int64 rel) {
  if (rel == 0) return ccArchive::invalidPos();
  // Links are read from the file: one past the largest position is damage
  // too, and must not overflow on the way.
  if (rel > std::numeric_limits<c_Int64>::max() - offsetOf(start)) throw ccArchive::BadContent("archutil", 365);
  c_Int64 const target = offsetOf(start) + rel;
  if (target < 0) throw ccArchive::BadContent("archutil", 365);
  return at(target);
}
c_Int64 linkOffset(Pos start, Pos target) { return isValid(target) ? offsetOf(target) - offsetOf(start) : 0; }

void put32(unsigned char* p, c_UInt32 v, bool msb) {
  for (int i = 0; i < 4; ++i) p[msb ? i : 3 - i] = static_cast<unsigned char>(v >> (8 * (3 - i)));
}
c_UInt32 get32(unsigned char const* p, bool msb) {
  c_UInt32 v = 0;
  for (int i = 0; i < 4; ++i) v = v << 8 | p[msb ? i : 3 - i];
  return v;
}
void put64(unsigned char* p, c_UInt64 v, bool msb) {
  for (int i = 0; i < 8; ++i) p[msb ? i : 7 - i] = static_cast<unsigned char>(v >> (8 * (7 - i)));
}
c_UInt64 get64(unsigned char const* p, bool msb) {
  c_UInt64 v = 0;
  for (int i = 0; i < 8; ++i) v = v << 8 | p[msb ? i : 7 - i];
  return v;
}

bool msbFirst(ccArchive const& ar) { return ar.ordering() == ccArchive::eMsbFirst; }

// Writes n bytes at a position in store direction, leaving the stream as it was.
void patchBytes(ccArchive& ar, Pos where, unsigned char const* bytes, std::size_t n) {
  cc_ArchiveIO::ModeGuard store(ar, ccArchive::eStore);
  cc_ArchiveIO::PositionGuard pos(ar, where);
  ar.cf_put(bytes, n);
}

void patch32(ccArchive& ar, Pos where, c_UInt32 v) {
  unsigned char b[4];
  put32(b, v, msbFirst(ar));
  patchBytes(ar, where, b, 4);
}

void patch64(ccArchive& ar, Pos where, c_UInt64 v) {
  unsigned char b[8];
  put64(b, v, msbFirst(ar));
  patchBytes(ar, where, b, 8);
}

Pos plus(Pos p, c_Int64 n) { return at(offsetOf(p) + n); }

// Points the next (or previous) link of a chain header at a target.
void patchChainLink(ccArchive& ar, Pos record, bool nextField, Pos target) {
  auto const rel = static_cast<c_UInt64>(linkOffset(record, target));
  patch32(ar, plus(record, nextField ? 9 : 13), static_cast<c_UInt32>(rel));
  patch32(ar, plus(record, nextField ? 17 : 21), static_cast<c_UInt32>(rel >> 32));
}

}  // namespace

unsigned char cc_ArchiveIO::substitute(unsigned char c) { return c < 128 ? kSubstitution[c] : c; }

// Guards ------------------------------------------------------------------------------

cc_ArchiveIO::ModeGuard::ModeGuard(ccArchive& ar, ccArchive::Direction d) : ar_(ar), old_(ar.mode()) {
  if (old_ != d) ar_.mode(d);
}

cc_ArchiveIO::ModeGuard::~ModeGuard() {
  if (ar_.mode() == old_) return;
  try {
    ar_.mode(old_);
  } catch (ccException const&) {  // a destructor never throws; the next use will fail visibly
  }
}

cc_ArchiveIO::PositionGuard::PositionGuard(ccArchive& ar, Pos to) : ar_(ar), back_(ar.tell()) { ar_.seek(to); }

cc_ArchiveIO::PositionGuard::~PositionGuard() {
  try {
    ar_.seek(back_);
  } catch (ccException const&) {
  }
}

// Chain headers ---------------------------------------------------------------------

cc_ArchiveIO::Header cc_ArchiveIO::readHeader(ccArchive& ar, Chain chain) {
  Header h;
  h.start = ar.tell();
  unsigned char b[kHeaderSize];
  ar.cf_get(b, kHeaderSize);
  std::memcpy(h.magic, b, 4);
  if (chain == eMarks) {
    if (std::memcmp(b, kMarkMagic, 4) != 0) throw ccArchive::BadContent("archutil", 363);
  } else if (std::memcmp(b, kObjectMagic, 3) != 0 || (b[3] != kObjectMagic[3] && b[3] != kObjectWide)) {
    throw ccArchive::BadContent("archutil", 366);
  }
  if (b[4] != 0) throw ccArchive::UnknownVersion("archutil", 373);
  bool const msb = msbFirst(ar);
  h.number = static_cast<c_Int32>(get32(b + 5, msb));
  // No writer gives a number above kMaxNumber, and the walks refuse one.
  if (h.number < 0 || h.number > kMaxNumber) throw ccArchive::BadContent("archutil", 369);
  auto const next = static_cast<c_Int64>(static_cast<c_UInt64>(get32(b + 17, msb)) << 32 | get32(b + 9, msb));
  auto const prev = static_cast<c_Int64>(static_cast<c_UInt64>(get32(b + 21, msb)) << 32 | get32(b + 13, msb));
  h.next = linkTarget(h.start, next);
  h.prev = linkTarget(h.start, prev);
  return h;
}

void cc_ArchiveIO::writeHeader(ccArchive& ar, unsigned char const magic[4], c_Int32 number, Pos next, Pos prev) {
  Pos const start = ar.tell();
  bool const msb = msbFirst(ar);
  unsigned char b[kHeaderSize] = {};
  std::memcpy(b, magic, 4);
  put32(b + 5, static_cast<c_UInt32>(number), msb);
  auto const n = static_cast<c_UInt64>(linkOffset(start, next));
  auto const p = static_cast<c_UInt64>(linkOffset(start, prev));
  put32(b + 9, static_cast<c_UInt32>(n), msb);
  put32(b + 13, static_cast<c_UInt32>(p), msb);
  put32(b + 17, static_cast<c_UInt32>(n >> 32), msb);
  put32(b + 21, static_cast<c_UInt32>(p >> 32), msb);
  ar.cf_put(b, kHeaderSize);
}

cc_ArchiveIO::Header cc_ArchiveIO::headerAt(ccArchive& ar, Chain chain, Pos where) {
  ModeGuard load(ar, ccArchive::eLoad);
  PositionGuard pos(ar, where);
  return readHeader(ar, chain);
}

// Object records ----------------------------------------------------------------------

cc_ArchiveIO::ObjectRecord cc_ArchiveIO::readObjectRecord(ccArchive& ar, bool resolveType) {
  ObjectRecord r;
  r.header = readHeader(ar, eObjects);
  Pos const start = r.header.start;
  r.promoted = r.header.magic[3] == kObjectWide;
  unsigned char layout = 0;
  ar || layout;
  if (layout > 1) throw ccArchive::UnknownVersion("archutil", 663);
  r.wideLayout = layout == 1;
  bool const msb = msbFirst(ar);
  c_Int64 pointerOffset = 0;
  if (r.wideLayout) {
    unsigned char b[16];
    ar.cf_get(b, 16);
    r.size = get64(b, msb);
    pointerOffset = static_cast<c_Int64>(get64(b + 8, msb));
  } else if (r.promoted) {
    unsigned char b[8];
    ar.cf_get(b, 8);
    r.size = get64(b, msb);
    // The offset went to the last eight bytes of the record when it grew.
    if (r.size < static_cast<c_UInt64>(kHeaderSize + 9 + 8) || r.size > static_cast<c_UInt64>(kNarrowMax) * 16)
      throw ccArchive::BadContent("archutil", 668);
    Pos const back = ar.tell();
    ar.seek(plus(start, static_cast<c_Int64>(r.size) - 8));
    ar.cf_get(b, 8);
    pointerOffset = static_cast<c_Int64>(get64(b, msb));
    ar.seek(back);
  } else {
    unsigned char b[8];
    ar.cf_get(b, 8);
    r.size = get32(b, msb);
    pointerOffset = static_cast<c_Int32>(get32(b + 4, msb));
  }
  r.pointerPos = linkTarget(start, pointerOffset);

  unsigned char blockVersion = 0, flags = 0;
  ar || blockVersion;
  if (blockVersion != 0) throw ccArchive::UnknownVersion("archutil", 2097);
  ar || flags;
  if (flags != 0) throw ccArchive::UnknownVersion("archutil", 2102);
  std::string name;
  ar || name;
  c_UInt16 reserved = 0;
  ar || reserved;
  if (reserved != 0) throw ccArchive::BadFile("archutil", 2106);
  if (!name.empty() && (static_cast<unsigned char>(name[0]) & 0x80)) {
    name[0] = static_cast<char>(name[0] & 0x7F);
    for (char& c : name) c = static_cast<char>(substitute(static_cast<unsigned char>(c)));
  }
  if (name == "$nt") return r;
  r.hasType = true;
  // One old template name is migrated; whatever followed it is dropped.
  if (auto pos = name.find("<c_UInt8>"); pos != std::string::npos) name.replace(pos, std::string::npos, "<unsigned char>");
  cc_ArchiveRep& known = rep(ar);
  if (known.lastMake != nullptr && name == known.lastStoredName) {
    r.nativeName = known.lastNativeName;
    r.make = known.lastMake;
  } else {
    r.nativeName = ccDevEnv::nativeTypeName(name);
    r.make = cf_LookupType(r.nativeName);
    // Only a resolved name is kept: a type may be registered later.
    if (r.make != nullptr) {
      known.lastStoredName = name;
      known.lastNativeName = r.nativeName;
      known.lastMake = r.make;
    }
  }
  r.storedName = std::move(name);
  if (resolveType && r.make == nullptr) throw ccArchive::UnknownType(r.storedName, "archutil", 2136);
  return r;
}

void cc_ArchiveIO::writeObjectRecord(ccArchive& ar, c_Int32 id, std::string const& canonicalName) {
  cmAssert(!canonicalName.empty());
  writeHeader(ar, kObjectMagic, id, ccArchive::invalidPos(), ccArchive::invalidPos());
  unsigned char layout = rep(ar).wide ? 1 : 0;
  ar || layout;
  unsigned char zeros[16] = {};
  ar.cf_put(zeros, layout ? 16 : 8);
  unsigned char blockVersion = 0, flags = 0;
  ar || blockVersion;
  ar || flags;
  std::string name = canonicalName;
  for (char& c : name) {
    cmAssert(static_cast<unsigned char>(c) < 128);
    c = static_cast<char>(substitute(static_cast<unsigned char>(c)));
  }
  name[0] = static_cast<char>(name[0] | 0x80);
  ar || name;
  c_UInt16 reserved = 0;
  ar || reserved;
}

Pos cc_ArchiveIO::patchObjectRecord(ccArchive& ar, Pos start, Pos end, Pos firstPointer) {
  c_UInt64 size = static_cast<c_UInt64>(offsetOf(end) - offsetOf(start));
  c_Int64 const offset = linkOffset(start, firstPointer);
  unsigned char layout = 0;
  {
    ModeGuard load(ar, ccArchive::eLoad);
    PositionGuard pos(ar, plus(start, kHeaderSize));
    ar || layout;
  }
  if (layout == 1) {
    patch64(ar, plus(start, kHeaderSize + 1), size);
    patch64(ar, plus(start, kHeaderSize + 9), static_cast<c_UInt64>(offset));
    return end;
  }
  if (size <= 0xFFFFFFFFu && offset >= -kNarrowMax && offset <= kNarrowMax) {
    patch32(ar, plus(start, kHeaderSize + 1), static_cast<c_UInt32>(size));
    patch32(ar, plus(start, kHeaderSize + 5), static_cast<c_UInt32>(offset));
    return end;
  }
  // Promotion in place: nothing moves; the record grows by eight bytes at
  // its end, which hold the wide pointer offset.
  unsigned char const wideMagic = kObjectWide;
  patchBytes(ar, plus(start, 3), &wideMagic, 1);
  size += 8;
  patch64(ar, plus(start, kHeaderSize + 1), size);
  patch64(ar, end, static_cast<c_UInt64>(offset));
  rep(ar).wide = true;
  return plus(start, static_cast<c_Int64>(size));
}

// Pointer records ---------------------------------------------------------------------

namespace {

// The pointer fields after magic, layout, id and flag.
constexpr int kPointerLinks = 10;

struct RawPointer {
  Pos start;
  bool magicWide, wideLayout;
  c_Int32 id;
  unsigned char flag;
  c_Int64 next, prev;  // as stored, relative
};

RawPointer readRawPointer(ccArchive& ar) {
  RawPointer p{};
  p.start = ar.tell();
  unsigned char b[kPointerLinks];
  ar.cf_get(b, kPointerLinks);
  if (std::memcmp(b, kPointerMagic, 3) != 0 || (b[3] != kPointerMagic[3] && b[3] != kPointerWide))
    throw ccArchive::BadContent("archutil", 923);
  if (b[4] > 1) throw ccArchive::UnknownVersion("archutil", 935);
  bool const msb = msbFirst(ar);
  p.magicWide = b[3] == kPointerWide;
  p.wideLayout = b[4] == 1;
  p.id = static_cast<c_Int32>(get32(b + 5, msb));
  p.flag = b[9];
  unsigned char l[16];
  if (p.wideLayout) {
    ar.cf_get(l, 16);
    p.next = static_cast<c_Int64>(get64(l, msb));
    p.prev = static_cast<c_Int64>(get64(l + 8, msb));
  } else if (p.magicWide) {
    ar.cf_get(l, 8);  // promoted: the eight bytes hold the wide next link
    p.next = static_cast<c_Int64>(get64(l, msb));
    p.prev = 0;
  } else {
    ar.cf_get(l, 8);
    p.next = static_cast<c_Int32>(get32(l, msb));
    p.prev = static_cast<c_Int32>(get32(l + 4, msb));
  }
  return p;
}

}  // namespace

cc_ArchiveIO::PointerRecord cc_ArchiveIO::readPointer(ccArchive& ar) {
  RawPointer const raw = readRawPointer(ar);
  PointerRecord r;
  r.start = raw.start;
  r.magicWide = raw.magicWide;
  r.wideLayout = raw.wideLayout;
  r.id = raw.id;
  r.flag = raw.flag;
  r.size = raw.wideLayout ? kWidePointerSize : kNarrowPointerSize;
  r.next = linkTarget(r.start, raw.next);
  // The chain runs in stream order: anything else is damage (or a loop).
  if (isValid(r.next) && offsetOf(r.next) <= offsetOf(r.start)) throw ccArchive::BadContent("archutil", 925);
  // Where the record ends, without asking the stream (a virtual call).
  Pos const after = plus(r.start, r.size);
  bool moved = false;
  if (raw.wideLayout && raw.magicWide) {
    // Written after a promotion: the stored link is one record too far back.
    Pos const storedPrev = linkTarget(r.start, raw.prev);
    if (!isValid(storedPrev)) {
      r.prev = rep(ar).firstPointer;
    } else {
      if (offsetOf(storedPrev) >= offsetOf(r.start)) throw ccArchive::BadContent("archutil", 927);
      ar.seek(storedPrev);
      moved = true;
      r.prev = linkTarget(storedPrev, readRawPointer(ar).next);
    }
  } else if (raw.magicWide) {
    // Promoted in place: the true previous link went to the next record,
    // which the writer formed against that record's start. It is read back
    // against the same start, so the link comes out right.
    if (!isValid(r.next)) throw ccArchive::BadContent("archutil", 929);
    ar.seek(r.next);
    moved = true;
    RawPointer const following = readRawPointer(ar);
    if (!following.wideLayout) throw ccArchive::BadContent("archutil", 931);
    r.prev = linkTarget(following.start, following.prev);
  } else {
    r.prev = linkTarget(r.start, raw.prev);
  }
  if (isValid(r.prev) && offsetOf(r.prev) >= offsetOf(r.start)) throw ccArchive::BadContent("archutil", 932);
  if (moved) ar.seek(after);
  return r;
}

namespace {

void putPointerBytes(ccArchive& ar, bool magicWide, bool wideLayout, c_Int32 id, unsigned char flag, c_Int64 next,
                     c_Int64 prev) {
  bool const msb = msbFirst(ar);
  unsigned char b[cc_ArchiveIO::kWidePointerSize] = {};
  std::memcpy(b, kPointerMagic, 4);
  if (magicWide) b[3] = kPointerWide;
  b[4] = wideLayout ? 1 : 0;
  put32(b + 5, static_cast<c_UInt32>(id), msb);
  b[9] = flag;
  if (wideLayout) {
    put64(b + 10, static_cast<c_UInt64>(next), msb);
    put64(b + 18, static_cast<c_UInt64>(prev), msb);
  } else {
    put32(b + 10, static_cast<c_UInt32>(next), msb);
    put32(b + 14, static_cast<c_UInt32>(prev), msb);
  }
  ar.cf_put(b, wideLayout ? cc_ArchiveIO::kWidePointerSize : cc_ArchiveIO::kNarrowPointerSize);
}


}  // namespace

void cc_ArchiveIO::writePointer(ccArchive& ar, c_Int32 id, unsigned char flag) {
  cc_ArchiveRep& r = rep(ar);
  Pos const start = ar.tell();
  Pos const prevPos = isValid(r.lastPointer) ? r.lastPointer : r.firstPointer;
  c_Int64 const gap = offsetOf(start) - offsetOf(prevPos);
  PointerRecord prev;
  {
    ModeGuard load(ar, ccArchive::eLoad);
    PositionGuard pos(ar, prevPos);
    prev = readPointer(ar);
  }
  bool const fits = gap <= kNarrowMax;
  if (prev.wideNext()) {
    patch64(ar, plus(prevPos, kPointerLinks), static_cast<c_UInt64>(gap));
    bool const wide = r.wide || !fits;
    r.wide = r.wide || wide;
    putPointerBytes(ar, false, wide, id, flag, 0, -gap);
  } else if (fits) {
    patch32(ar, plus(prevPos, kPointerLinks), static_cast<c_UInt32>(gap));
    putPointerBytes(ar, false, r.wide, id, flag, 0, -gap);
  } else {
    // The previous record cannot hold the gap: it is promoted in place and
    // loses its previous link, which the new record carries instead.
    unsigned char const wideMagic = kPointerWide;
    patchBytes(ar, plus(prevPos, 3), &wideMagic, 1);
    patch64(ar, plus(prevPos, kPointerLinks), static_cast<c_UInt64>(gap));
    r.wide = true;
    putPointerBytes(ar, true, true, id, flag, 0, linkOffset(start, prev.prev));
  }
  r.lastPointer = start;
}

void cc_ArchiveIO::writeUnlinkedPointer(ccArchive& ar, c_Int32 id, unsigned char flag) {
  putPointerBytes(ar, false, false, id, flag, 0, 0);
}

// Chains -------------------------------------------------------------------------------

cc_ArchiveIO::Search cc_ArchiveIO::search(ccArchive& ar, Chain chain, c_Int32 target, Pos start) {
  cmAssert(target >= 1 && target <= kMaxNumber && isValid(start));
  ModeGuard load(ar, ccArchive::eLoad);
  PositionGuard pos(ar, start);
  Search s;
  Header h = readHeader(ar, chain);
  if (h.number == target) {
    s.found = true;
    s.pos = h.start;
    return s;
  }
  if (target > h.number) {
    for (;;) {
      if (!isValid(h.next)) {
        s.pred = h.start;
        s.predNext = h.next;
        return s;
      }
      ar.seek(h.next);
      Header n = readHeader(ar, chain);
      if (n.number <= h.number) throw ccArchive::BadContent("archutil", 440);
      if (n.number == target) {
        s.found = true;
        s.pos = n.start;
        return s;
      }
      if (n.number > target) {
        s.pred = h.start;
        s.predNext = h.next;
        return s;
      }
      h = n;
    }
  }
  for (;;) {
    if (!isValid(h.prev)) return s;  // nothing smaller: not found, no predecessor
    ar.seek(h.prev);
    Header p = readHeader(ar, chain);
    if (p.number >= h.number) throw ccArchive::BadContent("archutil", 452);
    if (p.number == target) {
      s.found = true;
      s.pos = p.start;
      return s;
    }
    if (p.number < target) {
      s.pred = p.start;
      s.predNext = p.next;
      return s;
    }
    h = p;
  }
}

Pos cc_ArchiveIO::lastOf(ccArchive& ar, Chain chain, Pos from) {
  ModeGuard load(ar, ccArchive::eLoad);
  PositionGuard pos(ar, from);
  Header h = readHeader(ar, chain);
  while (isValid(h.next)) {
    ar.seek(h.next);
    Header n = readHeader(ar, chain);
    if (n.number <= h.number) throw ccArchive::BadContent("archutil", 440);
    h = n;
  }
  return h.start;
}

void cc_ArchiveIO::link(ccArchive& ar, Chain chain, Pos where) {
  cc_ArchiveRep& r = rep(ar);
  Pos const head = chain == eMarks ? r.firstMark : r.firstObject;
  Pos& tail = chain == eMarks ? r.lastMark : r.lastObject;
  if (!isValid(tail)) tail = head;
  Header const h = headerAt(ar, chain, where);
  if (h.number == 0) return;
  // Numbers usually rise with writing: then the tail is the predecessor and
  // no walk is needed.
  Pos pred;
  Header const t = headerAt(ar, chain, tail);
  if (t.number < h.number && !isValid(t.next)) {
    pred = tail;
  } else {
    Search const s = search(ar, chain, h.number, head);
    if (s.found) throw ccArchive::Duplicate("archutil", 481);
    pred = isValid(s.pred) ? s.pred : tail;
  }
  Header const p = headerAt(ar, chain, pred);
  if (p.number >= h.number) throw ccArchive::BadContent("archutil", 490);
  Pos const succ = p.next;
  if (isValid(succ) && headerAt(ar, chain, succ).number <= h.number) throw ccArchive::BadContent("archutil", 494);
  patchChainLink(ar, where, true, succ);
  patchChainLink(ar, where, false, pred);
  patchChainLink(ar, pred, true, where);
  if (isValid(succ))
    patchChainLink(ar, succ, false, where);
  else
    tail = where;
}

void cc_ArchiveIO::unlink(ccArchive& ar, Chain chain, Pos where, bool erase) {
  cc_ArchiveRep& r = rep(ar);
  Header const h = headerAt(ar, chain, where);
  if (!isValid(h.prev)) throw ccArchive::BadContent("archutil", 530);  // the head record is never removed
  if (erase) {
    unsigned char const zeros[4] = {};
    patchBytes(ar, where, zeros, 4);
  }
  patchChainLink(ar, h.prev, true, h.next);
  if (isValid(h.next)) patchChainLink(ar, h.next, false, h.prev);
  Pos& tail = chain == eMarks ? r.lastMark : r.lastObject;
  if (!isValid(h.next) || tail == where) tail = lastOf(ar, chain, chain == eMarks ? r.firstMark : r.firstObject);
}

// The preamble ---------------------------------------------------------------------------

void cc_ArchiveIO::writePreamble(ccArchive& ar) {
  cc_ArchiveRep& r = rep(ar);
  r.firstMark = r.lastMark = ar.tell();
  writeHeader(ar, kMarkMagic, 0, ccArchive::invalidPos(), ccArchive::invalidPos());
  r.firstObject = r.lastObject = ar.tell();
  writeObjectRecord(ar, 0, "$nt");
  patchObjectRecord(ar, r.firstObject, ar.tell(), ccArchive::invalidPos());
  r.firstPointer = r.lastPointer = ar.tell();
  putPointerBytes(ar, false, false, 0, 0, 0, 0);
  r.closedFlag = ar.tell();
  c_Int32 open = -1;
  ar || open;
}

void cc_ArchiveIO::readPreamble(ccArchive& ar) {
  cc_ArchiveRep& r = rep(ar);
  r.firstMark = r.lastMark = ar.tell();
  if (readHeader(ar, eMarks).number != 0) throw ccArchive::BadContent("archutil", 363);
  r.firstObject = r.lastObject = ar.tell();
  ObjectRecord const head = readObjectRecord(ar, false);
  if (head.header.number != 0 || head.hasType) throw ccArchive::BadContent("archutil", 366);
  r.firstPointer = r.lastPointer = ar.tell();
  PointerRecord const p = readPointer(ar);
  if (p.id != 0) throw ccArchive::BadContent("archutil", 923);
  r.closedFlag = ar.tell();
  c_Int32 closed = 0;
  ar || closed;  // read and ignored
}

// ccArchive: positions and modes ----------------------------------------------------------

namespace {
std::ios_base::openmode side(ccArchive const& ar) { return ar.isLoading() ? std::ios_base::in : std::ios_base::out; }
}  // namespace

Pos ccArchive::tell() {
  Pos const p = buffer_->pubseekoff(0, std::ios_base::cur, side(*this));
  if (!isValid(p)) throw BadBuffer("archive", 947);
  return p;
}

void ccArchive::seek(Pos pos) {
  Pos const now = tell();
  if (now > highest_) highest_ = now;
  if (!isValid(buffer_->pubseekpos(pos, side(*this)))) throw BadBuffer("archive", 952);
}

void ccArchive::seek(c_Int64 offset, std::ios_base::seekdir dir) {
  Pos const now = tell();
  if (now > highest_) highest_ = now;
  if (!isValid(buffer_->pubseekoff(offset, dir, side(*this)))) throw BadBuffer("archive", 973);
}

void ccArchive::mode(Direction direction) {
  requireSeekable_(870);
  cmAssert(direction == eLoad || !readOnly_);
  Pos const taken = tell();
  if (taken > highest_) highest_ = taken;
  direction_ = direction;
  if (direction == eLoad) {
    // So that a memory buffer's readable range covers all that was written.
    if (!readOnly_) buffer_->pubseekpos(highest_, std::ios_base::out);
    if (!isValid(buffer_->pubseekpos(highest_, std::ios_base::in))) throw BadBuffer("archive", 978);
  }
  seek(taken);
}

void ccArchive::reserve_(int n) {
  cmAssert(isStoring());
  seek(n, std::ios_base::cur);
}

void ccArchive::requireSeekable_(int line) const {
  if (!seekable_) throw NotSeekable("archive", line);
}

void ccArchive::setStartingID(c_Int32 id) {
  requireSeekable_(1010);
  cmAssert(isStoring() && id >= 1 && id <= kMaxNumber);
  rep_->nextObjectId = id;
}

void ccArchive::setStartingNum(c_Int32 num) {
  requireSeekable_(1016);
  cmAssert(isStoring() && num >= 1 && num <= kMaxNumber);
  rep_->nextMarkNum = num;
}

ccArchive* ccArchive::secondary() const {
  requireSeekable_(1022);
  return secondary_;
}

void ccArchive::secondary(ccArchive* other) {
  requireSeekable_(1027);
  secondary_ = other;
}

void ccArchive::append() {
  requireSeekable_(1032);
  cmAssert(!readOnly_);
  if (isLoading()) mode(eStore);
  cc_ArchiveRep& r = *rep_;
  {
    cc_ArchiveIO::PositionGuard pos(*this, tell());
    r.lastMark = cc_ArchiveIO::lastOf(*this, cc_ArchiveIO::eMarks, isValid(r.lastMark) ? r.lastMark : r.firstMark);
    r.lastObject =
        cc_ArchiveIO::lastOf(*this, cc_ArchiveIO::eObjects, isValid(r.lastObject) ? r.lastObject : r.firstObject);
    {
      cc_ArchiveIO::ModeGuard load(*this, eLoad);
      cc_ArchiveIO::PositionGuard at(*this, r.lastObject);
      // A type this library does not know still has an id.
      c_Int32 const last = cc_ArchiveIO::readObjectRecord(*this, false).header.number;
      if (last >= r.nextObjectId) r.nextObjectId = last + 1;
      Pos p = isValid(r.lastPointer) ? r.lastPointer : r.firstPointer;
      for (;;) {
        seek(p);
        cc_ArchiveIO::PointerRecord const rec = cc_ArchiveIO::readPointer(*this);
        if (rec.wideLayout) r.wide = true;
        if (!isValid(rec.next)) break;
        p = rec.next;
      }
      r.lastPointer = p;
    }
  }
  seek(0, std::ios_base::end);
}

// Marks -------------------------------------------------------------------------------------

namespace {

// Where walking queries start: the last record found, or the chain head.
Pos startOf(Pos remembered, Pos head) { return ccArchive::isValid(remembered) ? remembered : head; }

c_Int32 firstNumber(ccArchive& ar, cc_ArchiveIO::Chain chain, Pos head) {
  cc_ArchiveIO::Header const h = cc_ArchiveIO::headerAt(ar, chain, head);
  return isValid(h.next) ? cc_ArchiveIO::headerAt(ar, chain, h.next).number : 0;
}

c_Int32 nextNumber(ccArchive& ar, cc_ArchiveIO::Chain chain, c_Int32 num, Pos head, Pos& remembered) {
  cmAssert(num >= 1 && num <= kMaxNumber);
  cc_ArchiveIO::Search const s = cc_ArchiveIO::search(ar, chain, num, startOf(remembered, head));
  Pos const from = s.found ? s.pos : s.pred;
  if (!isValid(from)) return firstNumber(ar, chain, head);
  remembered = from;
  cc_ArchiveIO::Header const h = cc_ArchiveIO::headerAt(ar, chain, from);
  if (!isValid(h.next)) return 0;
  c_Int32 const next = cc_ArchiveIO::headerAt(ar, chain, h.next).number;
  if (next <= num) throw ccArchive::BadContent("archutil", 440);
  return next;
}

c_Int32 prevNumber(ccArchive& ar, cc_ArchiveIO::Chain chain, c_Int32 num, Pos head, Pos& remembered) {
  cmAssert(num >= 1 && num <= kMaxNumber);
  cc_ArchiveIO::Search const s = cc_ArchiveIO::search(ar, chain, num, startOf(remembered, head));
  if (!s.found) return isValid(s.pred) ? cc_ArchiveIO::headerAt(ar, chain, s.pred).number : 0;
  remembered = s.pos;
  cc_ArchiveIO::Header const h = cc_ArchiveIO::headerAt(ar, chain, s.pos);
  return isValid(h.prev) ? cc_ArchiveIO::headerAt(ar, chain, h.prev).number : 0;
}

Pos findNumber(ccArchive& ar, cc_ArchiveIO::Chain chain, c_Int32 num, Pos head, Pos& remembered) {
  cmAssert(num >= 1 && num <= kMaxNumber);
  cc_ArchiveIO::Search const s = cc_ArchiveIO::search(ar, chain, num, startOf(remembered, head));
  if (!s.found) return ccArchive::invalidPos();
  remembered = s.pos;
  return s.pos;
}

}  // namespace

c_Int32 ccArchive::firstMarkNum() {
  requireSeekable_(1101);
  return firstNumber(*this, cc_ArchiveIO::eMarks, rep_->firstMark);
}

c_Int32 ccArchive::lastMarkNum() {
  requireSeekable_(1106);
  rep_->lastMark = cc_ArchiveIO::lastOf(*this, cc_ArchiveIO::eMarks, startOf(rep_->lastMark, rep_->firstMark));
  return cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eMarks, rep_->lastMark).number;
}

c_Int32 ccArchive::nextMarkNum(c_Int32 num) {
  requireSeekable_(1112);
  return nextNumber(*this, cc_ArchiveIO::eMarks, num, rep_->firstMark, rep_->foundMark);
}

c_Int32 ccArchive::prevMarkNum(c_Int32 num) {
  requireSeekable_(1117);
  return prevNumber(*this, cc_ArchiveIO::eMarks, num, rep_->firstMark, rep_->foundMark);
}

Pos ccArchive::findMark(c_Int32 num) {
  requireSeekable_(1122);
  return findNumber(*this, cc_ArchiveIO::eMarks, num, rep_->firstMark, rep_->foundMark);
}

void ccArchive::readMark(c_Int32& num) {
  requireSeekable_(1127);
  cmAssert(isLoading());
  num = cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eMarks, tell()).number;
}

void ccArchive::skipMark() {
  requireSeekable_(1133);
  cc_ArchiveIO::ModeGuard load(*this, eLoad);
  cc_ArchiveIO::readHeader(*this, cc_ArchiveIO::eMarks);
}

namespace {

// The first number from `from` upward that the chain does not hold.
c_Int32 freeNumber(ccArchive& ar, cc_ArchiveIO::Chain chain, c_Int32 from, Pos start) {
  for (c_Int32 n = from;; ++n) {
    if (n > kMaxNumber) throw ccArchive::Duplicate("archutil", 1530);
    if (!cc_ArchiveIO::search(ar, chain, n, start).found) return n;
  }
}

}  // namespace

c_Int32 ccArchive::writeNewMark(c_Int32 num) {
  requireSeekable_(1515);
  cmAssert(isStoring() && num >= 0 && num <= kMaxNumber);
  Pos const start = startOf(rep_->lastMark, rep_->firstMark);
  if (num != 0) {
    if (cc_ArchiveIO::search(*this, cc_ArchiveIO::eMarks, num, start).found) throw Duplicate("archutil", 1522);
  } else {
    num = freeNumber(*this, cc_ArchiveIO::eMarks, rep_->nextMarkNum, start);
    rep_->nextMarkNum = num;
  }
  Pos const at = tell();
  cc_ArchiveIO::writeHeader(*this, kMarkMagic, num, invalidPos(), invalidPos());
  cc_ArchiveIO::link(*this, cc_ArchiveIO::eMarks, at);
  return num;
}

c_Int32 ccArchive::renumberMark(c_Int32 num) {
  requireSeekable_(1550);
  cmAssert(isStoring() && num >= 0 && num <= kMaxNumber);
  Pos const at = tell();
  cc_ArchiveIO::Header const h = cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eMarks, at);
  if (num == h.number) return num;
  if (h.number == 0) throw BadContent("archutil", 1552);  // the head mark keeps its number
  Pos const start = startOf(rep_->lastMark, rep_->firstMark);
  if (num == 0)
    num = freeNumber(*this, cc_ArchiveIO::eMarks, rep_->nextMarkNum, start);
  else if (cc_ArchiveIO::search(*this, cc_ArchiveIO::eMarks, num, start).found)
    throw Duplicate("archutil", 1555);
  bool samePlace = cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eMarks, h.prev).number < num;
  if (samePlace && isValid(h.next)) samePlace = cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eMarks, h.next).number > num;
  if (samePlace) {
    patch32(*this, plus(at, 5), static_cast<c_UInt32>(num));
  } else {
    cc_ArchiveIO::unlink(*this, cc_ArchiveIO::eMarks, at, false);
    patch32(*this, plus(at, 5), static_cast<c_UInt32>(num));
    cc_ArchiveIO::link(*this, cc_ArchiveIO::eMarks, at);
  }
  rep_->foundMark = invalidPos();
  return num;
}

void ccArchive::removeMark() {
  requireSeekable_(1580);
  cmAssert(isStoring());
  cc_ArchiveIO::unlink(*this, cc_ArchiveIO::eMarks, tell(), true);
  rep_->foundMark = invalidPos();
}

// Objects ---------------------------------------------------------------------------------

c_Int32 ccArchive::firstObjectID() {
  requireSeekable_(1601);
  return firstNumber(*this, cc_ArchiveIO::eObjects, rep_->firstObject);
}

c_Int32 ccArchive::nextObjectID(c_Int32 id) {
  requireSeekable_(1606);
  return nextNumber(*this, cc_ArchiveIO::eObjects, id, rep_->firstObject, rep_->foundObject);
}

Pos ccArchive::findObject(c_Int32 id) {
  requireSeekable_(1611);
  return findNumber(*this, cc_ArchiveIO::eObjects, id, rep_->firstObject, rep_->foundObject);
}

void ccArchive::readObjectHeader64(c_Int32& id, c_UInt64& size, Pos& pointerPos) {
  requireSeekable_(1616);
  cc_ArchiveIO::ModeGuard load(*this, eLoad);
  cc_ArchiveIO::PositionGuard pos(*this, tell());
  cc_ArchiveIO::ObjectRecord const r = cc_ArchiveIO::readObjectRecord(*this, false);
  id = r.header.number;
  size = r.size;
  pointerPos = r.pointerPos;
}

void ccArchive::readObjectHeader(c_Int32& id, c_UInt32& size, Pos& pointerPos) {
  c_UInt64 wide = 0;
  readObjectHeader64(id, wide, pointerPos);
  if (wide > 0xFFFFFFFFu) throw BadType(static_cast<char const*>(nullptr), 0);
  size = static_cast<c_UInt32>(wide);
}

std::string ccArchive::objectTypeName() {
  requireSeekable_(1630);
  cc_ArchiveIO::ModeGuard load(*this, eLoad);
  cc_ArchiveIO::PositionGuard pos(*this, tell());
  return cc_ArchiveIO::readObjectRecord(*this, false).storedName;
}

void ccArchive::removeObject() {
  requireSeekable_(1640);
  cmAssert(isStoring());
  cc_ArchiveIO::unlink(*this, cc_ArchiveIO::eObjects, tell(), true);
  rep_->foundObject = invalidPos();
}

// Pointers ------------------------------------------------------------------------------------

namespace {
cc_ArchiveIO::PointerRecord pointerAt(ccArchive& ar, Pos where) {
  cc_ArchiveIO::ModeGuard load(ar, ccArchive::eLoad);
  cc_ArchiveIO::PositionGuard pos(ar, where);
  return cc_ArchiveIO::readPointer(ar);
}
}  // namespace

Pos ccArchive::firstPointerPos() {
  requireSeekable_(1701);
  return pointerAt(*this, rep_->firstPointer).next;
}

Pos ccArchive::nextPointerPos() {
  requireSeekable_(1706);
  return pointerAt(*this, tell()).next;
}

c_Int32 ccArchive::pointerObjectID() {
  requireSeekable_(1711);
  return pointerAt(*this, tell()).id;
}

void ccArchive::pointerObjectID(c_Int32 id) {
  requireSeekable_(1716);
  cmAssert(isStoring() && id >= 0 && id <= kMaxNumber);
  Pos const at = tell();
  cc_ArchiveIO::PointerRecord const p = pointerAt(*this, at);
  unsigned char flag = 0;
  if (id != 0) {
    // Is an object record right behind the pointer?
    bool objectBehind = false;
    c_Int32 behindId = 0;
    try {
      cc_ArchiveIO::Header const h = cc_ArchiveIO::headerAt(*this, cc_ArchiveIO::eObjects, plus(at, p.size));
      objectBehind = true;
      behindId = h.number;
    } catch (ccArchive::Errors const&) {
    }
    if (objectBehind && behindId == id)
      flag = 1;
    else if (objectBehind && p.flag != 0)
      flag = 2;
  }
  patch32(*this, plus(at, 5), static_cast<c_UInt32>(id));
  patchBytes(*this, plus(at, 9), &flag, 1);
}

void ccArchive::removePointer() {
  requireSeekable_(1740);
  cmAssert(isStoring());
  Pos const at = tell();
  cc_ArchiveIO::PointerRecord const p = pointerAt(*this, at);
  if (!isValid(p.prev)) throw BadContent("archutil", 1745);  // the head record stays
  cc_ArchiveIO::PointerRecord const before = pointerAt(*this, p.prev);
  c_Int64 const gap = isValid(p.next) ? offsetOf(p.next) - offsetOf(p.prev) : 0;
  // A record promoted in place keeps its previous link in its successor,
  // which must then be a wide record of the "one link back" kind.
  bool const beforePromoted = before.magicWide && !before.wideLayout;
  cc_ArchiveIO::PointerRecord after;
  if (isValid(p.next)) after = pointerAt(*this, p.next);
  bool const bridgeable = !isValid(p.next) ||
                          (gap <= kNarrowMax ? (!beforePromoted || after.wideLayout)
                                             : (before.wideNext() && after.wideLayout));
  if (!bridgeable) throw BadType("Cannot remove a pointer that would create a gap larger than 2GB", 0);
  unsigned char const zeros[4] = {};
  patchBytes(*this, at, zeros, 4);
  if (before.wideNext())
    patch64(*this, plus(p.prev, kPointerLinks), static_cast<c_UInt64>(gap));
  else
    patch32(*this, plus(p.prev, kPointerLinks), static_cast<c_UInt32>(gap));
  if (isValid(p.next)) {
    if (after.wideLayout) {
      unsigned char const magic = beforePromoted ? kPointerWide : kPointerMagic[3];
      patchBytes(*this, plus(p.next, 3), &magic, 1);
      Pos const stored = beforePromoted ? before.prev : p.prev;
      patch64(*this, plus(p.next, 18), static_cast<c_UInt64>(linkOffset(p.next, stored)));
    } else if (after.magicWide) {  // promoted itself: its link lives in its successor
      patch64(*this, plus(after.next, 18), static_cast<c_UInt64>(linkOffset(after.next, p.prev)));
    } else {
      patch32(*this, plus(p.next, 14), static_cast<c_UInt32>(-gap));
    }
  }
  if (rep_->lastPointer == at) rep_->lastPointer = p.prev;
}
