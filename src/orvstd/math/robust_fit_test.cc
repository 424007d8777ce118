#include "orvstd/math/robust_fit_defs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "orvstd/archive/testing/value_archive.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/math/random_sample.h"
#include "orvstd/util/cmemory.h"

namespace {

using Technique = ccRobustFitDefs::RobustFitTechnique;

TEST(RobustFitErrors, NumbersAndFamilies) {
  EXPECT_EQ(ccRobustFitDefs::BadParams("x").errorNumber(), 0x10000f41);
  EXPECT_EQ(ccAdaptiveRANSACDefs::BadParams("x").errorNumber(), 0x10000f43);
  EXPECT_EQ(ccAdaptiveRANSACDefs::InsufficientDataPoints("x").errorNumber(), 0x10000f43);
  EXPECT_EQ(ccAdaptiveRANSACDefs::FailedToFitModel("x").errorNumber(), 0x10000f44);
  // The shared number: only the class tells the two apart.
  try {
    throw ccAdaptiveRANSACDefs::InsufficientDataPoints("too few");
  } catch (ccAdaptiveRANSACDefs::BadParams const&) {
    ADD_FAILURE() << "caught as BadParams";
  } catch (ccAdaptiveRANSACDefs::Errors const& e) {
    EXPECT_EQ(e.message(), "ccAdaptiveRANSACDefs::InsufficientDataPoints: too few");
  }
}

TEST(RobustFitParams, Defaults) {
  ccRobustFitParams const p;
  EXPECT_EQ(p.worstCaseProportionOutliers(), 0.0);
  EXPECT_EQ(p.assurance(), 1.0);
  EXPECT_EQ(p.distanceThreshold(), 1.0);
  EXPECT_EQ(p.robustFitTechnique(), Technique{0});
}

struct SetterCase {
  char const* name;
  void (ccRobustFitParams::*set)(double);
  double (ccRobustFitParams::*get)() const;
  std::vector<double> accepted, refused;
  char const* message;
};

TEST(RobustFitParams, SetterBoundaries) {
  double const nan = std::nan("");
  SetterCase const cases[] = {
      {"outliers", &ccRobustFitParams::worstCaseProportionOutliers, &ccRobustFitParams::worstCaseProportionOutliers,
       {0.0, 0.5, std::nextafter(1.0, 0.0)}, {-1e-300, 1.0, nan},
       "worstCaseProportionOutliers < 0. || worstCaseProportionOutliers >= 1."},
      {"assurance", &ccRobustFitParams::assurance, &ccRobustFitParams::assurance,
       {1e-300, 0.99, 1.0}, {0.0, -1.0, std::nextafter(1.0, 2.0), nan}, "assurance <= 0. || assurance > 1."},
      {"threshold", &ccRobustFitParams::distanceThreshold, &ccRobustFitParams::distanceThreshold,
       {0.0, 1e300}, {-1e-300, nan}, "distanceThreshold < 0."},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.name);
    ccRobustFitParams p;
    for (double x : c.accepted) {
      (p.*c.set)(x);
      EXPECT_EQ((p.*c.get)(), x);
    }
    double const kept = (p.*c.get)();
    for (double x : c.refused) {
      try {
        (p.*c.set)(x);
        ADD_FAILURE() << x << " accepted";
      } catch (ccRobustFitDefs::BadParams const& e) {
        EXPECT_EQ(e.message(false), c.message);
      }
      EXPECT_EQ((p.*c.get)(), kept);
    }
  }
  ccRobustFitParams p;
  p.robustFitTechnique(Technique{0xFFFFFFFFu});
  EXPECT_EQ(p.robustFitTechnique(), Technique{0xFFFFFFFFu});
}

TEST(RobustFitParams, EqualityComparesAllFour) {
  ccRobustFitParams a, b;
  EXPECT_EQ(a, b);
  b.robustFitTechnique(Technique{1});
  EXPECT_NE(a, b);
  b = a;
  b.distanceThreshold(2);
  EXPECT_NE(a, b);
}

ccRobustFitParams sample() {
  ccRobustFitParams p;
  p.worstCaseProportionOutliers(0.25);
  p.assurance(0.5);
  p.distanceThreshold(2.0);
  p.robustFitTechnique(Technique{3});
  return p;
}

TEST(RobustFitParamsArchive, StoresVersionOneBytes) {
  ValueBytes const msb{0x01,                          // version
                  0x3F, 0xD0, 0, 0, 0, 0, 0, 0,  // 0.25
                  0x3F, 0xE0, 0, 0, 0, 0, 0, 0,  // 0.5
                  0x40, 0x00, 0, 0, 0, 0, 0, 0,  // 2.0
                  0, 0, 0, 3};                   // technique
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, sample()), msb);
  EXPECT_EQ(loadValue<ccRobustFitParams>(ccArchive::eMsbFirst, msb), sample());
}

