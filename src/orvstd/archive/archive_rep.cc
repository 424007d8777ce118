#include "orvstd/archive/internal/archive_rep.h"

#include <algorithm>
#include <list>
#include <vector>

#include "orvstd/except/assert.h"

namespace {

// Leaked on purpose: archives and persistent statics may be destroyed in
// any order at exit and must still find the list.
std::list<cc_ArchiveRep*>& liveReps() {
  static auto* reps = new std::list<cc_ArchiveRep*>;
  return *reps;
}

}  // namespace

std::recursive_mutex& cf_ArchiveListMutex() {
  static auto* m = new std::recursive_mutex;
  return *m;
}

cc_ArchiveRep::cc_ArchiveRep(ccArchive* o) : owner(o) {
  std::lock_guard<std::recursive_mutex> lock(cf_ArchiveListMutex());
  liveReps().push_back(this);
}

cc_ArchiveRep::~cc_ArchiveRep() {
  std::lock_guard<std::recursive_mutex> lock(cf_ArchiveListMutex());
  while (!byAddress.empty()) forget(byAddress.begin()->first, true);
  liveReps().remove(this);
  for (ccPersistent* obj : failed) delete obj;
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
  if (leaving) obj->bound_ = false;
}

void ccArchive::mutating(ccPersistent* obj) {
  std::lock_guard<std::recursive_mutex> lock(cf_ArchiveListMutex());
  for (cc_ArchiveRep* rep : liveReps()) rep->forget(obj, false);
}
