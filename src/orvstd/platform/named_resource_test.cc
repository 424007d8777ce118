// Objects shared by name: between handles of one process, and between
// processes (forked children), including an owner process that dies.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>

#include "orvstd/kernel/ksys_named.h"
#include "orvstd/platform/resource.h"
#include "orvstd/platform/testing/waits.h"
#include "orvstd/platform/thread.h"

namespace {

// Names unique to this run and test, so that runs never meet.
std::string uniqueName(char const* what) {
  static std::atomic<int> serial{0};
  return "orvstd-test-" + std::to_string(::getpid()) + "-" + what + "-" + std::to_string(serial++);
}

bool nameExists(std::string const& name) {
  char path[256];
  if (!ksys_named_path(name.c_str(), path, sizeof path)) return false;
  struct stat st {};
  return ::stat((std::string("/dev/shm") + path).c_str(), &st) == 0;
}

// Runs `body` in a forked child; its result is the exit status (99 for an
// exception). The child touches only what it is given.
template <class F>
pid_t spawn(F body) {
  pid_t pid = ::fork();
  if (pid == 0) {
    int rc = 98;
    try {
      rc = body();
    } catch (...) {
      rc = 99;
    }
    ::_exit(rc);
  }
  return pid;
}

// The child's exit code, or -signal if a signal ended it.
int reap(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1000;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// ---- within one process

TEST(NamedObject, SecondHandleOpensTheSameObject) {
  std::string name = uniqueName("sem");
  ccSemaphore a(0, 2, name);
  EXPECT_TRUE(a.first());
  ccSemaphore b(1, 1, name);  // an existing object keeps its own counts
  EXPECT_FALSE(b.first());
  EXPECT_FALSE(b.lock(0.0));
  a.unlock();
  a.unlock();
  EXPECT_TRUE(b.lock(0.0));
  EXPECT_TRUE(b.lock(0.0));
  EXPECT_FALSE(a.lock(0.0));
}

TEST(NamedObject, ExistingRefusedWhenNotAllowed) {
  std::string name = uniqueName("mutex");
  ccMutex a(false, name);
  EXPECT_THROW(ccMutex(false, name, false), cc_Resource::NamedObjectExists);
  EXPECT_NO_THROW(ccMutex(false, name, true));
}

TEST(NamedObject, NameHeldByAnotherKindConflicts) {
  std::string name = uniqueName("kinds");
  ccMutex m(false, name);
  EXPECT_THROW(ccEvent(true, false, name), cc_Resource::NameConflict);
  EXPECT_THROW(ccSemaphore(0, 1, name), cc_Resource::NameConflict);
  // The kind check comes first: not "exists".
  EXPECT_THROW(ccEvent(true, false, name, false), cc_Resource::NameConflict);
}

TEST(NamedObject, LastHandleRemovesTheName) {
  std::string name = uniqueName("life");
  {
    ccEvent a(true, true, name);
    {
      ccEvent b(true, false, name);
      EXPECT_TRUE(b.lock(0.0));  // set by the creator
    }
    EXPECT_TRUE(nameExists(name));
  }
  EXPECT_FALSE(nameExists(name));
  ccEvent fresh(true, false, name, false);
  EXPECT_TRUE(fresh.first());
  EXPECT_FALSE(fresh.lock(0.0));
}

TEST(NamedObject, NamesAreEscapedNotMangled) {
  std::string base = uniqueName("esc");
  ccMutex slash(false, base + "/x");
  ccMutex percent(false, base + "%2Fx");  // what the slash escapes to must stay distinct
  EXPECT_TRUE(slash.first());
  EXPECT_TRUE(percent.first());
  EXPECT_THROW(ccMutex(false, std::string(300, 'n')), cc_Resource::CreateFailed);
  EXPECT_THROW(ccMutex(false, std::string("a\0b", 3)), cc_Resource::CreateFailed);
}

TEST(NamedObject, MutexIsRecursiveAndExcludesOtherThreads) {
  std::string name = uniqueName("rec");
  ccMutex a(false, name);
  ccMutex b(false, name);
  ASSERT_TRUE(a.lock(0.0));
  ASSERT_TRUE(b.lock(0.0));  // the same owner through another handle
  EXPECT_FALSE(otherThreadLocks(a));
  a.unlock();
  EXPECT_FALSE(otherThreadLocks(a));  // one level still held
  b.unlock();
  EXPECT_TRUE(otherThreadLocks(b));
}

TEST(NamedObject, UnlockByNonOwnerAsserts) {
  std::string name = uniqueName("owner");
  EXPECT_DEATH(
      {
        ccMutex a(false, name);
        a.unlock();
      },
      "");
  // The dying child left the file behind, as any crash does.
  char path[256];
  ASSERT_TRUE(ksys_named_path(name.c_str(), path, sizeof path));
  ::shm_unlink(path);
}

TEST(NamedObject, WaiterWokenByReleaseAndByAbandonment) {
  std::string name = uniqueName("wake");
  ccMutex m(false, name);
  std::atomic<bool> held{false};
  std::atomic<bool> release{false};
  // A thread holds it and ends without unlocking: abandoned.
  std::thread owner([&] {
    ccMutex mine(false, name);
    mine.lock();
    held = true;
    awaitFlag(release);
  });
  awaitFlag(held);
  EXPECT_FALSE(m.lock(0.0));
  std::thread waiter([&] {
    ccMutex theirs(false, name);
    EXPECT_TRUE(theirs.lock(10.0));  // wakes when the owner's thread ends
    theirs.unlock();
  });
  sleepMs(20);
  release = true;
  owner.join();
  waiter.join();
  EXPECT_TRUE(m.lock(0.0));
  m.unlock();
}

struct BreakTarget {
  std::string name;
  std::atomic<bool> waiting{false};
  std::atomic<bool> broken{false};
};

void blockOnNamed(void* p) {
  auto* t = static_cast<BreakTarget*>(p);
  ccMutex m(false, t->name);
  t->waiting = true;
  try {
    m.lock();
  } catch (cc_Resource::BrokenLock const&) {
    t->broken = true;
    throw;  // ends the thread normally
  }
}

TEST(NamedObject, WaitOnANamedMutexCanBeBroken) {
  BreakTarget target;
  target.name = uniqueName("break");
  ccMutex m(true, target.name);
  ccThreadID id = cfCreateThread(&blockOnNamed, &target, cePriorityOfCaller, -1);
  awaitFlag(target.waiting);
  sleepMs(20);
  cc_Resource::breakLocks(id);
  cfWaitForThreadTermination(id);
  EXPECT_TRUE(target.broken);
  m.unlock();
}

// ---- between processes

TEST(NamedObjectProcesses, SemaphoreAndEventReachAChild) {
  std::string semName = uniqueName("psem");
  std::string evName = uniqueName("pev");
  ccSemaphore done(0, 1, semName);
  ccEvent go(false, false, evName);
  pid_t child = spawn([&] {
    ccSemaphore s(0, 1, semName);
    ccEvent e(false, false, evName);
    if (s.first() || e.first()) return 2;
    if (!e.lock(10.0)) return 3;  // set by the parent
    s.unlock();
    return 0;
  });
  sleepMs(20);
  go.setEvent();
  EXPECT_TRUE(done.lock(10.0));
  EXPECT_EQ(reap(child), 0);
}

TEST(NamedObjectProcesses, ChildSeesNamedObjectExistsAndConflict) {
  std::string name = uniqueName("pexists");
  ccMutex m(false, name);
  pid_t child = spawn([&] {
    try {
      ccMutex again(false, name, false);
      return 2;
    } catch (cc_Resource::NamedObjectExists const&) {
    }
    try {
      ccSemaphore other(0, 1, name);
      return 3;
    } catch (cc_Resource::NameConflict const&) {
    }
    return 0;
  });
  EXPECT_EQ(reap(child), 0);
}

TEST(NamedObjectProcesses, MutexOfAKilledProcessIsAbandonedToItsWaiter) {
  std::string name = uniqueName("pmutex");
  std::string readyName = uniqueName("pready");
  ccSemaphore ready(0, 1, readyName);
  ccMutex m(false, name);
  pid_t child = spawn([&] {
    ccMutex mine(false, name);
    ccSemaphore r(0, 1, readyName);
    if (!mine.lock(10.0)) return 2;
    r.unlock();
    for (;;) ::pause();  // killed while holding the mutex
  });
  ASSERT_TRUE(ready.lock(10.0));
  EXPECT_FALSE(m.lock(0.0));
  std::thread killer([child] {
    sleepMs(30);
    ::kill(child, SIGKILL);
  });
  auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(m.lock(10.0));  // asleep in the kernel until the owner dies
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(9));
  killer.join();
  EXPECT_EQ(reap(child), -SIGKILL);
  m.unlock();
  EXPECT_TRUE(otherThreadLocks(m));  // usable as ever afterwards
}

TEST(NamedObjectProcesses, ForkedChildOwnsWhatItsThreadOwned) {
  ccMutex m;  // unnamed: copied into the child with the owner's id
  ASSERT_TRUE(m.lock(0.0));
  pid_t child = spawn([&] {
    if (!m.lock(0.0)) return 2;  // recursive: the child's thread is the owner
    m.unlock();
    m.unlock();
    return m.lock(0.0) ? 0 : 3;
  });
  EXPECT_EQ(reap(child), 0);
  m.unlock();
}

TEST(NamedObjectProcesses, ObjectLeftByDeadProcessesIsNew) {
  std::string name = uniqueName("stale");
  pid_t child = spawn([&] {
    ccMutex mine(true, name);  // created and held, never closed
    ::raise(SIGKILL);
    return 2;
  });
  EXPECT_EQ(reap(child), -SIGKILL);
  EXPECT_TRUE(nameExists(name));  // the file stays behind...
  ccMutex m(false, name, false);  // ...but no live handle: not "exists"
  EXPECT_TRUE(m.first());
  EXPECT_TRUE(m.lock(0.0));
  m.unlock();
}

TEST(NamedObjectProcesses, ManyProcessesExcludeEachOther) {
  std::string name = uniqueName("count");
  std::string semName = uniqueName("total");
  // A count kept in a named semaphore, read and written under the mutex by
  // four processes; a lost update would show as a wrong final count.
  ccSemaphore total(0, 1000, semName);
  ccMutex m(false, name);
  constexpr int kChildren = 4, kRounds = 50;
  pid_t children[kChildren];
  for (pid_t& c : children) {
    c = spawn([&] {
      ccMutex mine(false, name);
      ccSemaphore t(0, 1000, semName);
      for (int i = 0; i < kRounds; ++i) {
        ccLock hold(mine);
        // Read by draining, write back plus one: only safe under the mutex.
        int n = 0;
        while (t.lock(0.0)) ++n;
        for (int k = 0; k <= n; ++k) t.unlock();
      }
      return 0;
    });
  }
  for (pid_t c : children) EXPECT_EQ(reap(c), 0);
  int n = 0;
  while (total.lock(0.0)) ++n;
  EXPECT_EQ(n, kChildren * kRounds);
}

}  // namespace
