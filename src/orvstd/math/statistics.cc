#include "orvstd/math/statistics.h"

#include <cmath>
#include <limits>

#include "orvstd/archive/archive.h"

cmErrorFamilyDefine(ccStatistics::Errors)
cmErrorDefine(ccStatistics::NoSamples)

namespace {
constexpr double kBig = std::numeric_limits<double>::max();
}

ccStatistics::ccStatistics(std::vector<double> const& samples) {
  reset();
  add(samples);
}

void ccStatistics::reset() {
  n_ = 0;
  sum_ = 0;
  sumSq_ = 0;
  min_ = kBig;
  max_ = -kBig;
}

void ccStatistics::add(double x) {
  ++n_;
  sum_ += x;
  sumSq_ += x * x;
  if (x < min_) min_ = x;
  if (x > max_) max_ = x;
}

void ccStatistics::add(std::vector<double> const& samples) {
  for (double x : samples) add(x);
}

void ccStatistics::add(double const* samples, c_Int32 count) {
  for (c_Int32 i = 0; i < count; ++i) add(samples[i]);
}

ccStatistics& ccStatistics::operator+=(ccStatistics const& other) {
  n_ += other.n_;
  sum_ += other.sum_;
  sumSq_ += other.sumSq_;
  if (other.min_ < min_) min_ = other.min_;
  if (other.max_ > max_) max_ = other.max_;
  return *this;
}

ccStatistics operator+(ccStatistics const& a, ccStatistics const& b) {
  ccStatistics result(a);
  result += b;
  return result;
}

void ccStatistics::needSamples() const {
  if (n_ == 0) throw NoSamples();
}

double ccStatistics::mean() const {
  needSamples();
  return sum_ / n_;
}

double ccStatistics::statMin() const {
  needSamples();
  return min_;
}

double ccStatistics::statMax() const {
  needSamples();
  return max_;
}

double ccStatistics::sum() const {
  needSamples();
  return sum_;
}

double ccStatistics::rms() const {
  needSamples();
  return std::sqrt(sumSq_ / n_);
}

double ccStatistics::variance() const {
  needSamples();
  if (n_ == 1) return 0;
  double const v = (sumSq_ - sum_ * mean()) / (n_ - 1);
  return v < 0 ? 0 : v;  // rounding, when all samples are nearly equal
}

double ccStatistics::stdDev() const { return std::sqrt(variance()); }

void ccStatistics::repInvariant() const {
  if (n_ < 0 || sumSq_ < 0) throw ccInvariantFailure();
  bool const untouched = min_ == kBig && max_ == -kBig;
  if (!untouched && max_ < min_) throw ccInvariantFailure();
}

bool ccStatistics::operator==(ccStatistics const& other) const {
  return n_ == other.n_ && sum_ == other.sum_ && sumSq_ == other.sumSq_ && min_ == other.min_ &&
         max_ == other.max_;
}

ccArchive& operator||(ccArchive& ar, ccStatistics& s) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/stats", __LINE__);
  double reserved = 0;
  ccStatistics loaded(s);
  ar || loaded.n_ || loaded.sum_ || reserved || loaded.sumSq_ || loaded.min_ || loaded.max_;
  if (ar.isLoading()) {
    // A count below zero can only come from a damaged archive.
    if (loaded.n_ < 0) throw ccArchive::BadContent("std/math/stats", __LINE__);
    s = loaded;
  }
  return ar;
}
