// Cost of a fork-and-join run over the job threads against a plain loop,
// for small and larger work per item.
#include <benchmark/benchmark.h>

#include <vector>

#include "orvstd/workmgr/worker_thread_manager.h"

namespace {

struct Item {
  int spins = 0;
  double value = 0;
};

void work(void* p) {
  auto* item = static_cast<Item*>(p);
  double v = 1;
  for (int k = 0; k < item->spins; ++k) v = v * 0.9999 + 1.0 / (k + 1);
  item->value = v;
}

// Arguments: threads (0: plain loop on this thread), items, spins per item.
void BM_MultithreadRun(benchmark::State& state) {
  auto const threads = static_cast<c_Int32>(state.range(0));
  std::vector<Item> items(static_cast<std::size_t>(state.range(1)));
  for (Item& item : items) item.spins = static_cast<int>(state.range(2));
  std::vector<void*> pointers;
  for (Item& item : items) pointers.push_back(&item);
  ccWorkerThreadManagerParams params;
  params.desiredWorkerThreads(threads == 0 ? ccWorkerThreadManagerDefs::eNoWorkerThreads
                                           : ccWorkerThreadManagerDefs::eWorkerThreadCount);
  if (threads > 0) params.workerThreadCount(threads);
  ccWorkerThreadManager::configure(params);
  for (auto _ : state) benchmark::DoNotOptimize(cfMultithreadRunQRT(&work, pointers));
  state.SetItemsProcessed(state.iterations() * state.range(1));
}
BENCHMARK(BM_MultithreadRun)
    ->ArgNames({"threads", "items", "spins"})
    ->ArgsProduct({{0, 1, 2}, {2, 64}, {10, 10000}})
    ->UseRealTime();

}  // namespace
