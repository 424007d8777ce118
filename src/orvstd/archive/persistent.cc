#include "orvstd/archive/persistent.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_rep.h"
#include "orvstd/platform/resource.h"
#include "orvstd/except/assert.h"

namespace {

// One entry per ccPersistent::serialize in progress: the object and the
// subobjects (address, size) already written or read for it. An object has
// a handful (its class and its bases), so a flat list searched in order is
// the fastest set; entries are kept when popped so their lists are reused.
struct VisitEntry {
  ccPersistent const* object;
  std::vector<std::pair<void const*, c_UInt64>> visited;
};
struct VisitStack {
  std::vector<VisitEntry> entries;
  std::size_t depth = 0;
};

// Both leaked on purpose: persistent statics may be destroyed after any
// other static and must still find them.
VisitStack& visitStack() {
  static auto* stack = new VisitStack;
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
  VisitStack& stack = visitStack();
  cmAssert(stack.depth > 0);
  auto const& visited = stack.entries[stack.depth - 1].visited;
  return std::find(visited.begin(), visited.end(), std::make_pair(address, size)) != visited.end();
}

void ccPersistent::setVisited(void const* address, c_UInt64 size) {
  VisitStack& stack = visitStack();
  cmAssert(stack.depth > 0);
  auto& visited = stack.entries[stack.depth - 1].visited;
  if (std::find(visited.begin(), visited.end(), std::make_pair(address, size)) == visited.end())
    visited.emplace_back(address, size);
}

void ccPersistent::serialize(ccArchive& ar, int reinit) {
  if (ar.isLoading() && reinit) reInit();
  ccLock lock(serializationMutex());
  VisitStack& stack = visitStack();
  if (stack.depth == stack.entries.size()) stack.entries.emplace_back();
  VisitEntry& entry = stack.entries[stack.depth++];
  entry.object = this;
  entry.visited.clear();
  struct Pop {
    VisitStack& stack;
    ccPersistent const* self;
    ~Pop() {
      cmAssert(stack.depth > 0 && stack.entries[stack.depth - 1].object == self);
      --stack.depth;
    }
  } pop{stack, this};
  dispatchSerialize(ar);
}

void cfCheckClassVersion(unsigned char version, unsigned char current, char const* file, int line) {
  if (version > current) throw ccArchive::UnknownVersion(file, line);
}
