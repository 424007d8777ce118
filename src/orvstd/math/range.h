// ccRange: a closed interval of the real line, or the empty or the full one;
// ccAngleRange: an arc of the circle of angles, or none, or the whole turn.
//
// The kinds are explicit, so an empty intersection and the whole line are
// values like any other. Operations return new ranges. Reading a bound of an
// empty or full range raises ccRangeDefs::NotPartialRange.
//
//   ccRange a(0, 1), b(0.5, 3);
//   ccRange c = a.intersect(b);           // [0.5, 1]
//   bool in = c.isWithin(0.75);           // true
//   double len = ccRange::FullRange().length();  // the largest double
//
//   ccAngleRange arc(ccRadian(-0.5), ccRadian(0.5));
//   arc.isWithin(ccRadian(6.0));          // true: 6.0 is -0.28 a turn on
#ifndef ORVSTD_MATH_RANGE_H_
#define ORVSTD_MATH_RANGE_H_

#include "orvstd/math/angle.h"
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

class ccAngleRange {
 public:
  // The empty range.
  ccAngleRange() : kind_(ccRangeDefs::eEmpty) {}
  // From start to end, counter-clockwise. Raises ccRangeDefs::BadParams
  // "start >= end", or with allowEmptyLength true only "start > end", so that
  // true admits a range of length 0. A range of a turn or more is full.
  ccAngleRange(ccRadian const& start, ccRadian const& end, bool allowEmptyLength = false);

  static ccAngleRange FullAngleRange();
  static ccAngleRange EmptyAngleRange();

  ccRangeDefs::Range kind() const { return kind_; }
  ccRadian start() const;
  ccRadian end() const;
  ccRadian middle() const;
  // 0 when empty, a full turn when full.
  ccRadian length() const;
  // On the circle: x and x plus any number of turns answer alike.
  bool isWithin(ccRadian const& x) const;
  // Grows by other's bounds; full once the two lengths make a turn.
  ccAngleRange dilate(ccAngleRange const& other) const;

  // Partial ranges compare lengths and normalised bounds, exactly.
  bool operator==(ccAngleRange const& other) const;
  bool operator!=(ccAngleRange const& other) const { return !(*this == other); }

 private:
  friend ccArchive& operator||(ccArchive& ar, ccAngleRange& r);
  explicit ccAngleRange(ccRangeDefs::Range kind) : kind_(kind) {}
  void checkPartialRange() const;

  ccRangeDefs::Range kind_;
  ccRadian start_;
  ccRadian end_;
};

// Version byte 0, kind, start and end in radians as doubles.
ccArchive& operator||(ccArchive& ar, ccAngleRange& r);

#endif  // ORVSTD_MATH_RANGE_H_
