// The kernel's job threads: pool size and reset, request sets and their
// statuses, data ownership, exceptions out of a job, nested and concurrent
// dispatches.
#include "orvstd/kernel/ksys_jobs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "orvstd/kernel/ksys_memory.h"
#include "orvstd/kernel/testing/job_pool.h"

namespace {

// The kernel objects of one dispatch, destroyed with the test's scope.
struct JobObjects {
  ksys_jobThreadGroup* group = nullptr;
  ksys_jobParams* params = nullptr;
  ksys_jobRequestSet* requests = nullptr;
  ksys_jobResultSet* results = nullptr;

  JobObjects() {
    EXPECT_EQ(ksys_jobThreadGroup_construct(&group), 0);
    EXPECT_EQ(ksys_jobParams_construct(&params), 0);
    EXPECT_EQ(ksys_jobRequestSet_construct(&requests), 0);
    EXPECT_EQ(ksys_jobResultSet_construct(&results), 0);
  }
  JobObjects(JobObjects const&) = delete;
  JobObjects& operator=(JobObjects const&) = delete;
  ~JobObjects() {
    ksys_jobResultSet_destroy(results);
    ksys_jobRequestSet_destroy(requests);
    ksys_jobParams_destroy(params);
    ksys_jobThreadGroup_destroy(group);
  }

  void add(ksys_jobFunc func, void* data, ksys_cleanupDtor release = nullptr) {
    ASSERT_EQ(ksys_jobParams_takeData(params, data, release), 0);
    ASSERT_EQ(ksys_jobRequestSet_addFuncAndParams(requests, func, params), 0);
  }
  c_Int32 dispatch() { return ksys_jobThreadGroup_dispatchAndWait(group, requests, results); }
  c_Int32 status(c_Int32 i) const {
    c_Int32 s = 0;
    EXPECT_EQ(ksys_jobResultSet_getStatus(results, i, &s), 0);
    return s;
  }
};


// What one request saw of where it ran.
struct Trace {
  c_Int32 index = 0;
  std::atomic<int> runs{0};
  std::thread::id thread;
  c_Int32 state[2] = {0, 0};
};

c_Int32 traceJob(ksys_jobParams const* params) {
  auto* trace = static_cast<Trace*>(ksys_jobParams_getData(params));
  trace->runs.fetch_add(1);
  trace->thread = std::this_thread::get_id();
  ksys_jobThreadGroup* group = nullptr;
  ksys_jobThreadGroup_construct(&group);
  ksys_jobGetCurrentThreadState(group, trace->state);
  ksys_jobThreadGroup_destroy(group);
  // Long enough that one thread cannot drain the set alone every time.
  std::this_thread::sleep_for(std::chrono::microseconds(200));
  return 100 - trace->index;  // a status of its own, to check the order
}

// Every test leaves no job thread behind: death tests of this program fork.
class JobPool : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ksys_jobShutdown(), 0); }
};

class JobPoolSize : public JobPool, public testing::WithParamInterface<c_Int32> {};

TEST_P(JobPoolSize, ResetWhileIdleRunsEachRequestOnceOnThePoolOrTheCaller) {
  c_Int32 const n = GetParam();
  resetJobPool(n);
  EXPECT_EQ(ksys_jobGetNumThreads(), n);
  JobObjects jobs;
  c_Int32 state[2] = {};
  ASSERT_EQ(ksys_jobGetCurrentThreadState(jobs.group, state), 0);
  EXPECT_EQ(state[0], n);
  EXPECT_EQ(state[1], -1);

  constexpr c_Int32 kRequests = 24;
  std::vector<Trace> traces(kRequests);
  for (c_Int32 i = 0; i < kRequests; ++i) {
    traces[i].index = i;
    jobs.add(&traceJob, &traces[i]);
  }
  EXPECT_EQ(ksys_jobRequestSet_size(jobs.requests), kRequests);
  ASSERT_EQ(jobs.dispatch(), 0);
  ASSERT_EQ(ksys_jobResultSet_size(jobs.results), kRequests);
  std::set<std::thread::id> threads;
  for (c_Int32 i = 0; i < kRequests; ++i) {
    EXPECT_EQ(traces[i].runs.load(), 1) << i;
    EXPECT_EQ(jobs.status(i), 100 - i);
    threads.insert(traces[i].thread);
    if (traces[i].thread == std::this_thread::get_id()) {
      EXPECT_EQ(traces[i].state[1], -1);  // the caller helps out
    } else {
      EXPECT_GE(traces[i].state[1], 0);
      EXPECT_LT(traces[i].state[1], n);
    }
    EXPECT_EQ(traces[i].state[0], 1);  // nested work inside a job stays serial
  }
  EXPECT_LE(threads.size(), static_cast<std::size_t>(n) + 1);
}

