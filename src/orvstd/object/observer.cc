#include "orvstd/object/observer.h"

#include <algorithm>
#include <exception>
#include <ostream>

#include "orvstd/except/except.h"
#include "orvstd/object/internal/observer_binding_manager.h"
#include "orvstd/util/debug.h"

// cc_ObserverBindingManager ---------------------------------------------------

void cc_ObserverBindingManager::leave() {
  if (--depth_ > 0) return;
  // Applied with the walk over, so each entry acts on the list at once;
  // moved out first because an entry may not add to what is being walked.
  std::vector<cc_WaitingObserver> entries;
  entries.swap(waiting_);
  for (cc_WaitingObserver const& entry : entries) {
    if (entry.add)
      add(entry.observer);
    else
      detach(entry.observer);
  }
}

void cc_ObserverBindingManager::add(ccObserver* observer) {
  if (iterating())
    waiting_.push_back({true, observer});
  else
    observers_->push_back(observer);
}

void cc_ObserverBindingManager::detach(ccObserver* observer) {
  if (iterating()) {
    waiting_.push_back({false, observer});
    return;
  }
  auto it = std::find(observers_->begin(), observers_->end(), observer);
  if (it != observers_->end()) observers_->erase(it);
}

bool cc_ObserverBindingManager::isWaiting(ccObserver* observer) const {
  if (!iterating()) return false;
  return std::any_of(waiting_.begin(), waiting_.end(),
                     [&](cc_WaitingObserver const& w) { return !w.add && w.observer == observer; });
}

// ccObserver -----------------------------------------------------------------

ccObserver::~ccObserver() = default;

void ccObserver::subjectDestroyed(ccSubject*) {}

// ccSubject ------------------------------------------------------------------

namespace {

// Ends a walk however the walk ends.
class cc_WalkGuard {
 public:
  explicit cc_WalkGuard(cc_ObserverBindingManager& manager) : manager_(manager) { manager_.enter(); }
  cc_WalkGuard(cc_WalkGuard const&) = delete;
  cc_WalkGuard& operator=(cc_WalkGuard const&) = delete;
  ~cc_WalkGuard() { manager_.leave(); }

 private:
  cc_ObserverBindingManager& manager_;
};

}  // namespace

ccSubject::ccSubject() : manager_(new cc_ObserverBindingManager(&observers_)) {}

ccSubject::ccSubject(ccSubject const&) : ccSubject() {}

ccSubject::~ccSubject() {
  // The walk never ends: the manager goes with it, so an observer may still
  // detach itself from inside subjectDestroyed.
  manager_->enter();
  for (auto it = observers_.begin(); it != observers_.end(); ++it) {
    if (manager_->isWaiting(*it)) continue;
    try {
      (*it)->subjectDestroyed(this);
    } catch (...) {
      cfOrvDebug() << "observer: (warning) ignoring an exception from subjectDestroyed" << std::endl;
    }
  }
  delete manager_;
}

void ccSubject::attach(ccObserver* observer) {
  if (std::find(observers_.begin(), observers_.end(), observer) == observers_.end()) observers_.push_back(observer);
}

void ccSubject::detach(ccObserver* observer) { manager_->detach(observer); }

void ccSubject::notifyObservers(void* data) {
  cc_WalkGuard walk(*manager_);
  // end() is read anew each round: observers attached in the walk are reached.
  for (auto it = observers_.begin(); it != observers_.end(); ++it) {
    if (!manager_->isWaiting(*it)) (*it)->notify(this, data);
  }
}

// ccNotifyObservers ----------------------------------------------------------

ccNotifyObservers::ccNotifyObservers(ccSubject* subject, void* data) : subject_(subject), data_(data) {
  cmAssert(subject_ != nullptr);
  ++subject_->deferCount_;
}

ccNotifyObservers::~ccNotifyObservers() {
  if (--subject_->deferCount_ != 0) return;
  try {
    subject_->notifyObservers(data_);
  } catch (ccException const& e) {
    cfOrvDebug() << "observer: (warning) ignoring exception " << e.message() << std::endl;
  } catch (...) {
    cfOrvDebug() << "observer: (warning) ignoring an exception from notify" << std::endl;
  }
}
