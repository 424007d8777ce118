#include "orvstd/archive/internal/archive_rep.h"

#include <algorithm>
#include <list>
#include <vector>

#include "orvstd/except/assert.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/kernel/ksys_sync.h"

namespace {

// Leaked on purpose: archives and persistent statics may be destroyed in
// any order at exit and must still find the list.
std::list<cc_ArchiveRep*>& liveReps() {
  static auto* reps = new std::list<cc_ArchiveRep*>;
  return *reps;
}

}  // namespace

// ---- the global count and the list lock

namespace {

// Guards the birth and death of the list lock. Constant-initialised and
// trivially destructible: usable before any constructor and after every
// destructor.
constinit ksys_critsec gLife{};
std::atomic<c_Int32> gCount{0};
std::atomic<ccCriticalSection*> gSection{nullptr};

// The lock's own count, given up with the statics.
struct SectionHold {
  ~SectionHold() { cf_ArchiveCountDown(); }
};

}  // namespace

void cf_ArchiveCountUp() {
  c_Int32 c = gCount.load(std::memory_order_relaxed);
  while (c > 0)  // the lock exists: just count
    if (gCount.compare_exchange_weak(c, c + 1, std::memory_order_acquire, std::memory_order_relaxed)) return;
  bool firstEver = false;
  ksys_critsec_enter(&gLife);
  if (gCount.load(std::memory_order_relaxed) == 0) {
    // Made before the count says so: whoever sees a count finds the lock.
    gSection.store(new ccCriticalSection, std::memory_order_relaxed);
    static bool made = false;
    firstEver = !made;
    made = true;
    gCount.store(firstEver ? 2 : 1, std::memory_order_release);
  } else {
    gCount.fetch_add(1, std::memory_order_acq_rel);
  }
  ksys_critsec_leave(&gLife);
  if (firstEver) {
    static SectionHold hold;  // destroyed with the statics of this moment
    static_cast<void>(hold);
  }
}

void cf_ArchiveCountDown() {
  c_Int32 c = gCount.load(std::memory_order_relaxed);
  while (c > 1)
    if (gCount.compare_exchange_weak(c, c - 1, std::memory_order_release, std::memory_order_relaxed)) return;
  ksys_critsec_enter(&gLife);
  c = gCount.fetch_sub(1, std::memory_order_acq_rel);
  cmAssert(c > 0);
  if (c == 1) delete gSection.exchange(nullptr, std::memory_order_relaxed);
  ksys_critsec_leave(&gLife);
}

c_Int32 cf_ArchiveGlobalCount() { return gCount.load(); }

void cf_ArchiveBind(ccPersistent* obj) {
  if (!obj->bound_.exchange(true, std::memory_order_relaxed)) cf_ArchiveCountUp();
}

void cf_ArchiveUnbind(ccPersistent* obj) {
  if (obj->bound_.exchange(false, std::memory_order_relaxed)) cf_ArchiveCountDown();
}

cc_ArchiveListLock::cc_ArchiveListLock() {
  cf_ArchiveCountUp();
  section_ = gSection.load(std::memory_order_acquire);
  section_->lock();
}

cc_ArchiveListLock::~cc_ArchiveListLock() {
  section_->unlock();
  cf_ArchiveCountDown();
}

// ---- archive reps

cc_ArchiveRep::cc_ArchiveRep(ccArchive* o) : owner(o) {
  cf_ArchiveCountUp();
  cc_ArchiveListLock lock;
  liveReps().push_back(this);
}

cc_ArchiveRep::~cc_ArchiveRep() {
  {
    cc_ArchiveListLock lock;
    // Every object this archive knows leaves with it.
    for (auto& known : byAddress) cf_ArchiveUnbind(known.first);
    byAddress.clear();
    byId.clear();
    liveReps().remove(this);
    // A failed object that a handle in another failed object holds goes
    // with that handle's owner, not here: decide before deleting any.
    std::vector<ccPersistent*> unowned;
    for (ccPersistent* obj : failed) {
      auto const* body = dynamic_cast<ccRepBase const*>(obj);
      if (body == nullptr || body->refCount() == 0) unowned.push_back(obj);
    }
    for (ccPersistent* obj : unowned) delete obj;
  }
  cf_ArchiveCountDown();
}

void cc_ArchiveRep::forget(ccPersistent* obj, bool leaving) {
  // Everything that refers to a changed object must be written again, at
  // every level. A work list instead of recursion: a chain may be
  // thousands of objects long.
  std::vector<ccPersistent*> work{obj};
  while (!work.empty()) {
    ccPersistent* const o = work.back();
    work.pop_back();
    auto it = byAddress.find(o);
    if (it == byAddress.end()) continue;
    for (ccPersistent* child : it->second.children) {
      auto c = byAddress.find(child);
      cmAssert(c != byAddress.end());
      c->second.parents.erase(o);
    }
    for (ccPersistent* parent : it->second.parents) {
      auto p = byAddress.find(parent);
      if (p != byAddress.end()) p->second.children.erase(o);
      work.push_back(parent);
    }
    byId.erase(it->second.id);
    byAddress.erase(it);
  }
  if (leaving) cf_ArchiveUnbind(obj);
}

void ccArchive::mutating(ccPersistent* obj) {
  cc_ArchiveListLock lock;
  for (cc_ArchiveRep* rep : liveReps()) rep->forget(obj, false);
}
