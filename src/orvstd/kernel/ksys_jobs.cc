#include "orvstd/kernel/ksys_jobs.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

struct ksys_jobParams {
  void* data = nullptr;
  ksys_cleanupDtor release = nullptr;

  ksys_jobParams() = default;
  ksys_jobParams(ksys_jobParams const&) = delete;
  ksys_jobParams& operator=(ksys_jobParams const&) = delete;
  ~ksys_jobParams() { drop(); }
  void drop() {
    if (data && release) release(data);
    data = nullptr;
    release = nullptr;
  }
};

struct ksys_jobRequest {
  ksys_jobFunc func = nullptr;
  ksys_jobParams params;  // a job gets its address: requests never move
};

struct ksys_jobRequestSet {
  std::vector<std::unique_ptr<ksys_jobRequest>> requests;
};

struct ksys_jobResultSet {
  std::vector<c_Int32> statuses;
};

struct ksys_jobThreadGroup {};

namespace {

// One dispatch: requests are handed out by index under the pool's mutex.
struct Batch {
  std::vector<std::unique_ptr<ksys_jobRequest>> const* requests = nullptr;
  std::vector<c_Int32>* statuses = nullptr;
  std::size_t next = 0;       // the next request nobody has taken
  std::size_t remaining = 0;  // requests not yet ended
  std::exception_ptr error;   // the first exception a job let out
};

enum class PoolState { eNeverStarted, eRunning, eShutDown };

struct Pool {
  std::mutex mutex;
  std::condition_variable work;     // workers: a batch or a stop
  std::condition_variable changed;  // dispatchers and resets: a batch ended, the pool went idle
  std::deque<Batch*> batches;       // batches with requests left to take
  std::vector<std::thread> threads;
  PoolState state = PoolState::eNeverStarted;
  bool stopping = false;
  bool resetting = false;
  bool staticDestruction = false;
  c_Int32 dispatching = 0;
};

// Leaked: job threads may outlive every other static.
Pool& pool() {
  static Pool* const p = new Pool;
  return *p;
}

thread_local c_Int32 tl_jobIndex = -1;       // index of this job thread, -1 elsewhere
thread_local c_Int32 tl_dispatchDepth = 0;  // dispatches this thread is inside

c_Int32 defaultThreadCount() {
  unsigned const cores = std::thread::hardware_concurrency();
  return std::clamp(static_cast<c_Int32>(cores), c_Int32{1}, ksys_jobMaxThreads);
}

// Runs request i; the status and exception are recorded by the caller under
// the mutex.
c_Int32 runRequest(Batch const& batch, std::size_t i, std::exception_ptr& error) {
  ksys_jobRequest const& request = *(*batch.requests)[i];
  try {
    return request.func(&request.params);
  } catch (...) {
    error = std::current_exception();
    return ksys_jobUnhandledException;
  }
}

void recordEnd(Pool& p, Batch& batch, std::size_t i, c_Int32 status, std::exception_ptr error) {
  (*batch.statuses)[i] = status;
  if (error && !batch.error) batch.error = std::move(error);
  if (--batch.remaining == 0) p.changed.notify_all();
}

void workerLoop(c_Int32 index) {
  tl_jobIndex = index;
  Pool& p = pool();
  std::unique_lock lock(p.mutex);
  for (;;) {
    p.work.wait(lock, [&] { return p.stopping || !p.batches.empty(); });
    if (p.stopping) return;
    Batch* batch = p.batches.front();
    std::size_t const i = batch->next++;
    if (batch->next == batch->requests->size()) p.batches.pop_front();
    lock.unlock();
    std::exception_ptr error;
    c_Int32 const status = runRequest(*batch, i, error);
    lock.lock();
    recordEnd(p, *batch, i, status, std::move(error));
  }
}

// With the lock held and the pool idle: starts n threads. Threads that did
// start are kept if the system refuses one.
c_Int32 startThreads(Pool& p, c_Int32 n) {
  try {
    p.threads.reserve(static_cast<std::size_t>(n));
    for (c_Int32 i = 0; i < n; ++i) p.threads.emplace_back(workerLoop, i);
  } catch (std::system_error const&) {
    return ksys_jobNoThread;
  } catch (std::bad_alloc const&) {
    return kstd_outOfMemory;
  }
  return 0;
}

// Waits for the pool to go idle, stops its threads and starts n new ones
// (none for a shutdown).
c_Int32 resize(c_Int32 n, PoolState newState) {
  if (tl_jobIndex >= 0 || tl_dispatchDepth > 0) return ksys_jobOnJobThread;
  Pool& p = pool();
  std::unique_lock lock(p.mutex);
  p.changed.wait(lock, [&] { return !p.resetting && p.dispatching == 0; });
  if (p.staticDestruction && n > 0) return ksys_jobStaticDestruction;
  p.resetting = true;
  p.stopping = true;
  p.work.notify_all();
  std::vector<std::thread> old = std::move(p.threads);
  p.threads.clear();
  lock.unlock();
  for (std::thread& t : old) t.join();
  lock.lock();
  p.stopping = false;
  c_Int32 const rc = startThreads(p, n);
  p.state = newState;
  p.resetting = false;
  p.changed.notify_all();
  return rc;
}

// Stops the threads when the library's statics go: none may run then.
struct PoolGuard {
  PoolGuard() = default;
  PoolGuard(PoolGuard const&) = delete;
  PoolGuard& operator=(PoolGuard const&) = delete;
  ~PoolGuard() {
    if (tl_jobIndex >= 0 || tl_dispatchDepth > 0) return;  // exit() from inside a job: leave them
    resize(0, PoolState::eShutDown);
    Pool& p = pool();
    std::lock_guard lock(p.mutex);
    p.staticDestruction = true;
  }
};
PoolGuard const poolGuard;

template <class T>
c_Int32 constructNothrow(T** out) {
  if (out == nullptr) return ksys_jobBadArgument;
  *out = new (std::nothrow) T();
  return *out ? 0 : kstd_outOfMemory;
}

template <class T>
c_Int32 destroy(void* object) {
  delete static_cast<T*>(object);
  return 0;
}

}  // namespace

