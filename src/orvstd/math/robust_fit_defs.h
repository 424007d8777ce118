// The definitions of robust fitting: the parameters of the outlier-resistant
// fits and of adaptive RANSAC. Their errors carry a message.
//
// BadParams and InsufficientDataPoints of adaptive RANSAC share a number on
// purpose; tell them apart by type.
//
//   ccRobustFitParams p;
//   p.worstCaseProportionOutliers(0.3);
//   p.assurance(0.99);
//   p.distanceThreshold(2.5);
//   p.worstCaseProportionOutliers(1.0);  // throws ccRobustFitDefs::BadParams
#ifndef ORVSTD_MATH_ROBUST_FIT_DEFS_H_
#define ORVSTD_MATH_ROBUST_FIT_DEFS_H_

#include "orvstd/defs/types.h"
#include "orvstd/except/except.h"

class ccArchive;

class ccRobustFitDefs {
 public:
  // Stored as a number; the consuming fitters give the values their names.
  enum RobustFitTechnique : c_UInt32 {};

  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f41);
};

class ccAdaptiveRANSACDefs {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x10000f43);
  cmErrorClass(InsufficientDataPoints, Errors, 0x10000f43);
  cmErrorClass(FailedToFitModel, Errors, 0x10000f44);
};

class ccRobustFitParams {
 public:
  ccRobustFitParams() = default;

  double worstCaseProportionOutliers() const { return worstCaseProportionOutliers_; }
  double assurance() const { return assurance_; }
  double distanceThreshold() const { return distanceThreshold_; }
  ccRobustFitDefs::RobustFitTechnique robustFitTechnique() const { return robustFitTechnique_; }

  // Each setter refuses a value outside its range with BadParams and keeps
  // the old value: 0 <= outliers < 1, 0 < assurance <= 1, threshold >= 0.
  void worstCaseProportionOutliers(double x);
  void assurance(double x);
  void distanceThreshold(double x);
  void robustFitTechnique(ccRobustFitDefs::RobustFitTechnique t) { robustFitTechnique_ = t; }

  bool operator==(ccRobustFitParams const& other) const = default;

 private:
  friend ccArchive& operator||(ccArchive& ar, ccRobustFitParams& p);

  double worstCaseProportionOutliers_ = 0;
  double assurance_ = 1.0;
  double distanceThreshold_ = 1.0;
  ccRobustFitDefs::RobustFitTechnique robustFitTechnique_{};
};

// Stores version 1: three doubles and the technique as an unsigned long.
// Loading version 0 reads its two old fields and drops them, keeping the
// present values.
ccArchive& operator||(ccArchive& ar, ccRobustFitParams& p);

#endif  // ORVSTD_MATH_ROBUST_FIT_DEFS_H_
