#include "orvstd/except/except.h"

#include <map>
#include <new>
#include <ostream>
#include <sstream>
#include <typeinfo>

#include "orvstd/archive/archive.h"
#include "orvstd/kernel/ksys_cleanup.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/util/devenv.h"
#include "orvstd/util/strings.h"

void cfAssertFailed(char const* file, c_Int32 line) { kstd_assertAt_(file, line); }

// ccException ----------------------------------------------------------------

ccException::~ccException() = default;

std::string ccException::message(bool withTypeName) const {
  std::ostringstream os;
  if (withTypeName) os << cf_CanonicalTypeName(typeid(*this)) << ": ";
  message_(os);
  return os.str();
}

void ccException::message(std::ostream& os) const { os << message(true); }

void ccException::message_(std::ostream& os) const { os << "no further information provided"; }

void ccException::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(ccException), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void ccException::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "except", __LINE__);
  ccPersistent::dispatchSerialize(ar);
}

// ccExceptionWithString ------------------------------------------------------

ccExceptionWithString::~ccExceptionWithString() = default;

void ccExceptionWithString::message_(std::ostream& os) const {
  if (info_.empty())
    ccException::message_(os);
  else
    os << info_;
}

void ccExceptionWithString::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(ccExceptionWithString), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void ccExceptionWithString::serialize_(ccArchive& ar, unsigned char version) {
  cfCheckClassVersion(version, 0, "except", __LINE__);
  ccException::dispatchSerialize(ar);
  ar || info_;
}

// Root leaves ----------------------------------------------------------------

cmErrorDefine(ccInvariantFailure)
cmErrorDefine(ccAssertFailure)
cmErrorDefine(ccBadPointer)
cmErrorDefine(ccSysTimeBadArgument)
cmErrorDefine(ccUnsupportedHW)
cmErrorDefine(ccBadUnicodeChar)

ccUnknownError::ccUnknownError(c_Int32 code)
    : ccExceptionWithString(code != 0 ? "Internal error code: " + cfHex(code, 8) : std::string()) {}
cmErrorDefine(ccUnknownError)

// Failure conversion -----------------------------------------------------------

namespace {

// Built at first use so that converters may register from any static
// constructor; filled before threads run, read without a lock.
std::multimap<c_Int32, cc_ExceptionConverterFn>& converterTable() {
  static std::multimap<c_Int32, cc_ExceptionConverterFn> table;
  return table;
}

// Facility 1: the kernel layer's memory failures.
void convertMemory(c_Int32 code) {
  if (code == kstd_outOfMemory) throw std::bad_alloc();
}
cc_ExceptionConverter const memoryConverter(kstd_facilityMemory, &convertMemory);

}  // namespace

void cfRegisterExceptionConverter(c_Int32 facility, cc_ExceptionConverterFn converter) {
  if (converter == nullptr) return;
  converterTable().emplace(facility, converter);  // equal keys keep insertion order
}

void cfThrowExceptionOnFailure(c_Int32 code) {
  if (code >= 0) return;
  auto range = converterTable().equal_range(kstd_facilityOf(code));
  for (auto it = range.first; it != range.second; ++it) it->second(code);
  throw ccUnknownError(code);
}

// cc_CleanupObject -------------------------------------------------------------

cc_CleanupObject::~cc_CleanupObject() {
  if (*status_ >= 0) {
    c_Int32 code = static_cast<c_Int32>(0x80000000u);
    ksys_cleanupExecute_(list_, status_, &code, tag_);
  }
  *status_ = -1;
}
