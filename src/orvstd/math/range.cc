#include "orvstd/math/range.h"

#include <algorithm>
#include <limits>

#include "orvstd/archive/archive.h"
#include "orvstd/except/assert.h"

// Every operation dispatches on the kind; an unknown kind can only be memory
// damage, since constructors and loading admit the three kinds only.
#define cmUnknownKind() cfAssertFailed(__FILE__, __LINE__)

ccRange::ccRange(double start, double end) : kind_(ccRangeDefs::ePartial), start_(start), end_(end) {
  if (start > end) throw ccRangeDefs::BadParams("start > end");
}

ccRange ccRange::FullRange() {
  static ccRange const full(ccRangeDefs::eFull);
  return full;
}

ccRange ccRange::EmptyRange() {
  static ccRange const empty(ccRangeDefs::eEmpty);
  return empty;
}

namespace {

void requirePartial(ccRangeDefs::Range kind) {
  if (kind != ccRangeDefs::ePartial) throw ccRangeDefs::NotPartialRange(static_cast<char const*>(nullptr));
}

}  // namespace

void ccRange::checkPartialRange() const { requirePartial(kind_); }

double ccRange::start() const {
  checkPartialRange();
  return start_;
}

double ccRange::end() const {
  checkPartialRange();
  return end_;
}

double ccRange::middle() const {
  checkPartialRange();
  return (start_ + end_) * 0.5;
}

double ccRange::length() const {
  switch (kind_) {
    case ccRangeDefs::ePartial: return end_ - start_;
    case ccRangeDefs::eEmpty: return 0;
    case ccRangeDefs::eFull: return std::numeric_limits<double>::max();
  }
  cmUnknownKind();
}

bool ccRange::isWithin(double x) const {
  switch (kind_) {
    case ccRangeDefs::ePartial: return start_ <= x && x <= end_;
    case ccRangeDefs::eEmpty: return false;
    case ccRangeDefs::eFull: return true;
  }
  cmUnknownKind();
}

ccRange ccRange::translate(double d) const {
  switch (kind_) {
    case ccRangeDefs::ePartial: return ccRange(start_ + d, end_ + d);
    case ccRangeDefs::eEmpty:
    case ccRangeDefs::eFull: return *this;
  }
  cmUnknownKind();
}

ccRange ccRange::scale(double f) const {
  if (!(f > 0)) throw ccRangeDefs::BadParams("scale <= 0");
  switch (kind_) {
    case ccRangeDefs::ePartial: return ccRange(start_ * f, end_ * f);
    case ccRangeDefs::eEmpty:
    case ccRangeDefs::eFull: return *this;
  }
  cmUnknownKind();
}

ccRange ccRange::intersect(ccRange const& other) const {
  switch (kind_) {
    case ccRangeDefs::ePartial:
      switch (other.kind_) {
        case ccRangeDefs::ePartial: {
          double const s = std::max(start_, other.start_);
          double const e = std::min(end_, other.end_);
          return s > e ? EmptyRange() : ccRange(s, e);
        }
        case ccRangeDefs::eEmpty: return EmptyRange();
        case ccRangeDefs::eFull: return *this;
      }
      break;
    case ccRangeDefs::eEmpty: return EmptyRange();
    case ccRangeDefs::eFull: return other;
  }
  cmUnknownKind();
}

ccRange ccRange::dilate(ccRange const& other) const {
  switch (kind_) {
    case ccRangeDefs::ePartial:
      switch (other.kind_) {
        case ccRangeDefs::ePartial: return ccRange(start_ + other.start_, end_ + other.end_);
        case ccRangeDefs::eEmpty: return *this;
        case ccRangeDefs::eFull: return FullRange();
      }
      break;
    case ccRangeDefs::eEmpty: return other;
    case ccRangeDefs::eFull: return FullRange();
  }
  cmUnknownKind();
}

ccRange ccRange::erode(ccRange const& other) const {
  switch (kind_) {
    case ccRangeDefs::ePartial:
      switch (other.kind_) {
        case ccRangeDefs::ePartial: {
          double const s = start_ - other.start_;
          double const e = end_ - other.end_;
          return s > e ? EmptyRange() : ccRange(s, e);
        }
        case ccRangeDefs::eEmpty: return *this;
        case ccRangeDefs::eFull: return EmptyRange();
      }
      break;
    case ccRangeDefs::eEmpty: return EmptyRange();
    case ccRangeDefs::eFull: return FullRange();
  }
  cmUnknownKind();
}

