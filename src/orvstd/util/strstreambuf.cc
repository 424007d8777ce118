#include "orvstd/util/strstreambuf.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

// ccStrstreambuf ------------------------------------------------------------------

namespace {

// The zeroed room made ahead of the writes: enough that most small writes
// are a bare copy, little enough that no large untouched part of the
// reserved memory is filled.
constexpr std::size_t kZeroAhead = 16 * 1024;

}  // namespace

std::streamsize ccStrstreambuf::xsputn(char const* s, std::streamsize n) {
  if (view_ || n <= 0) return 0;
  std::size_t const end = put_ + static_cast<std::size_t>(n);
  // bytes_ may run past high_; those bytes were never written and are zero.
  if (end > bytes_.size()) {
    if (end > bytes_.capacity()) bytes_.reserve(std::max(end, bytes_.capacity() * 2));
    bytes_.resize(std::max(end, std::min(bytes_.capacity(), bytes_.size() + kZeroAhead)));
  }
  std::memcpy(bytes_.data() + put_, s, static_cast<std::size_t>(n));
  put_ = end;
  high_ = std::max(high_, put_);
  return n;
}

std::streamsize ccStrstreambuf::xsgetn(char* s, std::streamsize n) {
  if (n <= 0 || get_ >= high_) return 0;
  std::size_t const k = std::min(static_cast<std::size_t>(n), high_ - get_);
  std::memcpy(s, storage() + get_, k);
  get_ += k;
  return static_cast<std::streamsize>(k);
}

ccStrstreambuf::int_type ccStrstreambuf::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  char ch = traits_type::to_char_type(c);
  return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
}

ccStrstreambuf::int_type ccStrstreambuf::underflow() {
  return get_ < high_ ? traits_type::to_int_type(storage()[get_]) : traits_type::eof();
}

ccStrstreambuf::int_type ccStrstreambuf::uflow() {
  int_type c = underflow();
  if (!traits_type::eq_int_type(c, traits_type::eof())) ++get_;
  return c;
}

std::streamsize ccStrstreambuf::showmanyc() { return get_ < high_ ? static_cast<std::streamsize>(high_ - get_) : -1; }

ccStrstreambuf::pos_type ccStrstreambuf::seekoff(off_type off, std::ios_base::seekdir dir,
                                                 std::ios_base::openmode which) {
  bool const in = (which & std::ios_base::in) != 0, out = (which & std::ios_base::out) != 0;
  if (!in && !out) return pos_type(off_type(-1));
  off_type base = 0;
  if (dir == std::ios_base::cur) {
    if (in && out) return pos_type(off_type(-1));
    base = static_cast<off_type>(in ? get_ : put_);
  } else if (dir == std::ios_base::end) {
    base = static_cast<off_type>(high_);
  }
  return seekpos(pos_type(base + off), which);
}

ccStrstreambuf::pos_type ccStrstreambuf::seekpos(pos_type pos, std::ios_base::openmode which) {
  off_type const p = off_type(pos);
  bool const in = (which & std::ios_base::in) != 0, out = (which & std::ios_base::out) != 0;
  if (p < 0 || (!in && !out)) return pos_type(off_type(-1));
  std::size_t const target = static_cast<std::size_t>(p);
  if (in && target > high_) return pos_type(off_type(-1));
  if (out) {
    if (view_) return pos_type(off_type(-1));
    if (target > high_) {  // a put seek past the end extends with zeros
      if (target > bytes_.size()) bytes_.resize(target);
      high_ = target;
    }
    put_ = target;
  }
  if (in) get_ = target;
  return pos;
}

// cc_FileStreambuf ------------------------------------------------------------------

cc_FileStreambuf::~cc_FileStreambuf() { close(); }

bool cc_FileStreambuf::open(std::string const& name, bool readOnly, bool truncate) {
  close();
  int flags = readOnly ? O_RDONLY : O_RDWR;
  if (truncate && !readOnly) flags |= O_CREAT | O_TRUNC;
  fd_ = ::open(name.c_str(), flags | O_CLOEXEC, 0666);
  if (fd_ < 0) return false;
  struct stat st;
  if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd_);
    fd_ = -1;
    return false;
  }
  readOnly_ = readOnly;
  fileSize_ = static_cast<std::size_t>(st.st_size);
  window_.assign(kWindow, 0);
  windowLoaded_ = false;
  dirty_ = false;
  get_ = put_ = 0;
  return true;
}

bool cc_FileStreambuf::close() {
  if (fd_ < 0) return true;
  bool ok = flushWindow();
  ok = ::close(fd_) == 0 && ok;
  fd_ = -1;
  return ok;
}

bool cc_FileStreambuf::flushWindow() {
  if (!dirty_) return true;
  dirty_ = false;
  char const* p = window_.data() + dirtyLow_;
  std::size_t left = dirtyHigh_ - dirtyLow_;
  off_t at = static_cast<off_t>(windowStart_ + dirtyLow_);
  while (left > 0) {
    ssize_t n = ::pwrite(fd_, p, left, at);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    at += n;
    left -= static_cast<std::size_t>(n);
  }
  return true;
}

