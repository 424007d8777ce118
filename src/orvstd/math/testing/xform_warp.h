// A nonlinear plane transform for tests: (x, y) -> (x + a·y², y), whose
// inverse is the same map with -a and whose tangent map is known in closed
// form. It persists (version 0, then a) and counts the inverses made, so
// tests can see how often a cache asks for one. Test-only.
#ifndef ORVSTD_MATH_TESTING_XFORM_WARP_H_
#define ORVSTD_MATH_TESTING_XFORM_WARP_H_

#include <atomic>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/math/xform_base.h"

class ccTestWarp : public cc2XformBase {
 public:
  explicit ccTestWarp(double a = 0) : a_(a) {}
  ccTestWarp(ccTestWarp const& o) : ccPersistent(o), ccRepBase(o), cc2XformBase(o), a_(o.a_) {}
  ccTestWarp& operator=(ccTestWarp const&) = delete;

  double a() const { return a_; }
  static std::atomic<int>& inversesMade() {
    static std::atomic<int> n{0};
    return n;
  }

  ccVector<2> mapPoint(ccVector<2> const& p) const override { return ccVector<2>(p.x() + a_ * p.y() * p.y(), p.y()); }
  bool isLinear() const override { return a_ == 0; }
  cc2XformLinear linearXform(ccVector<2> const& at) const override {
    ccMatrix<2> const m(1, 2 * a_ * at.y(), 0, 1);
    return cc2XformLinear(m, mapPoint(at) - m * at);
  }
  cc2XformBasePtrh inverseBase() const override {
    ++inversesMade();
    return new ccTestWarp(-a_);
  }
  cc2XformBasePtrh clone() const override { return new ccTestWarp(*this); }

  static ccPersistent* make() { return new (std::nothrow) ccTestWarp; }

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccTestWarp), 0, [&](unsigned char v) { ccTestWarp::serialize_(ar, v); });
  }
  void serialize_(ccArchive& ar, unsigned char version) override {
    cfCheckClassVersion(version, 0, "testwarp", __LINE__);
    cc2XformBase::dispatchSerialize(ar);
    ar || a_;
  }

 private:
  double a_;
};

inline cc_Instantiator const ccTestWarpInstantiator(typeid(ccTestWarp), &ccTestWarp::make);

#endif  // ORVSTD_MATH_TESTING_XFORM_WARP_H_
