#include "orvstd/platform/resource.h"

#include <atomic>
#include <climits>

#include "orvstd/kernel/ksys_sync.h"
#include "orvstd/kernel/ksys_thread.h"
#include "orvstd/platform/thread.h"

cmErrorFamilyDefine(cc_Resource::Errors)
cmErrorDefine(cc_Resource::Timeout)
cmErrorDefine(cc_Resource::NamedObjectExists)
cmErrorDefine(cc_Resource::NameConflict)
cmErrorDefine(cc_Resource::CreateFailed)
cmErrorDefine(cc_Resource::BrokenLock)

namespace {

ksys_syncObject* object(void* handle) { return static_cast<ksys_syncObject*>(handle); }


}  // namespace

// ---- cc_Resource

cc_Resource::~cc_Resource() {
  if (handle_) cmAssert(ksys_sync_close(object(handle_)) >= 0);
}

cc_Resource::cc_Resource(cc_Resource const& other) : handle_(other.handle_), first_(other.first_) {
  if (handle_) ksys_sync_retain(object(handle_));
}

cc_Resource& cc_Resource::operator=(cc_Resource const& other) {
  if (other.handle_ == handle_) return *this;
  if (other.handle_) ksys_sync_retain(object(other.handle_));
  void* old = handle_;
  handle_ = other.handle_;
  first_ = other.first_;
  if (old) cmAssert(ksys_sync_close(object(old)) >= 0);
  return *this;
}

void cc_Resource::create_(int kind, std::string const& name, bool allowExisting, bool initiallyOwned,
                          c_Int32 initial, c_Int32 maximum, bool manualReset, bool initiallySet) {
  auto k = static_cast<ksys_syncKind>(kind);
  ksys_syncObject* made = nullptr;
  c_Int32 rc;
  bool isFirst = true;
  if (name.empty()) {
    rc = k == ksys_syncKind::mutex       ? ksys_sync_createMutex(initiallyOwned, &made)
         : k == ksys_syncKind::semaphore ? ksys_sync_createSemaphore(initial, maximum, &made)
                                         : ksys_sync_createEvent(manualReset, initiallySet, &made);
  } else {
    // A name with a NUL in it would silently name something shorter.
    if (name.find('\0') != std::string::npos) throw CreateFailed();
    ksys_syncParams params;
    params.initiallyOwned = initiallyOwned;
    params.initial = initial;
    params.maximum = maximum;
    params.manualReset = manualReset;
    params.initiallySet = initiallySet;
    rc = ksys_sync_openNamed(k, name.c_str(), params, allowExisting, &made, &isFirst);
  }
  switch (rc) {
    case 0:
      break;
    case ksys_syncNameConflict:
      throw NameConflict();
    case ksys_syncNameExists:
      throw NamedObjectExists();
    default:
      throw CreateFailed();
  }
  handle_ = made;
  first_ = isFirst;
}

c_Int32 cc_Resource::waitMilliseconds(double seconds) {
  if (seconds == HUGE_VAL) return -1;
  if (!(seconds > 0)) return 0;  // negative and NaN: a single test
  double ms = seconds * 1000.0;
  if (ms >= static_cast<double>(INT_MAX)) return INT_MAX;  // some 24 days: as good as no limit
  c_Int32 whole = static_cast<c_Int32>(ms);
  return whole == 0 ? 1 : whole;
}

bool cc_Resource::lock(double seconds) {
  c_Int32 ms = waitMilliseconds(seconds);
  // The first wait of a thread the library did not start registers it.
  cf_CurrentThreadBody();
  c_Int32 rc = ksys_sync_wait(object(handle_), ms);
  switch (rc) {
    case ksys_waitBroken:
      throw BrokenLock();
    case ksys_waitObject:
    case ksys_waitAbandoned:
      return true;
    case ksys_waitTimeout:
      return false;
    default:
      cmAssert(rc >= 0);
      return false;
  }
}

void cc_Resource::breakLocks(ccThreadID& thread) {
  cmAssert(!!thread);
  ksys_thread_break(static_cast<ksys_threadState*>(thread.get()->breakHandle()));
}

// ---- ccMutex, ccSemaphore, ccEvent

ccMutex::ccMutex(bool initiallyOwned, std::string const& name, bool allowExisting) {
  create_(static_cast<int>(ksys_syncKind::mutex), name, allowExisting, initiallyOwned, 0, 0, false, false);
}

void ccMutex::unlock() {
  // Only the owner may release: anything else is a bug of the caller.
  cmAssert(ksys_sync_release(object(handle_)) >= 0);
}

ccMutex& ccMutex::global() {
  static std::atomic<int> entries{0};
  entries.fetch_add(1);
  static ccMutex mutex = [] {
    cmAssert(entries.load() == 1);
    return ccMutex();
  }();
  entries.fetch_sub(1);
  return mutex;
}

ccSemaphore::ccSemaphore(c_Int32 initial, c_Int32 maximum, std::string const& name, bool allowExisting) {
  create_(static_cast<int>(ksys_syncKind::semaphore), name, allowExisting, false, initial, maximum, false, false);
}

ccSemaphore::ccSemaphore(void* handle, ceCreateByHandle) {
  cmAssert(handle != nullptr && object(handle)->kind == ksys_syncKind::semaphore);
  ksys_sync_retain(object(handle));
  handle_ = handle;
  first_ = false;
}

void ccSemaphore::unlock() {
  c_Int32 rc = ksys_sync_release(object(handle_));
  cmAssert(rc >= 0 || rc == ksys_syncAboveMaximum);
}

ccEvent::ccEvent(bool manualReset, bool initiallySet, std::string const& name, bool allowExisting) {
  create_(static_cast<int>(ksys_syncKind::event), name, allowExisting, false, 0, 0, manualReset, initiallySet);
}

void ccEvent::unlock() { setEvent(); }
bool ccEvent::setEvent() { return ksys_sync_release(object(handle_)) >= 0; }
bool ccEvent::resetEvent() { return ksys_sync_resetEvent(object(handle_)) >= 0; }

// ---- ccLock

ccLock::ccLock(cc_Resource& resource, bool lockNow) : resource_(resource) {
  if (lockNow) lock(HUGE_VAL);
}

ccLock::~ccLock() {
  while (depth_ > 0) unlock();
}

bool ccLock::lock(double seconds) {
  if (!resource_.lock(seconds)) return false;
  ++depth_;
  return true;
}

void ccLock::lockOrElse(double seconds) {
  if (!lock(seconds)) throw cc_Resource::Timeout();
}

void ccLock::unlock() {
  cmAssert(depth_ > 0);
  resource_.unlock();
  --depth_;
}

// ---- ccCriticalSection

namespace {
ksys_critsec* section(void* p) { return static_cast<ksys_critsec*>(p); }
}  // namespace

ccCriticalSection::ccCriticalSection() : section_(new ksys_critsec) { section(section_)->spinCount = 4000; }
ccCriticalSection::~ccCriticalSection() { delete section(section_); }
void ccCriticalSection::lock() { ksys_critsec_enter(section(section_)); }
void ccCriticalSection::unlock() { ksys_critsec_leave(section(section_)); }

ccCriticalSectionLock::ccCriticalSectionLock(ccCriticalSection& s, bool lockNow) : section_(s) {
  if (lockNow) lock();
}

ccCriticalSectionLock::~ccCriticalSectionLock() {
  while (depth_ > 0) unlock();
}

void ccCriticalSectionLock::lock() {
  section_.lock();
  ++depth_;
}

void ccCriticalSectionLock::unlock() {
  if (depth_ <= 0) return;
  section_.unlock();
  --depth_;
}
