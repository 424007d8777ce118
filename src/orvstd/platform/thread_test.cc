#include "orvstd/platform/thread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "orvstd/platform/testing/waits.h"

namespace {

c_UInt32 osTid() { return static_cast<c_UInt32>(::syscall(SYS_gettid)); }

TEST(Thread, RunsItsFunctionAndCanBeAwaitedTwice) {
  struct Seen {
    std::atomic<int> value{0};
    std::atomic<c_UInt32> tid{0};
    ccThreadID self;
  } seen;
  ccThreadID t = cfCreateThread(
      [](void* p) {
        auto* s = static_cast<Seen*>(p);
        s->self = cfGetCurrentThreadID();
        s->tid = osTid();
        s->value = 42;
      },
      &seen, cePriorityNormal, -1);
  ASSERT_TRUE(!!t);
  EXPECT_TRUE(t.threadCreationCompleteSema().lock(5.0));
  cfWaitForThreadTermination(t);
  cfWaitForThreadTermination(t);  // the second wait passes too
  EXPECT_EQ(seen.value.load(), 42);
  EXPECT_TRUE(seen.self == t);
  EXPECT_EQ(t.osDependentThreadId(), seen.tid.load());
  EXPECT_NE(t.osDependentThreadHandle(), nullptr);
  EXPECT_TRUE(t != cfGetCurrentThreadID());

  ccThreadID empty;
  cfWaitForThreadTermination(empty);  // nothing to wait for
  EXPECT_TRUE(!empty);
}

TEST(Thread, CurrentIdIsStableAndMainIsTheFirstSeen) {
  ccThreadID a = cfGetCurrentThreadID(), b = cfGetCurrentThreadID();
  EXPECT_TRUE(a == b);
  // gtest's thread is the first this process registers.
  EXPECT_TRUE(ccThreadID::mainThreadID() == a);
  EXPECT_EQ(a.osDependentThreadId(), osTid());

  ccThreadID foreign;
  std::thread([&] { foreign = cfGetCurrentThreadID(); }).join();
  EXPECT_TRUE(!!foreign);
  EXPECT_TRUE(foreign != a);
  EXPECT_TRUE(ccThreadID::mainThreadID() == a);
}

std::mutex gOrderMutex;
std::vector<int> gOrder;
void recordHook(ccThreadID const&, void* arg) {
  std::lock_guard<std::mutex> hold(gOrderMutex);
  gOrder.push_back(static_cast<int>(reinterpret_cast<std::intptr_t>(arg)));
}

TEST(Thread, ExitHooksRunLastRegisteredFirst) {
  gOrder.clear();
  ccThreadID t = cfCreateThread(
      [](void*) {
        ccThreadID self = cfGetCurrentThreadID();
        for (std::intptr_t i = 1; i <= 3; ++i) self.atexit(&recordHook, reinterpret_cast<void*>(i));
      },
      nullptr, cePriorityNormal, -1);
  cfWaitForThreadTermination(t);
  EXPECT_EQ(gOrder, (std::vector<int>{3, 2, 1}));
}

TEST(Thread, ForeignThreadRunsItsHooksWhenItEnds) {
  for (bool explicitly : {false, true}) {
    gOrder.clear();
    std::thread([explicitly] {
      cfGetCurrentThreadID().atexit(&recordHook, reinterpret_cast<void*>(7));
      if (explicitly) cfThreadCleanupEx();  // the hook runs once, not again at exit
    }).join();
    EXPECT_EQ(gOrder, (std::vector<int>{7})) << (explicitly ? "cleaned up explicitly" : "at exit");
  }
}

TEST(Thread, ThirtyThirdHookCannotRegister) {
  struct Result {
    std::atomic<int> registered{0};
    std::atomic<c_Int32> error{-1};
  } result;
  ccThreadID t = cfCreateThread(
      [](void* p) {
        auto* r = static_cast<Result*>(p);
        ccThreadID self = cfGetCurrentThreadID();
        try {
          for (int i = 0; i < 40; ++i) {
            self.atexit([](ccThreadID const&, void*) {}, nullptr);
            ++r->registered;
          }
        } catch (ccThreadID::CouldNotRegister const& e) {
          r->error = e.errorNumber();
        }
      },
      &result, cePriorityNormal, -1);
  cfWaitForThreadTermination(t);
  EXPECT_EQ(result.registered.load(), 32);
  EXPECT_EQ(result.error.load(), 0x10002101);
}

TEST(Thread, PriorityLevels) {
  struct Result {
    std::atomic<int> atStart{-1}, afterSet{-1}, nice{100};
  } r;
  errno = 0;
  int base = ::getpriority(PRIO_PROCESS, static_cast<id_t>(osTid()));
  ASSERT_EQ(errno, 0);
  ccThreadID t = cfCreateThread(
      [](void* p) {
        auto* res = static_cast<Result*>(p);
        res->atStart = cfGetThreadPriority();
        cfSetThreadPriority(cePriorityIdle);  // lowering is always allowed
        res->afterSet = cfGetThreadPriority();
        res->nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(osTid()));
      },
      &r, cePriorityBelowNormal, -1);
  cfWaitForThreadTermination(t);
  EXPECT_EQ(r.atStart.load(), cePriorityBelowNormal);
  EXPECT_EQ(r.afterSet.load(), cePriorityIdle);
  EXPECT_EQ(r.nice.load(), base + 15 > 19 ? 19 : base + 15);
  EXPECT_EQ(cfGetThreadPriority(), cePriorityNormal);  // ours is untouched
}

