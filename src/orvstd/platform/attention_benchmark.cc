// Cost of polling for attention, which long loops do on every round, and
// of a start-stop pair on each stopwatch.
#include <benchmark/benchmark.h>

#include <cmath>

#include "orvstd/platform/attention.h"
#include "orvstd/platform/timeout.h"
#include "orvstd/platform/timer.h"

namespace {

void BM_CheckNothingAttached(benchmark::State& state) {
  for (auto _ : state) ccAttention::check();
}
BENCHMARK(BM_CheckNothingAttached);

// A finite limit: every check reads the clock.
void BM_CheckOneTimeout(benchmark::State& state) {
  ccTimeout limit(3600.0);
  for (auto _ : state) ccAttention::check();
}
BENCHMARK(BM_CheckOneTimeout);

// Three nested limits cost one clock read, plus the walk.
void BM_CheckThreeNestedTimeouts(benchmark::State& state) {
  ccTimeout outer(3600.0), middle(1800.0), inner(900.0);
  for (auto _ : state) ccAttention::check();
}
BENCHMARK(BM_CheckThreeNestedTimeouts);

// Attached for a cancel from elsewhere, no time limit: no clock read.
void BM_CheckCancellableTag(benchmark::State& state) {
  ccAttentionTag tag;
  tag.attachTimeout(HUGE_VAL);
  for (auto _ : state) ccAttention::check();
}
BENCHMARK(BM_CheckCancellableTag);

void BM_TimeoutAttachDetach(benchmark::State& state) {
  for (auto _ : state) {
    ccTimeout limit(1.0);
    benchmark::DoNotOptimize(&limit);
  }
}
BENCHMARK(BM_TimeoutAttachDetach);

template <class T>
void BM_StartStop(benchmark::State& state) {
  T t;
  for (auto _ : state) {
    t.start();
    t.stop();
  }
  benchmark::DoNotOptimize(t.rawTicks64());
}
BENCHMARK(BM_StartStop<ccTimer>)->Name("BM_TimerStartStop");
BENCHMARK(BM_StartStop<ccPTimer>)->Name("BM_PTimerStartStop");

}  // namespace
