// ccArchive: the library's serialisation stream, and its byte format.
//
// One operator, ||, stores or loads by the archive's direction, so a class
// states its persistent fields once. Numbers go in the archive's byte order
// (most or least significant byte first) whatever the host's; strings carry
// marks that tell their kind. An archive is plain (a byte stream, the only
// kind a socket carries) or seekable (a small record database in one stream).
//
//   ccMemoryArchive out(ccArchive::eLsbFirst, false);
//   c_Int32 n = 7; std::string s = "part";
//   out << n << s;
//   ccMemoryArchive in(out.storage(), out.size(), false, false);
//   in >> n >> s;
//
// Bad bytes never crash a reader: every failure is a typed ccArchive error.
#ifndef ORVSTD_ARCHIVE_ARCHIVE_H_
#define ORVSTD_ARCHIVE_ARCHIVE_H_

#include <ios>
#include <memory>
#include <streambuf>
#include <string>

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"
#include "orvstd/util/strstreambuf.h"

class cc_ArchiveRep;
class ccArchive;
// Internal, for handle loading (persistent_handle.h).
[[noreturn]] void cf_PointerOfWrongClass(ccArchive& ar, ccPersistent* loaded);

class ccArchive {
 public:
  enum Direction { eLoad = 0, eStore = 1 };
  enum Ordering { eMsbFirst = 0, eLsbFirst = 1 };

  // A stream position; the invalid position is the one built from -1.
  using Pos = std::streampos;
  static Pos invalidPos() { return Pos(std::streamoff(-1)); }
  static bool isValid(Pos p) { return p != invalidPos(); }

  // Errors carry the source file and line that raised them; with line 0
  // the file string is free text ("Could not open file: x").
  class Errors : public ccException {
   public:
    Errors(Errors const&) = default;
    Errors& operator=(Errors const&) = default;
    ~Errors() override;
    std::string const& file() const { return file_; }
    int line() const { return line_; }

   protected:
    explicit Errors(char const* file = nullptr, int line = 0) : file_(file ? file : ""), line_(line) {}
    explicit Errors(std::string const& file, int line = 0) : file_(file), line_(line) {}
    void dispatchSerialize(ccArchive& ar) override;
    void serialize_(ccArchive& ar, unsigned char version);
    void message_(std::ostream& os) const override;

   private:
    std::string file_;
    int line_;
  };
  cmErrorClass(Eof, Errors, 0x10000100);
  cmErrorClass(BadBuffer, Errors, 0x10000101);
  cmErrorClass(BadType, Errors, 0x10000102);
  cmErrorClass(BadContent, Errors, 0x10000103);
  cmErrorClass(NotFound, Errors, 0x10000104);
  cmErrorClass(Duplicate, Errors, 0x10000105);
  cmErrorClass(UnknownVersion, Errors, 0x10000107);
  cmErrorClass(BadFile, Errors, 0x10000109);
  cmErrorClass(UnknownArchiveVersion, Errors, 0x1000010a);
  cmErrorClass(CannotWriteToOldArchive, Errors, 0x1000010b);
  cmErrorClass(NotSeekable, Errors, 0x1000010c);

  // A stored type name that no registered class answers to.
  class UnknownType : public Errors {
   public:
    explicit UnknownType(std::string const& name = std::string(), char const* file = nullptr, int line = 0)
        : Errors(file, line), name_(name) {}
    std::string const& name() const { return name_; }
    cmErrorMembers(UnknownType, Errors, 0x10000106);

   protected:
    void message_(std::ostream& os) const override;

   private:
    std::string name_;
  };

  virtual ~ccArchive();
  ccArchive(ccArchive const&) = delete;
  ccArchive& operator=(ccArchive const&) = delete;

  Direction mode() const { return direction_; }
  bool isLoading() const { return direction_ == eLoad; }
  bool isStoring() const { return direction_ == eStore; }
  bool isReadOnly() const { return readOnly_; }
  bool isSeekable() const { return seekable_; }
  Ordering ordering() const { return ordering_; }
  c_Int32 version() const { return version_; }

