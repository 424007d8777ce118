// cc_Resource: the base of the waitable objects (mutexes, semaphores,
// events), and the guards that lock them by scope.
//
// Every wait on a resource can be broken from another thread:
// cc_Resource::breakLocks(id) makes the thread's current or next wait throw
// cc_Resource::BrokenLock, which unwinds it. BrokenLock ends a thread
// normally, so its errorNumber is 0, not a failure number. A mutex whose
// owner thread ended while holding it is "abandoned": the next locker gets
// it and the lock counts as a success.
//
//   ccMutex m;
//   {
//     ccLock guard(m);            // waits with no limit; may throw BrokenLock
//     ...
//   }                             // unlocked
//   ccSemaphore items(0, 16);
//   if (!items.lock(0.5)) ...     // half a second, then false
//
// Copying a resource shares the one underlying object.
//
// A non-empty name makes an object shared by every process of the same
// user: the first creates it, later ones open it (allowExisting false makes
// that NamedObjectExists; a name held by another kind is NameConflict).
// The object lives while any process holds a handle; one left behind by
// processes that all died is created anew. A named mutex whose owner
// thread or process dies is abandoned, as an unnamed one is.
//
//   ccMutex camera(false, "camera-3");   // the same mutex in every program
//   ccLock hold(camera);
#ifndef ORVSTD_PLATFORM_RESOURCE_H_
#define ORVSTD_PLATFORM_RESOURCE_H_

#include <cmath>
#include <string>

#include "orvstd/except/except.h"

class ccThreadID;

class cc_Resource {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(Timeout, Errors, 0x10002100);
  cmErrorClass(NamedObjectExists, Errors, 0x10002102);
  cmErrorClass(NameConflict, Errors, 0x10002104);
  cmErrorClass(CreateFailed, Errors, 0x10002105);
  cmErrorClass(BrokenLock, Errors, 0);

  // Closes this handle; the object goes with its last handle.
  virtual ~cc_Resource();

  // Waits up to `seconds` (HUGE_VAL: no limit; 0: a single test) for the
  // resource. Whole milliseconds, truncated, but a positive time never
  // becomes 0. True when acquired (abandoned included), false on time-out;
  // throws BrokenLock when the calling thread's locks are broken.
  virtual bool lock(double seconds = HUGE_VAL);
  virtual void unlock() = 0;

  void* rawResourceHandle() const { return handle_; }
  // Whether this handle's construction created the underlying object (for a
  // named one: it did not exist, or only processes now dead had held it).
  bool first() const { return first_; }

  // Breaks the waits of `thread`: its current wait, or its next one if it is
  // not waiting, throws BrokenLock; a poll() on its break fd returns.
  static void breakLocks(ccThreadID& thread);

  // The milliseconds a wait of `seconds` lasts; -1 for no limit.
  static c_Int32 waitMilliseconds(double seconds);

 protected:
  cc_Resource() = default;
  // Takes over `handle`, which this resource now closes.
  explicit cc_Resource(void* handle) : handle_(handle) {}
  cc_Resource(cc_Resource const& other);
  cc_Resource& operator=(cc_Resource const& other);

  // Creates the object: unnamed when `name` is empty, else shared by name.
  // Throws NameConflict, NamedObjectExists or CreateFailed.
  void create_(int kind, std::string const& name, bool allowExisting, bool initiallyOwned, c_Int32 initial,
               c_Int32 maximum, bool manualReset, bool initiallySet);

  void* handle_ = nullptr;
  bool first_ = true;  // whether this object created the underlying one
};

// A recursive mutex owned by a thread. Unlocking a mutex the calling
// thread does not own, or destroying the last handle while another thread
// holds it, is a programming error and asserts.
class ccMutex : public cc_Resource {
 public:
  explicit ccMutex(bool initiallyOwned = false, std::string const& name = "", bool allowExisting = true);
  ccMutex(ccMutex const&) = default;
  ccMutex& operator=(ccMutex const&) = default;
  ~ccMutex() override = default;

  void unlock() override;

  // One process-wide mutex, for first-use creation of process-wide tables.
  // Its first use must not race with another (asserted).
  static ccMutex& global();
};

enum ceCreateByHandle { ceDuplicateHandle };

// A counting semaphore. unlock() adds one count; a count already at the
// maximum stays there (the release is dropped, as an OS semaphore refuses it).
class ccSemaphore : public cc_Resource {
 public:
  ccSemaphore(c_Int32 initial, c_Int32 maximum, std::string const& name = "", bool allowExisting = true);
  // Another handle to the semaphore behind `handle` (a rawResourceHandle).
  ccSemaphore(void* handle, ceCreateByHandle);
  ccSemaphore(ccSemaphore const&) = default;
  ccSemaphore& operator=(ccSemaphore const&) = default;
  ~ccSemaphore() override = default;

  void unlock() override;
  bool operator==(ccSemaphore const& other) const { return handle_ == other.handle_; }
};

// An event, manual-reset (stays set until reset; releases every waiter) or
// auto-reset (one waiter takes it). unlock() sets it.
class ccEvent : public cc_Resource {
 public:
  ccEvent(bool manualReset, bool initiallySet, std::string const& name = "", bool allowExisting = true);
  ccEvent(ccEvent const&) = default;
  ccEvent& operator=(ccEvent const&) = default;
  ~ccEvent() override = default;

  void unlock() override;
  bool setEvent();
  bool resetEvent();
  bool operator==(ccEvent const& other) const { return handle_ == other.handle_; }
};

// Locks a resource by scope, counting its own depth; the destructor unlocks
// as often as it locked.
class ccLock {
 public:
  explicit ccLock(cc_Resource& resource, bool lockNow = true);
  ccLock(ccLock const&) = delete;
  ccLock& operator=(ccLock const&) = delete;
  ~ccLock();

  bool lock(double seconds = HUGE_VAL);
  // As lock, but a time-out throws cc_Resource::Timeout.
  void lockOrElse(double seconds = HUGE_VAL);
  // Asserts that this guard holds the lock.
  void unlock();
  c_Int32 depth() const { return depth_; }

 private:
  cc_Resource& resource_;
  c_Int32 depth_ = 0;
};

// A recursive lock for short sections inside the process: it spins before
// it sleeps and costs no system call when uncontended. No time-out, and it
// cannot be broken.
class ccCriticalSection {
 public:
  ccCriticalSection();
  ccCriticalSection(ccCriticalSection const&) = delete;
  ccCriticalSection& operator=(ccCriticalSection const&) = delete;
  ~ccCriticalSection();

  void lock();
  // Asserts that the calling thread holds the section.
  void unlock();

 private:
  void* section_;
};

class ccCriticalSectionLock {
 public:
  explicit ccCriticalSectionLock(ccCriticalSection& section, bool lockNow = true);
  ccCriticalSectionLock(ccCriticalSectionLock const&) = delete;
  ccCriticalSectionLock& operator=(ccCriticalSectionLock const&) = delete;
  ~ccCriticalSectionLock();

  void lock();
  // Leaves once; nothing when this guard does not hold the section.
  void unlock();
  c_Int32 depth() const { return depth_; }

 private:
  ccCriticalSection& section_;
  c_Int32 depth_ = 0;
};

#endif  // ORVSTD_PLATFORM_RESOURCE_H_
