// The worker-thread manager: parameters and their archive bytes, configuring
// the job threads, and the statuses and round-robin shares of
// cfMultithreadRunQRT for several thread and item counts.
#include "orvstd/workmgr/worker_thread_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/except/except.h"

namespace {

using Defs = ccWorkerThreadManagerDefs;

void useThreads(c_Int32 count) {
  ccWorkerThreadManagerParams params;
  params.desiredWorkerThreads(Defs::eWorkerThreadCount);
  params.workerThreadCount(count);
  ccWorkerThreadManager::configure(params);
}

c_Int32 cores() {
  auto const n = static_cast<c_Int32>(std::thread::hardware_concurrency());
  return n > 0 ? n : 1;
}

// Leaves no job thread behind for whatever runs after these tests.
class NoThreadsAtTheEnd : public testing::Environment {
 public:
  void TearDown() override { ccWorkerThreadManager::deactivate(); }
};
testing::Environment* const noThreadsAtTheEnd = testing::AddGlobalTestEnvironment(new NoThreadsAtTheEnd);

TEST(WorkerThreadManagerParams, DefaultsAndRefusedValues) {
  ccWorkerThreadManagerParams params;
  EXPECT_EQ(params.desiredWorkerThreads(), Defs::eMaxWorkerThreads);
  EXPECT_EQ(params.workerThreadCount(), 1);
  for (c_UInt32 desired : {3u, 0xFFFFFFFFu}) {
    try {
      params.desiredWorkerThreads(static_cast<Defs::DesiredWorkerThreads>(desired));
      FAIL() << desired;
    } catch (Defs::BadParams const& e) {
      EXPECT_EQ(e.errorNumber(), 0x1000ac00);
      EXPECT_EQ(e.message(false), Defs::BadParams("").message(false));  // no text of its own
    }
  }
  EXPECT_THROW(params.workerThreadCount(0), Defs::BadParams);
  EXPECT_THROW(params.workerThreadCount(-4), Defs::BadParams);
  EXPECT_EQ(params.workerThreadCount(), 1);  // refused values change nothing
  params.desiredWorkerThreads(Defs::eNoWorkerThreads);
  params.workerThreadCount(9);
  EXPECT_EQ(params.desiredWorkerThreads(), Defs::eNoWorkerThreads);
  EXPECT_EQ(params.workerThreadCount(), 9);
}

std::string store(ccWorkerThreadManagerParams params, ccArchive::Ordering ordering) {
  ccMemoryArchive out(ordering, false);
  out || params;
  return std::string(out.storage(), out.size());
}

ccWorkerThreadManagerParams load(std::string const& bytes) {
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), false, false);
  ccWorkerThreadManagerParams params;
  in || params;
  return params;
}

TEST(WorkerThreadManagerParams, ArchiveBytesInBothOrderings) {
  ccWorkerThreadManagerParams params;
  params.desiredWorkerThreads(Defs::eWorkerThreadCount);
  params.workerThreadCount(0x01020305);
  // Head, version 0, desired, count.
  std::string const lsb("\x02\x01\x00\x02\x00\x00\x00\x05\x03\x02\x01", 11);
  std::string const msb("\x02\x00\x00\x00\x00\x00\x02\x01\x02\x03\x05", 11);
  EXPECT_EQ(store(params, ccArchive::eLsbFirst), lsb);
  EXPECT_EQ(store(params, ccArchive::eMsbFirst), msb);
  for (std::string const& bytes : {lsb, msb}) {
    ccWorkerThreadManagerParams back = load(bytes);
    EXPECT_EQ(back.desiredWorkerThreads(), Defs::eWorkerThreadCount);
    EXPECT_EQ(back.workerThreadCount(), 0x01020305);
  }
  EXPECT_EQ(store(ccWorkerThreadManagerParams(), ccArchive::eLsbFirst),
            std::string("\x02\x01\x00\x01\x00\x00\x00\x01\x00\x00\x00", 11));
}

TEST(WorkerThreadManagerParams, LoadingRefusesNewerVersionsAndBadValues) {
  std::string bytes("\x02\x01\x01\x02\x00\x00\x00\x05\x00\x00\x00", 11);
  try {
    load(bytes);
    FAIL() << "version 1 was accepted";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/workmgr/workmgr");
    EXPECT_EQ(e.line(), 51);
  }
  bytes[2] = 0;
  bytes[3] = 3;  // desired 3
  EXPECT_THROW(load(bytes), Defs::BadParams);
  bytes[3] = 2;
  bytes[7] = 0;  // count 0
  EXPECT_THROW(load(bytes), Defs::BadParams);
  bytes.resize(9);  // cut inside the count
  EXPECT_THROW(load(bytes), ccArchive::Eof);
}