c_Int32 ksys_jobResetParams_construct(ksys_jobResetParams** out) { return constructNothrow(out); }
c_Int32 ksys_jobResetParams_destroy(void* params) { return destroy<ksys_jobResetParams>(params); }

c_Int32 ksys_jobResetParams_setNumThreads(ksys_jobResetParams* params, c_Int32 numThreads) {
  if (params == nullptr || numThreads < 0 || numThreads > ksys_jobMaxThreads) return ksys_jobBadArgument;
  params->numThreads = numThreads;
  return 0;
}

c_Int32 ksys_jobReset(ksys_jobResetParams const* params) {
  if (params == nullptr || params->numThreads < 0 || params->numThreads > ksys_jobMaxThreads)
    return ksys_jobBadArgument;
  return resize(params->numThreads == 0 ? defaultThreadCount() : params->numThreads, PoolState::eRunning);
}

c_Int32 ksys_jobShutdown() { return resize(0, PoolState::eShutDown); }

c_Int32 ksys_jobGetNumThreads() {
  Pool& p = pool();
  std::lock_guard lock(p.mutex);
  switch (p.state) {
    case PoolState::eNeverStarted: return p.staticDestruction ? 0 : defaultThreadCount();
    case PoolState::eRunning: return static_cast<c_Int32>(p.threads.size());
    case PoolState::eShutDown: break;
  }
  return 0;
}

c_Int32 ksys_jobThreadGroup_construct(ksys_jobThreadGroup** out) { return constructNothrow(out); }
c_Int32 ksys_jobThreadGroup_destroy(void* group) { return destroy<ksys_jobThreadGroup>(group); }

c_Int32 ksys_jobGetCurrentThreadState(ksys_jobThreadGroup const* group, c_Int32 state[2]) {
  if (group == nullptr || state == nullptr) return ksys_jobBadArgument;
  // Inside a job, whichever thread runs it, nested work stays serial: the
  // same job then splits its work the same way on the caller as on a worker.
  state[0] = tl_jobIndex >= 0 || tl_dispatchDepth > 0 ? 1 : ksys_jobGetNumThreads();
  state[1] = tl_jobIndex;
  return 0;
}

