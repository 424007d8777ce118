#include "orvstd/archive/archive.h"

#include <cstring>
#include <ostream>

#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/util/debug.h"
#include "orvstd/util/devenv.h"

// Errors -------------------------------------------------------------------------

ccArchive::Errors::~Errors() = default;

void ccArchive::Errors::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(Errors), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void ccArchive::Errors::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "archive", __LINE__);
  ccException::dispatchSerialize(ar);
  ar || file_;
  c_Int32 line = line_;
  ar || line;
  line_ = line;
}

void ccArchive::Errors::message_(std::ostream& os) const {
  if (file_.empty())
    ccException::message_(os);
  else if (line_ != 0)
    os << "thrown from file: " << file_ << ", line: " << line_;
  else
    os << file_;
}

void ccArchive::UnknownType::message_(std::ostream& os) const {
  os << ccDevEnv::canonicalTypeName(name_.c_str());
  if (!file().empty()) os << "; thrown from file: " << file() << ", line: " << line();
}

cmErrorDefine(ccArchive::Eof)
cmErrorDefine(ccArchive::BadBuffer)
cmErrorDefine(ccArchive::BadType)
cmErrorDefine(ccArchive::BadContent)
cmErrorDefine(ccArchive::NotFound)
cmErrorDefine(ccArchive::Duplicate)
cmErrorDefine(ccArchive::UnknownVersion)
cmErrorDefine(ccArchive::BadFile)
cmErrorDefine(ccArchive::UnknownArchiveVersion)
cmErrorDefine(ccArchive::CannotWriteToOldArchive)
cmErrorDefine(ccArchive::NotSeekable)

cmErrorDefineCore(ccArchive::UnknownType)
void ccArchive::UnknownType::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "archive", __LINE__);
  Errors::dispatchSerialize(ar);
  ar || name_;
}

// The stream -------------------------------------------------------------------

namespace {

inline void reverseBytes(void* p, std::size_t n) {
  auto* b = static_cast<unsigned char*>(p);
  for (std::size_t i = 0, j = n - 1; i < j; ++i, --j) std::swap(b[i], b[j]);
}

constexpr std::size_t kMaxStringLength = 32767;
constexpr c_UInt16 kWideMark = 0xFEFF;  // in the writer's memory order
constexpr c_UInt16 kWideMarkSwapped = 0xFFFE;

}  // namespace

ccArchive::ccArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly)
    : buffer_(buffer),
      readOnly_(direction == eStore ? false : readOnly),
      direction_(direction),
      ordering_(ordering),
      seekable_(seekable) {
  cmAssert(buffer != nullptr);
  cmAssert(ordering == eMsbFirst || ordering == eLsbFirst);
  rep_ = new cc_ArchiveRep(this);
}

ccArchive::~ccArchive() { delete rep_; }

void ccArchive::ctorFinished() {
  int const host = ccDevEnv::getByteOrder();
  if (isStoring()) {
    unsigned char head[2] = {static_cast<unsigned char>(version_ << 1 | (seekable_ ? 1 : 0)),
                             static_cast<unsigned char>(ordering_)};
    cf_put(head, 2);
  } else {
    unsigned char b0 = 0, b1 = 0;
    cf_get(&b0, 1);
    if (((b0 & 1) != 0) != seekable_) throw BadType("archive", 790);
    if ((b0 >> 1) > 1) throw UnknownArchiveVersion("archive", 794);
    version_ = static_cast<unsigned char>(b0 >> 1);
    cf_get(&b1, 1);
    if (b1 > 1) throw BadBuffer("archive", 807);
    ordering_ = static_cast<Ordering>(b1);
  }
  swap_ = static_cast<int>(ordering_) != host;
  if (seekable_) {
    if (isStoring())
      cc_ArchiveIO::writePreamble(*this);
    else
      cc_ArchiveIO::readPreamble(*this);
  }
}

void ccArchive::dtorStarting() {
  try {
    sync();
    if (seekable_ && isValid(rep_->lastPointer) && !readOnly_) {
      cc_ArchiveIO::ModeGuard store(*this, eStore);
      cc_ArchiveIO::PositionGuard at(*this, rep_->closedFlag);
      c_Int32 closed = 0;
      *this || closed;
      sync();
    }
  } catch (ccException const& e) {
    cfOrvDebug() << "archive" << ":" << 833 << ": (warning) ignoring exception thrown in ccArchive destructor: "
                 << e.message(true) << std::endl;
  }
}

