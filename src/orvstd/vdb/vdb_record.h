// ccVDBRecordBase: the base of the records of the VDB, the database of tool
// runs kept in a seekable archive. A tool derives its record from it, and
// the base decides from the recording controls whether a run is stored.
#ifndef ORVSTD_VDB_VDB_RECORD_H_
#define ORVSTD_VDB_VDB_RECORD_H_

#include "orvstd/except/except.h"

class ccVDBRecordBase {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(NoResult, Errors, 0x10000b00);
};

#endif  // ORVSTD_VDB_VDB_RECORD_H_
