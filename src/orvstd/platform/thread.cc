#include "orvstd/platform/thread.h"

#include <pthread.h>
#include <unistd.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstdint>
#include <list>
#include <mutex>
#include <vector>

#include "orvstd/kernel/ksys_sync.h"
#include "orvstd/kernel/ksys_thread.h"

cmErrorFamilyDefine(ccThreadID::Errors)
cmErrorDefine(ccThreadID::CouldNotRegister)
cmErrorDefine(ccThreadID::CreateFailed)

namespace {

ksys_threadState* kstate(void* p) { return static_cast<ksys_threadState*>(p); }

// The calling thread's body. A raw pointer: library threads hold their
// body through their entry function, foreign threads through the lists.
thread_local constinit cc_Thread* tCurrent [[gnu::tls_model("initial-exec")]] = nullptr;

// Process-wide tables. Never destroyed: threads may still end, and look
// here, while static destructors run.
struct Globals {
  std::mutex listMutex;
  std::list<ccThreadID> threads;  // started by cfCreateThread, still running
  std::atomic<bool> stopped{false};
  std::mutex foreignMutex;
  std::list<ccThreadID> foreign;  // met at first use, still running
  ccThreadID mainThread;
  bool mainKnown = false;
};

Globals& globals() {
  static Globals* const g = new Globals;
  return *g;
}

void removeFrom(std::list<ccThreadID>& list, std::mutex& mutex, cc_Thread* body) {
  std::lock_guard<std::mutex> hold(mutex);
  list.remove_if([body](ccThreadID const& id) { return id.get() == body; });
}

void forgetForeign(ccThreadID const& id, void*) {
  removeFrom(globals().foreign, globals().foreignMutex, id.get());
}

// Cleans up a foreign thread that ends without calling cfThreadCleanupEx.
struct ForeignExitGuard {
  bool armed = false;
  ~ForeignExitGuard() {
    if (armed && tCurrent) cfThreadCleanupEx();
  }
};
thread_local ForeignExitGuard tForeignGuard;

// The nice value of level 3, taken from the process as the library loads.
int const gBaseNice = [] {
  errno = 0;
  int nice = ::getpriority(PRIO_PROCESS, 0);
  return errno == 0 ? nice : 0;
}();

constexpr int kRelative[7] = {-15, -2, -1, 0, 1, 2, 15};

int niceOf(int level) {
  int nice = gBaseNice - kRelative[level];
  return nice < -20 ? -20 : nice > 19 ? 19 : nice;
}

void* standardStarter(cc_Thread* thread, c_Int32 stackSize);

// ---- static destruction ("STD")
//
// The thread key lives as long as any thread body and as long as the
// statics: its record counts bodies, and a function-local static made at
// the first body marks, in its destructor, that static destruction has
// begun. Once both are over the key is gone for good: a thread started
// then never runs its function, and cfGetCurrentThreadID yields an empty
// id. Either is reported as an assertion, but the process goes on: it is
// ending anyway, and aborting would turn a clean exit into a crash.
struct KeyRecord {
  std::atomic<c_Int32> bodies{0};
  std::atomic<bool> staticsGoing{false};
  std::atomic<bool> gone{false};
};

KeyRecord& keyRecord() {
  static KeyRecord* const r = new KeyRecord;  // read by threads that outlive the statics
  return *r;
}

bool keyGone() { return keyRecord().gone.load(std::memory_order_acquire); }

void bodyGone() {
  KeyRecord& k = keyRecord();
  if (k.bodies.fetch_sub(1) == 1 && k.staticsGoing.load()) k.gone.store(true, std::memory_order_release);
}

struct StaticsSentinel {
  ~StaticsSentinel();
};

void bodyMade() {
  static StaticsSentinel sentinel;
  static_cast<void>(sentinel);
  keyRecord().bodies.fetch_add(1);
}

}  // namespace

