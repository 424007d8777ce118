// The kernel's waitable objects and named blocks, below the library's
// classes: result codes, the break, ownership rules and name mapping.
#include "orvstd/kernel/ksys_sync.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "orvstd/kernel/ksys_named.h"
#include "orvstd/kernel/ksys_thread.h"

namespace {

struct Closer {
  ksys_syncObject* object;
  ~Closer() { ksys_sync_close(object); }
};

TEST(KsysSync, SemaphoreCountsAndCodes) {
  ksys_syncObject* s = nullptr;
  EXPECT_EQ(ksys_sync_createSemaphore(2, 1, &s), ksys_syncBadArgument);
  EXPECT_EQ(ksys_sync_createSemaphore(0, 0, &s), ksys_syncBadArgument);
  EXPECT_EQ(ksys_sync_createSemaphore(-1, 1, &s), ksys_syncBadArgument);
  ASSERT_EQ(ksys_sync_createSemaphore(1, 2, &s), 0);
  Closer c{s};
  EXPECT_EQ(ksys_sync_release(s), 0);
  EXPECT_EQ(ksys_sync_release(s), ksys_syncAboveMaximum);
  EXPECT_EQ(ksys_sync_wait(s, 0), ksys_waitObject);
  EXPECT_EQ(ksys_sync_wait(s, 0), ksys_waitObject);
  EXPECT_EQ(ksys_sync_wait(s, 0), ksys_waitTimeout);
  EXPECT_EQ(ksys_sync_resetEvent(s), ksys_syncWrongKind);
}

TEST(KsysSync, BreakWinsATieOnceAndOnlyOnce) {
  ksys_syncObject* e = nullptr;
  ASSERT_EQ(ksys_sync_createEvent(true, true, &e), 0);
  Closer c{e};
  ksys_threadState* self = ksys_thread_current();
  ASSERT_EQ(ksys_thread_break(self), 0);
  EXPECT_EQ(ksys_sync_wait(e, 0), ksys_waitBroken);  // both ready: the break first
  EXPECT_EQ(ksys_sync_wait(e, 0), ksys_waitObject);
  EXPECT_FALSE(ksys_thread_consumeBreak());
}

TEST(KsysSync, MutexOwnershipRules) {
  ksys_syncObject* m = nullptr;
  ASSERT_EQ(ksys_sync_createMutex(false, &m), 0);
  c_Int32 fromOther = 0;
  std::thread([&] { fromOther = ksys_sync_release(m); }).join();
  EXPECT_EQ(fromOther, ksys_syncNotOwner);
  // Held by a thread that is still alive: the last close refuses.
  bool hold = true;
  std::atomic<bool> taken{false};
  std::thread owner([&] {
    ksys_sync_wait(m, -1);
    taken = true;
    while (__atomic_load_n(&hold, __ATOMIC_ACQUIRE)) std::this_thread::yield();
    ksys_sync_release(m);
  });
  while (!taken) std::this_thread::yield();
  ksys_sync_retain(m);
  EXPECT_EQ(ksys_sync_close(m), 0);  // not the last reference
  EXPECT_EQ(ksys_sync_close(m), ksys_syncStillOwned);
  __atomic_store_n(&hold, false, __ATOMIC_RELEASE);
  owner.join();
  EXPECT_EQ(ksys_sync_close(m), 0);  // the refused close left the reference
}

TEST(KsysSync, AwaitThreadExitSeesTheExitCleanUp) {
  ksys_threadState* state = nullptr;
  std::thread t([&] {
    state = ksys_thread_current();
    ksys_thread_retain(state);
  });
  t.join();
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(ksys_sync_awaitThreadExit(state, 0), ksys_waitObject);
  ksys_thread_release(state);

  ksys_threadState* fresh = ksys_thread_newState();  // never adopted: never exits
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(ksys_sync_awaitThreadExit(fresh, 5), ksys_waitTimeout);
  ksys_thread_release(fresh);
}

// ---- names

TEST(KsysNamed, PathsEscapeEverythingButAPlainSet) {
  char path[256];
  std::string prefix = "/orvstd-" + std::to_string(::getuid()) + "-";
  ASSERT_TRUE(ksys_named_path("cam_1.a-b", path, sizeof path));
  EXPECT_EQ(std::string(path), prefix + "cam_1.a-b");
  ASSERT_TRUE(ksys_named_path("a/b %\xff", path, sizeof path));
  EXPECT_EQ(std::string(path), prefix + "a%2Fb%20%25%FF");
  EXPECT_FALSE(ksys_named_path("", path, sizeof path));
  std::string fits(255 - prefix.size() - 1, 'x');  // the NUL needs the last byte
  EXPECT_TRUE(ksys_named_path(fits.c_str(), path, 255));
  EXPECT_FALSE(ksys_named_path((fits + "x").c_str(), path, 255));
  EXPECT_FALSE(ksys_named_path(std::string(90, '/').c_str(), path, 255));  // 270 once escaped
}

TEST(KsysNamed, AFileThatIsNotABlockIsForeign) {
  std::string name = "ksys-test-foreign-" + std::to_string(::getpid());
  char path[256];
  ASSERT_TRUE(ksys_named_path(name.c_str(), path, sizeof path));
  // Someone else's file of another size, held open with a lock as ours are.
  int fd = ::shm_open(path, O_RDWR | O_CREAT, 0600);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::ftruncate(fd, 10), 0);
  struct flock fl {};
  fl.l_type = F_RDLCK;
  fl.l_len = 1;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &fl), 0);
  ksys_syncObject* s = nullptr;
  bool first = false;
  ksys_syncParams params;
  EXPECT_EQ(ksys_sync_openNamed(ksys_syncKind::semaphore, name.c_str(), params, true, &s, &first), ksys_namedForeign);
  ::close(fd);
  ::shm_unlink(path);
}

TEST(KsysNamed, BadCountsAreRefusedBeforeTheName) {
  ksys_syncObject* s = nullptr;
  bool first = false;
  ksys_syncParams params;
  params.initial = 3;
  params.maximum = 2;
  std::string name = "ksys-test-counts-" + std::to_string(::getpid());
  EXPECT_EQ(ksys_sync_openNamed(ksys_syncKind::semaphore, name.c_str(), params, true, &s, &first),
            ksys_syncBadArgument);
  char path[256];
  ASSERT_TRUE(ksys_named_path(name.c_str(), path, sizeof path));
  EXPECT_NE(::access((std::string("/dev/shm") + path).c_str(), F_OK), 0);  // nothing made
}

}  // namespace
