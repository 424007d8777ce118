// ccWorkerThreadManager: the front to the kernel layer's job threads, and
// cfMultithreadRunQRT, a fork-and-join run of one function over a list of
// work items on those threads.
//
//   ccWorkerThreadManagerParams params;
//   params.desiredWorkerThreads(ccWorkerThreadManagerDefs::eWorkerThreadCount);
//   params.workerThreadCount(4);
//   ccWorkerThreadManager::configure(params);        // four job threads
//
//   std::vector<c_UInt32> status = cfMultithreadRunQRT(&work, items);
//   // status[i]: 0 done, 0xFFFFFFFF not run, else the errorNumber() of the
//   // ccException that stopped item i's thread share
//
// With T threads, item j runs on the share j % T (round robin). A
// ccException of the work function becomes a status on a threaded run and
// passes to the caller on an unthreaded one.
#ifndef ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_H_
#define ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_H_

#include <vector>

#include "orvstd/defs/types.h"
#include "orvstd/workmgr/worker_thread_manager_defs.h"

class ccArchive;

class ccWorkerThreadManagerParams {
 public:
  // Desired eMaxWorkerThreads, count 1.
  ccWorkerThreadManagerParams() = default;

  ccWorkerThreadManagerDefs::DesiredWorkerThreads desiredWorkerThreads() const { return desired_; }
  // 0, 1 or 2 only, else ccWorkerThreadManagerDefs::BadParams.
  void desiredWorkerThreads(ccWorkerThreadManagerDefs::DesiredWorkerThreads desired);
  c_Int32 workerThreadCount() const { return count_; }
  // Above 0 only, else ccWorkerThreadManagerDefs::BadParams.
  void workerThreadCount(c_Int32 count);

  friend ccArchive& operator||(ccArchive& ar, ccWorkerThreadManagerParams& params);

 private:
  ccWorkerThreadManagerDefs::DesiredWorkerThreads desired_ = ccWorkerThreadManagerDefs::eMaxWorkerThreads;
  c_Int32 count_ = 1;
};

// A version byte, desired as an unsigned 32-bit value, count as a signed
// one. Loaded values go through the setters.
ccArchive& operator||(ccArchive& ar, ccWorkerThreadManagerParams& params);

class ccWorkerThreadManager {
 public:
  ccWorkerThreadManager() = delete;

  // Shuts the job layer down or resets it to the asked number of threads;
  // waits for running work to end first.
  static void configure(ccWorkerThreadManagerParams const& params);
  // As many threads as the kernel chooses.
  static void activateMax();
  // No threads.
  static void deactivate();
  static c_Int32 numWorkerThreads();
};

// Runs fn on every item, spread over the job threads; one status per item.
std::vector<c_UInt32> cfMultithreadRunQRT(void (*fn)(void*), std::vector<void*> items);

#endif  // ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_H_
