// ccProgressDefs: the definitions of progress reporting by long-running
// operations.
#ifndef ORVSTD_WORKMGR_PROGRESS_DEFS_H_
#define ORVSTD_WORKMGR_PROGRESS_DEFS_H_

#include "orvstd/except/except.h"

class ccProgressDefs {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(BadParams, Errors, 0x1000b300);
};

#endif  // ORVSTD_WORKMGR_PROGRESS_DEFS_H_
