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
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(BadParams, Errors, 0x1000ac00);
};

#endif  // ORVSTD_WORKMGR_WORKER_THREAD_MANAGER_DEFS_H_
