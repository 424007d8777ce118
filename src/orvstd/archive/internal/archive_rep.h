// The private state of one archive: the objects it has stored or loaded,
// and the positions of its record chains. Internal.
#ifndef ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_REP_H_
#define ORVSTD_ARCHIVE_INTERNAL_ARCHIVE_REP_H_

#include <map>
#include <set>
#include <vector>

#include "orvstd/platform/resource.h"

#include "orvstd/archive/archive.h"
#include "orvstd/platform/resource.h"

// One object known to an archive, with the objects that point to it and
// those it points to.
struct cc_SI {
  c_Int32 id = 0;
  ccPersistent* object = nullptr;
  std::set<ccPersistent*> parents;
  std::set<ccPersistent*> children;
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
  // Reads the object record at the current position and its body.
  ccPersistent* loadObjectHere();

  ccArchive* owner;
  std::map<c_Int32, cc_SI> byId;
  std::map<ccPersistent*, cc_SI> byAddress;
  ccPersistent* current = nullptr;
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
