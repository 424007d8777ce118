// Costs of the library's locks against the standard ones: an uncontended
// lock/unlock, and a two-thread hand-off through semaphores.
#include <benchmark/benchmark.h>

#include <mutex>
#include <semaphore>
#include <thread>

#include "orvstd/platform/resource.h"
#include "orvstd/platform/thread.h"

namespace {

void BM_ccLockUncontended(benchmark::State& state) {
  ccMutex m;
  cfGetCurrentThreadID();  // registration is a one-time cost, not measured
  for (auto _ : state) {
    ccLock guard(m);
    benchmark::DoNotOptimize(guard.depth());
  }
}
BENCHMARK(BM_ccLockUncontended);

void BM_stdMutexUncontended(benchmark::State& state) {
  std::mutex m;
  for (auto _ : state) {
    std::lock_guard<std::mutex> guard(m);
    benchmark::DoNotOptimize(&m);
  }
}
BENCHMARK(BM_stdMutexUncontended);

void BM_ccCriticalSectionUncontended(benchmark::State& state) {
  ccCriticalSection cs;
  for (auto _ : state) {
    ccCriticalSectionLock guard(cs);
    benchmark::DoNotOptimize(guard.depth());
  }
}
BENCHMARK(BM_ccCriticalSectionUncontended);

// One iteration is a round trip: ping to the other thread and pong back.
void BM_ccSemaphoreHandOff(benchmark::State& state) {
  ccSemaphore ping(0, 1), pong(0, 1);
  std::atomic<bool> stop{false};
  std::thread other([&] {
    for (;;) {
      ping.lock();
      if (stop.load()) return;
      pong.unlock();
    }
  });
  for (auto _ : state) {
    ping.unlock();
    pong.lock();
  }
  stop = true;
  ping.unlock();
  other.join();
}
BENCHMARK(BM_ccSemaphoreHandOff)->UseRealTime();

void BM_stdSemaphoreHandOff(benchmark::State& state) {
  std::counting_semaphore<1> ping(0), pong(0);
  std::atomic<bool> stop{false};
  std::thread other([&] {
    for (;;) {
      ping.acquire();
      if (stop.load()) return;
      pong.release();
    }
  });
  for (auto _ : state) {
    ping.release();
    pong.acquire();
  }
  stop = true;
  ping.release();
  other.join();
}
BENCHMARK(BM_stdSemaphoreHandOff)->UseRealTime();

}  // namespace