bool cc_FileStreambuf::loadWindow(std::size_t offset) {
  if (windowLoaded_ && offset >= windowStart_ && offset < windowStart_ + kWindow) return true;
  if (!flushWindow()) return false;
  windowLoaded_ = false;
  windowStart_ = offset;
  windowFill_ = 0;
  std::size_t want = offset < fileSize_ ? std::min(kWindow, fileSize_ - offset) : 0;
  while (windowFill_ < want) {
    ssize_t n = ::pread(fd_, window_.data() + windowFill_, want - windowFill_,
                        static_cast<off_t>(offset + windowFill_));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;  // the file shrank under us: what was read stands
    windowFill_ += static_cast<std::size_t>(n);
  }
  windowLoaded_ = true;
  return true;
}

std::streamsize cc_FileStreambuf::xsputn(char const* s, std::streamsize n) {
  if (fd_ < 0 || readOnly_ || n <= 0) return 0;
  auto const windowHolds = [this](std::size_t at) {
    return windowLoaded_ && at >= windowStart_ && at < windowStart_ + kWindow;
  };
  std::streamsize done = 0;
  while (done < n) {
    // The window in place is checked here: loadWindow is an exported call.
    if (!windowHolds(put_) && !loadWindow(put_)) break;
    std::size_t const off = put_ - windowStart_;
    std::size_t const k = std::min(static_cast<std::size_t>(n - done), kWindow - off);
    if (off > windowFill_) std::memset(window_.data() + windowFill_, 0, off - windowFill_);
    std::memcpy(window_.data() + off, s + done, k);
    if (!dirty_) {
      dirtyLow_ = off;
      dirtyHigh_ = off + k;
      dirty_ = true;
    } else {
      dirtyLow_ = std::min(dirtyLow_, off);
      dirtyHigh_ = std::max(dirtyHigh_, off + k);
    }
    windowFill_ = std::max(windowFill_, off + k);
    put_ += k;
    fileSize_ = std::max(fileSize_, put_);
    done += static_cast<std::streamsize>(k);
  }
  return done;
}

std::streamsize cc_FileStreambuf::xsgetn(char* s, std::streamsize n) {
  if (fd_ < 0 || n <= 0) return 0;
  auto const windowHolds = [this](std::size_t at) {
    return windowLoaded_ && at >= windowStart_ && at < windowStart_ + kWindow;
  };
  std::streamsize done = 0;
  while (done < n && get_ < fileSize_) {
    if (!windowHolds(get_) && !loadWindow(get_)) break;
    std::size_t const off = get_ - windowStart_;
    if (off >= windowFill_) break;
    std::size_t const k = std::min(static_cast<std::size_t>(n - done), windowFill_ - off);
    std::memcpy(s + done, window_.data() + off, k);
    get_ += k;
    done += static_cast<std::streamsize>(k);
  }
  return done;
}

cc_FileStreambuf::int_type cc_FileStreambuf::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  char ch = traits_type::to_char_type(c);
  return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
}

cc_FileStreambuf::int_type cc_FileStreambuf::underflow() {
  char ch;
  std::size_t const keep = get_;
  if (xsgetn(&ch, 1) != 1) return traits_type::eof();
  get_ = keep;
  return traits_type::to_int_type(ch);
}

cc_FileStreambuf::int_type cc_FileStreambuf::uflow() {
  char ch;
  return xsgetn(&ch, 1) == 1 ? traits_type::to_int_type(ch) : traits_type::eof();
}

int cc_FileStreambuf::sync() { return fd_ >= 0 && flushWindow() ? 0 : -1; }

cc_FileStreambuf::pos_type cc_FileStreambuf::seekoff(off_type off, std::ios_base::seekdir dir,
                                                     std::ios_base::openmode which) {
  bool const in = (which & std::ios_base::in) != 0, out = (which & std::ios_base::out) != 0;
  off_type base = 0;
  if (dir == std::ios_base::cur) {
    if (in == out) return pos_type(off_type(-1));
    base = static_cast<off_type>(in ? get_ : put_);
  } else if (dir == std::ios_base::end) {
    base = static_cast<off_type>(fileSize_);
  }
  return seekpos(pos_type(base + off), which);
}

cc_FileStreambuf::pos_type cc_FileStreambuf::seekpos(pos_type pos, std::ios_base::openmode which) {
  off_type const p = off_type(pos);
  bool const in = (which & std::ios_base::in) != 0, out = (which & std::ios_base::out) != 0;
  if (fd_ < 0 || p < 0 || (!in && !out)) return pos_type(off_type(-1));
  std::size_t const target = static_cast<std::size_t>(p);
  if (in && target > fileSize_) return pos_type(off_type(-1));
  if (out) {
    if (readOnly_) return pos_type(off_type(-1));
    put_ = target;  // a gap past the end is filled with zeros when written behind
  }
  if (in) get_ = target;
  return pos;
}