// Reaches the private fields for the functions of this file.
struct cc_ThreadAccess {
  static void setup(cc_Thread* t, void (*fn)(void*), void* arg, cePriority priority, void* breakState) {
    t->fn_ = fn;
    t->arg_ = arg;
    t->priority_ = priority;
    t->break_ = breakState;
  }
  static void setHandle(cc_Thread* t, void* handle) { t->handle_ = handle; }
  static void setOsId(cc_Thread* t, c_UInt32 id) { t->osId_.store(id, std::memory_order_release); }
  static void (*fn(cc_Thread* t))(void*) { return t->fn_; }
  static void* arg(cc_Thread* t) { return t->arg_; }
  static cePriority priority(cc_Thread* t) { return t->priority_; }
  static void setPriority(cc_Thread* t, cePriority p) { t->priority_ = p; }
  static ccSemaphore& creationComplete(cc_Thread* t) { return t->creationComplete_; }
  static ccSemaphore& termination(cc_Thread* t) { return t->termination_; }
  static void runHooks(cc_Thread* t, ccThreadID const& id) {
    while (t->hookCount_ > 0) {
      cc_Thread::Hook hook = t->hooks_[t->hookCount_ - 1];
      hook.fn(id, hook.arg);
      --t->hookCount_;
    }
  }
  static void* entry(void* p);
};

// ---- cc_Thread, ccThreadID

cc_Thread::cc_Thread() { bodyMade(); }

cc_Thread::~cc_Thread() {
  if (break_) ksys_thread_release(kstate(break_));
  bodyGone();
}

namespace {

StaticsSentinel::~StaticsSentinel() {
  KeyRecord& k = keyRecord();
  k.staticsGoing.store(true);
  // The process's main thread is held by the tables until now. Let it go if
  // we run on it (the usual exit); on any other thread its pointer would
  // be left dangling, so it stays.
  ccThreadID main;
  {
    Globals& g = globals();
    std::lock_guard<std::mutex> hold(g.foreignMutex);
    if (tCurrent && g.mainThread.get() == tCurrent) {
      main = g.mainThread;
      g.mainThread = ccThreadID();
      tCurrent = nullptr;
    }
  }
  main = ccThreadID();
  if (k.bodies.load() == 0) k.gone.store(true, std::memory_order_release);
}

}  // namespace

ccThreadID& ccThreadID::operator=(ccThreadID const& other) {
  if (other.body_ != body_) {
    takeShare_(other.body_);
    cc_Thread* old = body_;
    body_ = other.body_;
    giveUpShare_(old);
  }
  return *this;
}

cc_Thread& ccThreadID::body_checked() const {
  if (!body_) throw ccBadPointer();
  return *body_;
}

ccThreadID ccThreadID::mainThreadID() {
  cf_CurrentThreadBody();  // with no thread known yet, the caller becomes the main thread
  std::lock_guard<std::mutex> hold(globals().foreignMutex);
  return globals().mainThread;
}

void* ccThreadID::osDependentThreadHandle() const { return body_checked().osHandle(); }
c_UInt32 ccThreadID::osDependentThreadId() const { return body_checked().osId(); }
ccSemaphore& ccThreadID::threadCreationCompleteSema() const { return body_checked().creationComplete_; }
ccSemaphore& ccThreadID::threadTerminationSema() const { return body_checked().termination_; }

void ccThreadID::atexit(ccThreadExitHook fn, void* arg) const {
  cmAssert(body_ != nullptr && fn != nullptr);
  if (body_->hookCount_ >= cc_Thread::kMaxHooks) throw CouldNotRegister();
  body_->hooks_[body_->hookCount_] = {fn, arg};
  ++body_->hookCount_;
}

// ---- current thread

cc_Thread* cf_CurrentThreadBody() {
  if (keyGone()) [[unlikely]] {
    ksys_thread_reportText("QRT threads must not run during STD time.");
    return nullptr;
  }
  if (tCurrent) return tCurrent;
  // A thread the library did not start: register it.
  auto* body = new cc_Thread;
  ksys_threadState* state = ksys_thread_current();
  ksys_thread_retain(state);
  cc_ThreadAccess::setup(body, nullptr, nullptr, cePriorityNormal, state);
  cc_ThreadAccess::setHandle(body, reinterpret_cast<void*>(static_cast<std::uintptr_t>(::pthread_self())));
  cc_ThreadAccess::setOsId(body, ksys_thread_currentTid());
  tCurrent = body;
  ccThreadID id(body);
  Globals& g = globals();
  bool isMain;
  {
    std::lock_guard<std::mutex> hold(g.foreignMutex);
    isMain = !g.mainKnown;
    if (isMain) {
      g.mainKnown = true;
      g.mainThread = id;
    } else {
      g.foreign.push_back(id);
    }
  }
  if (!isMain) id.atexit(&forgetForeign, nullptr);
  // A thread other than the process's first ends before the process does,
  // and is cleaned up then, even when it was the first the library met.
  if (!isMain || ksys_thread_currentTid() != static_cast<c_UInt32>(::getpid())) tForeignGuard.armed = true;
  return body;
}

