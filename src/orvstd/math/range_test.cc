#include "orvstd/math/range.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "orvstd/archive/testing/value_bytes.h"

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
  Bytes const expected{0x00,                                   // version
                       0x00, 0x00, 0x00, 0x00,                 // kind partial
                       0, 0, 0, 0, 0, 0, 0xF8, 0x3F,           // 1.5
                       0, 0, 0, 0, 0, 0, 0x00, 0x40};          // 2.0
  EXPECT_EQ(cfTestValueBytes(ccArchive::eLsbFirst, ccRange(1.5, 2.0)), expected);
  Bytes const full{0x00, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(cfTestValueBytes(ccArchive::eLsbFirst, kFull), full);
  EXPECT_EQ(cfTestLoadValue<ccRange>(ccArchive::eLsbFirst, expected), ccRange(1.5, 2.0));
}

TEST(RangeArchive, RoundTripsInEveryArchiveKind) {
  for (auto order : {ccArchive::eLsbFirst, ccArchive::eMsbFirst})
    for (bool seekable : {false, true})
      for (ccRange const& r : {ccRange(-2.5, 1e10), kEmpty, kFull, ccRange(3, 3)}) {
        ccRange const back = cfTestRoundTrip(r, order, seekable, ccRange(7, 8));
        EXPECT_EQ(back, r);
        EXPECT_EQ(back.kind(), r.kind());
      }
}

TEST(RangeArchive, DamagedBytes) {
  Bytes const good = cfTestValueBytes(ccArchive::eMsbFirst, ccRange(1.5, 2.0));
  Bytes b = good;
  b[0] = 1;
  try {
    cfTestLoadValue<ccRange>(ccArchive::eMsbFirst, b);
    ADD_FAILURE() << "version 1 loaded";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/range");
  }
  b = good;
  b[4] = 3;  // no such kind
  EXPECT_THROW(cfTestLoadValue<ccRange>(ccArchive::eMsbFirst, b), ccArchive::BadContent);
  b = good;
  b[5] = 0x40;  // start 2.25 > end 2
  b[6] = 0x02;
  EXPECT_THROW(cfTestLoadValue<ccRange>(ccArchive::eMsbFirst, b), ccArchive::BadContent);
  // The numbers of a full range mean nothing; they load as 0.
  b = good;
  b[4] = 2;
  EXPECT_EQ(cfTestLoadValue<ccRange>(ccArchive::eMsbFirst, b), kFull);
}

}  // namespace
