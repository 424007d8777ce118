// Exceptions: the failure model of the library.
//
// Every failure that leaves the library is an exception derived from
// ccException. Exceptions are persistent: each concrete class can be stored
// in an archive, loaded back as its true type and thrown again, which is how
// a remote call carries a server's error to its client. Each class has a
// fixed errorNumber that is part of the interface.
//
// Error classes come in families: an intermediate X::Errors and its leaves
// beside it. One line declares a leaf in the header and one line defines it
// in the source file; the two together give it every member the pattern
// needs (make, instantiator, number, serialisation, suicideAndRethrow), and a
// missing definition line is a link error, never a silent gap.
//
//   class ccWidget {
//    public:
//     cmErrorFamily(Errors, ccExceptionWithString);
//     cmErrorClass(BadParams, Errors, 0x10009900);
//   };
//   // widget.cc
//   cmErrorFamilyDefine(ccWidget::Errors)
//   cmErrorDefine(ccWidget::BadParams)
//
//   throw ccWidget::BadParams("width must be positive");
//
// Kernel-layer failures are negative codes 0x80000000 | facility << 5 | index;
// cfThrowExceptionOnFailure turns them into typed exceptions through the
// converters each module registers.
#ifndef ORVSTD_EXCEPT_EXCEPT_H_
#define ORVSTD_EXCEPT_EXCEPT_H_

#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"
#include "orvstd/defs/types.h"
#include "orvstd/except/assert.h"

class ccException : public ccPersistent {
 public:
  ccException(ccException const&) = default;
  ccException& operator=(ccException const&) = default;
  ~ccException() override;

  virtual c_Int32 errorNumber() const = 0;
  // The object must come from the heap (from make, through an archive): it
  // copies itself, deletes itself and throws the copy as its own type.
  [[noreturn]] virtual void suicideAndRethrow() = 0;

  // The text of the error, after the canonical type name and ": " if asked.
  std::string message(bool withTypeName = true) const;
  // Writes message(true).
  void message(std::ostream& os) const;

 protected:
  ccException() = default;
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);
  virtual void message_(std::ostream& os) const;
};

class ccExceptionWithString : public ccException {
 public:
  ccExceptionWithString(ccExceptionWithString const&) = default;
  ccExceptionWithString& operator=(ccExceptionWithString const&) = default;
  ~ccExceptionWithString() override;

 protected:
  ccExceptionWithString() = default;
  explicit ccExceptionWithString(std::string const& info) : info_(info) {}
  explicit ccExceptionWithString(char const* info) : info_(info ? info : "") {}

  std::string const& info() const { return info_; }
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);
  void message_(std::ostream& os) const override;

 private:
  std::string info_;
};

// True unless the arguments are a single object of class C (or derived from
// it): such a call is a copy, which the forwarding constructors must not take.
template <class C, class... A>
inline constexpr bool cc_IsNotCopyOf =
    !(sizeof...(A) == 1 && (std::is_base_of_v<C, std::remove_cvref_t<A>> && ...));

// The members every thrown error class has. Use inside a hand-written class
// body after its constructors; cmErrorClass uses it for the usual case.
#define cmErrorMembers(Leaf, Base, Number)                            \
 public:                                                              \
  using cc_Base = Base;                                               \
  static constexpr c_Int32 kErrorNumber = static_cast<c_Int32>(Number); \
  Leaf(Leaf const&) = default;                                        \
  Leaf& operator=(Leaf const&) = default;                             \
  ~Leaf() override = default;                                         \
  c_Int32 errorNumber() const override;                               \
  [[noreturn]] void suicideAndRethrow() override;                     \
                                                                      \
 protected:                                                           \
  void dispatchSerialize(ccArchive& ar) override;                     \
  void serialize_(ccArchive& ar, unsigned char version);              \
                                                                      \
 private:                                                             \
  static ccPersistent* make();                                        \
  static cc_Instantiator const instantiator_

// A leaf error class: its constructors forward to the base's.
#define cmErrorClass(Leaf, Base, Number)                                         \
  class Leaf : public Base {                                                     \
   public:                                                                       \
    template <class... A>                                                        \
      requires cc_IsNotCopyOf<Leaf, A...>                                        \
    explicit Leaf(A&&... a) : Base(std::forward<A>(a)...) {}                     \
    cmErrorMembers(Leaf, Base, Number);                                          \
  }

