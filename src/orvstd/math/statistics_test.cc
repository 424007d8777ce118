#include "orvstd/math/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "orvstd/archive/testing/value_archive.h"

namespace {

constexpr double kBig = 1.7976931348623157e308;

TEST(Statistics, StartStateAndRawExtremes) {
  ccStatistics s;
  EXPECT_EQ(s.n(), 0);
  EXPECT_EQ(s.min(), kBig);
  EXPECT_EQ(s.max(), -kBig);
  EXPECT_NO_THROW(s.repInvariant());
}

TEST(Statistics, EveryCheckedGetterRaisesNoSamplesWhenEmpty) {
  ccStatistics const s;
  std::vector<std::function<double()>> getters{
      [&] { return s.mean(); }, [&] { return s.statMin(); }, [&] { return s.statMax(); },
      [&] { return s.sum(); },  [&] { return s.rms(); },     [&] { return s.variance(); },
      [&] { return s.stdDev(); }};
  for (auto const& get : getters) EXPECT_THROW(get(), ccStatistics::NoSamples);
  try {
    s.mean();
  } catch (ccStatistics::NoSamples const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10000f40);
  }
}

TEST(Statistics, MomentsOfASmallSample) {
  ccStatistics s({2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0});
  EXPECT_EQ(s.n(), 8);
  EXPECT_DOUBLE_EQ(s.sum(), 40.0);
  EXPECT_DOUBLE_EQ(s.mean(), 5.0);
  EXPECT_DOUBLE_EQ(s.variance(), 32.0 / 7.0);  // over n - 1
  EXPECT_DOUBLE_EQ(s.stdDev(), std::sqrt(32.0 / 7.0));
  EXPECT_DOUBLE_EQ(s.rms(), std::sqrt(232.0 / 8.0));
  EXPECT_EQ(s.statMin(), 2.0);
  EXPECT_EQ(s.statMax(), 9.0);
}

TEST(Statistics, OneSampleHasNoSpread) {
  ccStatistics s;
  s += -3.5;
  EXPECT_EQ(s.variance(), 0.0);
  EXPECT_EQ(s.stdDev(), 0.0);
  EXPECT_EQ(s.min(), -3.5);
  EXPECT_EQ(s.max(), -3.5);
}

TEST(Statistics, VarianceRoundingBelowZeroIsClamped) {
  // Three samples of 0.1: the sums as add() accumulates them make
  // sumSq - sum*mean about -3.5e-18.
  ccStatistics s;
  double sum = 0, sumSq = 0;
  for (int i = 0; i < 3; ++i) {
    s.add(0.1);
    sum += 0.1;
    sumSq += 0.1 * 0.1;
  }
  ASSERT_LT(sumSq - sum * (sum / 3), 0.0);  // the point of the case
  EXPECT_EQ(s.variance(), 0.0);
  EXPECT_EQ(s.stdDev(), 0.0);
}

TEST(Statistics, AddFormsAgree) {
  std::vector<double> const v{1.0, -2.0, 8.0};
  ccStatistics a(v), b, c, d;
  b.add(v);
  c.add(v.data(), 3);
  for (double x : v) d += x;
  EXPECT_EQ(a, b);
  EXPECT_EQ(a, c);
  EXPECT_EQ(a, d);
  d.clear();
  EXPECT_EQ(d, ccStatistics());
}

TEST(Statistics, CombiningTwoSets) {
  ccStatistics a({1.0, 5.0}), b({-2.0, 3.0, 4.0});
  ccStatistics sum = a + b;
  EXPECT_EQ(sum, ccStatistics({1.0, 5.0, -2.0, 3.0, 4.0}));
  ccStatistics empty;
  EXPECT_EQ(a + empty, a);  // the start extremes lose to any sample
  EXPECT_EQ(empty + a, a);
}

TEST(Statistics, EqualityIsExactOnEveryField) {
  ccStatistics a({1.0, 2.0});
  EXPECT_NE(a, ccStatistics({1.0, 2.0 + 1e-15}));
  EXPECT_NE(a, ccStatistics({2.0, 1.0, 0.0}));
  EXPECT_EQ(a, ccStatistics({2.0, 1.0}));
}

