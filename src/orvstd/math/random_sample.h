// Sampled sensitivity runs: a small Monte Carlo harness in plain structures.
//
// randomSample calls a user function numSamples times with inputs drawn from
// given distributions, gathers statistics of each output, and reports or
// counts the outputs that stray from a nominal value by more than a
// threshold. Its uniform source is the generator of random.h.
//
//   void* area(void* in, void* out) {
//     float const* x = static_cast<float const*>(in);
//     static_cast<float*>(out)[0] = x[0] * x[1];
//     return out;
//   }
//   csDistribution in[2];
//   csUniformDistributionCT(&in[0], 9.9f, 10.1f);
//   csUniformDistributionCT(&in[1], 4.9f, 5.1f);
//   float nominal = 50, threshold = 2;
//   csStats stats;
//   randomSample(area, 7, 1000, 2, in, 1, 1, &nominal, &threshold, &stats, nullptr);
//   // stats.outliers counts products off by more than 2
#ifndef ORVSTD_MATH_RANDOM_SAMPLE_H_
#define ORVSTD_MATH_RANDOM_SAMPLE_H_

#include "orvstd/defs/types.h"
#include "orvstd/math/random.h"

struct csStats {
  c_Int32 n;
  double last;  // the value added last
  double sum;
  double sumSq;
  double min;
  double max;
  c_Int32 outliers;
};

void csStatsReset(csStats* s);
void csStatsAdd(csStats* s, double x);
c_Int32 csStatsN(csStats const* s);
// 0 for no samples.
double csStatsMean(csStats const* s);
// These three assert that there is a sample.
double csStatsMin(csStats const* s);
double csStatsMax(csStats const* s);
double csStatsSum(csStats const* s);
// Over n - 1; 0 below two samples.
double csStatsVariance(csStats const* s);
double csStatsStdDev(csStats const* s);

// type 0, the uniform distribution over [low, high), is the only one.
struct csDistribution {
  c_Int32 type;
  float low;
  float high;
};

// Fills `d` as the uniform distribution over [low, high); with d null it
// allocates one by cfMalloc, which the caller frees by cfFree.
csDistribution* csUniformDistributionCT(csDistribution* d, float low, float high);

// One draw by the distribution's type; an unknown type prints a diagnostic
// and gives 0.
float randomSampleVar(csRandomUniform* r, csDistribution const* d);

// function(inputs, result) gets numInputs floats and writes numOutputs floats
// into result. stats holds numOutputs entries. outlierMode 0 prints each
// straying output with its inputs, 1 counts it in its stats' outliers.
// Returns result; with result null, a buffer of this thread's that lives
// until its next call.
void* randomSample(void* (*function)(void* inputs, void* result), unsigned seed, unsigned numSamples,
                   unsigned numInputs, csDistribution const* inputs, unsigned numOutputs, unsigned outlierMode,
                   float const* nominal, float const* threshold, csStats* stats, void* result);

#endif  // ORVSTD_MATH_RANDOM_SAMPLE_H_
