// ccBoard: a vision board (frame grabber or processor card) in this machine.
//
// Board errors carry a text and the platform's last error code, which is
// what a driver failure usually has to say.
#ifndef ORVSTD_DEVICES_BOARD_H_
#define ORVSTD_DEVICES_BOARD_H_

#include <iosfwd>
#include <string>

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

class ccBoard {
 public:
  class Errors : public ccException {
   public:
    Errors(Errors const&) = default;
    Errors& operator=(Errors const&) = default;
    ~Errors() override;
    std::string const& text() const { return text_; }
    c_Int32 lastError() const { return lastError_; }

   protected:
    explicit Errors(char const* text = nullptr, c_Int32 lastError = 0)
        : text_(text ? text : ""), lastError_(lastError) {}
    void dispatchSerialize(ccArchive& ar) override;
    void serialize_(ccArchive& ar, unsigned char version);
    void message_(std::ostream& os) const override;

   private:
    std::string text_;
    c_Int32 lastError_;
  };
  cmErrorClass(BadParams, Errors, 0x10002c00);
  cmErrorClass(StaticInitDisorder, Errors, 0x10002c01);
  cmErrorClass(NotSupported, Errors, 0x10002c02);
  cmErrorClass(HardwareNotResponding, Errors, 0x10002c03);
  cmErrorClass(Timeout, Errors, 0x10002c04);
  // 0x10002c05 to 0x10002c07 and 0x10002c0a are ccAccelerator's.
  cmErrorClass(HardwareInUse, Errors, 0x10002c08);
  cmErrorClass(HardwareNotInitialized, Errors, 0x10002c09);
  cmErrorClass(FpgaLoadFailure, Errors, 0x10002c0b);
  cmErrorClass(BadEERAMContents, Errors, 0x10002c0c);
  cmErrorClass(MultiProcessAccessFailed, Errors, 0x10002c0d);
};

#endif  // ORVSTD_DEVICES_BOARD_H_
