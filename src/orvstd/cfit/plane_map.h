// Plane maps: fitted mappings of points to points that know whether they
// are valid. Unlike a cc2XformBase, a map may exist and be invalid: a fit
// that cannot be computed leaves an object that refuses every use with
// cc2DMap::notValid (only isValid, persistence and destruction still work).
//
//   cc2DPolynomialMap warp(modelPoints, imagePoints, 3);   // model -> image
//   if (warp.isValid()) {
//     ccVector<2> q;
//     warp.transform(p, q);
//   }
//   cc2DLinearMap affine(modelPoints, imagePoints);          // model -> image, or notValidFit
//   std::unique_ptr<cc2DMap> shifted(warp.postCompose(ccVector<2>(5, 0)));  // shift first
//
// A linear fit that fails throws; a polynomial fit that fails leaves an
// invalid map. The asymmetry is intended.
#ifndef ORVSTD_CFIT_PLANE_MAP_H_
#define ORVSTD_CFIT_PLANE_MAP_H_

#include <iosfwd>
#include <vector>

#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"
#include "orvstd/except/except.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/math/angle.h"
#include "orvstd/math/vector.h"
#include "orvstd/math/xform.h"

class cc2DLinearMap;

class cc2DMap : public virtual ccPersistent, public virtual ccRepBase {
 public:
  cmErrorFamily(Errors, ccException);
  // "Operation attempted using invalid map"
  class notValid : public Errors {
   public:
    notValid() = default;
    cmErrorMembers(notValid, Errors, 0x10005810);

   protected:
    void message_(std::ostream& os) const override;
  };

  // Tag of the constructors that skip the usual tests.
  enum ceFastAndInvalid { fastAndInvalid };

  ~cc2DMap() override;

  // notValid when the map is invalid.
  virtual void transform(ccVector<2> in, ccVector<2>& out) const = 0;
  // A new map, owned by the caller (null if memory ran out): m after this.
  virtual cc2DMap* preCompose(cc2DLinearMap const& m) const = 0;
  // A new map: the translation by v after this.
  virtual cc2DMap* preCompose(ccVector<2> v) const = 0;
  // A new map: m before this.
  virtual cc2DMap* postCompose(cc2DLinearMap const& m) const = 0;
  // A new map: the translation by v before this.
  virtual cc2DMap* postCompose(ccVector<2> v) const = 0;
  virtual int isValid() const { return 0; }
  virtual int isLinear() const { return 0; }

 protected:
  cc2DMap() = default;
  cc2DMap(cc2DMap const&) : ccPersistent(), ccRepBase() {}
  cc2DMap& operator=(cc2DMap const&) {
    mutating();
    return *this;
  }
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);

  // A coordinate is bad when it is NaN or equal to HUGE_VAL; minus infinity
  // passes, as it always has.
  static bool isBad(double v);
  static bool isBad(ccVector<2> const& v) { return isBad(v.x()) || isBad(v.y()); }
};

class cc2DLinearMap : public cc2DMap {
 public:
  cmErrorFamily(Errors, ccException);
  // "A fit could not be computed with the given data."
  class notValidFit : public Errors {
   public:
    notValidFit() = default;
    cmErrorMembers(notValidFit, Errors, 0x10005820);

   protected:
    void message_(std::ostream& os) const override;
  };

  // The identity, valid.
  cc2DLinearMap() = default;
  // Valid only if xformIsValid(x); an invalid transform gives an invalid
  // map, not an exception.
  explicit cc2DLinearMap(ccXform<2> const& x);
  // x with no test, marked valid (in spite of the tag's name).
  cc2DLinearMap(ccXform<2> const& x, ceFastAndInvalid);
  // Invalid.
  explicit cc2DLinearMap(ceFastAndInvalid) : valid_(false) {}
  // A copy of map, flag included, with the translation trans.
  cc2DLinearMap(cc2DLinearMap const& map, ccVector<2> trans);
  // The least-squares affine map taking to[i] onto from[i]: like the
  // polynomial map, the first list onto the second, whatever the names say.
  // notValidFit when the sizes differ or no fit exists.
  cc2DLinearMap(std::vector<ccVector<2>> const& to, std::vector<ccVector<2>> const& from);
  cc2DLinearMap(cc2DLinearMap const& other);
  cc2DLinearMap& operator=(cc2DLinearMap const& other);
  ~cc2DLinearMap() override;

