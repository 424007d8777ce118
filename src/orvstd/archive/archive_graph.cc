// Objects through archives: object records beside their first pointer,
// shared objects stored once, embedded objects, and forgetting.
#include <algorithm>
#include <limits>
#include <typeinfo>

#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/archive/persistent_handle.h"
#include "orvstd/kernel/ksys_stack.h"
#include "orvstd/util/devenv.h"

using Pos = ccArchive::Pos;
using IO = cc_ArchiveIO;

namespace {

constexpr unsigned char kEmbeddedPrefix[4] = {0xF1, 0x66, 0x4B, 0xDF};
// Generous: one level is a few hundred bytes, more under the sanitizers, and
// the caller's own frames need room too.
constexpr std::size_t kStackForOneMoreLevel = 256 * 1024;


// Makes a just-known object the one whose body is being written or read,
// so the pointers in it are listed as its own; puts the outer one back.
class CurrentGuard {
 public:
  CurrentGuard(cc_ArchiveRep& rep, cc_SI const& entered)
      : rep_(rep), savedObject_(rep.current), savedGeneration_(rep.currentGeneration) {
    rep.current = entered.object;
    rep.currentGeneration = entered.generation;
  }
  ~CurrentGuard() { leave(); }
  CurrentGuard(CurrentGuard const&) = delete;
  CurrentGuard& operator=(CurrentGuard const&) = delete;
  void leave() {
    rep_.current = savedObject_;
    rep_.currentGeneration = savedGeneration_;
  }

 private:
  cc_ArchiveRep& rep_;
  ccPersistent* savedObject_;
  c_UInt64 savedGeneration_;
};

// The end of a record read from the file. A size that runs past every
// position is damage, and must not overflow on the way.
Pos endOf(IO::ObjectRecord const& r) {
  auto const start = static_cast<c_UInt64>(std::streamoff(r.header.start));
  if (r.size > static_cast<c_UInt64>(std::numeric_limits<std::streamoff>::max()) - start)
    throw ccArchive::BadContent("archutil", 2012);
  return Pos(static_cast<std::streamoff>(start + r.size));
}

// Skips the object record at the current position (seekable only).
void skipObjectRecord(ccArchive& ar) {
  if (!ar.isSeekable()) throw ccArchive::BadContent("archutil", 2010);
  ar.seek(endOf(IO::readObjectRecord(ar, false)));
}

// The first pointer record written after `lastBefore`.
Pos firstPointerAfter(ccArchive& ar, Pos lastBefore) {
  IO::ModeGuard load(ar, ccArchive::eLoad);
  IO::PositionGuard at(ar, lastBefore);
  return IO::readPointer(ar).next;
}

// Sets the size and first-pointer offset of the record at `start` whose
// body ends here, and moves to its true end.
void finishRecord(ccArchive& ar, cc_ArchiveRep& rep, Pos start, Pos lastPointerBefore) {
  Pos const end = ar.tell();
  Pos firstPointer = ccArchive::invalidPos();
  if (rep.lastPointer != lastPointerBefore) {
    firstPointer = firstPointerAfter(ar, lastPointerBefore);
    cmAssert(ccArchive::isValid(firstPointer));
  }
  ar.seek(IO::patchObjectRecord(ar, start, end, firstPointer));
}

// Takes back a pointer record appended at `at` whose object failed.
void dropPointer(ccArchive& ar, cc_ArchiveRep& rep, Pos at, Pos lastBefore) {
  if (!ar.isSeekable() || rep.lastPointer != at) return;
  IO::ModeGuard load(ar, ccArchive::eLoad);
  IO::PositionGuard pos(ar, lastBefore);
  IO::PointerRecord const prev = IO::readPointer(ar);
  IO::ModeGuard store(ar, ccArchive::eStore);
  ar.seek(Pos(std::streamoff(std::streamoff(lastBefore) + 10)));
  unsigned char zeros[8] = {};
  ar.cf_put(zeros, prev.wideNext() ? 8 : 4);
  rep.lastPointer = lastBefore;
}

}  // namespace

// Storing --------------------------------------------------------------------------------

