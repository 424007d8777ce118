// The private state of one archive: the objects it has stored or loaded,
// and the positions of its record chains. Internal.
#ifndef ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_REP_H_
#define ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_REP_H_

#include <string>
#include <utility>
#include <vector>

#include "orvstd/platform/resource.h"

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/slot_index.h"
#include "orvstd/archive/registry.h"
#include "orvstd/platform/resource.h"

// One object known to an archive. The objects that pointed to it when they
// were written or read are a chain of parent links (see cc_ArchiveRep).
struct cc_SI {
  c_Int32 id = 0;
  c_UInt32 firstParent = 0xFFFFFFFFu;  // link index, or none
  ccPersistent* object = nullptr;
  c_UInt64 generation = 0;
};

// One pointer from `parent` to a known object. The parent is listed with
// the generation its own entry had then: an entry forgotten and made again
// later is a different entry, and a stale link to it is skipped, so chains
// are never searched or pruned (a shared object may have a hundred thousand
// parents).
struct cc_ParentLink {
  ccPersistent* parent;
  c_UInt64 generation;
  c_UInt32 next;
};

class cc_ArchiveRep {
 public:
  explicit cc_ArchiveRep(ccArchive* owner);
  ~cc_ArchiveRep();
  cc_ArchiveRep(cc_ArchiveRep const&) = delete;
  cc_ArchiveRep& operator=(cc_ArchiveRep const&) = delete;

  // Forgets `obj` and, recursively, every object that refers to it. If
  // `leaving`, the object's bound flag is cleared too.
  void forget(ccPersistent* obj, bool leaving);
  // Writes `obj` as an object record with its body; returns its id.
  c_Int32 storeObject(ccPersistent* obj);
  // Reads the object record at the current position and its body. With
  // `entry`, also gives the new object's entry (null if it was forgotten
  // while it loaded).
  ccPersistent* loadObjectHere(cc_SI** entry = nullptr);

  ccArchive* owner;
  // Makes `obj` known under `id`. The reference lasts until the next know().
  cc_SI& know(ccPersistent* obj, c_Int32 id);
  // The entry of a known object, by address or by id; null if unknown.
  cc_SI* known(ccPersistent const* obj);
  cc_SI* knownById(c_Int32 id);
  std::size_t knownCount() const { return byId.size(); }
  // Records that `parent`, whose entry has `generation`, points to `child`.
  void addParent(cc_SI& child, ccPersistent* parent, c_UInt64 generation);
  // Records that `current` points to the known object `child`.
  void linkParent(cc_SI* child);

  // Known objects live in slots; a forgotten object's slot is used again,
  // and so are its parent links.
  std::vector<cc_SI> entries;
  std::vector<c_UInt32> freeSlots;
  std::vector<cc_ParentLink> links;
  c_UInt32 freeLinks = 0xFFFFFFFFu;
  cc_IdSlotIndex byId;
  // Built at the first lookup by address: a load that nobody changes in
  // the meantime never needs it.
  cc_SlotIndex<ccPersistent const*> byAddress;
  bool byAddressBuilt = false;
  c_UInt64 nextGeneration = 1;
  // The object whose body is being written or read, and its entry's generation.
  ccPersistent* current = nullptr;
  c_UInt64 currentGeneration = 0;
  // The last type name read and what it resolved to: a graph is mostly
  // many objects of few classes.
  std::string lastStoredName, lastNativeName;
  cc_MakeFn lastMake = nullptr;
  c_Int32 nextObjectId = 1;
  c_Int32 nextMarkNum = 1;
  ccArchive::Pos firstMark = ccArchive::invalidPos();
  ccArchive::Pos firstObject = ccArchive::invalidPos();
  ccArchive::Pos firstPointer = ccArchive::invalidPos();
  ccArchive::Pos closedFlag = ccArchive::invalidPos();
  ccArchive::Pos lastMark = ccArchive::invalidPos();
  ccArchive::Pos lastObject = ccArchive::invalidPos();
  ccArchive::Pos lastPointer = ccArchive::invalidPos();
  bool wide = false;
  // Where the last mark and object searches ended; walks start there.
  ccArchive::Pos foundMark = ccArchive::invalidPos();
  ccArchive::Pos foundObject = ccArchive::invalidPos();
  // Objects whose load failed: known until the archive goes, then deleted
  // (a counted body only when no handle holds it: a failed object that
  // holds it lets it go).
  // A pointer to one of them is NotFound: it is half made and not the
  // caller's.
  std::vector<ccPersistent*> failed;
  // Objects made by the loads in progress, outermost first. Those made
  // while an object loads can reach it, so they fail with it.
  std::vector<ccPersistent*> loading;
  // The object the last loaded pointer made (null if it was known before):
  // the one that has no owner if its receiver refuses it.
  ccPersistent* freshFromLastPointer = nullptr;
  bool hasFailed(ccPersistent* obj) const;
};

// The global archive count: one for each live archive, each bound object,
// and the list lock itself while the statics live. The lock over the list
// of live archives exists while the count is above 0; so a persistent
// object with static storage can be destroyed after every other static.
void cf_ArchiveCountUp();
void cf_ArchiveCountDown();
c_Int32 cf_ArchiveGlobalCount();  // for tests

// Marks `obj` bound to an archive, or no longer, keeping the count.
void cf_ArchiveBind(ccPersistent* obj);
void cf_ArchiveUnbind(ccPersistent* obj);

// The first of the two graph locks: the list of live archives and all
// object-graph work (pointers, storing, loading, forgetting). Holds a
// count for its duration. Recursive. The second, the serialisation
// stack's, is only ever taken inside it.
class cc_ArchiveListLock {
 public:
  cc_ArchiveListLock();
  ~cc_ArchiveListLock();
  cc_ArchiveListLock(cc_ArchiveListLock const&) = delete;
  cc_ArchiveListLock& operator=(cc_ArchiveListLock const&) = delete;

 private:
  ccCriticalSection* section_;
};

#endif  // ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_REP_H_