TEST(RobustFitParamsArchive, RoundTripsInEveryArchiveKind) {
  for (ccRobustFitParams const& back : roundTrips(sample())) EXPECT_EQ(back, sample());
}

TEST(RobustFitParamsArchive, VersionZeroIsReadAndDropped) {
  // An unsigned long and a double, then a marker that must be next.
  ValueBytes const old{0x00, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0x2A};
  ValueBytes all{0x02, 0x01};
  all.insert(all.end(), old.begin(), old.end());
  ccMemoryArchive in(reinterpret_cast<char const*>(all.data()), static_cast<c_Int32>(all.size()), false, false);
  ccRobustFitParams p = sample();
  unsigned char marker = 0;
  in || p || marker;
  EXPECT_EQ(p, sample());
  EXPECT_EQ(marker, 0x2A);
}

TEST(RobustFitParamsArchive, DamagedBytes) {
  ValueBytes b = valueBytes(ccArchive::eLsbFirst, sample());
  b[0] = 2;
  try {
    loadValue<ccRobustFitParams>(ccArchive::eLsbFirst, b);
    ADD_FAILURE() << "version 2 loaded";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/math/robstfit");
  }
  // A refused value from the file raises the setter's error and changes
  // nothing.
  b[0] = 1;
  b[16] = 0x40;  // assurance 2.0: the top bytes of the second double
  b[15] = 0x00;
  ccRobustFitParams target;
  EXPECT_THROW(loadValueInto(ccArchive::eLsbFirst, b, target), ccRobustFitDefs::BadParams);
  EXPECT_EQ(target, ccRobustFitParams());
}

// The harness -----------------------------------------------------------------

TEST(RandomSampleStats, ResetAddAndMoments) {
  csStats s;
  csStatsReset(&s);
  EXPECT_EQ(csStatsN(&s), 0);
  EXPECT_EQ(csStatsMean(&s), 0.0);
  EXPECT_EQ(csStatsVariance(&s), 0.0);
  EXPECT_EQ(s.min, 1.7976931348623157e308);
  EXPECT_EQ(s.max, -1.7976931348623157e308);
  csStatsAdd(&s, 3);
  EXPECT_EQ(csStatsVariance(&s), 0.0);  // one sample
  EXPECT_EQ(csStatsStdDev(&s), 0.0);
  for (double x : {5.0, 7.0, 1.0}) csStatsAdd(&s, x);
  EXPECT_EQ(csStatsN(&s), 4);
  EXPECT_EQ(s.last, 1.0);
  EXPECT_EQ(csStatsSum(&s), 16.0);
  EXPECT_EQ(csStatsMean(&s), 4.0);
  EXPECT_DOUBLE_EQ(csStatsVariance(&s), 20.0 / 3.0);
  EXPECT_DOUBLE_EQ(csStatsStdDev(&s), std::sqrt(20.0 / 3.0));
  EXPECT_EQ(csStatsMin(&s), 1.0);
  EXPECT_EQ(csStatsMax(&s), 7.0);
  EXPECT_EQ(s.outliers, 0);
}

TEST(RandomSampleStatsDeathTest, ExtremesAndSumOfNothingAreAssertions) {
  csStats s;
  csStatsReset(&s);
  EXPECT_DEATH(csStatsMin(&s), "random_sample");
  EXPECT_DEATH(csStatsMax(&s), "random_sample");
  EXPECT_DEATH(csStatsSum(&s), "random_sample");
}

TEST(RandomSample, DistributionsAndDraws) {
  csDistribution d;
  EXPECT_EQ(csUniformDistributionCT(&d, 2.0f, 3.0f), &d);
  EXPECT_EQ(d.type, 0);
  csDistribution* heap = csUniformDistributionCT(nullptr, -1.0f, 1.0f);
  ASSERT_NE(heap, nullptr);
  EXPECT_EQ(heap->low, -1.0f);
  EXPECT_EQ(heap->high, 1.0f);
  cfFree(heap);
  csRandomUniform a, b;
  csRandomUniformInit(&a, 3);
  csRandomUniformInit(&b, 3);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(randomSampleVar(&a, &d), static_cast<float>(csRandomUniformNext(&b, 2.0, 3.0)));
}

// Captures the debug sink for the life of the object.
class DiagCapture {
 public:
  DiagCapture() { old_ = ksys_debugSetSink(&DiagCapture::sink, &text_, &oldContext_); }
  ~DiagCapture() { ksys_debugSetSink(old_, oldContext_, nullptr); }
  std::string const& text() const { return text_; }

 private:
  static void sink(char const* data, std::size_t size, void* context) {
    static_cast<std::string*>(context)->append(data, size);
  }
  std::string text_;
  ksys_debugSinkFn old_ = nullptr;
  void* oldContext_ = nullptr;
};

