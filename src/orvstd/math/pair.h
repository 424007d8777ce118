// ccPair<T>: two values of one type, x and y, with no arithmetic: the
// integer or float point of pel buffers and the carrier of pairs such as
// (start angle, span). Persistent for any T that an archive can carry.
//
//   ccPair<c_Int32> offset(-3, 7);
//   ar << offset;   // version byte 0, then x and y
#ifndef ORVSTD_MATH_PAIR_H_
#define ORVSTD_MATH_PAIR_H_

#include <type_traits>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"

template <class T>
class ccPair {
 public:
  constexpr ccPair() = default;
  constexpr ccPair(T x, T y) : x_(x), y_(y) {}

  constexpr T x() const { return x_; }
  constexpr T y() const { return y_; }
  void x(T v) { x_ = v; }
  void y(T v) { y_ = v; }

  bool operator==(ccPair const& o) const { return x_ == o.x_ && y_ == o.y_; }
  bool operator!=(ccPair const& o) const { return !(*this == o); }

 private:
  template <class U>
  friend ccArchive& operator||(ccArchive& ar, ccPair<U>& p);

  T x_{};
  T y_{};
};

// One version byte (0), then x and y.
template <class T>
ccArchive& operator||(ccArchive& ar, ccPair<T>& p) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/pair", 0);
  return ar || p.x_ || p.y_;
}

static_assert(std::is_trivially_copyable_v<ccPair<c_Int32>> && sizeof(ccPair<c_Int32>) == 8);
static_assert(std::is_trivially_copyable_v<ccPair<float>> && sizeof(ccPair<float>) == 8);

#endif  // ORVSTD_MATH_PAIR_H_
