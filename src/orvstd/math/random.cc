#include "orvstd/math/random.h"

#include <cmath>

#include "orvstd/archive/archive.h"
#include "orvstd/except/assert.h"

namespace {

constexpr c_Int32 kMul1 = 7141, kInc1 = 54773, kMod1 = 259200;
constexpr c_Int32 kMul2 = 8121, kInc2 = 28411, kMod2 = 134456;
constexpr c_Int32 kMul3 = 4561, kInc3 = 51349, kMod3 = 243000;
constexpr int kSlots = 97;
// 1/kMod2 and 1/kMod1: state2 refines state1 into a number in [0, 1).
constexpr double kScale2 = 7.437377283274826e-6;
constexpr double kScale1 = 3.858024691358025e-6;

// The products stay below 2^31 for states in range, so 32 bits suffice.
c_Int32 step1(c_Int32 s) { return (s * kMul1 + kInc1) % kMod1; }
c_Int32 step2(c_Int32 s) { return (s * kMul2 + kInc2) % kMod2; }
c_Int32 step3(c_Int32 s) { return (s * kMul3 + kInc3) % kMod3; }

double slotValue(csRandomUniform const* r) { return (r->state1 + r->state2 * kScale2) * kScale1; }

}  // namespace

void csRandomUniformInit(csRandomUniform* r, c_Int32 seed) {
  r->seed = seed;
  r->count = 0;
  // 64 bits: 54773 - seed overflows 32 bits for the most negative seeds.
  c_Int64 distance = static_cast<c_Int64>(kInc1) - seed;
  r->state1 = static_cast<c_Int32>((distance < 0 ? -distance : distance) % kMod1);
  r->state1 = step1(r->state1);
  r->state2 = r->state1 % kMod2;
  r->state1 = step1(r->state1);
  r->state3 = r->state1 % kMod3;
  for (double& slot : r->table) {
    r->state1 = step1(r->state1);
    r->state2 = step2(r->state2);
    slot = slotValue(r);
  }
}

double csRandomUniformNext(csRandomUniform* r, double low, double high) {
  // A state out of range would overflow the steps; only memory damage or a
  // structure never initialised gets here.
  cmAssert(r->state1 >= 0 && r->state1 <= kMod1 - 1);
  cmAssert(r->state2 >= 0 && r->state2 <= kMod2 - 1);
  cmAssert(r->state3 >= 0 && r->state3 <= kMod3 - 1);
  r->state1 = step1(r->state1);
  r->state2 = step2(r->state2);
  r->state3 = step3(r->state3);
  ++r->count;
  int const j = r->state3 * kSlots / kMod3;
  double const value = r->table[j];
  r->table[j] = slotValue(r);
  return low + value * (high - low);
}

bool ccRandomUniform::operator==(ccRandomUniform const& other) const {
  if (core_.state1 != other.core_.state1 || core_.state2 != other.core_.state2 ||
      core_.state3 != other.core_.state3)
    return false;
  for (int i = 0; i < kSlots; ++i)
    if (core_.table[i] != other.core_.table[i]) return false;
  return true;
}

double ccRandomGaussian::next(double scale, double mean) {
  // The sum of 100 uniforms has mean 50 and variance 100/12; centred and
  // scaled by sqrt(3/100)*2 its variance is 1.
  double sum = 0;
  for (int i = 0; i < 100; ++i) sum += uniform_.next(0, 1);
  return mean + scale * std::sqrt(3.0 / 100.0) * (2 * sum - 100);
}

ccArchive& operator||(ccArchive& ar, ccRandomUniform& r) {
  unsigned char version = 0;
  ar || version;
  cmAssert(version == 0);
  c_Int32 seed = r.core_.seed;
  c_Int32 count = r.core_.count;
  ar || seed || count;
  if (ar.isLoading()) {
    // Only the position is stored: replay it.
    if (count < 0) throw ccArchive::BadContent("std/math/random", __LINE__);
    r.reseed(seed);
    for (c_Int32 i = 0; i < count; ++i) r.next(0, 1);
  }
  return ar;
}

ccArchive& operator||(ccArchive& ar, ccRandomGaussian& g) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/math/random", __LINE__);
  return ar || g.uniform_;
}
