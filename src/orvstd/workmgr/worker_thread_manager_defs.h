// ccWorkerThreadManagerDefs: the definitions of the worker-thread manager,
// which spreads the kernel layer's heavy work over job threads.
//
// BadParams shares its number with ccCalibCorrespondenceDefs::NegativeWeight
// on purpose; tell them apart by type.
#ifndef ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_DEFS_H_
#define ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_DEFS_H_

#include "orvstd/except/except.h"

class ccWorkerThreadManagerDefs {
 public:
  // How many job threads the kernel layer is to run.
  enum DesiredWorkerThreads : c_UInt32 {
    eNoWorkerThreads = 0,      // none: the job layer is shut down
    eMaxWorkerThreads = 1,     // as many as the kernel chooses
    eWorkerThreadCount = 2,    // exactly the count of the parameters
  };

  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x1000ac00);
};

#endif  // ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_DEFS_H_
