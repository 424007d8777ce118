// cc2XformPoly: the polynomial plane transform, degree 1 to 5, fitted from
// point pairs. The map is post ∘ polynomial ∘ pre; the forward and the
// inverse polynomial are fitted independently and carried together, so
// inverting swaps them instead of solving anything.
//
//   cc2XformPoly lens(imagePoints, modelPoints, 3);   // model -> image
//   ccVector<2> q = lens.mapPoint(p);
//   cc2XformBasePtrh back = lens.inverseBase();        // image -> model
//   cc2XformBasePtrh both = shift * lens;              // the shift absorbed as post
//
// A fit whose higher terms vanish drops to the lowest degree that loses no
// term, and degree 1 collapses into a plain linear map held in pre.
//
// Its errors belong to the family of all plane transforms
// (cc2XformDefs::Errors), so one handler takes every transform failure.
#ifndef ORVSTD_MATH_XFORM_POLY_H_
#define ORVSTD_MATH_XFORM_POLY_H_

#include <vector>

#include "orvstd/except/except.h"
#include "orvstd/math/xform_base.h"
#include "orvstd/math/xform_defs.h"

class cc2DPolynomialMap;

class cc2XformPoly : public cc2XformBase {
 public:
  cmErrorClass(BadParams, cc2XformDefs::Errors, 0x10000f38);
  cmErrorClass(IllDefined, cc2XformDefs::Errors, 0x10000f39);

  // Order 1, the identity.
  cc2XformPoly();
  // The forward direction takes b[i] to a[i]. BadParams for an order below
  // 1, unequal sizes or fewer pairs than terms (3, 6, 10, 15, 21);
  // cc2XformDefs::NotImplemented above 5; IllDefined when the points do not
  // fix a fit.
  cc2XformPoly(std::vector<ccVector<2>> const& a, std::vector<ccVector<2>> const& b, int order);
  cc2XformPoly(cc2XformPoly const& other);
  cc2XformPoly& operator=(cc2XformPoly const& other);
  ~cc2XformPoly() override;

  // The effective degree (1: linear) and the degree the fit was made for.
  int order() const { return order_; }
  int maxOrder() const { return maxOrder_; }
  bool hasPre() const { return hasPre_; }
  bool hasPost() const { return hasPost_; }
  cc2XformLinear const& pre() const { return pre_; }
  cc2XformLinear const& post() const { return post_; }
  // Empty at degree 1. Otherwise the forward and inverse polynomials and the
  // two derivative polynomials of the forward one, in the kernel's layout.
  std::vector<double> const& coefficientBlock() const { return block_; }

  ccVector<2> mapPoint(ccVector<2> const& p) const override;
  bool isLinear() const override { return order_ == 1; }
  cc2XformLinear linearXform(ccVector<2> const& at) const override;
  // A linear right side is absorbed as pre; degree 1 composes as linear.
  cc2XformBasePtrh composeBase(cc2XformBase const& right) const override;
  cc2XformBasePtrh inverseBase() const override;
  cc2XformBasePtrh clone() const override;

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version) override;

 private:
  friend class cc2XformLinear;
  friend cc2XformPoly cf_2XformPolyConvert(cc2DPolynomialMap const& forward, cc2DPolynomialMap const& inverse);

  static ccPersistent* make();
  static cc_Instantiator const instantiator_;

  // Lays out the block from two coefficient arrays of degree maxOrder (or
  // shorter, the rest taken as 0), dropping to the lowest degree that loses
  // no term and collapsing degree 1 into pre.
  void init_(std::vector<double> forward, std::vector<double> inverse);
  // L applied after everything else.
  void leftCompose_(cc2XformLinear const& l);
  // L applied before everything else.
  void rightCompose_(cc2XformLinear const& l);
  // The forward and inverse polynomials of the block (order above 1).
  std::vector<double> forward_() const;
  std::vector<double> inverse_() const;
  void checkLayout_() const;

  int order_ = 1;
  int maxOrder_ = 1;
  std::vector<double> block_;
  int inverseStart_ = -1;
  int xDerivStart_ = -1;
  int yDerivStart_ = -1;
  bool hasPre_ = false;
  cc2XformLinear pre_;
  bool hasPost_ = false;
  cc2XformLinear post_;
};

// A transform from two fitted maps, forward and inverse, of the same order
// (asserted): its pre and post are the forward map's first and last
// transforms. IllDefined when either map is invalid.
cc2XformPoly cf_2XformPolyConvert(cc2DPolynomialMap const& forward, cc2DPolynomialMap const& inverse);

#endif  // ORVSTD_MATH_XFORM_POLY_H_