  // These throw notValid when the map is invalid.
  operator ccXform<2>() const;  // NOLINT
  // Marked valid with no further test.
  cc2DLinearMap inverse() const;
  // This after o; both must be valid.
  cc2DLinearMap operator*(cc2DLinearMap const& o) const;

  // 0 when an element is bad or the matrix is singular.
  static int xformIsValid(ccXform<2> const& x);

  void transform(ccVector<2> in, ccVector<2>& out) const override;
  cc2DMap* preCompose(cc2DLinearMap const& m) const override;
  cc2DMap* preCompose(ccVector<2> v) const override;
  cc2DMap* postCompose(cc2DLinearMap const& m) const override;
  cc2DMap* postCompose(ccVector<2> v) const override;
  int isValid() const override { return valid_ ? 1 : 0; }
  int isLinear() const override { return 1; }

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;
  void requireValid_() const;

  ccXform<2> xform_;
  bool valid_ = true;
};

class cc2DPolynomialMap : public cc2DMap {
 public:
  // The coefficient array's bound: order 5 uses 42 of them.
  static constexpr int kMaxCoefficients = 43;

  // Invalid, order 1, no coefficients.
  cc2DPolynomialMap();
  explicit cc2DPolynomialMap(ceFastAndInvalid);
  // The least-squares polynomial map of the order taking a[i] to b[i]. The
  // map stays invalid, with nothing thrown, when the sizes differ, when
  // there are fewer pairs than terms (3, 6, 10, 15, 21 for orders 1 to 5),
  // when the order is outside 1 to 5, or when the points do not fix a fit.
  cc2DPolynomialMap(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b, int order);
  cc2DPolynomialMap(cc2DPolynomialMap const& other);
  cc2DPolynomialMap& operator=(cc2DPolynomialMap const& other);
  ~cc2DPolynomialMap() override;

  // Both valid, the same order and presence flags, every coefficient in use
  // within the tolerance, present transforms exactly equal.
  int essentiallyEqual(cc2DPolynomialMap const& other, double tolerance) const;
  // The direction of the image of the x axis at the origin.
  ccRadian xRotAtOrigin() const;

  int order() const { return order_; }
  // The x and y polynomials together, (order + 1)(order + 2) in use, in the
  // kernel layer's layout; the rest are 0.
  double const* coefficients() const { return coefficients_; }
  // Applied before and after the polynomial, when present.
  bool hasFirstXform() const { return hasFirst_ != 0; }
  bool hasLastXform() const { return hasLast_ != 0; }
  ccXform<2> const& firstXform() const { return first_; }
  ccXform<2> const& lastXform() const { return last_; }

  void transform(ccVector<2> in, ccVector<2>& out) const override;
  cc2DMap* preCompose(cc2DLinearMap const& m) const override;
  cc2DMap* preCompose(ccVector<2> v) const override;
  cc2DMap* postCompose(cc2DLinearMap const& m) const override;
  cc2DMap* postCompose(ccVector<2> v) const override;
  int isValid() const override { return valid_; }

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version);

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;
  void requireValid_() const;
  // A copy with `first` (applied first) or `last` (applied last) composed in.
  cc2DMap* withFirst_(ccXform<2> const& x) const;
  cc2DMap* withLast_(ccXform<2> const& x) const;

  int order_ = 1;
  int valid_ = 0;
  int hasFirst_ = 0;
  int hasLast_ = 0;
  double coefficients_[kMaxCoefficients] = {};
  ccXform<2> first_;
  ccXform<2> last_;
};

#endif  // ORVSTD_CFIT_PLANE_MAP_H_