bool ccRange::someOverlap(ccRange const& other, double tolerance) const {
  return intersect(other).length() > tolerance;
}

bool ccRange::operator==(ccRange const& other) const {
  if (kind_ != other.kind_) return false;
  return kind_ != ccRangeDefs::ePartial || (start_ == other.start_ && end_ == other.end_);
}

ccArchive& operator||(ccArchive& ar, ccRange& r) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/range", __LINE__);
  ccRange loaded(r);
  ar || loaded.kind_ || loaded.start_ || loaded.end_;
  if (ar.isLoading()) {
    // Hold the invariant against a damaged archive: start <= end when
    // partial (NaN fails too); the bounds of the other kinds mean nothing.
    if (loaded.kind_ != ccRangeDefs::ePartial) {
      loaded.start_ = loaded.end_ = 0;
    } else if (!(loaded.start_ <= loaded.end_)) {
      throw ccArchive::BadContent("std/math/range", __LINE__);
    }
    r = loaded;
  }
  return ar;
}

// ccAngleRange -----------------------------------------------------------------

namespace {
constexpr double kTurn = 6.283185307179586;
}

ccAngleRange::ccAngleRange(ccRadian const& start, ccRadian const& end, bool allowEmptyLength)
    : kind_(ccRangeDefs::ePartial), start_(start), end_(end) {
  if (!allowEmptyLength && start >= end) throw ccRangeDefs::BadParams("start >= end");
  if (allowEmptyLength && start > end) throw ccRangeDefs::BadParams("start > end");
  if ((end - start).plain() >= kTurn) {
    // Like every full range, it keeps no bounds.
    kind_ = ccRangeDefs::eFull;
    start_ = end_ = ccRadian(0);
  }
}

ccAngleRange ccAngleRange::FullAngleRange() {
  static ccAngleRange const full(ccRangeDefs::eFull);
  return full;
}

ccAngleRange ccAngleRange::EmptyAngleRange() {
  static ccAngleRange const empty(ccRangeDefs::eEmpty);
  return empty;
}

void ccAngleRange::checkPartialRange() const { requirePartial(kind_); }

ccRadian ccAngleRange::start() const {
  checkPartialRange();
  return start_;
}

ccRadian ccAngleRange::end() const {
  checkPartialRange();
  return end_;
}

ccRadian ccAngleRange::middle() const {
  checkPartialRange();
  return start_ + (end_ - start_) * 0.5;
}

ccRadian ccAngleRange::length() const {
  switch (kind_) {
    case ccRangeDefs::ePartial: return end_ - start_;
    case ccRangeDefs::eEmpty: return ccRadian(0);
    case ccRangeDefs::eFull: return ccRadian(kTurn);
  }
  cmUnknownKind();
}

bool ccAngleRange::isWithin(ccRadian const& x) const {
  switch (kind_) {
    case ccRangeDefs::ePartial: return (x - start_).norm() <= end_ - start_;
    case ccRangeDefs::eEmpty: return false;
    case ccRangeDefs::eFull: return true;
  }
  cmUnknownKind();
}

ccAngleRange ccAngleRange::dilate(ccAngleRange const& other) const {
  switch (kind_) {
    case ccRangeDefs::ePartial:
      if ((length() + other.length()).plain() >= kTurn) return FullAngleRange();
      return ccAngleRange(start_ + other.start_, end_ + other.end_, false);
    case ccRangeDefs::eEmpty:
    case ccRangeDefs::eFull: return *this;
  }
  cmUnknownKind();
}

bool ccAngleRange::operator==(ccAngleRange const& other) const {
  if (kind_ != other.kind_) return false;
  if (kind_ != ccRangeDefs::ePartial) return true;
  return length() == other.length() && start_.norm() == other.start_.norm() && end_.norm() == other.end_.norm();
}

ccArchive& operator||(ccArchive& ar, ccAngleRange& r) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/range", __LINE__);
  ccRangeDefs::Range kind = r.kind_;
  double start = r.start_.plain();
  double end = r.end_.plain();
  ar || kind || start || end;
  if (ar.isLoading()) {
    ccAngleRange loaded(kind);
    if (kind == ccRangeDefs::ePartial) {
      // A partial range is less than a turn long and never backwards (NaN
      // fails too); a damaged archive gets no further.
      if (!(start <= end && end - start < kTurn)) throw ccArchive::BadContent("std/math/range", __LINE__);
      loaded.start_ = ccRadian(start);
      loaded.end_ = ccRadian(end);
    }
    r = loaded;
  }
  return ar;
}