c_Int32 cc_ArchiveRep::storeObject(ccPersistent* obj) {
  ccArchive& ar = *owner;
  cmAssert(obj != nullptr && ar.isStoring());
  cc_ArchiveListLock lock;
  if (cc_SI const* si = known(obj)) return si->id;
  // A graph nested deeper than this thread's stack can take is refused
  // before anything of this object is written; the records above it are
  // unlinked by the usual failure path.
  if (ksys_stack_headroom() < kStackForOneMoreLevel) throw ccArchive::BadContent("archutil", 2227);
  Pos const start = ar.tell();
  Pos const lastPointerBefore = lastPointer;
  c_Int32 const id = nextObjectId++;
  IO::writeObjectRecord(ar, id, cf_CanonicalTypeName(typeid(*obj)));
  if (ar.isSeekable()) IO::link(ar, IO::eObjects, start);
  CurrentGuard inside(*this, know(obj, id));
  try {
    obj->serialize(ar, 0);
  } catch (ccException const&) {
    inside.leave();
    try {
      ar.seek(start);
      if (ar.isSeekable()) IO::unlink(ar, IO::eObjects, start, true);
    } catch (ccException const&) {  // the first failure is the one to report
    }
    forget(obj, true);
    throw;
  }
  inside.leave();
  cf_ArchiveBind(obj);
  if (ar.isSeekable()) finishRecord(ar, *this, start, lastPointerBefore);
  return id;
}

c_Int32 ccArchive::storeObject(ccPersistent* obj) {
  requireSeekable_(1660);
  return rep_->storeObject(obj);
}

void ccPersistent::serializePointer(ccArchive& ar, ccPersistent* in, ccPersistent*& out) {
  cc_ArchiveRep& rep = *ar.rep_;
  cc_ArchiveListLock lock;
  if (ar.isStoring()) {
    out = in;
    Pos const at = ar.tell();
    Pos const lastBefore = rep.lastPointer;
    auto writeRecord = [&](c_Int32 id, unsigned char flag) {
      if (ar.isSeekable())
        IO::writePointer(ar, id, flag);
      else
        IO::writeUnlinkedPointer(ar, id, flag);
    };
    if (in == nullptr) {
      writeRecord(0, 0);
      return;
    }
    cc_SI* child = rep.known(in);
    if (child == nullptr) {
      c_Int32 const id = rep.nextObjectId;
      writeRecord(id, 1);
      try {
        c_Int32 const stored = rep.storeObject(in);
        cmAssert(stored == id);
        child = rep.knownById(id);
      } catch (ccException const&) {
        try {
          dropPointer(ar, rep, at, lastBefore);
          ar.seek(at);
        } catch (ccException const&) {
        }
        throw;
      }
    } else {
      writeRecord(child->id, 0);
    }
    rep.linkParent(child);
    return;
  }

  out = nullptr;
  rep.freshFromLastPointer = nullptr;
  IO::PointerRecord const p = IO::readPointer(ar);
  if (p.id == 0) return;
  ccPersistent* obj = nullptr;
  cc_SI* child = rep.knownById(p.id);
  bool const wasKnown = child != nullptr;
  if (wasKnown) {
    obj = child->object;
    if (rep.hasFailed(obj)) throw ccArchive::NotFound("archutil", 1983);
    if (p.flag == 1) skipObjectRecord(ar);  // already loaded through another path
  } else if (p.flag == 1) {
    Pos const after = ar.tell();
    try {
      obj = rep.loadObjectHere(&child);
    } catch (ccException const&) {
      // Leave the stream after the failed object, so a caller that catches
      // can go on reading.
      if (ar.isSeekable()) {
        try {
          ar.seek(after);
          skipObjectRecord(ar);
        } catch (ccException const&) {
        }
      }
      throw;
    }
  } else {
    if (!ar.isSeekable()) throw ccArchive::NotFound("archutil", 1980);
    // The id comes from the file: one that no record can have is not searched for.
    if (p.id < 0 || p.id > 0x7FFFFFFE) throw ccArchive::NotFound("archutil", 1986);
    Pos const where = ar.findObject(p.id);
    if (!ccArchive::isValid(where)) throw ccArchive::NotFound("archutil", 1986);
    IO::PositionGuard at(ar, where);
    obj = rep.loadObjectHere(&child);
  }
  if (p.flag == 2) skipObjectRecord(ar);
  cmAssert(obj != nullptr);
  if (!wasKnown) rep.freshFromLastPointer = obj;
  out = obj;
  rep.linkParent(child);
}

// Loading --------------------------------------------------------------------------------