c_Int32 ksys_jobThreadGroup_dispatchAndWait(ksys_jobThreadGroup* group, ksys_jobRequestSet* requests,
                                            ksys_jobResultSet* results) {
  if (group == nullptr || requests == nullptr || results == nullptr) return ksys_jobBadArgument;
  std::size_t const n = requests->requests.size();
  try {
    results->statuses.assign(n, 0);
  } catch (std::bad_alloc const&) {
    return kstd_outOfMemory;
  }
  if (n == 0) return 0;
  Batch batch;
  batch.requests = &requests->requests;
  batch.statuses = &results->statuses;
  batch.remaining = n;

  Pool& p = pool();
  std::unique_lock lock(p.mutex);
  p.changed.wait(lock, [&] { return !p.resetting; });
  if (p.state == PoolState::eNeverStarted && !p.staticDestruction) {
    // A failure to start leaves fewer threads; the dispatch still runs.
    startThreads(p, defaultThreadCount());
    p.state = PoolState::eRunning;
  }
  ++p.dispatching;
  ++tl_dispatchDepth;
  bool const shared = n > 1 && !p.threads.empty();
  if (shared) {
    p.batches.push_back(&batch);
    p.work.notify_all();
  }
  // This thread takes requests of its own batch until none is left.
  while (batch.next < n) {
    std::size_t const i = batch.next++;
    if (shared && batch.next == n) p.batches.erase(std::find(p.batches.begin(), p.batches.end(), &batch));
    lock.unlock();
    std::exception_ptr error;
    c_Int32 const status = runRequest(batch, i, error);
    lock.lock();
    recordEnd(p, batch, i, status, std::move(error));
  }
  p.changed.wait(lock, [&] { return batch.remaining == 0; });
  --tl_dispatchDepth;
  if (--p.dispatching == 0) p.changed.notify_all();
  lock.unlock();
  if (batch.error) std::rethrow_exception(batch.error);
  return 0;
}

c_Int32 ksys_jobParams_construct(ksys_jobParams** out) { return constructNothrow(out); }
c_Int32 ksys_jobParams_destroy(void* params) { return destroy<ksys_jobParams>(params); }

c_Int32 ksys_jobParams_takeData(ksys_jobParams* params, void* data, ksys_cleanupDtor release) {
  if (params == nullptr) {
    if (data && release) release(data);  // ownership was handed over: do not leak it
    return ksys_jobBadArgument;
  }
  params->drop();
  params->data = data;
  params->release = release;
  return 0;
}

void const* ksys_jobParams_getDataConst(ksys_jobParams const* params) { return params ? params->data : nullptr; }
void* ksys_jobParams_getData(ksys_jobParams const* params) { return params ? params->data : nullptr; }

c_Int32 ksys_jobRequestSet_construct(ksys_jobRequestSet** out) { return constructNothrow(out); }
c_Int32 ksys_jobRequestSet_destroy(void* set) { return destroy<ksys_jobRequestSet>(set); }

c_Int32 ksys_jobRequestSet_addFuncAndParams(ksys_jobRequestSet* set, ksys_jobFunc func, ksys_jobParams* params) {
  if (set == nullptr || func == nullptr || params == nullptr) return ksys_jobBadArgument;
  auto request = std::unique_ptr<ksys_jobRequest>(new (std::nothrow) ksys_jobRequest);
  if (!request) return kstd_outOfMemory;
  try {
    set->requests.push_back(nullptr);
  } catch (std::bad_alloc const&) {
    return kstd_outOfMemory;
  }
  request->func = func;
  request->params.data = params->data;
  request->params.release = params->release;
  params->data = nullptr;
  params->release = nullptr;
  set->requests.back() = std::move(request);
  return 0;
}

c_Int32 ksys_jobRequestSet_size(ksys_jobRequestSet const* set) {
  return set ? static_cast<c_Int32>(set->requests.size()) : 0;
}

c_Int32 ksys_jobResultSet_construct(ksys_jobResultSet** out) { return constructNothrow(out); }
c_Int32 ksys_jobResultSet_destroy(void* set) { return destroy<ksys_jobResultSet>(set); }

c_Int32 ksys_jobResultSet_size(ksys_jobResultSet const* set) {
  return set ? static_cast<c_Int32>(set->statuses.size()) : 0;
}

c_Int32 ksys_jobResultSet_getStatus(ksys_jobResultSet const* set, c_Int32 index, c_Int32* status) {
  if (set == nullptr || status == nullptr || index < 0 || static_cast<std::size_t>(index) >= set->statuses.size())
    return ksys_jobBadArgument;
  *status = set->statuses[static_cast<std::size_t>(index)];
  return 0;
}