void ccArchive::sync() {
  if (buffer_->pubsync() != 0) throw BadBuffer("archive", 734);
}

void ccArchive::cf_put(void const* data, std::size_t n) {
  if (buffer_->sputn(static_cast<char const*>(data), static_cast<std::streamsize>(n)) !=
      static_cast<std::streamsize>(n))
    throw BadBuffer("archive", 734);
}

void ccArchive::cf_get(void* data, std::size_t n) {
  if (buffer_->sgetn(static_cast<char*>(data), static_cast<std::streamsize>(n)) != static_cast<std::streamsize>(n))
    throw Eof("archive", 729);
}

namespace {

inline c_UInt16 byteSwap(c_UInt16 x) { return __builtin_bswap16(x); }
inline c_UInt32 byteSwap(c_UInt32 x) { return __builtin_bswap32(x); }
inline c_UInt64 byteSwap(c_UInt64 x) { return __builtin_bswap64(x); }

// One number of a fixed width straight to or from the buffer: the copies and
// the swap become single moves, and no call goes through the exported
// cf_put/cf_get. Same errors as those.
template <class U>
void putFixed(std::streambuf* sb, void const* v, bool swap) {
  U u;
  std::memcpy(&u, v, sizeof u);
  if (swap) u = byteSwap(u);
  if (sb->sputn(reinterpret_cast<char const*>(&u), sizeof u) != static_cast<std::streamsize>(sizeof u))
    throw ccArchive::BadBuffer("archive", 734);
}

template <class U>
void getFixed(std::streambuf* sb, void* v, bool swap) {
  U u;
  if (sb->sgetn(reinterpret_cast<char*>(&u), sizeof u) != static_cast<std::streamsize>(sizeof u))
    throw ccArchive::Eof("archive", 729);
  if (swap) u = byteSwap(u);
  std::memcpy(v, &u, sizeof u);
}

}  // namespace

ccArchive& ccArchive::primN(void* v, std::size_t n) {
  bool const storing = isStoring();
  switch (n) {
    case 2:
      storing ? putFixed<c_UInt16>(buffer_, v, swap_) : getFixed<c_UInt16>(buffer_, v, swap_);
      return *this;
    case 4:
      storing ? putFixed<c_UInt32>(buffer_, v, swap_) : getFixed<c_UInt32>(buffer_, v, swap_);
      return *this;
    case 8:
      storing ? putFixed<c_UInt64>(buffer_, v, swap_) : getFixed<c_UInt64>(buffer_, v, swap_);
      return *this;
    default:
      break;
  }
  unsigned char bytes[8];
  if (isStoring()) {
    std::memcpy(bytes, v, n);
    if (swap_) reverseBytes(bytes, n);
    cf_put(bytes, n);
  } else {
    cf_get(bytes, n);
    if (swap_) reverseBytes(bytes, n);
    std::memcpy(v, bytes, n);
  }
  return *this;
}

ccArchive& operator||(ccArchive& ar, unsigned char& v) {
  if (ar.isStoring())
    ar.cf_put(&v, 1);
  else
    ar.cf_get(&v, 1);
  return ar;
}

ccArchive& ccArchive::operator||(bool& v) {
  unsigned char b = v ? 1 : 0;
  ::operator||(*this, b);
  if (isLoading()) v = b != 0;
  return *this;
}

ccArchive& ccArchive::operator||(wchar_t& v) {
  char16_t unit = 0;
  if (isStoring()) {
    if (static_cast<c_UInt32>(v) > 0xFFFF) throw ccBadUnicodeChar();
    unit = static_cast<char16_t>(v);
  }
  primN(&unit, 2);
  if (isLoading()) v = static_cast<wchar_t>(unit);
  return *this;
}

void ccArchive::raw(char* data, c_Int32 count) {
  cmAssert(data != nullptr && count >= 0);
  auto const n = static_cast<std::streamsize>(count);
  if (isStoring()) {
    if (buffer_->sputn(data, n) != n) throw BadBuffer("archive", 734);
  } else {
    if (buffer_->sgetn(data, n) != n) throw Eof("archive", 729);
  }
}

// Strings --------------------------------------------------------------------------

void ccArchive::putLengthPrefix(std::size_t length) {
  cmAssert(length <= kMaxStringLength);
  unsigned char b[2];
  if (length < 128) {
    b[0] = static_cast<unsigned char>(length);
    cf_put(b, 1);
  } else {
    b[0] = static_cast<unsigned char>((length >> 8) | 0x80);
    b[1] = static_cast<unsigned char>(length & 0xFF);
    cf_put(b, 2);
  }
}

