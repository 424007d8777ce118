#include "orvstd/workmgr/worker_thread_manager.h"

#include <algorithm>
#include <new>

#include "orvstd/archive/archive.h"
#include "orvstd/except/assert.h"
#include "orvstd/except/except.h"
#include "orvstd/except/internal/kernel_scope.h"
#include "orvstd/kernel/ksys_jobs.h"
#include "orvstd/kernel/ksys_memory.h"

namespace {

void check(c_Int32 rc) { cf_CheckKernelStatus(rc); }

void convertJobFailure(c_Int32 code) {
  if (code == ksys_jobBadArgument) throw ccWorkerThreadManagerDefs::BadParams();
}
cc_ExceptionConverter const jobConverter(kstd_facilityJobs, &convertJobFailure);

// What one job thread's share of a run needs; the kernel's record size.
struct cc_QRTRecord {
  void* const* items;
  c_Int32 n;
  void (*fn)(void*);
  c_Int32 threads;
  c_Int32 share;
  c_UInt32* results;
};
static_assert(sizeof(cc_QRTRecord) == 40);

constexpr c_UInt32 kNotRun = 0xFFFFFFFFu;

// Items share, share + T, share + 2T, ...: item j belongs to share j % T.
c_Int32 runShare(ksys_jobParams const* params) {
  auto const& r = *static_cast<cc_QRTRecord const*>(ksys_jobParams_getDataConst(params));
  for (c_Int32 j = r.share; j < r.n; j += r.threads) {
    try {
      r.fn(r.items[j]);
    } catch (ccException const& e) {
      // The rest of this share stays "not run"; other shares go on.
      r.results[j] = static_cast<c_UInt32>(e.errorNumber());
      return static_cast<c_Int32>(0x80000000u);
    }
    r.results[j] = 0;
  }
  return 0;
}

}  // namespace

// ccWorkerThreadManagerParams -------------------------------------------------

void ccWorkerThreadManagerParams::desiredWorkerThreads(ccWorkerThreadManagerDefs::DesiredWorkerThreads desired) {
  if (desired > ccWorkerThreadManagerDefs::eWorkerThreadCount) throw ccWorkerThreadManagerDefs::BadParams();
  desired_ = desired;
}

void ccWorkerThreadManagerParams::workerThreadCount(c_Int32 count) {
  if (count <= 0) throw ccWorkerThreadManagerDefs::BadParams();
  count_ = count;
}

ccArchive& operator||(ccArchive& ar, ccWorkerThreadManagerParams& params) {
  unsigned char version = 0;
  ar || version;
  cfCheckClassVersion(version, 0, "std/workmgr/workmgr", 51);
  c_UInt32 desired = params.desired_;
  c_Int32 count = params.count_;
  ar || desired;
  ar || count;
  if (ar.isLoading()) {
    // Values from a file pass the same tests as a caller's, all or nothing.
    ccWorkerThreadManagerParams loaded;
    loaded.desiredWorkerThreads(static_cast<ccWorkerThreadManagerDefs::DesiredWorkerThreads>(desired));
    loaded.workerThreadCount(count);
    params = loaded;
  }
  return ar;
}

// ccWorkerThreadManager -------------------------------------------------------

void ccWorkerThreadManager::configure(ccWorkerThreadManagerParams const& params) {
  cc_KernelScope scope;
  ksys_jobResetParams* reset = scope.make(&ksys_jobResetParams_construct, &ksys_jobResetParams_destroy);
  if (params.desiredWorkerThreads() == ccWorkerThreadManagerDefs::eNoWorkerThreads) {
    check(ksys_jobShutdown());
  } else {
    bool const exact = params.desiredWorkerThreads() == ccWorkerThreadManagerDefs::eWorkerThreadCount;
    check(ksys_jobResetParams_setNumThreads(reset, exact ? params.workerThreadCount() : 0));
    check(ksys_jobReset(reset));
  }
  scope.finish();
}

void ccWorkerThreadManager::activateMax() { configure(ccWorkerThreadManagerParams()); }

void ccWorkerThreadManager::deactivate() {
  ccWorkerThreadManagerParams params;
  params.desiredWorkerThreads(ccWorkerThreadManagerDefs::eNoWorkerThreads);
  configure(params);
}

c_Int32 ccWorkerThreadManager::numWorkerThreads() { return ksys_jobGetNumThreads(); }

// cfMultithreadRunQRT ---------------------------------------------------------

std::vector<c_UInt32> cfMultithreadRunQRT(void (*fn)(void*), std::vector<void*> items) {
  cmAssert(fn != nullptr);
  cmAssert(items.size() <= 0x7FFFFFFFu);
  cc_KernelScope scope;
  ksys_jobThreadGroup* group = scope.make(&ksys_jobThreadGroup_construct, &ksys_jobThreadGroup_destroy);
  c_Int32 state[2] = {0, -1};
  check(ksys_jobGetCurrentThreadState(group, state));
  c_Int32 const n = static_cast<c_Int32>(items.size());
  c_Int32 const threads = std::min(state[0], n);
  std::vector<c_UInt32> results(items.size(), kNotRun);

  if (threads <= 1) {
    for (c_Int32 i = 0; i < n; ++i) {
      fn(items[i]);
      results[i] = 0;
    }
  } else {
    ksys_jobParams* params = scope.make(&ksys_jobParams_construct, &ksys_jobParams_destroy);
    ksys_jobRequestSet* requests = scope.make(&ksys_jobRequestSet_construct, &ksys_jobRequestSet_destroy);
    ksys_jobResultSet* statuses = scope.make(&ksys_jobResultSet_construct, &ksys_jobResultSet_destroy);
    for (c_Int32 t = 0; t < threads; ++t) {
      void* block = nullptr;
      check(ksys_memory_alloc_internal(sizeof(cc_QRTRecord), &block));
      new (block) cc_QRTRecord{items.data(), n, fn, threads, t, results.data()};
      check(ksys_jobParams_takeData(params, block, &ksys_memory_free_internal));
      check(ksys_jobRequestSet_addFuncAndParams(requests, &runShare, params));
    }
    check(ksys_jobThreadGroup_dispatchAndWait(group, requests, statuses));
  }
  scope.finish();
  return results;
}