// The source-file half of a leaf class. A leaf with fields of its own
// defines serialize_ by hand and uses cmErrorDefineCore.
#define cmErrorDefineCore(Leaf)                                                                   \
  c_Int32 Leaf::errorNumber() const { return kErrorNumber; }                                      \
  void Leaf::suicideAndRethrow() {                                                                \
    Leaf copy(*this);                                                                             \
    delete this;                                                                                  \
    throw copy;                                                                                   \
  }                                                                                               \
  void Leaf::dispatchSerialize(ccArchive& ar) {                                                   \
    dispatchVersioned_(ar, this, sizeof(Leaf), 0, [&](unsigned char v) { serialize_(ar, v); });   \
  }                                                                                               \
  ccPersistent* Leaf::make() { return cf_MakeNothrow<Leaf>(); }                                   \
  cc_Instantiator const Leaf::instantiator_{typeid(Leaf), &Leaf::make};

#define cmErrorDefine(Leaf)                                           \
  cmErrorDefineCore(Leaf)                                             \
  void Leaf::serialize_(ccArchive& ar, unsigned char version) {       \
    cfCheckClassVersion(version, 0, "ccInvariantFailure", 0);         \
    cc_Base::dispatchSerialize(ar);                                   \
  }

// An intermediate family class: not thrown, not registered; protected
// constructors forwarding to its base.
#define cmErrorFamily(Name, Base)                              \
  class Name : public Base {                                   \
   public:                                                     \
    using cc_Base = Base;                                      \
    Name(Name const&) = default;                               \
    Name& operator=(Name const&) = default;                    \
    ~Name() override = default;                                \
                                                               \
   protected:                                                  \
    template <class... A>                                      \
      requires cc_IsNotCopyOf<Name, A...>                      \
    explicit Name(A&&... a) : Base(std::forward<A>(a)...) {}   \
    void dispatchSerialize(ccArchive& ar) override;            \
    void serialize_(ccArchive& ar, unsigned char version);     \
  }

#define cmErrorFamilyDefine(Name)                                                                 \
  void Name::dispatchSerialize(ccArchive& ar) {                                                   \
    dispatchVersioned_(ar, this, sizeof(Name), 0, [&](unsigned char v) { serialize_(ar, v); });   \
  }                                                                                               \
  void Name::serialize_(ccArchive& ar, unsigned char version) {                                   \
    cfCheckClassVersion(version, 0, "ccInvariantFailure", 0);                                     \
    cc_Base::dispatchSerialize(ar);                                                               \
  }

// The root leaves.
cmErrorClass(ccInvariantFailure, ccException, 0x10000001);
cmErrorClass(ccAssertFailure, ccExceptionWithString, 0x10000003);
cmErrorClass(ccBadPointer, ccException, 0x10000008);
cmErrorClass(ccSysTimeBadArgument, ccException, 0x10000009);
cmErrorClass(ccUnsupportedHW, ccException, 0x1000000a);
cmErrorClass(ccBadUnicodeChar, ccException, 0x1000000b);

// The fall-back of failure conversion: "Internal error code: " and the code
// in eight hexadecimal digits; empty for code 0.
class ccUnknownError : public ccExceptionWithString {
 public:
  explicit ccUnknownError(c_Int32 code = 0);
  cmErrorMembers(ccUnknownError, ccExceptionWithString, 0x10000004);
};

// Failure conversion. A converter recognises some codes of its facility and
// throws; for any other code it returns. Registration belongs in static
// constructors (cc_ExceptionConverter); conversion reads the table unlocked.
using cc_ExceptionConverterFn = void (*)(c_Int32 code);
void cfRegisterExceptionConverter(c_Int32 facility, cc_ExceptionConverterFn converter);
// Returns only for code >= 0. A negative code goes to the converters of its
// facility in registration order; if none throws, ccUnknownError(code).
void cfThrowExceptionOnFailure(c_Int32 code);

// Registers a converter from a static constructor.
struct cc_ExceptionConverter {
  cc_ExceptionConverter(c_Int32 facility, cc_ExceptionConverterFn converter) {
    cfRegisterExceptionConverter(facility, converter);
  }
};

// Scope guard over a kernel clean-up list on the caller's stack. On scope
// exit, unless *status is already negative (the normal path has run the
// list), it runs every entry of its tag; then it sets *status to -1.
struct ksys_cleanup_struct_;
class cc_CleanupObject {
 public:
  cc_CleanupObject(c_Int32* status, ksys_cleanup_struct_* list, c_Int32 tag)
      : status_(status), list_(list), tag_(tag) {}
  cc_CleanupObject(cc_CleanupObject const&) = default;
  cc_CleanupObject& operator=(cc_CleanupObject const&) = default;
  ~cc_CleanupObject();

  static void* operator new(std::size_t) = delete;  // stack only
  static void* operator new[](std::size_t) = delete;

 private:
  c_Int32* status_;
  ksys_cleanup_struct_* list_;
  c_Int32 tag_;
};

#endif  // ORVSTD_EXCEPT_EXCEPT_H_
