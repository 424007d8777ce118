// ccFileSystemSelect: the choice of file system for the library's files.
#ifndef ORVSTD_UTIL_FILE_SYSTEM_SELECT_H_
#define ORVSTD_UTIL_FILE_SYSTEM_SELECT_H_

#include "orvstd/except/except.h"

class ccFileSystemSelect {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UnsupportedFileSystem, Errors, 0x10004e00);
};

#endif  // ORVSTD_UTIL_FILE_SYSTEM_SELECT_H_
