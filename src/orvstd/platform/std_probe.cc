// A program that ends while a static object still uses threads, for the
// tests of static destruction: they run it as a fresh process and read
// what it prints.
#include <atomic>
#include <cstdio>

#include "orvstd/platform/thread.h"

namespace {

std::atomic<int> ran{0};

void work(void*) { ++ran; }

// Built before main, so destroyed after everything main set up: in the
// static destruction of the thread machinery.
struct Late {
  ~Late() {
    ccThreadID self = cfGetCurrentThreadID();
    std::printf("late: current id empty %d\n", !self ? 1 : 0);
    ccThreadID t = cfCreateThread(&work, nullptr, cePriorityOfCaller, -1);
    cfWaitForThreadTermination(t);
    std::printf("late: thread ran %d\n", ran.load());
    std::fflush(stdout);
  }
} late;

}  // namespace

int main() {
  ccThreadID main = cfGetCurrentThreadID();
  ccThreadID t = cfCreateThread(&work, nullptr, cePriorityOfCaller, -1);
  cfWaitForThreadTermination(t);
  std::printf("main: main is current %d, thread ran %d\n", main == ccThreadID::mainThreadID() ? 1 : 0, ran.load());
  std::fflush(stdout);
  return 0;
}