ccThreadID cfGetCurrentThreadID() { return ccThreadID(cf_CurrentThreadBody()); }

// ---- creation

namespace {

void* standardStarter(cc_Thread* thread, c_Int32 stackSize) {
  pthread_attr_t attr;
  if (::pthread_attr_init(&attr) != 0) return nullptr;
  ::pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  bool ok = stackSize <= 0 || ::pthread_attr_setstacksize(&attr, static_cast<std::size_t>(stackSize)) == 0;
  pthread_t handle{};
  ok = ok && ::pthread_create(&handle, &attr, &cc_ThreadAccess::entry, thread) == 0;
  ::pthread_attr_destroy(&attr);
  if (!ok) return nullptr;
  auto* raw = reinterpret_cast<void*>(static_cast<std::uintptr_t>(handle));
  cc_ThreadAccess::setHandle(thread, raw);
  return raw;
}

}  // namespace

void* cc_ThreadAccess::entry(void* p) {
  auto* body = static_cast<cc_Thread*>(p);
  ccThreadID self(body);  // the body outlives this function whatever the list does
  ksys_thread_adopt(kstate(body->breakHandle()));
  setOsId(body, ksys_thread_currentTid());
  c_Int32 result = 0;
  if (keyGone()) {
    // Started from a static destructor: it never runs, but its waiters
    // still see it end.
    ksys_thread_reportText("Cannot create a thread during STD.");
    removeFrom(globals().threads, globals().listMutex, body);
    ccSemaphore done(termination(body));
    self = ccThreadID();
    done.unlock();
    return nullptr;
  }
  tCurrent = body;
  creationComplete(body).unlock();

  try {
    if (priority(body) != cePriorityOfCaller) cfSetThreadPriority(priority(body));
    fn(body)(arg(body));
  } catch (cc_Resource::BrokenLock const&) {
    // Broken at shut-down: a normal end.
  } catch (ccException const& e) {
    result = e.errorNumber();
  }
  if (result != 0)
    ksys_thread_assertText(
        "Unhandled ccException from thread created by cfCreateThread.  You need to add a try-catch block to catch "
        "all ccExceptions for functions passed to cfCreateThread.");

  cfThreadCleanup();
  removeFrom(globals().threads, globals().listMutex, body);
  tCurrent = nullptr;
  // A waiter woken by the release may drop the last other handle at once:
  // keep our own handle to the semaphore, not the body.
  ccSemaphore done(termination(body));
  self = ccThreadID();
  done.unlock();
  return nullptr;
}

ccThreadID cf_CreateThreadCore(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize,
                               cc_ThreadStarter starter) {
  Globals& g = globals();
  if (g.stopped.load()) throw ccThreadID::CreateFailed();
  cmAssert(fn != nullptr && starter != nullptr);
  if (priority == cePriorityOfCaller) priority = cfGetThreadPriority();
  cmAssert(static_cast<c_UInt32>(priority) < 7);
  ksys_threadState* state = ksys_thread_newState();
  if (!state) throw ccThreadID::CreateFailed();
  auto* body = new cc_Thread;
  cc_ThreadAccess::setup(body, fn, arg, priority, state);
  ccThreadID id(body);
  {
    std::lock_guard<std::mutex> hold(g.listMutex);
    g.threads.push_back(id);
  }
  if (!starter(body, stackSize)) {
    removeFrom(g.threads, g.listMutex, body);
    throw ccThreadID::CreateFailed();
  }
  return id;
}

ccThreadID cfCreateThreadQRT(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize) {
  return cf_CreateThreadCore(fn, arg, priority, stackSize, &standardStarter);
}

ccThreadID cfCreateThread(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize) {
  return cfCreateThreadQRT(fn, arg, priority, stackSize);
}

// ---- ending

void cfThreadCleanup() {
  if (cc_Thread* body = tCurrent) {
    ccThreadID id(body);
    cc_ThreadAccess::runHooks(body, id);
  }
  c_Int32 rc = ksys_thread_cleanup();
  if (rc < 0) cfThrowExceptionOnFailure(rc);
}

void cfThreadCleanupEx() {
  cc_Thread* body = tCurrent;
  ccThreadID keep(body);  // the hooks may drop the list's handle
  cfThreadCleanup();
  if (body) removeFrom(globals().threads, globals().listMutex, body);
  tCurrent = nullptr;
  tForeignGuard.armed = false;
}