ccPersistent* cc_ArchiveRep::loadObjectHere(cc_SI** entry) {
  ccArchive& ar = *owner;
  cmAssert(ar.isLoading());
  cc_ArchiveListLock lock;
  IO::ObjectRecord const r = IO::readObjectRecord(ar, true);
  if (!r.hasType) throw ccArchive::BadContent("archutil", 2220);
  // Every nested object costs stack: a file nested deeper than this thread
  // can take is refused before it overflows.
  if (ksys_stack_headroom() < kStackForOneMoreLevel) throw ccArchive::BadContent("archutil", 2226);
  if (knownById(r.header.number) != nullptr) throw ccArchive::Duplicate("archutil", 2222);
  ccPersistent* obj = r.make();
  if (obj == nullptr) throw ccArchive::BadType("archutil", 2224);
  cc_SI const& si = know(obj, r.header.number);
  auto const slot = static_cast<std::size_t>(&si - entries.data());
  c_UInt64 const generation = si.generation;
  CurrentGuard inside(*this, si);
  std::size_t const outer = loading.size();
  loading.push_back(obj);
  try {
    obj->serialize(ar, 0);
    // A newer writer may have added fields: skip whatever this reader left.
    if (ar.isSeekable()) ar.seek(endOf(r));
  } catch (...) {
    inside.leave();
    // Known until the archive goes, then deleted: this object and all that
    // loaded under it, which may point to it and which the caller never gets.
    failed.insert(failed.end(), loading.begin() + static_cast<std::ptrdiff_t>(outer), loading.end());
    loading.resize(outer);
    throw;
  }
  inside.leave();
  if (outer == 0) loading.clear();  // the whole graph is the caller's now
  cf_ArchiveBind(obj);
  if (entry != nullptr) {
    cc_SI& e = entries[slot];
    *entry = e.object == obj && e.generation == generation ? &e : nullptr;
  }
  return obj;
}

bool cc_ArchiveRep::hasFailed(ccPersistent* obj) const {
  return std::find(failed.begin(), failed.end(), obj) != failed.end();
}

void cf_PointerOfWrongClass(ccArchive& ar, ccPersistent* loaded) {
  cc_ArchiveRep& rep = *ar.rep_;
  cc_ArchiveListLock lock;
  // A body this load made has no owner now: the archive keeps it, and a
  // later pointer to it is NotFound, as for a failed load.
  if (rep.loading.empty() && rep.freshFromLastPointer == loaded && !rep.hasFailed(loaded))
    rep.failed.push_back(loaded);
  throw ccArchive::BadType("archutil", 2240);
}

ccPersistent* ccArchive::loadObject() {
  requireSeekable_(1670);
  cmAssert(isLoading());
  return rep_->loadObjectHere();
}

// Embedded objects ---------------------------------------------------------------------------

void ccPersistent::serializeObject(ccArchive& ar, ccPersistent& obj) {
  cc_ArchiveRep& rep = *ar.rep_;
  cc_ArchiveListLock lock;
  if (ar.isStoring()) {
    if (ar.version() == 0) throw ccArchive::CannotWriteToOldArchive("archutil", 1741);
    ar.cf_put(kEmbeddedPrefix, 4);
    Pos const start = ar.tell();
    Pos const lastBefore = rep.lastPointer;
    std::string const& name = cf_CanonicalTypeName(typeid(obj));
    if (cf_LookupType(ccDevEnv::nativeTypeName(name)) == nullptr)
      throw ccArchive::UnknownType(name, "archutil", 1756);
    if (ar.isSeekable()) {
      IO::writeObjectRecord(ar, rep.nextObjectId++, name);
      IO::link(ar, IO::eObjects, start);
    }
    try {
      obj.serialize(ar, 1);
    } catch (ccException const&) {
      if (ar.isSeekable()) {
        try {
          ar.seek(start);
          IO::unlink(ar, IO::eObjects, start, true);
        } catch (ccException const&) {
        }
      }
      throw;
    }
    if (ar.isSeekable()) finishRecord(ar, rep, start, lastBefore);
    return;
  }

  bool prefixed = false;
  if (ar.version() >= 1) {
    Pos const before = ar.tell();
    int matched = 0;
    int consumed = 0;
    try {
      for (; matched < 4; ++matched) {
        unsigned char b;
        ar.cf_get(&b, 1);
        ++consumed;
        if (b != kEmbeddedPrefix[matched]) break;
      }
    } catch (ccException const&) {  // the end of the stream: no prefix
    }
    prefixed = matched == 4;
    if (!prefixed && consumed > 0) {
      if (!ar.isSeekable()) throw ccArchive::NotSeekable("archutil", 1852);
      ar.seek(before);
    }
  }
  if (!prefixed && obj.loadSimple(ar)) return;
  Pos end;
  if (ar.isSeekable() && prefixed) end = endOf(IO::readObjectRecord(ar, true));
  obj.serialize(ar, 1);
  if (ar.isSeekable() && prefixed) ar.seek(end);
}

ccArchive& operator||(ccArchive& ar, ccPersistent& obj) {
  ccPersistent::serializeObject(ar, obj);
  return ar;
}

ccArchive& operator<<(ccArchive& ar, ccPersistent const& obj) {
  cmAssert(ar.isStoring());
  ccPersistent::serializeObject(ar, const_cast<ccPersistent&>(obj));
  return ar;
}

ccArchive& operator>>(ccArchive& ar, ccPersistent& obj) {
  cmAssert(ar.isLoading());
  ccPersistent::serializeObject(ar, obj);
  return ar;
}
