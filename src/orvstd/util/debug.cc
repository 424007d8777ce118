#include "orvstd/util/debug.h"

#include <streambuf>

#include "orvstd/kernel/kstd.h"

namespace {

// Unbuffered: every write goes straight to the kernel's debug sink, so that a
// message is never lost in a buffer when the process aborts.
class DebugBuf : public std::streambuf {
 protected:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    char ch = traits_type::to_char_type(c);
    ksys_debugWrite(&ch, 1);
    return c;
  }
  std::streamsize xsputn(char const* s, std::streamsize n) override {
    if (n > 0) ksys_debugWrite(s, static_cast<std::size_t>(n));
    return n;
  }
};

}  // namespace

std::ostream& cfOrvDebug() {
  // Deliberately leaked: it must outlive every static destructor.
  static std::ostream* stream = new std::ostream(new DebugBuf);
  return *stream;
}
