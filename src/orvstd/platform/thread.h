// Threads: cfCreateThread starts one, ccThreadID is the counted handle to a
// thread the library knows, whether it started the thread or met it at its
// first cfGetCurrentThreadID or first wait on a cc_Resource (the first
// thread met that way is the main thread).
//
//   void work(void* arg) { ... }          // may end by letting BrokenLock out
//   ccThreadID t = cfCreateThread(&work, &data, cePriorityNormal, -1);
//   cc_Resource::breakLocks(t);           // its waits now throw BrokenLock
//   cfWaitForThreadTermination(t);
//
// Any other ccException that escapes a thread function stops the process:
// catch what your thread can raise. At shut-down the application calls
// cfStopAllThreads, which breaks and waits for every thread the library
// started and refuses new ones from then on.
#ifndef ORVSTD_PLATFORM_THREAD_H_
#define ORVSTD_PLATFORM_THREAD_H_

#include <atomic>

#include "orvstd/except/except.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/platform/resource.h"

// Seven levels; each maps to a nice value relative to the process's.
enum cePriority : c_Int32 {
  cePriorityIdle = 0,
  cePriorityLowest = 1,
  cePriorityBelowNormal = 2,
  cePriorityNormal = 3,
  cePriorityAboveNormal = 4,
  cePriorityHighest = 5,
  cePriorityTimeCritical = 6,
  cePriorityOfCaller = -1  // all ones: that of the creating thread
};

class ccThreadID;
using ccThreadExitHook = void (*)(ccThreadID const&, void*);

// The body of a thread known to the library. Internal though visible.
class cc_Thread : public ccRepBase {
 public:
  static constexpr c_Int32 kMaxHooks = 32;

  cc_Thread();
  ~cc_Thread() override;
  cc_Thread(cc_Thread const&) = delete;
  cc_Thread& operator=(cc_Thread const&) = delete;

  void* osHandle() const { return handle_; }
  c_UInt32 osId() const { return osId_.load(std::memory_order_acquire); }
  // The kernel per-thread state; what breakLocks signals.
  void* breakHandle() const { return break_; }

 private:
  friend class ccThreadID;
  friend struct cc_ThreadAccess;

  void* handle_ = nullptr;  // the pthread_t
  std::atomic<c_UInt32> osId_{0};
  void (*fn_)(void*) = nullptr;
  void* arg_ = nullptr;
  cePriority priority_ = cePriorityNormal;
  ccSemaphore creationComplete_{0, 1};
  ccSemaphore termination_{0, 1};
  void* break_ = nullptr;
  c_Int32 hookCount_ = 0;
  struct Hook {
    ccThreadExitHook fn;
    void* arg;
  } hooks_[kMaxHooks] = {};
};

// The handle to a cc_Thread; empty when default-constructed.
class ccThreadID : public cc_PtrHandleBase_RepAccessor {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(CouldNotRegister, Errors, 0x10002101);
  cmErrorClass(CreateFailed, Errors, 0x10002103);

  ccThreadID() noexcept = default;
  explicit ccThreadID(cc_Thread* body) : body_(body) { takeShare_(body_); }
  ccThreadID(ccThreadID const& other) : body_(other.body_) { takeShare_(body_); }
  ccThreadID& operator=(ccThreadID const& other);
  ~ccThreadID() override { giveUpShare_(body_); }

  operator void const*() const { return body_; }  // NOLINT: the pointer-like test
  bool operator!() const { return body_ == nullptr; }
  bool operator==(ccThreadID const& other) const { return body_ == other.body_; }
  cc_Thread* get() const { return body_; }

  static ccThreadID mainThreadID();
  void* osDependentThreadHandle() const;
  c_UInt32 osDependentThreadId() const;
  ccSemaphore& threadCreationCompleteSema() const;
  ccSemaphore& threadTerminationSema() const;
  // Registers a hook that runs when the thread is cleaned up; hooks run
  // last-registered first. The 33rd throws CouldNotRegister.
  void atexit(ccThreadExitHook fn, void* arg) const;

 private:
  cc_Thread& body_checked() const;
  cc_Thread* body_ = nullptr;
};

// Starts the OS thread for `thread` with stack size `stackSize` (-1: the
// default); returns its OS handle, null on failure.
using cc_ThreadStarter = void* (*)(cc_Thread* thread, c_Int32 stackSize);

ccThreadID cfCreateThread(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize);
ccThreadID cfCreateThreadQRT(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize);
ccThreadID cf_CreateThreadCore(void (*fn)(void*), void* arg, cePriority priority, c_Int32 stackSize,
                               cc_ThreadStarter starter);

ccThreadID cfGetCurrentThreadID();
// The calling thread's body, registering a foreign thread; no count taken.
cc_Thread* cf_CurrentThreadBody();

// Returns once the thread has ended; again and again for the same id.
void cfWaitForThreadTermination(ccThreadID& thread);
// Breaks and waits for every thread cfCreateThread started, then refuses
// new ones with ccThreadID::CreateFailed.
void cfStopAllThreads();
void cf_StopAllThreads();

// Runs the calling thread's exit hooks (last first), then the kernel
// clean-up; a thread's last act. cfThreadCleanupEx also forgets a thread
// the library did not start.
void cfThreadCleanup();
void cfThreadCleanupEx();

// On the calling thread. A level of 7 or more asserts. Raising a thread
// above the process's nice value needs the privilege to do so; without it
// the level stays as it was.
void cfSetThreadPriority(cePriority priority);
cePriority cfGetThreadPriority();

// The pollable form of the calling thread's break: readable once
// breakLocks was called on it. A poller that sees it readable calls
// cfConsumeThreadBreak, which reports whether a break was pending (false:
// a wait already reported it; keep polling).
int cfThreadBreakFd();
bool cfConsumeThreadBreak();

// Protected base of thread-local variables: every instance has a slot in
// one per-thread array, freed by an exit hook of the thread.
//
//   class ccCounterTLS : cc_ThreadLocal {
//     int* get() { return static_cast<int*>(OSValue()); } ...
//   };
class cc_ThreadLocal {
 protected:
  cc_ThreadLocal();
  ~cc_ThreadLocal();
  cc_ThreadLocal(cc_ThreadLocal const&) = delete;
  cc_ThreadLocal& operator=(cc_ThreadLocal const&) = delete;

  // The calling thread's value; null if it never wrote one.
  void* OSValue() const;
  void OSValue(void* value);

 private:
  static void threadExitHook(ccThreadID const& thread, void* arg);
  c_UInt32 slot_;
};

#endif  // ORVSTD_PLATFORM_THREAD_H_
