// ccRepBase: the counted body behind the library's handles, and the atomic
// counters the count uses.
//
// A body starts with count 0; the first handle takes it to 1 and the last
// handle to let go releases it. What release means is the body's choice:
// by default it deletes itself, but a body may override lastReleased_ (a pel
// root goes back to its pool) with the same single count.
//
//   class ccBlob : public ccRepBase { ... };
//   ccPtrHandle<ccBlob> h(new ccBlob);   // count 1
//   ccPtrHandle<ccBlob> g = h;           // count 2
#ifndef ORVSTD_HANDLE_REPBASE_H_
#define ORVSTD_HANDLE_REPBASE_H_

#include "orvstd/defs/types.h"

// The only atomic primitives of the library; full barriers. Increment and
// decrement return the new value, exchange the old one.
c_Int32 cfInterlockedIncrement(c_Int32* value);
c_Int32 cfInterlockedDecrement(c_Int32* value);
c_Int32 cfInterlockedExchange(c_Int32* value, c_Int32 newValue);

class ccRepBase;

// The friend of ccRepBase through which handles reach the count.
class cc_PtrHandleBase_RepAccessor {
 public:
  virtual ~cc_PtrHandleBase_RepAccessor() = default;

 protected:
  static c_Int32& refc_(ccRepBase& body);
  // Take a share of `body` (may be null).
  static void takeShare_(ccRepBase* body);
  // Give up a share of `body` (may be null); the last one releases it.
  static void giveUpShare_(ccRepBase* body);
};

class ccRepBase {
 public:
  // Asserts that no handle holds the body any more.
  virtual ~ccRepBase();

  // The number of handles that hold the body; for diagnostics and tests.
  c_Int32 refCount() const { return refc_; }

 protected:
  ccRepBase() noexcept : refc_(0) {}
  // A copy is a new body with no owners.
  ccRepBase(ccRepBase const&) noexcept : refc_(0) {}
  // The count is never copied.
  ccRepBase& operator=(ccRepBase const&) noexcept { return *this; }

  // Called when the last handle lets go, with the count back at 0. The
  // default deletes the body; a body that lives in a pool returns itself
  // there instead.
  virtual void lastReleased_();

 private:
  friend class cc_PtrHandleBase_RepAccessor;
  c_Int32 refc_;
};

#endif  // ORVSTD_HANDLE_REPBASE_H_
