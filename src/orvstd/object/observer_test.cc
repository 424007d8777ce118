// Subjects and observers: detaching and attaching during a pass, nested
// passes and nested ccNotifyObservers scopes, destruction, exceptions, and
// subjects notifying on several threads at once.
#include "orvstd/object/observer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orvstd/except/except.h"

namespace {

// Logs its name on each call; runs an action on its first notification.
class Recorder : public ccObserver {
 public:
  Recorder(char name, std::string* log) : name_(name), log_(log) {}
  void notify(ccSubject* subject, void* data) override {
    *log_ += name_;
    lastData = data;
    if (action && !acted_) {
      acted_ = true;
      action(subject);
    }
  }
  void subjectDestroyed(ccSubject* subject) override {
    *log_ += '~';
    *log_ += name_;
    if (onDestroyed) onDestroyed(subject);
  }
  std::function<void(ccSubject*)> action;
  std::function<void(ccSubject*)> onDestroyed;
  void* lastData = nullptr;

 private:
  char name_;
  std::string* log_;
  bool acted_ = false;
};

struct Scene {
  std::string log;
  Recorder a{'A', &log}, b{'B', &log}, c{'C', &log}, d{'D', &log};
  ccSubject subject;
  Scene() {
    subject.attach(&a);
    subject.attach(&b);
    subject.attach(&c);
  }
  Recorder* byName(char n) { return n == 'A' ? &a : n == 'B' ? &b : n == 'C' ? &c : &d; }
  // The log of one pass.
  std::string pass() {
    log.clear();
    subject.notifyObservers(nullptr);
    return log;
  }
  // Two passes, their logs joined by '|'.
  std::string twoPasses() {
    std::string first = pass();
    return first + '|' + pass();
  }
};

// Who acts, and what it does to whom, in its first notification.
struct PassCase {
  char const* name;
  char actor;
  std::vector<std::pair<char, char>> steps;  // ('-', X): detach X; ('+', X): attach X
  char const* expected;
};

// Test names in listings, not the bytes of the case.
void PrintTo(PassCase const& c, std::ostream* os) { *os << c.name; }

class ChangesDuringAPass : public testing::TestWithParam<PassCase> {};

TEST_P(ChangesDuringAPass, TakeEffectAsDeferredDetachingSays) {
  PassCase const& pc = GetParam();
  Scene s;
  s.byName(pc.actor)->action = [&](ccSubject* subject) {
    for (auto [op, who] : pc.steps) {
      if (op == '-')
        subject->detach(s.byName(who));
      else
        subject->attach(s.byName(who));
    }
  };
  EXPECT_EQ(s.twoPasses(), pc.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Observers, ChangesDuringAPass,
    testing::Values(PassCase{"DetachItself", 'A', {{'-', 'A'}}, "ABC|BC"},
                    PassCase{"DetachItselfTwice", 'A', {{'-', 'A'}, {'-', 'A'}}, "ABC|BC"},
                    PassCase{"DetachTheNext", 'A', {{'-', 'B'}}, "AC|AC"},
                    PassCase{"DetachAnEarlier", 'C', {{'-', 'A'}}, "ABC|BC"},
                    PassCase{"AttachANew", 'A', {{'+', 'D'}}, "ABCD|ABCD"},
                    PassCase{"AttachANewThenDetachIt", 'B', {{'+', 'D'}, {'-', 'D'}}, "ABC|ABC"},
                    PassCase{"AttachTwice", 'A', {{'+', 'C'}}, "ABC|ABC"},
                    PassCase{"DetachSomeoneNotAttached", 'A', {{'-', 'D'}}, "ABC|ABC"},
                    // Still in the list, so attach changes nothing: the detach wins.
                    PassCase{"DetachThenAttachAgain", 'A', {{'-', 'B'}, {'+', 'B'}}, "AC|AC"}),
    [](testing::TestParamInfo<PassCase> const& p) { return std::string(p.param.name); });

TEST(Subject, NotifiesInAttachmentOrderWithTheData) {
  Scene s;
  s.subject.attach(&s.a);  // again: no change
  int payload = 7;
  s.subject.notifyObservers(&payload);
  EXPECT_EQ(s.log, "ABC");
  EXPECT_EQ(s.b.lastData, &payload);
  s.subject.detach(&s.b);
  s.subject.detach(&s.d);  // not attached: ignored
  EXPECT_EQ(s.pass(), "AC");
}

TEST(Subject, NestedPassesDeferToTheOutermostEnd) {
  Scene s;
  int inner = 1;
  // A detaches itself and B, then notifies again: neither is reached in
  // the inner pass nor in the rest of the outer one.
  s.a.action = [&](ccSubject* subject) {
    subject->detach(&s.a);
    subject->detach(&s.b);
    subject->notifyObservers(&inner);
    s.log += '/';
  };
  // C, reached first in the inner pass, detaches itself there.
  s.c.action = [&](ccSubject* subject) { subject->detach(&s.c); };
  EXPECT_EQ(s.twoPasses(), "AC/|");
  EXPECT_EQ(s.c.lastData, &inner);
  s.subject.attach(&s.b);
  EXPECT_EQ(s.pass(), "B");
}

TEST(Subject, AnExceptionLeavesThePassAndAppliesWhatWaited) {
  Scene s;
  s.a.action = [&](ccSubject* subject) { subject->detach(&s.c); };
  s.b.action = [](ccSubject*) { throw std::runtime_error("observer b"); };
  EXPECT_THROW(s.subject.notifyObservers(nullptr), std::runtime_error);
  EXPECT_EQ(s.log, "AB");
  // Not stuck deferring: C went with the end of the pass, detaches act now.
  s.subject.detach(&s.a);
  EXPECT_EQ(s.pass(), "B");
}

TEST(NotifyObservers, NestedScopesNotifyOnceWithTheOutermostData) {
  Scene s;
  int outer = 1, middle = 2, inner = 3;
  {
    ccNotifyObservers n1(&s.subject, &outer);
    {
      ccNotifyObservers n2(&s.subject, &middle);
      ccNotifyObservers n3(&s.subject, &inner);
    }
    EXPECT_EQ(s.log, "");
  }
  EXPECT_EQ(s.log, "ABC");
  EXPECT_EQ(s.a.lastData, &outer);
  {
    ccNotifyObservers again(&s.subject, &inner);
  }
  EXPECT_EQ(s.log, "ABCABC");
  EXPECT_EQ(s.a.lastData, &inner);
}

TEST(NotifyObservers, AnObserverExceptionDoesNotLeaveTheDestructor) {
  Scene s;
  s.a.action = [](ccSubject*) { throw ccInvariantFailure(); };
  s.b.action = [](ccSubject*) { throw std::runtime_error("b"); };
  EXPECT_NO_THROW({ ccNotifyObservers n(&s.subject, nullptr); });
  EXPECT_EQ(s.log, "A");
  EXPECT_NO_THROW({ ccNotifyObservers n(&s.subject, nullptr); });
  EXPECT_EQ(s.log, "AAB");
}

TEST(Subject, DestructionTellsEachObserverOnce) {
  std::string log;
  Recorder a('A', &log), b('B', &log), c('C', &log);
  {
    ccSubject subject;
    subject.attach(&a);
    subject.attach(&b);
    subject.attach(&c);
    // Detaching from inside the farewell is safe and skips later ones.
    a.onDestroyed = [&](ccSubject* s) {
      s->detach(&a);
      s->detach(&b);
    };
    c.onDestroyed = [](ccSubject*) { throw std::runtime_error("c"); };
  }
  EXPECT_EQ(log, "~A~C");
}

TEST(Subject, CopiesStartWithoutObservers) {
  Scene s;
  ccSubject copy(s.subject);
  copy.notifyObservers(nullptr);
  EXPECT_EQ(s.log, "");
  ccSubject other;
  other.attach(&s.d);
  other = s.subject;  // keeps its own observers
  other.notifyObservers(nullptr);
  EXPECT_EQ(s.log, "D");
}

// Subjects on several threads at once, sharing observers that only count,
// each with its own self-detaching and nesting observers.
class Counter : public ccObserver {
 public:
  void notify(ccSubject*, void*) override { calls.fetch_add(1, std::memory_order_relaxed); }
  std::atomic<long> calls{0};
};

class Churner : public ccObserver {
 public:
  explicit Churner(Counter* shared) : shared_(shared) {}
  void notify(ccSubject* subject, void* data) override {
    ++calls;
    subject->detach(this);
    subject->detach(shared_);  // later in the list: skipped in this pass
    if (data == nullptr) subject->notifyObservers(this);
  }
  long calls = 0;

 private:
  Counter* shared_;
};

TEST(Subject, ThreadsNotifyingTheirOwnSubjectsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  Counter first, last;
  std::vector<long> churned(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      Churner churner(&last);
      for (int r = 0; r < kRounds; ++r) {
        ccSubject subject;
        subject.attach(&first);
        subject.attach(&churner);
        subject.attach(&last);
        {
          ccNotifyObservers outer(&subject, nullptr);
          ccNotifyObservers inner(&subject, nullptr);
        }
        subject.notifyObservers(nullptr);  // only first is left
      }
      churned[t] = churner.calls;
    });
  }
  for (std::thread& th : threads) th.join();
  // Per round: first twice in the scope's pass (outer and nested), once after.
  EXPECT_EQ(first.calls.load(), 3L * kThreads * kRounds);
  EXPECT_EQ(last.calls.load(), 0);
  for (long c : churned) EXPECT_EQ(c, kRounds);
}

}  // namespace
