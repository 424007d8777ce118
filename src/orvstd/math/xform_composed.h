// cc2XformComposed: a chain of plane transforms applied right to left, for
// factors that do not multiply out (perspective, calibrated or any
// nonlinear map after another).
//
//   cc2XformComposed chain(*perspective, true);   // a clone of it
//   chain.preCompose(*lens, true);                // lens applied last
//   chain.postCompose(*shift, false);             // shift applied first, shared
//   ccVector<2> q = chain.mapPoint(p);            // lens(perspective(shift(p)))
//   std::vector<cc2XformBasePtrh_const> parts;
//   chain.decompose(parts);                       // flat, leftmost first
//
// The elements are shared between copies: copying a chain or composing it
// never clones the factors it already holds.
#ifndef ORVSTD_MATH_XFORM_COMPOSED_H_
#define ORVSTD_MATH_XFORM_COMPOSED_H_

#include <vector>

#include "orvstd/math/xform_base.h"

class cc2XformComposed : public cc2XformBase {
 public:
  // One identity linear transform.
  cc2XformComposed();
  // For every cloneIt: true stores x.clone(); false shares x itself, which
  // must already be held by a handle and outlive this object.
  cc2XformComposed(cc2XformBase const& x, bool cloneIt);
  // left after right.
  cc2XformComposed(cc2XformBase const& left, cc2XformBase const& right, bool cloneLeft, bool cloneRight);
  // Shares the elements.
  cc2XformComposed(cc2XformComposed const& other);
  cc2XformComposed& operator=(cc2XformComposed const& other);
  ~cc2XformComposed() override;

  // Applied last (inserted before index 0).
  void preCompose(cc2XformBase const& x, bool cloneIt);
  // Applied first (appended).
  void postCompose(cc2XformBase const& x, bool cloneIt);
  // Reverses the order and replaces each element by its inverse.
  void invert();
  // Emptied, then every element, with nested compositions flattened;
  // leftmost (applied last) first.
  void decompose(std::vector<cc2XformBasePtrh_const>& out) const;
  // Index 0 is applied last.
  std::vector<cc2XformBasePtrh_const> const& elements() const { return xforms_; }

  ccVector<2> mapPoint(ccVector<2> const& p) const override;
  bool isLinear() const override;
  // The chain rule over the elements.
  cc2XformLinear linearXform(ccVector<2> const& at) const override;
  cc2XformBasePtrh composeBase(cc2XformBase const& right) const override;
  cc2XformBasePtrh inverseBase() const override;
  cc2XformBasePtrh clone() const override;

 protected:
  void dispatchSerialize(ccArchive& ar) override;
  void serialize_(ccArchive& ar, unsigned char version) override;

 private:
  static ccPersistent* make();
  static cc_Instantiator const instantiator_;

  static cc2XformBasePtrh_const take_(cc2XformBase const& x, bool cloneIt);
  void loadElements_(ccArchive& ar);

  std::vector<cc2XformBasePtrh_const> xforms_;
};

#endif  // ORVSTD_MATH_XFORM_COMPOSED_H_
