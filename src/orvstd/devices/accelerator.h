// ccAccelerator: a processor card that runs vision work on behalf of this
// process, loaded with its own software and reached over a connection.
//
// Its errors carry a text and the platform's last error code, as the
// board's do.
#ifndef ORVSTD_DEVICES_ACCELERATOR_H_
#define ORVSTD_DEVICES_ACCELERATOR_H_

#include <iosfwd>
#include <string>

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

class ccAccelerator {
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
  cmErrorClass(BadFile, Errors, 0x10002c05);
  cmErrorClass(BootFailure, Errors, 0x10002c06);
  cmErrorClass(ConnectionBroken, Errors, 0x10002c0a);
};

#endif  // ORVSTD_DEVICES_ACCELERATOR_H_
