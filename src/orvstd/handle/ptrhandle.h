// Counted handles to ccRepBase bodies.
//
// Handles share a body; there is no copy-on-write at this level. A non-const
// handle is-a const handle, and a handle to a derived body converts to a
// handle to its base. Dereferencing an empty handle throws ccBadPointer.
//
//   ccPtrHandle<ccBlob> h(new ccBlob);
//   ccPtrHandle_const<ccBlob> c = h;   // shares, read-only
//   h->grow();                          // T& through the non-const handle
//   ccPtrHandle<ccBlob> none;
//   none->grow();                       // throws ccBadPointer
#ifndef ORVSTD_HANDLE_PTRHANDLE_H_
#define ORVSTD_HANDLE_PTRHANDLE_H_

#include <type_traits>

#include "orvstd/except/except.h"
#include "orvstd/handle/repbase.h"

template <class T>
class ccPtrHandle_const : public cc_PtrHandleBase_RepAccessor {
 public:
  ccPtrHandle_const() noexcept : body_(nullptr) {}
  ccPtrHandle_const(T const* body) : body_(const_cast<T*>(body)) { takeShare_(rep(body_)); }  // NOLINT
  ccPtrHandle_const(ccPtrHandle_const const& other) : body_(other.body_) { takeShare_(rep(body_)); }
  template <class U>
    requires(std::is_convertible_v<U*, T*> && !std::is_same_v<U, T>)
  ccPtrHandle_const(ccPtrHandle_const<U> const& other)  // NOLINT: derived-to-base is implicit
      : body_(const_cast<U*>(other.get())) {
    takeShare_(rep(body_));
  }
  ~ccPtrHandle_const() override { giveUpShare_(rep(body_)); }

  ccPtrHandle_const& operator=(ccPtrHandle_const const& other) {
    reset_(other.body_);
    return *this;
  }
  ccPtrHandle_const& operator=(T const* body) {
    reset_(const_cast<T*>(body));
    return *this;
  }

  T const* operator->() const { return checked_(); }
  T const& operator*() const { return *checked_(); }
  bool operator!() const { return body_ == nullptr; }
  operator void const*() const { return body_; }  // NOLINT: the pointer-like test
  T const* get() const { return body_; }

  template <class U>
  bool operator==(ccPtrHandle_const<U> const& other) const {
    return static_cast<void const*>(body_) == static_cast<void const*>(other.get());
  }

 protected:
  T* checked_() const {
    if (body_ == nullptr) throw ccBadPointer();
    return body_;
  }
  static ccRepBase* rep(T* body) { return body; }
  // Old body first, then the new one: safe because equal bodies return.
  void reset_(T* body) {
    if (body == body_) return;
    giveUpShare_(rep(body_));
    body_ = body;
    takeShare_(rep(body_));
  }

  T* body_;
};

template <class T>
class ccPtrHandle : public ccPtrHandle_const<T> {
  using Base = ccPtrHandle_const<T>;

 public:
  ccPtrHandle() noexcept = default;
  ccPtrHandle(T* body) : Base(body) {}  // NOLINT
  ccPtrHandle(ccPtrHandle const& other) = default;
  template <class U>
    requires(std::is_convertible_v<U*, T*> && !std::is_same_v<U, T>)
  ccPtrHandle(ccPtrHandle<U> const& other) : Base(other.get()) {}  // NOLINT
  ~ccPtrHandle() override = default;

  ccPtrHandle& operator=(ccPtrHandle const& other) {
    this->reset_(other.body_);
    return *this;
  }
  ccPtrHandle& operator=(T* body) {
    this->reset_(body);
    return *this;
  }

  T* operator->() const { return this->checked_(); }
  T& operator*() const { return *this->checked_(); }
  T* get() const { return this->body_; }
};

#endif  // ORVSTD_HANDLE_PTRHANDLE_H_
