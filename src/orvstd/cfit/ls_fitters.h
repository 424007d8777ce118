// The accumulating least-squares fitters: points are added one at a time
// and the best transform, line or circle is computed from the running sums.
// Each fitter has its own error family.
#ifndef ORVSTD_CFIT_LS_FITTERS_H_
#define ORVSTD_CFIT_LS_FITTERS_H_

#include <vector>

#include "orvstd/except/except.h"
#include "orvstd/math/vector.h"
#include "orvstd/math/xform.h"

// Fits the transform T that maps one point set onto another, T·b ≈ a for
// the pairs (a, b), from running sums: pairs are added one at a time and the
// fit costs the same however many there are.
//
//   ccLSPointToPointFitter f(imagePoints, modelPoints);   // a, b
//   ccXform<2> modelToImage = f.fit(6);                   // full affine
//   double residual = f.error(modelToImage);              // Σ|a − T·b|²
//
// Degrees of freedom: 3 rigid, 4 rotation and uniform scale, 6 affine. (5,
// scale with orthogonal columns, is not offered yet: it needs the quadratic
// solver of the run-time maths.)
class ccLSPointToPointFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003600);
  cmErrorClass(BadArgErr, Errors, 0x10003601);

  ccLSPointToPointFitter() = default;
  // BadArgErr when the lengths differ.
  ccLSPointToPointFitter(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b);

  void reset() { *this = ccLSPointToPointFitter(); }
  void update(ccVector<2> const& a, ccVector<2> const& b);
  c_Int32 numPoints() const { return n_; }

  // The least-squares map taking b to a. BadArgErr for a dof other than 3,
  // 4 or 6; UnstableErr when the sums do not fix the map. The sums stay as
  // they are either way.
  ccXform<2> fit(c_Int32 dof) const;
  // Σ|a − T·b|², expanded from the sums.
  double error(ccXform<2> const& t) const;

 private:
  // num/den, or UnstableErr unless |den| > 1e-15·|num|.
  static double safeDivide(double num, double den);
  // The translation of the rotation-and-scale fits for matrix (k, −m; m, k).
  ccVector<2> similarityTrans(double k, double m) const;

  c_Int32 n_ = 0;
  double ax_ = 0, ay_ = 0, axx_ = 0, ayy_ = 0, axy_ = 0;
  double bx_ = 0, by_ = 0, bxx_ = 0, byy_ = 0, bxy_ = 0;
  double axbx_ = 0, axby_ = 0, aybx_ = 0, ayby_ = 0;
};

// Fits a transform that maps points onto given lines.
class ccLSPointToLineFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003610);
  cmErrorClass(BadArgErr, Errors, 0x10003611);
};

class ccLSCircleFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003620);
};

class ccLSLineFitter {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnstableErr, Errors, 0x10003630);
};

#endif  // ORVSTD_CFIT_LS_FITTERS_H_
