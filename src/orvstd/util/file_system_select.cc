#include "orvstd/util/file_system_select.h"

cmErrorFamilyDefine(ccFileSystemSelect::Errors)
cmErrorDefine(ccFileSystemSelect::UnsupportedFileSystem)