namespace {

// Reads exactly n bytes or raises BadBuffer: a string cut short.
void getOrBadBuffer(std::streambuf* sb, void* to, std::size_t n, int line) {
  if (sb->sgetn(static_cast<char*>(to), static_cast<std::streamsize>(n)) != static_cast<std::streamsize>(n))
    throw ccArchive::BadBuffer("archive", line);
}

}  // namespace

std::size_t ccArchive::getLengthPrefix() {
  unsigned char b[2];
  getOrBadBuffer(buffer_, b, 1, 290);
  if ((b[0] & 0x80) == 0) return b[0];
  getOrBadBuffer(buffer_, b + 1, 1, 292);
  return static_cast<std::size_t>(b[0] & 0x7F) << 8 | b[1];
}

void ccArchive::putUnits16(std::u16string const& s) {
  putLengthPrefix(s.size());
  c_UInt16 const mark = kWideMark;
  cf_put(&mark, 2);
  if (!s.empty()) cf_put(s.data(), s.size() * 2);
  cf_put(&mark, 2);
}

// Reads the body of either string kind after the length prefix. A narrow
// body goes to *narrowOut when given (and is widened otherwise); a wide body
// is returned (and narrowed into *narrowOut when given).
std::u16string ccArchive::getUnits16Body(std::size_t length, bool wideWanted, std::string* narrowOut) {
  unsigned char first = 0;
  getOrBadBuffer(buffer_, &first, 1, 300);
  if (first == 0x22) {
    std::string narrow(length, '\0');
    if (length) getOrBadBuffer(buffer_, narrow.data(), length, 302);
    unsigned char close = 0;
    getOrBadBuffer(buffer_, &close, 1, 304);
    if (close != 0x22) throw BadType("archive", 305);
    std::u16string wide;
    if (narrowOut) {
      *narrowOut = std::move(narrow);
    } else {
      wide.resize(length);
      for (std::size_t i = 0; i < length; ++i) wide[i] = static_cast<unsigned char>(narrow[i]);
    }
    return wide;
  }
  unsigned char second = 0;
  getOrBadBuffer(buffer_, &second, 1, 310);
  unsigned char markBytes[2] = {first, second};
  c_UInt16 mark;
  std::memcpy(&mark, markBytes, 2);
  if (mark != kWideMark && mark != kWideMarkSwapped) throw BadType("archive", wideWanted ? 559 : 488);
  std::u16string wide(length, u'\0');
  if (length) getOrBadBuffer(buffer_, wide.data(), length * 2, 320);
  c_UInt16 closeMark = 0;
  getOrBadBuffer(buffer_, &closeMark, 2, 322);
  if (closeMark != mark) throw BadType("archive", wideWanted ? 379 : 374);
  if (mark == kWideMarkSwapped)
    for (char16_t& u : wide) u = static_cast<char16_t>((u >> 8) | (u << 8));
  if (narrowOut) {
    narrowOut->resize(length);
    for (std::size_t i = 0; i < length; ++i)
      (*narrowOut)[i] = wide[i] <= 0xFF ? static_cast<char>(wide[i]) : '?';
  }
  return wide;
}

ccArchive& ccArchive::operator||(std::string& s) {
  if (isStoring()) {
    putLengthPrefix(s.size());
    char const quote = 0x22;
    cf_put(&quote, 1);
    if (!s.empty()) cf_put(s.data(), s.size());
    cf_put(&quote, 1);
  } else {
    std::string text;
    getUnits16Body(getLengthPrefix(), false, &text);
    s = std::move(text);
  }
  return *this;
}

ccArchive& ccArchive::operator||(std::u16string& s) {
  if (isStoring())
    putUnits16(s);
  else
    s = getUnits16Body(getLengthPrefix(), true, nullptr);
  return *this;
}

ccArchive& ccArchive::operator||(std::wstring& s) {
  if (isStoring()) {
    // wchar_t holds 32 bits here: code points above 0xFFFF go as UTF-16
    // surrogate pairs, so the stored length counts 2-byte units.
    std::u16string units;
    units.reserve(s.size());
    for (wchar_t wc : s) {
      auto c = static_cast<c_UInt32>(wc);
      if (c > 0x10FFFF) throw ccBadUnicodeChar();
      if (c > 0xFFFF) {
        c -= 0x10000;
        units.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
        units.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
      } else {
        units.push_back(static_cast<char16_t>(c));
      }
    }
    putUnits16(units);
  } else {
    std::u16string units = getUnits16Body(getLengthPrefix(), true, nullptr);
    std::wstring out;
    out.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
      c_UInt32 c = units[i];
      if (c >= 0xD800 && c < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) {
        c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00u);
        ++i;
      }
      out.push_back(static_cast<wchar_t>(c));  // a lone surrogate stays as it is
    }
    s = std::move(out);
  }
  return *this;
}

