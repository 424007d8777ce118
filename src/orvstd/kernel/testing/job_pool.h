// Sizing the kernel's job-thread pool from a test. Tests that start job
// threads end with ksys_jobShutdown(), so that forking death tests of the
// same program find no threads. Test-only.
//
//   resetJobPool(4);
//   ...
//   EXPECT_EQ(ksys_jobShutdown(), 0);
#ifndef ORVSTD_KERNEL_TESTING_JOB_POOL_H_
#define ORVSTD_KERNEL_TESTING_JOB_POOL_H_

#include <gtest/gtest.h>

#include "orvstd/kernel/ksys_jobs.h"

// Replaces the pool by one of n threads (0: one per core).
inline void resetJobPool(c_Int32 n) {
  ksys_jobResetParams* params = nullptr;
  ASSERT_EQ(ksys_jobResetParams_construct(&params), 0);
  ASSERT_EQ(ksys_jobResetParams_setNumThreads(params, n), 0);
  ASSERT_EQ(ksys_jobReset(params), 0);
  ksys_jobResetParams_destroy(params);
}

#endif  // ORVSTD_KERNEL_TESTING_JOB_POOL_H_