void cfWaitForThreadTermination(ccThreadID& thread) {
  if (!thread) return;
  cc_Thread* body = thread.get();
  auto* state = kstate(body->breakHandle());
  if (cc_ThreadAccess::fn(body) == nullptr) {
    // Met, not started, by the library: only its end tells.
    if (ksys_sync_awaitThreadExit(state, -1) == ksys_waitBroken) throw cc_Resource::BrokenLock();
    return;
  }
  ccSemaphore& done = thread.threadTerminationSema();
  done.lock(HUGE_VAL);
  done.unlock();  // let the next waiter pass too
  // Then let the thread leave the library: its exit clean-up abandons the
  // mutexes it still owns.
  if (ksys_sync_awaitThreadExit(state, 200) == ksys_waitBroken) throw cc_Resource::BrokenLock();
}

void cfStopAllThreads() {
  Globals& g = globals();
  std::vector<ccThreadID> ids;
  {
    std::lock_guard<std::mutex> hold(g.listMutex);
    ids.assign(g.threads.begin(), g.threads.end());
  }
  for (ccThreadID& id : ids) {
    cc_Resource::breakLocks(id);
    cfWaitForThreadTermination(id);
  }
  g.stopped.store(true);
}

void cf_StopAllThreads() { cfStopAllThreads(); }

// ---- priority

void cfSetThreadPriority(cePriority priority) {
  cmAssert(static_cast<c_UInt32>(priority) < 7);
  // Raising above the process's nice value fails without the privilege;
  // the thread then keeps its level.
  if (::setpriority(PRIO_PROCESS, static_cast<id_t>(ksys_thread_currentTid()), niceOf(priority)) == 0 && tCurrent)
    cc_ThreadAccess::setPriority(tCurrent, priority);
}

cePriority cfGetThreadPriority() {
  errno = 0;
  int nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(ksys_thread_currentTid()));
  cmAssert(errno == 0);
  // Level 3 first: where the base is near a limit, clamped levels coincide.
  if (nice == niceOf(cePriorityNormal)) return cePriorityNormal;
  for (int level = 0; level < 7; ++level)
    if (nice == niceOf(level)) return static_cast<cePriority>(level);
  cmAssert(false);  // set behind the library's back
  return cePriorityNormal;
}

// ---- break, pollable

int cfThreadBreakFd() {
  cf_CurrentThreadBody();
  return ksys_thread_breakFd();
}

bool cfConsumeThreadBreak() { return ksys_thread_consumeBreak(); }

// ---- cc_ThreadLocal

namespace {

// One key for all instances, made once and never deleted: instances come
// and go in any order, statics included, and a deleted key could be handed
// out again to someone else while a thread's array still hangs under it.
struct TLSKey {
  std::atomic<c_UInt32> instances{0};
  pthread_key_t key{};
  TLSKey() { cmAssert(::pthread_key_create(&key, nullptr) == 0); }
};

TLSKey& tlsKey() {
  static TLSKey* const k = new TLSKey;
  return *k;
}

}  // namespace

cc_ThreadLocal::cc_ThreadLocal() : slot_(tlsKey().instances.fetch_add(1)) {}

cc_ThreadLocal::~cc_ThreadLocal() = default;

void* cc_ThreadLocal::OSValue() const {
  auto* slots = static_cast<std::vector<void*>*>(::pthread_getspecific(tlsKey().key));
  return slots && slot_ < slots->size() ? (*slots)[slot_] : nullptr;
}

void cc_ThreadLocal::OSValue(void* value) {
  auto* slots = static_cast<std::vector<void*>*>(::pthread_getspecific(tlsKey().key));
  if (!slots) {
    slots = new std::vector<void*>(tlsKey().instances.load());
    cmAssert(::pthread_setspecific(tlsKey().key, slots) == 0);
    cfGetCurrentThreadID().atexit(&threadExitHook, nullptr);
  }
  // An instance made after this thread's first write lies beyond the array.
  if (slot_ >= slots->size()) slots->resize(slot_ + 1);
  (*slots)[slot_] = value;
}

void cc_ThreadLocal::threadExitHook(ccThreadID const&, void*) {
  delete static_cast<std::vector<void*>*>(::pthread_getspecific(tlsKey().key));
  ::pthread_setspecific(tlsKey().key, nullptr);
}
