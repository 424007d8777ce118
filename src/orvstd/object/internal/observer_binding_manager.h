// cc_ObserverBindingManager: the deferred-detach bookkeeping of one
// ccSubject. While the subject walks its observers, detaches wait in a
// vector and are applied when the outermost walk ends, so the walk never
// loses its place in the list.
//
//   manager.enter();
//   for (ccObserver* o : list) if (!manager.isWaiting(o)) o->notify(...);
//   manager.leave();
//
// Internal to the object module.
#ifndef ORVSTD_OBJECT_INTERNAL_OBSERVER_BINDING_MANAGER_H_
#define ORVSTD_OBJECT_INTERNAL_OBSERVER_BINDING_MANAGER_H_

#include <list>
#include <vector>

#include "orvstd/defs/types.h"

class ccObserver;

class cc_ObserverBindingManager {
 public:
  struct cc_WaitingObserver {
    bool add;  // true: attach; false: detach
    ccObserver* observer;
  };

  explicit cc_ObserverBindingManager(std::list<ccObserver*>* observers) : observers_(observers) {}
  cc_ObserverBindingManager(cc_ObserverBindingManager const&) = delete;
  cc_ObserverBindingManager& operator=(cc_ObserverBindingManager const&) = delete;

  // Walks nest (an observer may notify the same subject again), so the
  // waiting entries are applied only when the outermost walk leaves: a
  // nested walk that erased list nodes would pull them from under the outer
  // walk's feet.
  // An exception that ends a walk leaves it like a normal end, so the
  // subject is never stuck deferring.
  void enter() { ++depth_; }
  void leave();

  bool iterating() const { return depth_ > 0; }
  void add(ccObserver* observer);
  void detach(ccObserver* observer);
  // Whether `observer` waits to be detached at the end of this walk.
  bool isWaiting(ccObserver* observer) const;

 private:
  c_Int32 depth_ = 0;
  std::list<ccObserver*>* observers_;
  std::vector<cc_WaitingObserver> waiting_;
};

#endif  // ORVSTD_OBJECT_INTERNAL_OBSERVER_BINDING_MANAGER_H_
