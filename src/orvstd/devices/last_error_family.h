// The error family of driver-backed devices (boards, accelerators): each
// error carries the driver's text and the platform's last error code.
//
//   class ccBoard {
//    public:
//     static constexpr char kErrorsVersionText[] = "ccBoard::Errors class version mismatch";
//     using Errors = cc_LastErrorFamily<ccBoard>;
//     cmErrorClass(Timeout, Errors, 0x10002c04);
//   };
//   throw ccBoard::Timeout("no frame", 0);
#ifndef ORVSTD_DEVICES_LAST_ERROR_FAMILY_H_
#define ORVSTD_DEVICES_LAST_ERROR_FAMILY_H_

#include <iosfwd>
#include <string>

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

template <class Owner>
class cc_LastErrorFamily : public ccException {
 public:
  cc_LastErrorFamily(cc_LastErrorFamily const&) = default;
  cc_LastErrorFamily& operator=(cc_LastErrorFamily const&) = default;
  ~cc_LastErrorFamily() override = default;
  std::string const& text() const { return text_; }
  c_Int32 lastError() const { return lastError_; }

 protected:
  explicit cc_LastErrorFamily(char const* text = nullptr, c_Int32 lastError = 0)
      : text_(text ? text : ""), lastError_(lastError) {}
  void dispatchSerialize(ccArchive& ar) override;
  // The base goes first and the version is tested after it, unlike the
  // usual order: stored device errors have always been read this way.
  void serialize_(ccArchive& ar, unsigned char version);
  // The text, then " : LastError = " and the code if it is not 0.
  void message_(std::ostream& os) const override;

 private:
  std::string text_;
  c_Int32 lastError_;
};

#endif  // ORVSTD_DEVICES_LAST_ERROR_FAMILY_H_