INSTANTIATE_TEST_SUITE_P(Sizes, JobPoolSize, testing::Values(1, 2, 3, 7));

TEST_F(JobPool, ShutDownRunsEverythingOnTheCaller) {
  ASSERT_EQ(ksys_jobShutdown(), 0);
  EXPECT_EQ(ksys_jobGetNumThreads(), 0);
  JobObjects jobs;
  c_Int32 state[2] = {};
  ASSERT_EQ(ksys_jobGetCurrentThreadState(jobs.group, state), 0);
  EXPECT_EQ(state[0], 0);
  std::vector<Trace> traces(5);
  for (Trace& t : traces) jobs.add(&traceJob, &t);
  ASSERT_EQ(jobs.dispatch(), 0);
  for (Trace const& t : traces) {
    EXPECT_EQ(t.runs.load(), 1);
    EXPECT_EQ(t.thread, std::this_thread::get_id());
  }
  // Reset brings threads back after a shutdown.
  resetJobPool(2);
  EXPECT_EQ(ksys_jobGetNumThreads(), 2);
}

TEST_F(JobPool, ResetWithZeroTakesOneThreadPerCore) {
  resetJobPool(0);
  c_Int32 const cores = static_cast<c_Int32>(std::thread::hardware_concurrency());
  EXPECT_EQ(ksys_jobGetNumThreads(), cores > 0 ? cores : 1);
}

TEST_F(JobPool, RefusesBadArguments) {
  ksys_jobResetParams* params = nullptr;
  ASSERT_EQ(ksys_jobResetParams_construct(&params), 0);
  EXPECT_EQ(ksys_jobResetParams_setNumThreads(params, -1), ksys_jobBadArgument);
  EXPECT_EQ(ksys_jobResetParams_setNumThreads(params, ksys_jobMaxThreads + 1), ksys_jobBadArgument);
  EXPECT_EQ(ksys_jobResetParams_setNumThreads(params, ksys_jobMaxThreads), 0);
  params->numThreads = -3;  // written past the setter
  EXPECT_EQ(ksys_jobReset(params), ksys_jobBadArgument);
  ksys_jobResetParams_destroy(params);
  EXPECT_EQ(ksys_jobReset(nullptr), ksys_jobBadArgument);

  JobObjects jobs;
  EXPECT_EQ(ksys_jobThreadGroup_dispatchAndWait(nullptr, jobs.requests, jobs.results), ksys_jobBadArgument);
  EXPECT_EQ(ksys_jobRequestSet_addFuncAndParams(jobs.requests, nullptr, jobs.params), ksys_jobBadArgument);
  c_Int32 status = 0;
  EXPECT_EQ(ksys_jobResultSet_getStatus(jobs.results, 0, &status), ksys_jobBadArgument);
  EXPECT_EQ(ksys_jobResultSet_getStatus(jobs.results, -1, &status), ksys_jobBadArgument);
  EXPECT_EQ(jobs.dispatch(), 0);  // an empty set
  EXPECT_EQ(ksys_jobResultSet_size(jobs.results), 0);
}

// Data ownership: the request set frees what it was given, once.
std::atomic<int> gReleased{0};
c_Int32 countRelease(void* data) {
  gReleased.fetch_add(1);
  return ksys_memory_free_internal(data);
}
c_Int32 readFirstByte(ksys_jobParams const* params) {
  return *static_cast<unsigned char const*>(ksys_jobParams_getDataConst(params));
}

TEST_F(JobPool, RequestsOwnTheirDataAndReleaseItOnce) {
  resetJobPool(2);
  gReleased = 0;
  {
    JobObjects jobs;
    for (unsigned char i = 0; i < 4; ++i) {
      void* block = nullptr;
      ASSERT_EQ(ksys_memory_alloc_internal(40, &block), 0);
      *static_cast<unsigned char*>(block) = static_cast<unsigned char>(10 + i);
      jobs.add(&readFirstByte, block, &countRelease);
      EXPECT_EQ(ksys_jobParams_getDataConst(jobs.params), nullptr);  // moved into the request
    }
    // Data replaced in the parameters is released at once.
    void* spare = nullptr;
    ASSERT_EQ(ksys_memory_alloc_internal(8, &spare), 0);
    ASSERT_EQ(ksys_jobParams_takeData(jobs.params, spare, &countRelease), 0);
    ASSERT_EQ(ksys_jobParams_takeData(jobs.params, nullptr, nullptr), 0);
    EXPECT_EQ(gReleased.load(), 1);
    ASSERT_EQ(jobs.dispatch(), 0);
    for (c_Int32 i = 0; i < 4; ++i) EXPECT_EQ(jobs.status(i), 10 + i);
    EXPECT_EQ(gReleased.load(), 1);  // the set still holds the records
  }
  EXPECT_EQ(gReleased.load(), 5);
}

