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

namespace {
// How deep this thread is inside the list lock. Graph work nests it once
// or twice per object: only the outermost level takes the section and the
// count, the inner ones only count here.
thread_local int tListLockDepth = 0;
}  // namespace

cc_ArchiveListLock::cc_ArchiveListLock() : section_(nullptr) {
  if (tListLockDepth++ > 0) return;
  cf_ArchiveCountUp();
  ccCriticalSection* const section = gSection.load(std::memory_order_acquire);
  try {
    section->lock();
  } catch (...) {
    --tListLockDepth;
    cf_ArchiveCountDown();
    throw;
  }
  section_ = section;
}

cc_ArchiveListLock::~cc_ArchiveListLock() {
  --tListLockDepth;
  if (section_ == nullptr) return;
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
    for (cc_SI const& si : entries)
      if (si.object != nullptr) cf_ArchiveUnbind(si.object);
    entries.clear();
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

namespace {
constexpr c_UInt32 kNoLink = 0xFFFFFFFFu;
}

void cc_ArchiveRep::forget(ccPersistent* obj, bool leaving) {
  // Everything that refers to a changed object must be written again, at
  // every level. A work list instead of recursion: a chain may be
  // thousands of objects long.
  std::vector<std::pair<ccPersistent*, c_UInt64>> work{{obj, 0}};
  while (!work.empty()) {
    auto const [o, generation] = work.back();
    work.pop_back();
    cc_SI* const si = known(o);
    // Gone already, or known again since it pointed here: not a parent now.
    if (si == nullptr || (generation != 0 && si->generation != generation)) continue;
    for (c_UInt32 l = si->firstParent; l != kNoLink;) {
      cc_ParentLink& link = links[l];
      work.emplace_back(link.parent, link.generation);
      c_UInt32 const next = link.next;
      link.next = freeLinks;
      freeLinks = l;
      l = next;
    }
    c_UInt32 const slot = byAddress.find(o);
    byAddress.erase(o);
    byId.erase(si->id);
    *si = cc_SI{};
    freeSlots.push_back(slot);
  }
  if (leaving) cf_ArchiveUnbind(obj);
}

cc_SI& cc_ArchiveRep::know(ccPersistent* obj, c_Int32 id) {
  // A live object is never known twice: a dead one's destructor made every
  // archive forget it. Should an address come again anyway, it is a new object.
  if (byAddressBuilt && known(obj) != nullptr) forget(obj, false);
  c_UInt32 slot;
  if (!freeSlots.empty()) {
    slot = freeSlots.back();
    freeSlots.pop_back();
  } else {
    cmAssert(entries.size() < kNoLink);
    slot = static_cast<c_UInt32>(entries.size());
    entries.emplace_back();
  }
  cc_SI& si = entries[slot];
  si.id = id;
  si.object = obj;
  si.generation = nextGeneration++;
  si.firstParent = kNoLink;
  if (byAddressBuilt) byAddress.insert(obj, slot);
  byId.insert(id, slot);
  return si;
}

cc_SI* cc_ArchiveRep::known(ccPersistent const* obj) {
  if (!byAddressBuilt) {
    for (std::size_t slot = 0; slot < entries.size(); ++slot)
      if (entries[slot].object != nullptr) byAddress.insert(entries[slot].object, static_cast<c_UInt32>(slot));
    byAddressBuilt = true;
  }
  c_UInt32 const slot = byAddress.find(obj);
  return slot == decltype(byAddress)::kNone ? nullptr : &entries[slot];
}

cc_SI* cc_ArchiveRep::knownById(c_Int32 id) {
  c_UInt32 const slot = byId.find(id);
  return slot == decltype(byId)::kNone ? nullptr : &entries[slot];
}

void cc_ArchiveRep::addParent(cc_SI& child, ccPersistent* parent, c_UInt64 generation) {
  c_UInt32 l = freeLinks;
  if (l != kNoLink) {
    freeLinks = links[l].next;
    links[l] = cc_ParentLink{parent, generation, child.firstParent};
  } else {
    cmAssert(links.size() < kNoLink);
    l = static_cast<c_UInt32>(links.size());
    links.push_back(cc_ParentLink{parent, generation, child.firstParent});
  }
  child.firstParent = l;
}

void cc_ArchiveRep::linkParent(cc_SI* child) {
  // A pointer at top level links nothing; nor does one to an object that
  // was forgotten while it loaded.
  if (current == nullptr || child == nullptr) return;
  addParent(*child, current, currentGeneration);
}

void ccArchive::mutating(ccPersistent* obj) {
  cc_ArchiveListLock lock;
  for (cc_ArchiveRep* rep : liveReps()) rep->forget(obj, false);
}