// Builds a state no sequence of adds reaches, through an archive.
ccStatistics loadRaw(c_Int32 n, double sumSq, double min, double max) {
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  unsigned char version = 0;
  double zero = 0;
  out || version || n || zero || zero || sumSq || min || max;
  ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), false, false);
  ccStatistics s;
  in || s;
  return s;
}

TEST(Statistics, RepInvariant) {
  EXPECT_NO_THROW(loadRaw(0, 0, kBig, -kBig).repInvariant());
  EXPECT_NO_THROW(loadRaw(1, 1, 1, 1).repInvariant());
  EXPECT_THROW(loadRaw(1, -1, 1, 1).repInvariant(), ccInvariantFailure);
  EXPECT_THROW(loadRaw(2, 1, 2, 1).repInvariant(), ccInvariantFailure);
  // Only the exact start pair skips the order test.
  EXPECT_THROW(loadRaw(0, 0, kBig, -1e308).repInvariant(), ccInvariantFailure);
}

TEST(StatisticsArchive, BytesOfTwoSamplesMsbFirst) {
  ccStatistics const s({1.0, 2.0});
  ValueBytes const expected{0x00,                                            // version
                       0x00, 0x00, 0x00, 0x02,                          // n
                       0x40, 0x08, 0, 0, 0, 0, 0, 0,                    // sum 3
                       0, 0, 0, 0, 0, 0, 0, 0,                          // reserved
                       0x40, 0x14, 0, 0, 0, 0, 0, 0,                    // sumSq 5
                       0x3F, 0xF0, 0, 0, 0, 0, 0, 0,                    // min 1
                       0x40, 0x00, 0, 0, 0, 0, 0, 0};                   // max 2
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, s), expected);
  EXPECT_EQ(loadValue<ccStatistics>(ccArchive::eMsbFirst, expected), s);
}

TEST(StatisticsArchive, ReservedDoubleIsIgnored) {
  ValueBytes b = valueBytes(ccArchive::eLsbFirst, ccStatistics({4.0}));
  for (int i = 13; i < 21; ++i) b[i] = 0x7F;
  EXPECT_EQ(loadValue<ccStatistics>(ccArchive::eLsbFirst, b), ccStatistics({4.0}));
}

TEST(StatisticsArchive, RoundTripsInEveryArchiveKind) {
  ccStatistics const s({0.5, -7.25, 1e300});
  for (ccStatistics const& back : roundTrips(s)) EXPECT_EQ(back, s);
  for (ccStatistics const& back : roundTrips(ccStatistics())) EXPECT_EQ(back, ccStatistics());
  ccStatistics over = s;
  loadValueInto(ccArchive::eLsbFirst, valueBytes(ccArchive::eLsbFirst, ccStatistics()), over);
  EXPECT_EQ(over, ccStatistics());
}

TEST(StatisticsArchive, BadVersionAndNegativeCount) {
  ValueBytes b = valueBytes(ccArchive::eLsbFirst, ccStatistics({1.0}));
  b[0] = 1;
  try {
    loadValue<ccStatistics>(ccArchive::eLsbFirst, b);
    ADD_FAILURE() << "version 1 loaded";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/stats");
  }
  b[0] = 0;
  b[4] = 0x80;  // n = INT32_MIN + 1
  EXPECT_THROW(loadValue<ccStatistics>(ccArchive::eLsbFirst, b), ccArchive::BadContent);
  b.resize(20);
  EXPECT_THROW(loadValue<ccStatistics>(ccArchive::eLsbFirst, b), ccArchive::Eof);
}

TEST(StatisticsArchive, FailedLoadLeavesTheTargetAlone) {
  ValueBytes b = valueBytes(ccArchive::eLsbFirst, ccStatistics({1.0}));
  b.resize(30);
  ccStatistics target({9.0, 8.0});
  EXPECT_THROW(loadValueInto(ccArchive::eLsbFirst, b, target), ccArchive::Eof);
  EXPECT_EQ(target, ccStatistics({9.0, 8.0}));
}

}  // namespace
