#include "orvstd/archive/persistent.h"

#include <map>
#include <utility>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_rep.h"
#include "orvstd/platform/resource.h"
#include "orvstd/except/assert.h"

namespace {

// One entry per ccPersistent::serialize in progress: the object and the
// subobjects (address, size) already written or read for it.
struct VisitEntry {
  ccPersistent const* object;
  std::map<std::pair<void const*, c_UInt64>, c_Int32> visited;
};

// Both leaked on purpose: persistent statics may be destroyed after any
// other static and must still find them.
std::vector<VisitEntry>& visitStack() {
  static auto* stack = new std::vector<VisitEntry>;
  return *stack;
}

// Built once, never destroyed (see above). Taken only inside the list
// lock, so the two are always taken in that order.
ccMutex& serializationMutex() {
  static auto* m = new ccMutex;
  return *m;
}

}  // namespace

ccPersistent::~ccPersistent() { mutating(); }

void ccPersistent::mutating_() {
  cc_ArchiveListLock lock;
  ccArchive::mutating(this);
  cf_ArchiveUnbind(this);
}

void ccPersistent::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(ccPersistent), 0, [&](unsigned char v) { serialize_(ar, v); });
}

void ccPersistent::serialize_(ccArchive&, unsigned char version) { cfCheckClassVersion(version, 0, nullptr, 0); }

void ccPersistent::exchangeVersion_(ccArchive& ar, unsigned char& version) { ar || version; }

bool ccPersistent::haveVisited(void const* address, c_UInt64 size) {
  auto& stack = visitStack();
  cmAssert(!stack.empty());
  auto const& visited = stack.back().visited;
  return visited.find({address, size}) != visited.end();
}

void ccPersistent::setVisited(void const* address, c_UInt64 size) {
  auto& stack = visitStack();
  cmAssert(!stack.empty());
  stack.back().visited.emplace(std::make_pair(address, size), 1);
}

void ccPersistent::serialize(ccArchive& ar, int reinit) {
  if (ar.isLoading() && reinit) reInit();
  ccLock lock(serializationMutex());
  auto& stack = visitStack();
  stack.push_back(VisitEntry{this, {}});
  struct Pop {
    std::vector<VisitEntry>& stack;
    ccPersistent const* self;
    ~Pop() {
      cmAssert(!stack.empty() && stack.back().object == self);
      stack.pop_back();
    }
  } pop{stack, this};
  dispatchSerialize(ar);
}

void cfCheckClassVersion(unsigned char version, unsigned char current, char const* file, int line) {
  if (version > current) throw ccArchive::UnknownVersion(file, line);
}
