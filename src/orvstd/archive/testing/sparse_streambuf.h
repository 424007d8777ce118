// A stream buffer that keeps only the pages written, so tests can build
// archives with gaps of gigabytes (record promotion) in a few kilobytes.
// Unwritten bytes read as zeros. Test-only.
#ifndef ORVSTD_ARCHIVE_TESTING_SPARSE_STREAMBUF_H_
#define ORVSTD_ARCHIVE_TESTING_SPARSE_STREAMBUF_H_

#include <algorithm>
#include <cstring>
#include <map>
#include <streambuf>
#include <vector>

#include "orvstd/archive/archive.h"

class SparseStreambuf : public std::streambuf {
 public:
  static constexpr std::int64_t kPage = 4096;
  std::int64_t size() const { return high_; }
  std::size_t pagesHeld() const { return pages_.size(); }

 protected:
  std::streamsize xsputn(char const* s, std::streamsize n) override {
    for (std::streamsize i = 0; i < n; ++i) byteAt(put_ + i) = s[i];
    put_ += n;
    high_ = std::max(high_, put_);
    return n;
  }
  std::streamsize xsgetn(char* s, std::streamsize n) override {
    std::streamsize k = std::max<std::streamsize>(0, std::min<std::int64_t>(n, high_ - get_));
    for (std::streamsize i = 0; i < k; ++i) {
      auto it = pages_.find((get_ + i) / kPage);
      s[i] = it == pages_.end() ? 0 : it->second[static_cast<std::size_t>((get_ + i) % kPage)];
    }
    get_ += k;
    return k;
  }
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    bool in = which & std::ios_base::in;
    off_type base = dir == std::ios_base::beg ? 0 : dir == std::ios_base::end ? high_ : (in ? get_ : put_);
    return seekpos(pos_type(base + off), which);
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    off_type p = off_type(pos);
    if (p < 0) return pos_type(off_type(-1));
    if (which & std::ios_base::in) {
      if (p > high_) return pos_type(off_type(-1));
      get_ = p;
    }
    if (which & std::ios_base::out) {
      put_ = p;
      high_ = std::max(high_, put_);
    }
    return pos;
  }

 private:
  char& byteAt(std::int64_t at) {
    auto& page = pages_[at / kPage];
    if (page.empty()) page.assign(kPage, 0);
    return page[static_cast<std::size_t>(at % kPage)];
  }
  std::map<std::int64_t, std::vector<char>> pages_;
  std::int64_t get_ = 0, put_ = 0, high_ = 0;
};

struct SparseHolder {
  SparseStreambuf sparse;
};

// A seekable storing archive over a sparse buffer; reopen() gives a loading
// archive over the same bytes.
class SparseArchive : private SparseHolder, public ccArchive {
 public:
  explicit SparseArchive(ccArchive::Ordering ordering = eLsbFirst)
      : ccArchive(&sparse, eStore, ordering, true, false) {
    ctorFinished();
  }
  ~SparseArchive() override { dtorStarting(); }
  SparseStreambuf& buffer() { return sparse; }
};

#endif  // ORVSTD_ARCHIVE_TESTING_SPARSE_STREAMBUF_H_
