// ccRange: a closed interval of the real line, or the empty or the full one.
//
// The kinds are explicit, so an empty intersection and the whole line are
// values like any other. Operations return new ranges; the table of each
// operation by kind is in range.cc. Reading a bound of an empty or full range
// raises ccRangeDefs::NotPartialRange.
//
//   ccRange a(0, 1), b(0.5, 3);
//   ccRange c = a.intersect(b);           // [0.5, 1]
//   bool in = c.isWithin(0.75);           // true
//   double len = ccRange::FullRange().length();  // the largest double
#ifndef ORVSTD_MATH_RANGE_H_
#define ORVSTD_MATH_RANGE_H_

#include "orvstd/math/range_defs.h"

class ccRange {
 public:
  // The empty range.
  ccRange() : kind_(ccRangeDefs::eEmpty), start_(0), end_(0) {}
  // A partial range; raises ccRangeDefs::BadParams "start > end".
  ccRange(double start, double end);

  static ccRange FullRange();
  static ccRange EmptyRange();

  ccRangeDefs::Range kind() const { return kind_; }
  double start() const;
  double end() const;
  double middle() const;
  // 0 when empty, the largest double when full.
  double length() const;
  bool isWithin(double x) const;

  ccRange intersect(ccRange const& other) const;
  ccRange translate(double d) const;
  // Raises ccRangeDefs::BadParams "scale <= 0" unless f > 0, on any kind.
  ccRange scale(double f) const;
  ccRange dilate(ccRange const& other) const;
  ccRange erode(ccRange const& other) const;
  // The intersection is longer than tolerance, strictly.
  bool someOverlap(ccRange const& other, double tolerance) const;

  bool operator==(ccRange const& other) const;
  bool operator!=(ccRange const& other) const { return !(*this == other); }

 private:
  friend ccArchive& operator||(ccArchive& ar, ccRange& r);
  explicit ccRange(ccRangeDefs::Range kind) : kind_(kind), start_(0), end_(0) {}
  void checkPartialRange() const;

  ccRangeDefs::Range kind_;
  double start_;
  double end_;
};

// Version byte 0, kind, start, end.
ccArchive& operator||(ccArchive& ar, ccRange& r);

#endif  // ORVSTD_MATH_RANGE_H_