TEST(ThreadDeathTest, LevelSevenAsserts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process has threads
  EXPECT_DEATH(cfSetThreadPriority(static_cast<cePriority>(7)), "assertion failed");
}

TEST(ThreadDeathTest, UnhandledExceptionStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process has threads
  EXPECT_DEATH(
      {
        ccThreadID t = cfCreateThread([](void*) { throw ccBadPointer(); }, nullptr, cePriorityNormal, -1);
        cfWaitForThreadTermination(t);
      },
      "Unhandled ccException from thread created by cfCreateThread\\.  You need to add a try-catch block to catch "
      "all ccExceptions for functions passed to cfCreateThread\\.");
}

TEST(ThreadDeathTest, StopAllThreadsBreaksWaitsAndRefuses) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process has threads
  EXPECT_EXIT(
      {
        static std::atomic<int> ended{0};
        static ccSemaphore never(0, 1);
        auto blocked = [](void*) {
          struct Count {
            ~Count() { ++ended; }
          } count;
          never.lock();
        };
        cfCreateThread(blocked, nullptr, cePriorityNormal, -1);
        cfCreateThread(blocked, nullptr, cePriorityNormal, -1);
        cf_StopAllThreads();
        bool refused = false;
        try {
          cfCreateThread(blocked, nullptr, cePriorityNormal, -1);
        } catch (ccThreadID::CreateFailed const&) {
          refused = true;
        }
        std::_Exit(ended.load() == 2 && refused ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// Static destruction, in a fresh process: once the statics of the thread
// machinery are gone, a static destructor gets an empty current id and a
// thread that never runs, each reported, and the process still exits 0.
TEST(ThreadStaticDestruction, ReportsAndCarriesOn) {
  std::string out;
  FILE* p = ::popen(ORVSTD_STD_PROBE " 2>&1", "r");
  ASSERT_NE(p, nullptr);
  char buf[512];
  while (std::fgets(buf, sizeof buf, p)) out += buf;
  int status = ::pclose(p);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << out;
  EXPECT_NE(out.find("main: main is current 1, thread ran 1\n"), std::string::npos) << out;
  EXPECT_NE(out.find("orvstd: assertion failed: QRT threads must not run during STD time.\n"), std::string::npos)
      << out;
  EXPECT_NE(out.find("late: current id empty 1\n"), std::string::npos) << out;
  EXPECT_NE(out.find("orvstd: assertion failed: Cannot create a thread during STD.\n"), std::string::npos) << out;
  EXPECT_NE(out.find("late: thread ran 1\n"), std::string::npos) << out;  // still 1: the late one never ran
}

// The termination wait returns only once the thread has left the library:
// by then the mutex it still owned is abandoned, so a zero wait takes it.
TEST(Thread, TerminationWaitCoversTheExitCleanUp) {
  for (int round = 0; round < 20; ++round) {
    static ccMutex* m;
    ccMutex mutex;
    m = &mutex;
    ccThreadID t = cfCreateThread([](void*) { m->lock(); }, nullptr, cePriorityNormal, -1);
    cfWaitForThreadTermination(t);
    ASSERT_TRUE(mutex.lock(0.0)) << "round " << round;
    mutex.unlock();
  }
}

TEST(Thread, WaitingForAForeignThreadEndsWhenItEnds) {
  ccThreadID id;
  std::atomic<bool> registered{false};
  std::atomic<bool> leave{false};
  std::thread foreign([&] {
    id = cfGetCurrentThreadID();
    registered = true;
    awaitFlag(leave);
  });
  awaitFlag(registered);
  std::thread releaser([&] {
    sleepMs(20);
    leave = true;
  });
  cfWaitForThreadTermination(id);
  EXPECT_TRUE(leave.load());
  foreign.join();
  releaser.join();
}

TEST(Thread, StarterFailureIsCreateFailed) {
  EXPECT_THROW(cf_CreateThreadCore([](void*) {}, nullptr, cePriorityNormal, -1,
                                   [](cc_Thread*, c_Int32) -> void* { return nullptr; }),
               ccThreadID::CreateFailed);
}

class ccCounterTLS : cc_ThreadLocal {
 public:
  int* get() const { return static_cast<int*>(OSValue()); }
  void set(int* p) { OSValue(p); }
};

TEST(ThreadLocal, EachThreadHasItsOwnValue) {
  ccCounterTLS a, b;
  int mine = 1, theirs = 2;
  a.set(&mine);
  EXPECT_EQ(a.get(), &mine);
  EXPECT_EQ(b.get(), nullptr);
  int* seenBefore = &theirs;
  int* seenAfter = nullptr;
  std::thread([&] {
    seenBefore = a.get();
    a.set(&theirs);
    seenAfter = a.get();
  }).join();
  EXPECT_EQ(seenBefore, nullptr);
  EXPECT_EQ(seenAfter, &theirs);
  EXPECT_EQ(a.get(), &mine);
  ccCounterTLS late;  // made after this thread's array: still usable
  late.set(&theirs);
  EXPECT_EQ(late.get(), &theirs);
}

}  // namespace