  // Primitives. Multi-byte numbers follow the archive's ordering.
  ccArchive& operator||(signed char& v) { return prim1(&v); }
  ccArchive& operator||(char& v) { return prim1(&v); }
  ccArchive& operator||(bool& v);
  ccArchive& operator||(c_UInt16& v) { return primN(&v, 2); }
  ccArchive& operator||(c_Int16& v) { return primN(&v, 2); }
  ccArchive& operator||(c_UInt32& v) { return primN(&v, 4); }
  ccArchive& operator||(c_Int32& v) { return primN(&v, 4); }
  ccArchive& operator||(float& v) { return primN(&v, 4); }
  ccArchive& operator||(c_UInt64& v) { return primN(&v, 8); }
  ccArchive& operator||(c_Int64& v) { return primN(&v, 8); }
  ccArchive& operator||(double& v) { return primN(&v, 8); }
  // A wide character is one 2-byte code unit; storing one above 0xFFFF
  // raises ccBadUnicodeChar.
  ccArchive& operator||(wchar_t& v);
  ccArchive& operator||(char16_t& v) { return primN(&v, 2); }
  // Strings: narrow, wide (2-byte units; wchar_t text above 0xFFFF goes as
  // surrogate pairs) and 32-bit units.
  ccArchive& operator||(std::string& s);
  ccArchive& operator||(std::u16string& s);
  ccArchive& operator||(std::wstring& s);
  ccArchive& operator||(std::u32string& s);

  template <class T>
  ccArchive& operator<<(T const& v) {
    cmAssert(isStoring());
    T copy(v);
    return *this || copy;
  }
  ccArchive& operator<<(char const* s) { return *this << std::string(s); }
  template <class T>
  ccArchive& operator>>(T& v) {
    cmAssert(isLoading());
    return *this || v;
  }

  // Bytes as they are, never swapped.
  void raw(char* data, c_Int32 count);

  void sync();

  // Forgets `obj` in every live archive (ccPersistent::mutating).
  static void mutating(ccPersistent* obj);

  // Positions. tell and seek use the get position when loading and the
  // put position when storing; a failed seek raises BadBuffer.
  Pos tell();
  void seek(Pos pos);
  void seek(c_Int64 offset, std::ios_base::seekdir dir);
  // Seekable only: switches direction, keeping the position.
  void mode(Direction direction);

  // Storing only: move forward 1, 2, 4 or 8 bytes without writing.
  void reserveU8() { reserve_(1); }
  void reserve8() { reserve_(1); }
  void reserveU16() { reserve_(2); }
  void reserve16() { reserve_(2); }
  void reserveU32() { reserve_(4); }
  void reserve32() { reserve_(4); }
  void reserveU64() { reserve_(8); }
  void reserve64() { reserve_(8); }

  // Seekable, storing: the next object id and mark number (1 to 0x7FFFFFFE).
  void setStartingID(c_Int32 id);
  void setStartingNum(c_Int32 num);
  // Seekable, not read-only: switch to storing at the end of the stream,
  // after the records already there.
  void append();
  ccArchive* secondary() const;
  void secondary(ccArchive* other);

  // Marks (seekable). Absent answers are 0, or the invalid position.
  c_Int32 firstMarkNum();
  c_Int32 lastMarkNum();
  c_Int32 nextMarkNum(c_Int32 num);
  c_Int32 prevMarkNum(c_Int32 num);
  void readMark(c_Int32& num);
  Pos findMark(c_Int32 num);
  void skipMark();
  // Storing; 0 means the next free number.
  c_Int32 writeNewMark(c_Int32 num);
  c_Int32 renumberMark(c_Int32 num);
  void removeMark();

