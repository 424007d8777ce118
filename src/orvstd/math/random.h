// Repeatable random numbers: one generator core with two faces.
//
// csRandomUniform is the plain structure that the sampling harness drives
// (random_sample.h); ccRandomUniform is the value class over the same core,
// so both give the same numbers bit for bit for the same seed. The source is
// three linear congruential generators and a shuffle table of 97 slots.
// Archives keep only the seed and the number of draws: loading replays the
// draws, so the position in the sequence, not the state, is what is stored.
//
//   ccRandomUniform r(42);
//   double x = r.next(0, 1);            // in [0, 1)
//   ccRandomGaussian g(42);
//   double y = g.next(2.0, 10.0);       // scale 2, mean 10
#ifndef ORVSTD_MATH_RANDOM_H_
#define ORVSTD_MATH_RANDOM_H_

#include "orvstd/defs/types.h"

class ccArchive;

// The generator's whole state.
struct csRandomUniform {
  c_Int32 seed;
  c_Int32 count;  // draws since the last seeding
  c_Int32 state1;
  c_Int32 state2;
  c_Int32 state3;
  double table[97];
};

// Seeds the generator and fills its table; count becomes 0.
void csRandomUniformInit(csRandomUniform* r, c_Int32 seed);
// The next number in [low, high).
double csRandomUniformNext(csRandomUniform* r, double low, double high);

class ccRandomUniform {
 public:
  explicit ccRandomUniform(c_Int32 seed = 0) { reseed(seed); }

  void reseed(c_Int32 seed) { csRandomUniformInit(&core_, seed); }
  // The next number in [low, high).
  double next(double low, double high) { return csRandomUniformNext(&core_, low, high); }
  c_Int32 seed() const { return core_.seed; }
  // Draws since the last reseed.
  c_Int32 n() const { return core_.count; }

  // Equal when at the same point of the sequence (states and table), however
  // each got there: seed and count are not compared.
  bool operator==(ccRandomUniform const& other) const;
  bool operator!=(ccRandomUniform const& other) const { return !(*this == other); }

 private:
  friend ccArchive& operator||(ccArchive& ar, ccRandomUniform& r);
  csRandomUniform core_;
};

// Gaussian numbers as the centred, scaled sum of 100 uniform draws: every
// result costs exactly 100 draws of the held uniform source.
class ccRandomGaussian {
 public:
  explicit ccRandomGaussian(c_Int32 seed = 0) : uniform_(seed) {}

  void reseed(c_Int32 seed) { uniform_.reseed(seed); }
  c_Int32 seed() const { return uniform_.seed(); }
  c_Int32 n() const { return uniform_.n(); }
  // Spread `scale` (the standard deviation) about `mean`.
  double next(double scale, double mean);

  bool operator==(ccRandomGaussian const& other) const { return uniform_ == other.uniform_; }
  bool operator!=(ccRandomGaussian const& other) const { return !(*this == other); }

 private:
  friend ccArchive& operator||(ccArchive& ar, ccRandomGaussian& g);
  ccRandomUniform uniform_;
};

// Version byte 0, seed, count. Loading reseeds and replays count draws; a
// version byte other than 0 is an assertion failure.
ccArchive& operator||(ccArchive& ar, ccRandomUniform& r);
// Version byte 0, then the uniform source.
ccArchive& operator||(ccArchive& ar, ccRandomGaussian& g);

#endif  // ORVSTD_MATH_RANDOM_H_
