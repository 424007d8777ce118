#include "orvstd/kernel/ksys_cleanup.h"

#include <atomic>
#include <new>

#include "orvstd/kernel/kstd.h"

namespace {
std::atomic<c_UInt32> gNextTag{1};
std::atomic<c_UInt32> gNextSequence{0};
constexpr c_UInt32 kLastSequence = 0xFFFFFFFEu;
}  // namespace

ksys_cleanup_struct_::~ksys_cleanup_struct_() {
  while (head) {
    ksys_cleanup_entry_* e = head;
    head = e->next;
    e->dtor(e->object);  // nobody is left to hear of a failure
    delete e;
  }
}

c_Int32 ksys_cleanup_getNextTag() {
  // Tags are positive; 0 means "all tags" to ksys_cleanupCount.
  for (;;) {
    c_UInt32 tag = gNextTag.fetch_add(1) & 0x7FFFFFFFu;
    if (tag != 0) return static_cast<c_Int32>(tag);
  }
}

c_UInt32 ksys_cleanup_nextSequence() {
  c_UInt32 cur = gNextSequence.load();
  while (!gNextSequence.compare_exchange_weak(cur, cur >= kLastSequence ? 0 : cur + 1)) {
  }
  return cur;
}

void ksys_cleanup_setSequenceForTest(c_UInt32 next) { gNextSequence.store(next); }

c_Int32 ksys_cleanupPush(ksys_cleanup_struct_* list, c_Int32 tag, void* object, ksys_cleanupDtor dtor) {
  KSTD_ASSERT(list != nullptr && dtor != nullptr);
  auto* e = new (std::nothrow) ksys_cleanup_entry_{ksys_cleanup_nextSequence(), ksys_cleanupKind, object, dtor, tag,
                                                   list->head};
  if (!e) return kstd_outOfMemory;
  list->head = e;
  return 0;
}

c_Int32 ksys_cleanupExecute_(ksys_cleanup_struct_* list, c_Int32* status, c_Int32* code, c_Int32 tag) {
  KSTD_ASSERT(list != nullptr && status != nullptr && code != nullptr);
  bool const unwinding = static_cast<c_UInt32>(*code) == 0x80000000u;
  ksys_cleanup_entry_** link = &list->head;
  while (*link) {
    ksys_cleanup_entry_* e = *link;
    if (e->tag != tag) {
      link = &e->next;
      continue;
    }
    *link = e->next;
    c_Int32 rc = e->dtor(e->object);
    delete e;
    if (rc < 0 && !unwinding && *code >= 0) {
      *code = rc;
      *status = rc;
    }
  }
  return 0;
}

c_Int32 ksys_cleanupCount(ksys_cleanup_struct_ const* list, c_Int32 tag) {
  c_Int32 n = 0;
  for (ksys_cleanup_entry_ const* e = list->head; e; e = e->next)
    if (tag == 0 || e->tag == tag) ++n;
  return n;
}