  // Objects (seekable).
  c_Int32 firstObjectID();
  c_Int32 nextObjectID(c_Int32 id);
  Pos findObject(c_Int32 id);
  // The record at the current position; the stream stays where it is.
  // BadType if the size needs more than 32 bits.
  void readObjectHeader(c_Int32& id, c_UInt32& size, Pos& pointerPos);
  void readObjectHeader64(c_Int32& id, c_UInt64& size, Pos& pointerPos);
  // The canonical type name of the record at the current position, also
  // for a type this library does not know.
  std::string objectTypeName();
  ccPersistent* loadObject();
  c_Int32 storeObject(ccPersistent* obj);
  void removeObject();

  // Pointers (seekable).
  Pos firstPointerPos();
  // The pointer after the one at the current position.
  Pos nextPointerPos();
  c_Int32 pointerObjectID();
  void pointerObjectID(c_Int32 id);
  void removePointer();

  // Raw byte access for the primitive layer; internal.
  void cf_put(void const* data, std::size_t n);
  void cf_get(void* data, std::size_t n);

 protected:
  ccArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly);
  // Derived classes call this last in their constructor: it writes or
  // reads the head.
  void ctorFinished();
  // Derived classes call this first in their destructor. Never throws.
  void dtorStarting();

 private:
  friend ccArchive& operator||(ccArchive& ar, unsigned char& v);
  friend class ccPersistent;
  friend void cf_PointerOfWrongClass(ccArchive& ar, ccPersistent* loaded);

  template <class T>
  ccArchive& prim1(T* v) {
    if (isStoring())
      cf_put(v, 1);
    else
      cf_get(v, 1);
    return *this;
  }
  friend class cc_ArchiveIO;
  friend class cc_ArchiveRep;
  ccArchive& primN(void* v, std::size_t n);
  void reserve_(int n);
  void requireSeekable_(int line) const;
  void putLengthPrefix(std::size_t length);
  std::size_t getLengthPrefix();
  void putUnits16(std::u16string const& s);
  std::u16string getUnits16Body(std::size_t length, bool wideWanted, std::string* narrowOut);

  std::streambuf* buffer_;
  bool readOnly_;
  Direction direction_;
  Ordering ordering_;
  bool swap_ = false;
  bool seekable_;
  unsigned char version_ = 1;
  Pos highest_ = Pos(0);
  ccArchive* secondary_ = nullptr;
  c_Int32 reserved_ = 0;
  cc_ArchiveRep* rep_ = nullptr;
};

ccArchive& operator||(ccArchive& ar, unsigned char& v);

// Holds the stream buffer of a derived archive so that it exists before the
// ccArchive base is built over it.
struct cc_FileArchiveHolder {
  std::unique_ptr<cc_FileStreambuf> heldFile_;
};
struct cc_MemoryArchiveHolder {
  std::unique_ptr<ccStrstreambuf> heldBuffer_;
  char const* heldData_ = nullptr;
  ~cc_MemoryArchiveHolder();
};

// An archive over a file it owns. Opening fails with
// ccArchive::BadFile("Could not open file: " + name, 0).
class ccFileArchive : private cc_FileArchiveHolder, public ccArchive {
 public:
  ccFileArchive(std::string const& name, Direction direction, Ordering ordering = eLsbFirst, bool seekable = false,
                bool readOnly = false);
  ~ccFileArchive() override;
};

// An archive in memory: stores into a growing buffer, or loads from given
// bytes (read-only).
class ccMemoryArchive : private cc_MemoryArchiveHolder, public ccArchive {
 public:
  explicit ccMemoryArchive(Ordering ordering = eLsbFirst, bool seekable = false);
  // Loads from `size` bytes at `data`; frees them with delete[] at the end
  // if `takeOwnership`.
  ccMemoryArchive(char const* data, c_Int32 size, bool seekable, bool takeOwnership);
  ~ccMemoryArchive() override;

  char const* storage() const { return heldBuffer_->storage(); }
  // Bytes written so far.
  std::size_t size() const { return heldBuffer_->size(); }
};

#endif  // ORVSTD_ARCHIVE_ARCHIVE_H_
