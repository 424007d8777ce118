// Kernel layer job threads: one process-wide pool of worker threads that
// runs sets of requests and waits for all of them.
//
// A caller builds a request set (a function and its own data per request),
// dispatches it through a thread group and gets one status per request in a
// result set. Each request runs exactly once, on some thread; the calling
// thread takes requests of its own set too while it waits, so a dispatch
// from inside a job cannot starve.
//
//   ksys_jobThreadGroup* group;   ksys_jobThreadGroup_construct(&group);
//   ksys_jobParams* params;       ksys_jobParams_construct(&params);
//   ksys_jobRequestSet* set;      ksys_jobRequestSet_construct(&set);
//   ksys_jobResultSet* results;   ksys_jobResultSet_construct(&results);
//   for (...) {
//     ksys_jobParams_takeData(params, record, &ksys_memory_free_internal);
//     ksys_jobRequestSet_addFuncAndParams(set, &routine, params);
//   }
//   ksys_jobThreadGroup_dispatchAndWait(group, set, results);
//
// The pool starts on first use with as many threads as the machine has
// cores, until ksys_jobReset or ksys_jobShutdown say otherwise. It is shut
// down when the library's statics are destroyed and refuses to start again.
//
// Internal: never installed, never included by a public header.
#ifndef ORVSTD_KERNEL_KSYS_JOBS_H_
#define ORVSTD_KERNEL_KSYS_JOBS_H_

#include "orvstd/defs/types.h"
#include "orvstd/kernel/ksys_cleanup.h"
#include "orvstd/kernel/kstd.h"

inline constexpr c_Int32 kstd_facilityJobs = 5;
inline constexpr c_Int32 ksys_jobBadArgument = kstd_failureCode(kstd_facilityJobs, 1);
// Reset or shut down from a job thread, which would wait for itself.
inline constexpr c_Int32 ksys_jobOnJobThread = kstd_failureCode(kstd_facilityJobs, 2);
// A job function let an exception out; it is raised again in the dispatcher.
inline constexpr c_Int32 ksys_jobUnhandledException = kstd_failureCode(kstd_facilityJobs, 3);
// The system refused to start a thread.
inline constexpr c_Int32 ksys_jobNoThread = kstd_failureCode(kstd_facilityJobs, 4);
// The library's statics are being destroyed: no thread may start.
inline constexpr c_Int32 ksys_jobStaticDestruction = kstd_failureCode(kstd_facilityJobs, 5);

// More threads than this are refused as a bad argument.
inline constexpr c_Int32 ksys_jobMaxThreads = 1024;

struct ksys_jobResetParams {
  c_Int32 numThreads = 0;  // 0: as many as the kernel chooses (one per core)
};
struct ksys_jobParams;
struct ksys_jobRequestSet;
struct ksys_jobResultSet;
struct ksys_jobThreadGroup;

// A job: gets the data of its request, returns a status (negative: failed).
using ksys_jobFunc = c_Int32 (*)(ksys_jobParams const* params);

// Every destroy function has the clean-up list's signature, so that each
// object can be registered for clean-up as it is made.
c_Int32 ksys_jobResetParams_construct(ksys_jobResetParams** out);
c_Int32 ksys_jobResetParams_destroy(void* params);
c_Int32 ksys_jobResetParams_setNumThreads(ksys_jobResetParams* params, c_Int32 numThreads);

// Waits until no dispatch is running, then replaces the pool by one of the
// asked size. Negative or above ksys_jobMaxThreads: ksys_jobBadArgument.
c_Int32 ksys_jobReset(ksys_jobResetParams const* params);
// Waits until no dispatch is running and stops every thread. Until the next
// reset, dispatches run on the calling thread alone.
c_Int32 ksys_jobShutdown();
// The number of worker threads (0 after a shutdown).
c_Int32 ksys_jobGetNumThreads();

c_Int32 ksys_jobThreadGroup_construct(ksys_jobThreadGroup** out);
c_Int32 ksys_jobThreadGroup_destroy(void* group);
// state[0]: the threads a dispatch of this thread may use: 1 inside a job,
// on a job thread or on a dispatcher that helps (nested work stays serial),
// and 0 after a shutdown; state[1]: the index of this job thread, -1 for
// any other thread.
c_Int32 ksys_jobGetCurrentThreadState(ksys_jobThreadGroup const* group, c_Int32 state[2]);
// Runs every request of `requests` once and returns when all have ended;
// their statuses go to `results` in request order. A job's exception is
// raised here again, after every other request has ended.
c_Int32 ksys_jobThreadGroup_dispatchAndWait(ksys_jobThreadGroup* group, ksys_jobRequestSet* requests,
                                            ksys_jobResultSet* results);

c_Int32 ksys_jobParams_construct(ksys_jobParams** out);
c_Int32 ksys_jobParams_destroy(void* params);
// Takes ownership of `data`, freed by `release` (may be null) with the
// request that receives it. Data held before is released now.
c_Int32 ksys_jobParams_takeData(ksys_jobParams* params, void* data, ksys_cleanupDtor release);
void const* ksys_jobParams_getDataConst(ksys_jobParams const* params);
void* ksys_jobParams_getData(ksys_jobParams const* params);

c_Int32 ksys_jobRequestSet_construct(ksys_jobRequestSet** out);
c_Int32 ksys_jobRequestSet_destroy(void* set);
// Appends a request; the data moves from `params` into it, leaving
// `params` empty for the next request.
c_Int32 ksys_jobRequestSet_addFuncAndParams(ksys_jobRequestSet* set, ksys_jobFunc func, ksys_jobParams* params);
c_Int32 ksys_jobRequestSet_size(ksys_jobRequestSet const* set);

c_Int32 ksys_jobResultSet_construct(ksys_jobResultSet** out);
c_Int32 ksys_jobResultSet_destroy(void* set);
c_Int32 ksys_jobResultSet_size(ksys_jobResultSet const* set);
// The status of request `index` of the last dispatch; bad index:
// ksys_jobBadArgument.
c_Int32 ksys_jobResultSet_getStatus(ksys_jobResultSet const* set, c_Int32 index, c_Int32* status);

#endif  // ORVSTD_KERNEL_KSYS_JOBS_H_