TEST(RandomSample, UnknownDistributionTypePrintsAndGivesZero) {
  csDistribution d{5, 1.0f, 2.0f};
  csRandomUniform r;
  csRandomUniformInit(&r, 1);
  DiagCapture capture;
  EXPECT_EQ(randomSampleVar(&r, &d), 0.0f);
  EXPECT_EQ(capture.text(), "unimplemented csDistribution type 5\n");
  EXPECT_EQ(r.count, 0);
}

void* sumAndProduct(void* in, void* out) {
  float const* x = static_cast<float const*>(in);
  float* y = static_cast<float*>(out);
  y[0] = x[0] + x[1];
  y[1] = x[0] * x[1];
  return out;
}

TEST(RandomSample, GathersStatisticsOfEachOutputFromTheSeededDraws) {
  csDistribution in[2];
  csUniformDistributionCT(&in[0], 0.0f, 1.0f);
  csUniformDistributionCT(&in[1], 10.0f, 20.0f);
  float const nominal[2] = {15.5f, 7.5f};
  float const threshold[2] = {1e9f, 1e9f};
  csStats stats[2];
  float result[2];
  EXPECT_EQ(randomSample(sumAndProduct, 99, 500, 2, in, 2, 1, nominal, threshold, stats, result), result);

  // The same draws by hand.
  csRandomUniform r;
  csRandomUniformInit(&r, 99);
  csStats sum, product;
  csStatsReset(&sum);
  csStatsReset(&product);
  for (int i = 0; i < 500; ++i) {
    float const a = randomSampleVar(&r, &in[0]);
    float const b = randomSampleVar(&r, &in[1]);
    csStatsAdd(&sum, a + b);
    csStatsAdd(&product, a * b);
  }
  for (auto [got, want] : {std::pair{&stats[0], &sum}, std::pair{&stats[1], &product}}) {
    EXPECT_EQ(got->n, 500);
    EXPECT_EQ(got->last, want->last);
    EXPECT_EQ(got->sum, want->sum);
    EXPECT_EQ(got->sumSq, want->sumSq);
    EXPECT_EQ(got->min, want->min);
    EXPECT_EQ(got->max, want->max);
    EXPECT_EQ(got->outliers, 0);
  }
  EXPECT_EQ(result[0], static_cast<float>(sum.last));
}

TEST(RandomSample, OutlierModes) {
  csDistribution in[2];
  csUniformDistributionCT(&in[0], 0.0f, 1.0f);
  csUniformDistributionCT(&in[1], 0.0f, 1.0f);
  // Sums above 1.5 or below 0.5 stray from 1 by more than 0.5.
  float const nominal[2] = {1.0f, 0.0f};
  float const threshold[2] = {0.5f, 1e9f};
  csStats stats[2];
  void* local = randomSample(sumAndProduct, 4, 1000, 2, in, 2, 1, nominal, threshold, stats, nullptr);
  ASSERT_NE(local, nullptr);

  csRandomUniform r;
  csRandomUniformInit(&r, 4);
  int expected = 0;
  for (int i = 0; i < 1000; ++i) {
    float const a = randomSampleVar(&r, &in[0]);
    float const b = randomSampleVar(&r, &in[1]);
    if (std::fabs(1.0f - (a + b)) > 0.5f) ++expected;
  }
  EXPECT_EQ(stats[0].outliers, expected);
  EXPECT_GT(expected, 150);  // a quarter of the square, roughly
  EXPECT_EQ(stats[1].outliers, 0);

  {
    DiagCapture capture;
    randomSample(sumAndProduct, 4, 1000, 2, in, 2, 0, nominal, threshold, stats, nullptr);
    std::string const& t = capture.text();
    std::size_t reports = 0;
    for (std::size_t at = t.find("Error!!! Config"); at != std::string::npos; at = t.find("Error!!! Config", at + 1))
      ++reports;
    EXPECT_EQ(reports, static_cast<std::size_t>(expected));
    EXPECT_EQ(stats[0].outliers, 0);  // printed, not counted
    // The first report in full.
    csRandomUniformInit(&r, 4);
    char line[200];
    for (;;) {
      float const a = randomSampleVar(&r, &in[0]);
      float const b = randomSampleVar(&r, &in[1]);
      if (std::fabs(1.0f - (a + b)) > 0.5f) {
        std::snprintf(line, sizeof line, "Error!!! Config%8.4f %8.4f result %7.3f nomResult %7.3f threshResult %7.3f\n",
                      double(a), double(b), double(a + b), 1.0, 0.5);
        break;
      }
    }
    EXPECT_EQ(t.substr(0, std::strlen(line)), line);
  }
  {
    DiagCapture capture;
    randomSample(sumAndProduct, 4, 1000, 2, in, 2, 7, nominal, threshold, stats, nullptr);
    EXPECT_EQ(capture.text().size(), std::strlen(" unknown outlierMode)") * expected);
    EXPECT_EQ(capture.text().substr(0, 21), " unknown outlierMode)");
  }
}

}  // namespace
