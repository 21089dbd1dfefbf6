// A program that installs the guard against faults and has the fault that its argument names.

#include "qxframework/diagnostics/fault_guard.h"
#include "qxframework/diagnostics/stack_walker.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>

namespace {

volatile int sink = 0;

// A null pointer would be noticed by the sanitizer, which ends the program in its own way.
[[gnu::noinline]] void writeToNowhere() {
  int* volatile nowhere = reinterpret_cast<int*>(0x40);
  *nowhere = 1;
}

void overflowAgain(int depth);
[[gnu::noinline]] void overflow(int depth) {
  volatile char space[512] = {};
  overflowAgain(depth + space[0] + 1);
  sink = sink + space[depth % 512];
}
[[gnu::noinline]] void overflowAgain(int depth) {
  volatile char space[512] = {};
  overflow(depth + space[0] + 1);
  sink = sink + space[depth % 512];
}

void overflowInThread() {
  std::thread([] {
    qx::guardThisThread();
    overflow(0);
  }).join();
}

// All further faults happen while the dump of the first one is written: a stopped dump gives them
// the time.
void faultInManyThreads() {
  std::thread threads[4];
  for (std::thread& each : threads) each = std::thread(writeToNowhere);
  for (std::thread& each : threads) each.join();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view fault = argc > 1 ? argv[1] : "";
  if (fault == "filter") return static_cast<int>(ExpFilter(nullptr, 0));
  if (!qx::installFaultGuard()) return 2;
  if (fault == "twice" && !qx::installFaultGuard()) return 2;
  if (fault == "closed") close(STDOUT_FILENO);
  if (fault == "buffered") std::fputs("printed before\n", stdout);
  if (fault == "thread") overflowInThread();
  if (fault == "threads") faultInManyThreads();
  if (fault == "blocked") {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
  }
  if (fault == "terminate") std::terminate();
  if (fault == "overflow") overflow(0);
  if (fault != "none") writeToNowhere();
  return 0;
}
