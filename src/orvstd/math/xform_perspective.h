// cc2XformPerspective: the perspective transform (homography) of the plane,
// a 3x3 matrix H taking (x, y) to ((h0 x + h1 y + h2) / w, (h3 x + h4 y + h5) / w)
// with w = h6 x + h7 y + h8. The arithmetic is the kernel layer's; this class
// owns a kernel object and gives it the transform contract.
//
//   cc2XformPerspective fromSquare(p0, p1, p2, p3);   // unit square corners -> p0..p3
//   cc2XformPerspective fit(modelPoints, imagePoints); // at least four pairs
//   ccVector<2> q = fit.mapPoint(p);                   // Singular on the line w = 0
//   cc2XformBasePtrh back = fit.inverseBase();
//
// The four-point form takes the corners (0,0), (1,0), (1,1), (0,1), in that
// order, to the four points given.
#ifndef ORVSTD_MATH_XFORM_PERSPECTIVE_H_
#define ORVSTD_MATH_XFORM_PERSPECTIVE_H_

#include <vector>

#include "orvstd/math/matrix.h"
#include "orvstd/math/xform_base.h"

// The kernel layer's perspective object (internal).
struct kmath_xformPerspective;

class cc2XformPerspective : public cc2XformBase {
 public:
  // The identity.
  cc2XformPerspective();
  // The nine values as they stand; a value that is not finite is refused.
  explicit cc2XformPerspective(ccMatrix<3> const& h);
  // The unit square's corners to p0..p3; ccMathError::Singular when three of
  // the points are collinear or two coincide.
  cc2XformPerspective(ccVector<2> const& p0, ccVector<2> const& p1, ccVector<2> const& p2, ccVector<2> const& p3);
  // The least-squares transform taking fromPoints[i] to toPoints[i].
  // cc2XformPerspectiveDefs::BadParams with fewer than four points or lists
  // of unequal length; ccMathError::Singular when the points do not fix one
  // regular transform.
  cc2XformPerspective(std::vector<ccVector<2>> const& fromPoints, std::vector<ccVector<2>> const& toPoints);
  explicit cc2XformPerspective(kmath_xformPerspective const& k);
  cc2XformPerspective(cc2XformPerspective const& other);
  cc2XformPerspective& operator=(cc2XformPerspective const& other);
  ~cc2XformPerspective() override;

  ccMatrix<3> matrix() const;
  bool isSingular() const;
  // The nine values, each within 1e-15.
  bool operator==(cc2XformPerspective const& other) const;
  bool operator!=(cc2XformPerspective const& other) const { return !(*this == other); }
  operator kmath_xformPerspective const*() const { return k_; }  // NOLINT

  // ccMathError::Singular for a point that maps to infinity.
  ccVector<2> mapPoint(ccVector<2> const& p) const override;
  bool isLinear() const override;
  cc2XformLinear linearXform(ccVector<2> const& at) const override;
  cc2XformBasePtrh inverseBase() const override;
  cc2XformBasePtrh clone() const override;

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version) override;

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;

  kmath_xformPerspective* k_;
};

#endif  // ORVSTD_MATH_XFORM_PERSPECTIVE_H_
