#include "orvstd/util/strings.h"

std::string cfHex(c_UInt64 value, int digits) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char buf[16];
  int n = 0;
  do {
    buf[n++] = kDigits[value & 0xF];
    value >>= 4;
  } while (value != 0);
  std::string out;
  if (digits > n) out.assign(static_cast<std::size_t>(digits - n), '0');
  while (n > 0) out.push_back(buf[--n]);
  return out;
}