// A job that lets an exception out; the others run to their end.
c_Int32 throwOrCount(ksys_jobParams const* params) {
  auto* trace = static_cast<Trace*>(ksys_jobParams_getData(params));
  trace->runs.fetch_add(1);
  if (trace->index == 3) throw std::runtime_error("job 3");
  std::this_thread::sleep_for(std::chrono::microseconds(100));
  return 0;
}

TEST_F(JobPool, AnExceptionOutOfAJobIsRaisedInTheDispatcherAfterTheRest) {
  for (c_Int32 n : {0, 3}) {
    if (n == 0)
      ASSERT_EQ(ksys_jobShutdown(), 0);
    else
      resetJobPool(n);
    JobObjects jobs;
    std::vector<Trace> traces(9);
    for (c_Int32 i = 0; i < 9; ++i) {
      traces[i].index = i;
      jobs.add(&throwOrCount, &traces[i]);
    }
    EXPECT_THROW(jobs.dispatch(), std::runtime_error);
    for (c_Int32 i = 0; i < 9; ++i) {
      EXPECT_EQ(traces[i].runs.load(), 1) << "threads " << n << " request " << i;
      EXPECT_EQ(jobs.status(i), i == 3 ? ksys_jobUnhandledException : 0);
    }
    // The pool is intact afterwards.
    std::vector<Trace> again(4);
    JobObjects next;
    for (Trace& t : again) next.add(&traceJob, &t);
    EXPECT_EQ(next.dispatch(), 0);
    for (Trace const& t : again) EXPECT_EQ(t.runs.load(), 1);
  }
}

// From inside a job: a nested dispatch finishes, a reset is refused.
struct Nested {
  std::atomic<int> innerRuns{0};
  c_Int32 resetStatus = 0;
  c_Int32 shutdownStatus = 0;
  c_Int32 dispatchStatus = -1;
};
c_Int32 innerJob(ksys_jobParams const* params) {
  static_cast<Nested*>(ksys_jobParams_getData(params))->innerRuns.fetch_add(1);
  return 0;
}
c_Int32 outerJob(ksys_jobParams const* params) {
  auto* nested = static_cast<Nested*>(ksys_jobParams_getData(params));
  ksys_jobResetParams reset;
  nested->resetStatus = ksys_jobReset(&reset);
  nested->shutdownStatus = ksys_jobShutdown();
  JobObjects inner;
  for (int i = 0; i < 6; ++i) inner.add(&innerJob, nested);
  nested->dispatchStatus = inner.dispatch();
  return 0;
}

TEST_F(JobPool, NestedDispatchCompletesAndResetFromAJobIsRefused) {
  resetJobPool(2);
  std::vector<Nested> nested(4);
  JobObjects jobs;
  for (Nested& n : nested) jobs.add(&outerJob, &n);
  ASSERT_EQ(jobs.dispatch(), 0);
  for (Nested const& n : nested) {
    EXPECT_EQ(n.innerRuns.load(), 6);
    EXPECT_EQ(n.dispatchStatus, 0);
    EXPECT_EQ(n.resetStatus, ksys_jobOnJobThread);
    EXPECT_EQ(n.shutdownStatus, ksys_jobOnJobThread);
  }
  EXPECT_EQ(ksys_jobGetNumThreads(), 2);
}

c_Int32 addOne(ksys_jobParams const* params) {
  static_cast<std::atomic<int>*>(ksys_jobParams_getData(params))->fetch_add(1);
  return 0;
}

TEST_F(JobPool, ConcurrentDispatchersAndResetsEachFinishTheirOwnSets) {
  resetJobPool(3);
  constexpr int kDispatchers = 4;
  constexpr int kRounds = 30;
  constexpr int kPerSet = 8;
  std::vector<std::atomic<int>> counts(kDispatchers);
  std::vector<std::thread> threads;
  for (int d = 0; d < kDispatchers; ++d) {
    threads.emplace_back([&, d] {
      for (int r = 0; r < kRounds; ++r) {
        JobObjects jobs;
        for (int i = 0; i < kPerSet; ++i) jobs.add(&addOne, &counts[d]);
        EXPECT_EQ(jobs.dispatch(), 0);
      }
    });
  }
  // Resets wait for the pool to go idle; dispatches wait for the reset.
  for (c_Int32 n : {1, 4, 2, 0, 3}) resetJobPool(n);
  for (std::thread& t : threads) t.join();
  for (auto const& c : counts) EXPECT_EQ(c.load(), kRounds * kPerSet);
  EXPECT_EQ(ksys_jobGetNumThreads(), 3);
}

}  // namespace
