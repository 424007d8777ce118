// ccSubject and ccObserver: a subject tells its attached observers of a
// change, and stays correct when an observer detaches itself, or another,
// while being told.
//
// Detaching during a notification is deferred to the end of the pass; an
// observer waiting to be detached is not called any more in that pass. An
// observer attached during a pass is appended at once and reached by it.
// ccNotifyObservers gathers the changes of nested scopes into one
// notification when the outermost scope ends.
//
//   class ccCounter : public ccObserver {
//    public:
//     void notify(ccSubject*, void*) override { ++seen; }
//     int seen = 0;
//   };
//   ccSubject subject;
//   ccCounter counter;
//   subject.attach(&counter);
//   {
//     ccNotifyObservers outer(&subject, nullptr);
//     ccNotifyObservers inner(&subject, nullptr);
//   }                                 // counter.seen == 1
//
// A subject takes no lock: it belongs to one thread at a time.
#ifndef ORVSTD_OBJECT_OBSERVER_H_
#define ORVSTD_OBJECT_OBSERVER_H_

#include <list>

#include "orvstd/defs/types.h"

class ccSubject;
class cc_ObserverBindingManager;

class ccObserver {
 public:
  virtual ~ccObserver();
  virtual void notify(ccSubject* subject, void* data) = 0;
  // The subject is being destroyed. Does nothing by default.
  virtual void subjectDestroyed(ccSubject* subject);

 protected:
  ccObserver() = default;
  // A copy is attached to nothing.
  ccObserver(ccObserver const&) {}
  ccObserver& operator=(ccObserver const&) { return *this; }
};

class ccSubject {
 public:
  ccSubject();
  // A copy starts with no observers; assignment keeps the target's.
  ccSubject(ccSubject const& other);
  ccSubject& operator=(ccSubject const&) { return *this; }
  // Tells every observer not waiting to be detached by subjectDestroyed.
  virtual ~ccSubject();

  // Appends `observer` unless it is attached already; at once, even during
  // a notification.
  void attach(ccObserver* observer);
  // Takes `observer` out, at the end of the pass if a notification is
  // running. An observer that is not attached is ignored.
  void detach(ccObserver* observer);
  // Calls notify(this, data) on each attached observer in attachment order.
  // An exception from an observer passes to the caller.
  void notifyObservers(void* data);

 private:
  friend class ccNotifyObservers;

  std::list<ccObserver*> observers_;  // not owned
  c_Int32 deferCount_ = 0;
  cc_ObserverBindingManager* manager_;  // owned
};

// Scope guard: the outermost of nested guards on one subject notifies when
// it ends, with its own data.
class ccNotifyObservers {
 public:
  ccNotifyObservers(ccSubject* subject, void* data);
  ccNotifyObservers(ccNotifyObservers const&) = delete;
  ccNotifyObservers& operator=(ccNotifyObservers const&) = delete;
  // An observer's exception is written to the debug stream, never let out.
  ~ccNotifyObservers();

 private:
  ccSubject* subject_;
  void* data_;
};

#endif  // ORVSTD_OBJECT_OBSERVER_H_
