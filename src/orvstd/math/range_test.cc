#include "orvstd/math/range.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "orvstd/archive/testing/value_archive.h"

namespace {

constexpr double kBig = 1.7976931348623157e308;

ccRange const kEmpty = ccRange::EmptyRange();
ccRange const kFull = ccRange::FullRange();

template <class F>
std::string badParamsText(F f) {
  try {
    f();
  } catch (ccRangeDefs::BadParams const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10000f20);
    return e.message(false);
  }
  return "no exception";
}

TEST(Range, ConstructionAndKinds) {
  EXPECT_EQ(ccRange(), kEmpty);
  EXPECT_EQ(ccRange().kind(), ccRangeDefs::eEmpty);
  EXPECT_EQ(kFull.kind(), ccRangeDefs::eFull);
  EXPECT_EQ(badParamsText([] { ccRange(2, 1); }), "start > end");
  ccRange const point(1, 1);
  EXPECT_EQ(point.kind(), ccRangeDefs::ePartial);
  EXPECT_EQ(point.length(), 0.0);
  EXPECT_TRUE(point.isWithin(1));
  EXPECT_EQ(static_cast<int>(ccRangeDefs::ePartial), 0);
  EXPECT_EQ(static_cast<int>(ccRangeDefs::eEmpty), 1);
  EXPECT_EQ(static_cast<int>(ccRangeDefs::eFull), 2);
}

TEST(Range, BoundsOfEmptyAndFullRaiseNotPartialRange) {
  for (ccRange const& r : {kEmpty, kFull}) {
    EXPECT_THROW(r.start(), ccRangeDefs::NotPartialRange);
    EXPECT_THROW(r.end(), ccRangeDefs::NotPartialRange);
    EXPECT_THROW(r.middle(), ccRangeDefs::NotPartialRange);
  }
  try {
    kFull.start();
  } catch (ccRangeDefs::NotPartialRange const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10000f21);
    EXPECT_EQ(e.message(false), "no further information provided");  // built with no text
  }
}

TEST(Range, UnaryTable) {
  ccRange const r(-1, 3);
  EXPECT_EQ(r.start(), -1.0);
  EXPECT_EQ(r.end(), 3.0);
  EXPECT_EQ(r.middle(), 1.0);
  EXPECT_EQ(r.length(), 4.0);
  EXPECT_EQ(kEmpty.length(), 0.0);
  EXPECT_EQ(kFull.length(), kBig);
  // isWithin: both ends are inside.
  EXPECT_TRUE(r.isWithin(-1));
  EXPECT_TRUE(r.isWithin(3));
  EXPECT_FALSE(r.isWithin(std::nextafter(3.0, 4.0)));
  EXPECT_FALSE(r.isWithin(std::nextafter(-1.0, -2.0)));
  EXPECT_FALSE(kEmpty.isWithin(0));
  EXPECT_TRUE(kFull.isWithin(-kBig));
  EXPECT_EQ(r.translate(0.5), ccRange(-0.5, 3.5));
  EXPECT_EQ(kEmpty.translate(1), kEmpty);
  EXPECT_EQ(kFull.translate(1), kFull);
  EXPECT_EQ(r.scale(2), ccRange(-2, 6));
  EXPECT_EQ(kEmpty.scale(2), kEmpty);
  EXPECT_EQ(kFull.scale(2), kFull);
}

TEST(Range, ScaleRefusesNonPositiveFactorsOnEveryKind) {
  for (ccRange const& r : {ccRange(0, 1), kEmpty, kFull})
    for (double f : {0.0, -1.0, std::nan("")}) EXPECT_EQ(badParamsText([&] { r.scale(f); }), "scale <= 0");
}

struct BinaryCase {
  char const* name;
  ccRange self, other;
  ccRange intersect, dilate, erode;
};

