// ccStatistics: running statistics of a sample (count, sums, extremes).
//
// A plain value: samples are added one by one or in blocks, two sets of
// statistics combine with +, and the getters that need a sample raise
// NoSamples on an empty one. min() and max() read the raw extremes without a
// check (the start values +-1.7976931348623157e308 when empty).
//
//   ccStatistics s({1.0, 2.0, 4.0});
//   s += 5.0;
//   double m = s.mean();      // 3
//   double v = s.variance();  // 10/3, over n - 1
#ifndef ORVSTD_MATH_STATISTICS_H_
#define ORVSTD_MATH_STATISTICS_H_

#include <vector>

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

class ccArchive;

class ccStatistics {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NoSamples, Errors, 0x10000f40);

  ccStatistics() { reset(); }
  explicit ccStatistics(std::vector<double> const& samples);

  void reset();
  void clear() { reset(); }

  void add(double x);
  void add(std::vector<double> const& samples);
  void add(double const* samples, c_Int32 count);
  ccStatistics& operator+=(double x) {
    add(x);
    return *this;
  }
  ccStatistics& operator+=(ccStatistics const& other);

  c_Int32 n() const { return n_; }
  double min() const { return min_; }
  double max() const { return max_; }

  double mean() const;
  double statMin() const;
  double statMax() const;
  double sum() const;
  double rms() const;
  // Over n - 1; 0 for one sample; never negative.
  double variance() const;
  double stdDev() const;

  // Raises ccInvariantFailure on a state no sequence of adds can reach.
  void repInvariant() const;

  bool operator==(ccStatistics const& other) const;
  bool operator!=(ccStatistics const& other) const { return !(*this == other); }

 private:
  friend ccArchive& operator||(ccArchive& ar, ccStatistics& s);
  void needSamples() const;

  c_Int32 n_;
  double sum_;
  double sumSq_;
  double min_;
  double max_;
};

ccStatistics operator+(ccStatistics const& a, ccStatistics const& b);

// Version byte 0, n, sum, a reserved double (0; dropped on loading), sum of
// squares, min, max.
ccArchive& operator||(ccArchive& ar, ccStatistics& s);

#endif  // ORVSTD_MATH_STATISTICS_H_