class ConfigureThreads : public testing::TestWithParam<c_Int32> {};

TEST_P(ConfigureThreads, ExactCountsAreKept) {
  useThreads(GetParam());
  EXPECT_EQ(ccWorkerThreadManager::numWorkerThreads(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Counts, ConfigureThreads, testing::Values(1, 2, 3, 8));

TEST(WorkerThreadManager, ActivateAndDeactivate) {
  ccWorkerThreadManager::deactivate();
  EXPECT_EQ(ccWorkerThreadManager::numWorkerThreads(), 0);
  ccWorkerThreadManager::activateMax();
  EXPECT_EQ(ccWorkerThreadManager::numWorkerThreads(), cores());
  ccWorkerThreadManagerParams none;
  none.desiredWorkerThreads(Defs::eNoWorkerThreads);
  none.workerThreadCount(5);  // ignored when no threads are wanted
  ccWorkerThreadManager::configure(none);
  EXPECT_EQ(ccWorkerThreadManager::numWorkerThreads(), 0);
  // More threads than the kernel allows: its refusal arrives typed.
  EXPECT_THROW(useThreads(1000000), Defs::BadParams);
  EXPECT_EQ(ccWorkerThreadManager::numWorkerThreads(), 0);
}

// One work item: where and how often it ran, and whether it fails.
struct Item {
  int index = 0;
  std::atomic<int> runs{0};
  std::thread::id thread;
  int failWith = 0;  // 1: ccBadPointer; 2: std::runtime_error
  double value = 0;
};

void work(void* p) {
  auto* item = static_cast<Item*>(p);
  item->runs.fetch_add(1);
  item->thread = std::this_thread::get_id();
  if (item->failWith == 1) throw ccBadPointer();
  if (item->failWith == 2) throw std::runtime_error("item");
  double v = item->index;
  for (int k = 0; k < 2000; ++k) v = v * 0.999 + 1.0 / (k + 1);
  item->value = v;
}

std::vector<void*> pointers(std::vector<Item>& items) {
  std::vector<void*> out;
  for (Item& item : items) out.push_back(&item);
  return out;
}

constexpr c_UInt32 N = 0xFFFFFFFFu;  // not run
constexpr c_UInt32 S = static_cast<c_UInt32>(ccBadPointer::kErrorNumber);

struct RunCase {
  char const* name;
  c_Int32 threads;  // 0: no worker threads
  int items;
  std::vector<int> failing;  // items that raise ccBadPointer
  std::vector<c_UInt32> expected;
};

// Test names in listings, not the bytes of the case.
void PrintTo(RunCase const& c, std::ostream* os) { *os << c.name; }

class MultithreadRun : public testing::TestWithParam<RunCase> {};

TEST_P(MultithreadRun, StatusesFollowTheRoundRobinShares) {
  RunCase const& rc = GetParam();
  if (rc.threads == 0)
    ccWorkerThreadManager::deactivate();
  else
    useThreads(rc.threads);
  std::vector<Item> items(static_cast<std::size_t>(rc.items));
  for (int i = 0; i < rc.items; ++i) items[i].index = i;
  for (int f : rc.failing) items[f].failWith = 1;
  std::vector<c_UInt32> results = cfMultithreadRunQRT(&work, pointers(items));
  EXPECT_EQ(results, rc.expected);
  // T = min(threads, items); item j belongs to share j % T, and one share
  // runs on one thread.
  int const shares = std::min(rc.threads, rc.items);
  if (shares <= 1) return;
  std::map<int, std::set<std::thread::id>> threadsOfShare;
  for (int j = 0; j < rc.items; ++j) {
    EXPECT_EQ(items[j].runs.load(), results[j] == N ? 0 : 1) << j;
    if (items[j].runs.load() > 0) threadsOfShare[j % shares].insert(items[j].thread);
  }
  for (auto const& [share, ids] : threadsOfShare) EXPECT_EQ(ids.size(), 1u) << "share " << share;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MultithreadRun,
    testing::Values(RunCase{"NoItems", 3, 0, {}, {}},
                    RunCase{"OneThread", 1, 5, {}, {0, 0, 0, 0, 0}},
                    RunCase{"NoWorkerThreads", 0, 4, {}, {0, 0, 0, 0}},
                    RunCase{"TwoThreads", 2, 7, {}, {0, 0, 0, 0, 0, 0, 0}},
                    // Share 0 is items 0, 2, 4: 2 fails, 4 never runs; share 1 goes on.
                    RunCase{"TwoThreadsFailure", 2, 6, {2}, {0, 0, S, 0, N, 0}},
                    // Share 1 is items 1, 4.
                    RunCase{"ThreeThreadsFailureFirstOfShare", 3, 7, {1}, {0, S, 0, 0, N, 0, 0}},
                    RunCase{"ThreeThreadsFailureLastOfShare", 3, 7, {4}, {0, 0, 0, 0, S, 0, 0}},
                    RunCase{"ThreeThreadsTwoShares", 3, 9, {0, 5}, {S, 0, 0, N, 0, S, N, 0, N}},
                    // More threads than items: every item is a share of its own.
                    RunCase{"MoreThreadsThanItems", 8, 3, {0}, {S, 0, 0}},
                    RunCase{"MoreThreadsThanItemsAllFail", 5, 2, {0, 1}, {S, S}}),
    [](testing::TestParamInfo<RunCase> const& p) { return std::string(p.param.name); });

TEST(MultithreadRun, UnthreadedRunsRaiseTheExceptionInOrder) {
  for (c_Int32 threads : {0, 1, 4}) {
    if (threads == 0)
      ccWorkerThreadManager::deactivate();
    else
      useThreads(threads);
    // With four threads a single item is still run on this thread.
    std::vector<Item> items(threads == 4 ? 1 : 4);
    std::size_t const failing = items.size() == 1 ? 0 : 2;
    items[failing].failWith = 1;
    EXPECT_THROW(cfMultithreadRunQRT(&work, pointers(items)), ccBadPointer) << threads;
    for (std::size_t j = 0; j < items.size(); ++j) {
      EXPECT_EQ(items[j].runs.load(), j <= failing ? 1 : 0);
      if (j <= failing) {
        EXPECT_EQ(items[j].thread, std::this_thread::get_id());
      }
    }
  }
}

TEST(MultithreadRun, AForeignExceptionOnAWorkerReachesTheCaller) {
  useThreads(3);
  std::vector<Item> items(6);
  items[4].failWith = 2;
  EXPECT_THROW(cfMultithreadRunQRT(&work, pointers(items)), std::runtime_error);
  // Every other share ran to its end before the exception was raised.
  for (int j : {0, 2, 3, 5}) EXPECT_EQ(items[j].runs.load(), 1) << j;
}

TEST(MultithreadRun, OneOrManyThreadsGiveTheSameValues) {
  std::vector<std::vector<double>> runs;
  for (c_Int32 threads : {1, 2, 3, 6}) {
    useThreads(threads);
    std::vector<Item> items(23);
    for (int i = 0; i < 23; ++i) items[i].index = i;
    std::vector<c_UInt32> results = cfMultithreadRunQRT(&work, pointers(items));
    EXPECT_EQ(results, std::vector<c_UInt32>(23, 0));
    std::vector<double> values;
    for (Item const& item : items) values.push_back(item.value);
    runs.push_back(values);
  }
  for (std::size_t r = 1; r < runs.size(); ++r) EXPECT_EQ(runs[r], runs[0]);
}

// A nested run inside a work item is unthreaded wherever the item runs, so
// its exception reaches the outer item and becomes that item's status.
void nestedRun(void*) {
  std::vector<Item> inner(4);
  inner[1].failWith = 1;
  cfMultithreadRunQRT(&work, pointers(inner));
}

TEST(MultithreadRun, NestedRunsAreUnthreadedOnEveryThread) {
  useThreads(3);
  std::vector<void*> outer(6, nullptr);
  EXPECT_EQ(cfMultithreadRunQRT(&nestedRun, outer), (std::vector<c_UInt32>{S, S, S, N, N, N}));
}

TEST(MultithreadRun, SeveralCallersAtOnce) {
  useThreads(3);
  std::vector<std::thread> callers;
  std::atomic<int> good{0};
  for (int c = 0; c < 3; ++c) {
    callers.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        std::vector<Item> items(10);
        items[7].failWith = 1;  // share 1 of 3: items 1, 4, 7
        std::vector<c_UInt32> results = cfMultithreadRunQRT(&work, pointers(items));
        if (results == std::vector<c_UInt32>{0, 0, 0, 0, 0, 0, 0, S, 0, 0}) good.fetch_add(1);
      }
    });
  }
  for (std::thread& t : callers) t.join();
  EXPECT_EQ(good.load(), 60);
}

}  // namespace