TEST(Range, BinaryTable) {
  ccRange const p(0, 4), q(1, 2);
  BinaryCase const cases[] = {
      {"partial, partial", p, q, ccRange(1, 2), ccRange(1, 6), ccRange(-1, 2)},
      {"partial, partial, eroded away", q, p, ccRange(1, 2), ccRange(1, 6), kEmpty},
      {"partial, disjoint", ccRange(0, 1), ccRange(2, 3), kEmpty, ccRange(2, 4), ccRange(-2, -2)},
      {"partial, empty", p, kEmpty, kEmpty, p, p},
      {"partial, full", p, kFull, p, kFull, kEmpty},
      {"empty, partial", kEmpty, p, kEmpty, p, kEmpty},
      {"empty, empty", kEmpty, kEmpty, kEmpty, kEmpty, kEmpty},
      {"empty, full", kEmpty, kFull, kEmpty, kFull, kEmpty},
      {"full, partial", kFull, p, p, kFull, kFull},
      {"full, empty", kFull, kEmpty, kEmpty, kFull, kFull},
      {"full, full", kFull, kFull, kFull, kFull, kFull},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.self.intersect(c.other), c.intersect);
    EXPECT_EQ(c.self.dilate(c.other), c.dilate);
    EXPECT_EQ(c.self.erode(c.other), c.erode);
  }
}

TEST(Range, TouchingRangesIntersectInAPoint) {
  ccRange const a(0, 1), b(1, 2);
  EXPECT_EQ(a.intersect(b), ccRange(1, 1));
  EXPECT_FALSE(a.someOverlap(b, 0));
  EXPECT_TRUE(a.someOverlap(ccRange(0.5, 2), 0.49));
  EXPECT_FALSE(a.someOverlap(ccRange(0.5, 2), 0.5));  // strictly longer
  EXPECT_TRUE(kFull.someOverlap(kFull, 1e308));
  EXPECT_FALSE(kEmpty.someOverlap(kFull, 0));
}

TEST(Range, Equality) {
  EXPECT_EQ(ccRange(0, 1), ccRange(0, 1));
  EXPECT_NE(ccRange(0, 1), ccRange(0, std::nextafter(1.0, 2.0)));
  EXPECT_NE(kEmpty, kFull);
  EXPECT_NE(ccRange(0, 0), kEmpty);  // kinds differ though both numbers are 0
  EXPECT_TRUE(kEmpty != kFull);
  EXPECT_FALSE(kFull != ccRange::FullRange());
}

TEST(RangeArchive, BytesLsbFirst) {
  ValueBytes const expected{0x00,                                   // version
                       0x00, 0x00, 0x00, 0x00,                 // kind partial
                       0, 0, 0, 0, 0, 0, 0xF8, 0x3F,           // 1.5
                       0, 0, 0, 0, 0, 0, 0x00, 0x40};          // 2.0
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, ccRange(1.5, 2.0)), expected);
  ValueBytes const full{0x00, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, kFull), full);
  EXPECT_EQ(loadValue<ccRange>(ccArchive::eLsbFirst, expected), ccRange(1.5, 2.0));
}

TEST(RangeArchive, RoundTripsInEveryArchiveKind) {
  for (ccRange const& r : {ccRange(-2.5, 1e10), kEmpty, kFull, ccRange(3, 3)}) {
    for (ccRange const& back : roundTrips(r)) {
      EXPECT_EQ(back, r);
      EXPECT_EQ(back.kind(), r.kind());
    }
    ccRange over(7, 8);
    loadValueInto(ccArchive::eMsbFirst, valueBytes(ccArchive::eMsbFirst, r), over);
    EXPECT_EQ(over, r);
  }
}

