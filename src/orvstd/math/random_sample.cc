#include "orvstd/math/random_sample.h"

#include <cmath>
#include <limits>
#include <vector>

#include "orvstd/except/assert.h"
#include "orvstd/util/cmemory.h"
#include "orvstd/util/diag_print.h"

void csStatsReset(csStats* s) {
  s->n = 0;
  s->last = 0;
  s->sum = 0;
  s->sumSq = 0;
  s->min = std::numeric_limits<double>::max();
  s->max = -std::numeric_limits<double>::max();
  s->outliers = 0;
}

void csStatsAdd(csStats* s, double x) {
  ++s->n;
  s->last = x;
  s->sum += x;
  s->sumSq += x * x;
  if (x < s->min) s->min = x;
  if (x > s->max) s->max = x;
}

c_Int32 csStatsN(csStats const* s) { return s->n; }

double csStatsMean(csStats const* s) { return s->n == 0 ? 0 : s->sum / s->n; }

double csStatsMin(csStats const* s) {
  cmAssert(s->n > 0);
  return s->min;
}

double csStatsMax(csStats const* s) {
  cmAssert(s->n > 0);
  return s->max;
}

double csStatsSum(csStats const* s) {
  cmAssert(s->n > 0);
  return s->sum;
}

double csStatsVariance(csStats const* s) {
  if (s->n < 2) return 0;
  return (s->sumSq - s->sum * csStatsMean(s)) / (s->n - 1);
}

double csStatsStdDev(csStats const* s) {
  // Rounding can leave the variance of nearly equal samples a hair below 0.
  double const v = csStatsVariance(s);
  return v > 0 ? std::sqrt(v) : 0;
}

csDistribution* csUniformDistributionCT(csDistribution* d, float low, float high) {
  if (!d) d = static_cast<csDistribution*>(cfMalloc(sizeof(csDistribution)));
  d->type = 0;
  d->low = low;
  d->high = high;
  return d;
}

float randomSampleVar(csRandomUniform* r, csDistribution const* d) {
  if (d->type == 0) return static_cast<float>(csRandomUniformNext(r, d->low, d->high));
  cfDiagPrint(0, "unimplemented csDistribution type %d\n", static_cast<int>(d->type));
  return 0;
}

void* randomSample(void* (*function)(void* inputs, void* result), unsigned seed, unsigned numSamples,
                   unsigned numInputs, csDistribution const* inputs, unsigned numOutputs, unsigned outlierMode,
                   float const* nominal, float const* threshold, csStats* stats, void* result) {
  thread_local std::vector<float> localResult;
  if (!result) {
    localResult.assign(numOutputs, 0.0f);
    result = localResult.data();
  }
  csRandomUniform r;
  // The seed's bits, as the generator's long.
  csRandomUniformInit(&r, static_cast<c_Int32>(seed));
  for (unsigned i = 0; i < numOutputs; ++i) csStatsReset(&stats[i]);

  std::vector<float> drawn(numInputs);
  float const* output = static_cast<float const*>(result);
  for (unsigned sample = 0; sample < numSamples; ++sample) {
    for (unsigned k = 0; k < numInputs; ++k) drawn[k] = randomSampleVar(&r, &inputs[k]);
    function(drawn.data(), result);
    for (unsigned i = 0; i < numOutputs; ++i) {
      csStatsAdd(&stats[i], output[i]);
      if (!(std::fabs(nominal[i] - output[i]) > threshold[i])) continue;
      if (outlierMode == 0) {
        cfDiagPrint(0, "Error!!! Config");
        for (unsigned k = 0; k < numInputs; ++k) cfDiagPrint(0, "%8.4f ", static_cast<double>(drawn[k]));
        cfDiagPrint(0, "result %7.3f nomResult %7.3f threshResult %7.3f\n", static_cast<double>(output[i]),
                    static_cast<double>(nominal[i]), static_cast<double>(threshold[i]));
      } else if (outlierMode == 1) {
        ++stats[i].outliers;
      } else {
        cfDiagPrint(0, " unknown outlierMode)");
      }
    }
  }
  return result;
}
