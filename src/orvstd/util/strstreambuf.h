// Stream buffers for archives: a growing memory buffer and a file buffer.
//
// Both keep a get position and a put position of their own, and neither
// flushes on a seek: archive chain walks seek constantly. They move bytes
// through sgetn/sputn; the single-character calls work too.
//
//   ccStrstreambuf buf;                 // growing, in memory
//   buf.sputn("abc", 3);
//   buf.pubseekpos(0, std::ios::in);
//   char c[3]; buf.sgetn(c, 3);
#ifndef ORVSTD_UTIL_STRSTREAMBUF_H_
#define ORVSTD_UTIL_STRSTREAMBUF_H_

#include <cstddef>
#include <streambuf>
#include <string>
#include <vector>

class ccStrstreambuf : public std::streambuf {
 public:
  // An empty, growing, writable buffer.
  ccStrstreambuf() = default;
  // A read-only view of `size` bytes at `data` (not copied, not owned).
  ccStrstreambuf(char const* data, std::size_t size) : view_(data), high_(size) {}

  // The bytes written so far (up to the highest position reached).
  char const* storage() const { return view_ ? view_ : bytes_.data(); }
  std::size_t size() const { return high_; }

 protected:
  std::streamsize xsputn(char const* s, std::streamsize n) override;
  std::streamsize xsgetn(char* s, std::streamsize n) override;
  int_type overflow(int_type c) override;
  int_type underflow() override;
  int_type uflow() override;
  std::streamsize showmanyc() override;
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

 private:
  char const* view_ = nullptr;
  std::vector<char> bytes_;
  std::size_t get_ = 0;
  std::size_t put_ = 0;
  std::size_t high_ = 0;
};

// A buffered file with separate get and put positions. Writes stay in a
// window until it moves or sync() is called; seeking inside the window is
// free.
class cc_FileStreambuf : public std::streambuf {
 public:
  cc_FileStreambuf() = default;
  ~cc_FileStreambuf() override;
  cc_FileStreambuf(cc_FileStreambuf const&) = delete;
  cc_FileStreambuf& operator=(cc_FileStreambuf const&) = delete;

  // Opens `name`; read-write unless `readOnly`, created and truncated if
  // `truncate`. False on failure.
  bool open(std::string const& name, bool readOnly, bool truncate);
  bool isOpen() const { return fd_ >= 0; }
  bool close();

 protected:
  std::streamsize xsputn(char const* s, std::streamsize n) override;
  std::streamsize xsgetn(char* s, std::streamsize n) override;
  int_type overflow(int_type c) override;
  int_type underflow() override;
  int_type uflow() override;
  int sync() override;
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

 private:
  static constexpr std::size_t kWindow = 64 * 1024;
  bool flushWindow();
  bool loadWindow(std::size_t offset);

  int fd_ = -1;
  bool readOnly_ = true;
  std::vector<char> window_;
  std::size_t windowStart_ = 0;  // file offset of window_[0]
  std::size_t windowFill_ = 0;   // valid bytes in the window
  bool windowLoaded_ = false;
  bool dirty_ = false;
  std::size_t dirtyLow_ = 0, dirtyHigh_ = 0;
  std::size_t fileSize_ = 0;
  std::size_t get_ = 0;
  std::size_t put_ = 0;
};

#endif  // ORVSTD_UTIL_STRSTREAMBUF_H_