TEST(RangeArchive, DamagedBytes) {
  ValueBytes const good = valueBytes(ccArchive::eMsbFirst, ccRange(1.5, 2.0));
  ValueBytes b = good;
  b[0] = 1;
  try {
    loadValue<ccRange>(ccArchive::eMsbFirst, b);
    ADD_FAILURE() << "version 1 loaded";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/range");
  }
  b = good;
  b[4] = 3;  // no such kind
  EXPECT_THROW(loadValue<ccRange>(ccArchive::eMsbFirst, b), ccArchive::BadContent);
  b = good;
  b[5] = 0x40;  // start 2.25 > end 2
  b[6] = 0x02;
  EXPECT_THROW(loadValue<ccRange>(ccArchive::eMsbFirst, b), ccArchive::BadContent);
  // The numbers of a full range mean nothing; they load as 0.
  b = good;
  b[4] = 2;
  EXPECT_EQ(loadValue<ccRange>(ccArchive::eMsbFirst, b), kFull);
}

// ccAngleRange ----------------------------------------------------------------

constexpr double kTurn = 6.283185307179586;
ccAngleRange const kNoArc = ccAngleRange::EmptyAngleRange();
ccAngleRange const kCircle = ccAngleRange::FullAngleRange();

ccAngleRange arc(double s, double e, bool allowEmptyLength = false) {
  return ccAngleRange(ccRadian(s), ccRadian(e), allowEmptyLength);
}

TEST(AngleRange, ConstructorRules) {
  struct Case {
    double start, end;
    bool allowEmptyLength;
    char const* error;  // null: built
    ccRangeDefs::Range kind;
  } const cases[] = {
      {0, 1, false, nullptr, ccRangeDefs::ePartial},
      {1, 1, false, "start >= end", ccRangeDefs::ePartial},
      {1, 1, true, nullptr, ccRangeDefs::ePartial},  // zero length admitted
      {2, 1, false, "start >= end", ccRangeDefs::ePartial},
      {2, 1, true, "start > end", ccRangeDefs::ePartial},
      {0, kTurn, false, nullptr, ccRangeDefs::eFull},
      {0, std::nextafter(kTurn, 0.0), false, nullptr, ccRangeDefs::ePartial},
      {-10, 10, true, nullptr, ccRangeDefs::eFull},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(std::to_string(c.start) + " " + std::to_string(c.end) + " " + std::to_string(c.allowEmptyLength));
    if (c.error) {
      EXPECT_EQ(badParamsText([&] { arc(c.start, c.end, c.allowEmptyLength); }), c.error);
    } else {
      EXPECT_EQ(arc(c.start, c.end, c.allowEmptyLength).kind(), c.kind);
    }
  }
  EXPECT_EQ(ccAngleRange(), kNoArc);
  EXPECT_EQ(arc(0, kTurn), kCircle);
  EXPECT_EQ(arc(1, 1, true).length(), ccRadian(0));
}

TEST(AngleRange, GettersByKind) {
  ccAngleRange const a = arc(-1, 2);
  EXPECT_EQ(a.start(), ccRadian(-1));
  EXPECT_EQ(a.end(), ccRadian(2));
  EXPECT_EQ(a.middle(), ccRadian(-1 + 3 * 0.5));
  EXPECT_EQ(a.length(), ccRadian(3));
  EXPECT_EQ(kNoArc.length(), ccRadian(0));
  EXPECT_EQ(kCircle.length(), ccRadian(kTurn));
  for (ccAngleRange const& r : {kNoArc, kCircle}) {
    EXPECT_THROW(r.start(), ccRangeDefs::NotPartialRange);
    EXPECT_THROW(r.end(), ccRangeDefs::NotPartialRange);
    EXPECT_THROW(r.middle(), ccRangeDefs::NotPartialRange);
  }
}

