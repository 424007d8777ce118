// ccPersistent: the base of everything that goes through an archive.
//
// A persistent class states its fields once, in serialize_, and the same
// code stores and loads by the archive's direction. It keeps one flag, bound:
// set when an archive has stored or loaded the object. A member that changes
// persistent state calls mutating() first, so that every archive that has
// seen the object forgets it and writes it again next time.
//
//   class ccSpot : public ccPersistent {
//    public:
//     void setX(double x) { mutating(); x_ = x; }
//    protected:
//     void dispatchSerialize(ccArchive& ar) override {
//       dispatchVersioned_(ar, this, sizeof(ccSpot), 0, [&](unsigned char v) { serialize_(ar, v); });
//     }
//     void serialize_(ccArchive& ar, unsigned char version) {
//       cfCheckClassVersion(version, 0, "spot", __LINE__);
//       ccPersistent::dispatchSerialize(ar);
//       ar || x_;
//     }
//    private:
//     double x_ = 0;
//   };
#ifndef ORVSTD_ARCHIVE_PERSISTENT_H_
#define ORVSTD_ARCHIVE_PERSISTENT_H_

#include <cstddef>
#include <utility>

#include <atomic>

#include "orvstd/defs/types.h"

class ccArchive;
class cc_ArchiveRep;

class ccPersistent {
 public:
  ccPersistent() noexcept : bound_(false) {}
  // A copy is a new object: no archive has seen it.
  ccPersistent(ccPersistent const&) noexcept : bound_(false) {}
  // Assignment changes the value, so archives must forget the target; the
  // bound flag itself is never copied.
  ccPersistent& operator=(ccPersistent const&) {
    mutating();
    return *this;
  }
  virtual ~ccPersistent();

  // Whether an archive has stored or loaded this object and not forgotten it.
  bool isBound() const { return bound_.load(std::memory_order_relaxed); }

  // An object embedded in its container's body (no id, not shared).
  static void serializeObject(ccArchive& ar, ccPersistent& obj);
  // A pointer: the object is written beside its first pointer and
  // referenced by id after that; loading makes new objects (owned by the
  // caller) and keeps shared ones shared.
  static void serializePointer(ccArchive& ar, ccPersistent* in, ccPersistent*& out);

 protected:
  // Writes or reads this class's version byte and fields; every concrete
  // persistent class overrides it through dispatchVersioned_.
  virtual void dispatchSerialize(ccArchive& ar);
  // Called before loading into an existing object (embedded objects).
  virtual void reInit() {}
  // Reads a form older than the record form; true if it did.
  virtual bool loadSimple(ccArchive&) { return false; }

  void serialize_(ccArchive& ar, unsigned char version);

  void mutating() {
    if (bound_.load(std::memory_order_relaxed)) mutating_();
  }

  // Visited state of the serialisation in progress: a subobject reached
  // twice through virtual inheritance is written once.
  static bool haveVisited(void const* address, c_UInt64 size);
  static void setVisited(void const* address, c_UInt64 size);

  // The one dispatch pattern: unless this subobject was visited, exchange
  // the version byte (store writes `current`, load reads the stored one),
  // run body(version), then mark the subobject visited.
  template <class Body>
  static void dispatchVersioned_(ccArchive& ar, void const* self, std::size_t size, unsigned char current,
                                 Body&& body) {
    if (haveVisited(self, size)) return;
    unsigned char version = current;
    exchangeVersion_(ar, version);
    std::forward<Body>(body)(version);
    setVisited(self, size);
  }

 private:
  friend class ccArchive;
  friend class cc_ArchiveRep;
  friend void cf_ArchiveBind(ccPersistent* obj);
  friend void cf_ArchiveUnbind(ccPersistent* obj);

  static void exchangeVersion_(ccArchive& ar, unsigned char& version);
  void mutating_();
  // Runs dispatchSerialize under the serialisation lock with a fresh visited
  // entry; on loading with reinit set, clears the object first.
  void serialize(ccArchive& ar, int reinit);

  // Set and cleared under the archives' list lock; read without it by the
  // quick test in mutating().
  std::atomic<bool> bound_;
};

ccArchive& operator||(ccArchive& ar, ccPersistent& obj);
ccArchive& operator<<(ccArchive& ar, ccPersistent const& obj);
ccArchive& operator>>(ccArchive& ar, ccPersistent& obj);

// Raises ccArchive::UnknownVersion(file, line) when a stored class version
// is above the one this reader knows.
void cfCheckClassVersion(unsigned char version, unsigned char current, char const* file, int line);

#endif  // ORVSTD_ARCHIVE_PERSISTENT_H_