ccArchive& ccArchive::operator||(std::u32string& s) {
  constexpr c_UInt32 kMark = 0x0000FEFF;
  if (isStoring()) {
    auto const n = static_cast<c_UInt32>(s.size());
    unsigned char len[4] = {static_cast<unsigned char>(n >> 24), static_cast<unsigned char>(n >> 16),
                            static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)};
    cf_put(len, 4);
    cf_put(&kMark, 4);
    if (n) cf_put(s.data(), s.size() * 4);
    cf_put(&kMark, 4);
    return *this;
  }
  unsigned char len[4];
  getOrBadBuffer(buffer_, len, 4, 600);
  c_UInt32 const n = static_cast<c_UInt32>(len[0]) << 24 | static_cast<c_UInt32>(len[1]) << 16 |
                     static_cast<c_UInt32>(len[2]) << 8 | len[3];
  unsigned char open[4];
  getOrBadBuffer(buffer_, open, 4, 606);
  c_UInt32 asOrdered;
  std::memcpy(&asOrdered, open, 4);
  if (swap_) reverseBytes(&asOrdered, 4);
  bool unitsSwapped;
  if (asOrdered == 0x0000FEFFu)
    unitsSwapped = swap_;
  else if (asOrdered == 0xFFFE0000u)
    unitsSwapped = !swap_;
  else
    throw BadType("archive", 614);
  // Read in slices so that a hostile length costs no more memory than the
  // stream really holds.
  std::u32string out;
  constexpr c_UInt32 kSlice = 16384;
  for (c_UInt32 done = 0; done < n;) {
    c_UInt32 const k = std::min(kSlice, n - done);
    std::size_t const at = out.size();
    out.resize(at + k);
    getOrBadBuffer(buffer_, out.data() + at, std::size_t{k} * 4, 612);
    done += k;
  }
  if (unitsSwapped)
    for (char32_t& u : out) reverseBytes(&u, 4);
  unsigned char close[4];
  getOrBadBuffer(buffer_, close, 4, 620);
  if (std::memcmp(open, close, 4) != 0) throw BadType("archive", unitsSwapped ? 426 : 421);
  s = std::move(out);
  return *this;
}

// File and memory archives ----------------------------------------------------------

namespace {

std::unique_ptr<cc_FileStreambuf> openArchiveFile(std::string const& name, ccArchive::Direction direction,
                                                  bool readOnly) {
  auto file = std::make_unique<cc_FileStreambuf>();
  bool const ro = direction != ccArchive::eStore && readOnly;
  if (!file->open(name, ro, direction != ccArchive::eLoad))
    throw ccArchive::BadFile("Could not open file: " + name, 0);
  return file;
}

}  // namespace

ccFileArchive::ccFileArchive(std::string const& name, Direction direction, Ordering ordering, bool seekable,
                             bool readOnly)
    : cc_FileArchiveHolder{openArchiveFile(name, direction, readOnly)},
      ccArchive(heldFile_.get(), direction, ordering, seekable, readOnly) {
  ctorFinished();
}

ccFileArchive::~ccFileArchive() { dtorStarting(); }

ccMemoryArchive::ccMemoryArchive(Ordering ordering, bool seekable)
    : cc_MemoryArchiveHolder{std::make_unique<ccStrstreambuf>(), nullptr},
      ccArchive(heldBuffer_.get(), eStore, ordering, seekable, false) {
  ctorFinished();
}

ccMemoryArchive::ccMemoryArchive(char const* data, c_Int32 size, bool seekable, bool takeOwnership)
    : cc_MemoryArchiveHolder{(cmAssert(data != nullptr && size >= 0),
                              std::make_unique<ccStrstreambuf>(data, static_cast<std::size_t>(size))),
                             takeOwnership ? data : nullptr},
      ccArchive(heldBuffer_.get(), eLoad, eLsbFirst, seekable, true) {
  ctorFinished();
}

ccMemoryArchive::~ccMemoryArchive() { dtorStarting(); }

cc_MemoryArchiveHolder::~cc_MemoryArchiveHolder() { delete[] heldData_; }