TEST(AngleRange, IsWithinWorksOnTheCircle) {
  ccAngleRange const a = arc(-0.5, 0.5);
  for (double turns : {-3.0, -1.0, 0.0, 1.0, 7.0}) {
    SCOPED_TRACE(turns);
    EXPECT_TRUE(a.isWithin(ccRadian(0.25 + turns * kTurn)));
    EXPECT_FALSE(a.isWithin(ccRadian(1.0 + turns * kTurn)));
    EXPECT_FALSE(a.isWithin(ccRadian(-1.0 + turns * kTurn)));
  }
  EXPECT_TRUE(a.isWithin(ccRadian(-0.5)));  // both ends inside
  EXPECT_TRUE(a.isWithin(ccRadian(0.5)));
  EXPECT_FALSE(kNoArc.isWithin(ccRadian(0)));
  EXPECT_TRUE(kCircle.isWithin(ccRadian(123)));
  // A zero-length arc holds its one point.
  EXPECT_TRUE(arc(1, 1, true).isWithin(ccRadian(1 + kTurn * 2)));
}

TEST(AngleRange, Dilate) {
  ccAngleRange const a = arc(0, 1);
  EXPECT_EQ(a.dilate(arc(-0.5, 0.5)), arc(-0.5, 1.5));
  EXPECT_EQ(a.dilate(ccAngleRange()), a);  // an empty other adds 0 to both ends
  EXPECT_EQ(a.dilate(kCircle), kCircle);
  EXPECT_EQ(a.dilate(arc(0, kTurn - 1)), kCircle);                   // lengths make a turn
  EXPECT_EQ(a.dilate(arc(0, std::nextafter(kTurn - 1, 0.0))).kind(), ccRangeDefs::ePartial);
  EXPECT_EQ(kNoArc.dilate(a), kNoArc);
  EXPECT_EQ(kCircle.dilate(kNoArc), kCircle);
  // The result is built with false: two zero-length arcs cannot be dilated.
  EXPECT_EQ(badParamsText([] { arc(1, 1, true).dilate(arc(2, 2, true)); }), "start >= end");
}

TEST(AngleRange, EqualityComparesOnTheCircle) {
  EXPECT_EQ(arc(0, 1), arc(kTurn, kTurn + 1));
  EXPECT_EQ(arc(-1, 0.5), arc(-1 + 2 * kTurn, 0.5 + 2 * kTurn));
  EXPECT_NE(arc(0, 1), arc(0, 1.5));
  EXPECT_NE(arc(0, 1), kNoArc);
  EXPECT_NE(kNoArc, kCircle);
  EXPECT_EQ(kCircle, arc(-4, 4));
  EXPECT_FALSE(kNoArc != ccAngleRange());
}

TEST(AngleRangeArchive, BytesAndRoundTrips) {
  ValueBytes const expected{0x00,                           // version
                            0, 0, 0, 0,                     // partial
                            0x3F, 0xE0, 0, 0, 0, 0, 0, 0,   // 0.5
                            0x40, 0x00, 0, 0, 0, 0, 0, 0};  // 2.0
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, arc(0.5, 2)), expected);
  EXPECT_EQ(loadValue<ccAngleRange>(ccArchive::eMsbFirst, expected), arc(0.5, 2));
  for (ccAngleRange const& r : {arc(-3, 2), arc(1, 1, true), kNoArc, kCircle}) {
    for (ccAngleRange const& back : roundTrips(r)) {
      EXPECT_EQ(back, r);
      EXPECT_EQ(back.kind(), r.kind());
    }
  }
}

TEST(AngleRangeArchive, DamagedBytes) {
  ValueBytes const good = valueBytes(ccArchive::eLsbFirst, arc(0.5, 2));
  ValueBytes b = good;
  b[0] = 1;
  try {
    loadValue<ccAngleRange>(ccArchive::eLsbFirst, b);
    ADD_FAILURE() << "version 1 loaded";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/range");
  }
  b = good;
  b[1] = 9;
  EXPECT_THROW(loadValue<ccAngleRange>(ccArchive::eLsbFirst, b), ccArchive::BadContent);
  b = good;
  b[20] = 0x40;  // end 2.0 -> 8.0: longer than a turn
  b[19] = 0x20;
  EXPECT_THROW(loadValue<ccAngleRange>(ccArchive::eLsbFirst, b), ccArchive::BadContent);
}

}  // namespace
