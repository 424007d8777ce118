#include "orvstd/math/range_defs.h"

#include "orvstd/archive/archive.h"

cmErrorFamilyDefine(ccRangeDefs::Errors)
cmErrorDefine(ccRangeDefs::BadParams)
cmErrorDefine(ccRangeDefs::NotPartialRange)

ccArchive& operator||(ccArchive& ar, ccRangeDefs::Range& kind) {
  c_Int32 value = kind;
  ar || value;
  if (ar.isLoading()) {
    if (value < ccRangeDefs::ePartial || value > ccRangeDefs::eFull)
      throw ccArchive::BadContent("std/math/range", __LINE__);
    kind = static_cast<ccRangeDefs::Range>(value);
  }
  return ar;
}
