// A program that installs the guard against faults and has the fault that its argument names.

#include "qxframework/diagnostics/fault_guard.h"
#include "qxframework/diagnostics/stack_walker.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/module_name.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>
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

void limit(__rlimit_resource resource, rlim_t most) {
  rlimit limits{};
  getrlimit(resource, &limits);
  limits.rlim_cur = most;
  setrlimit(resource, &limits);
}

// Leaves the process that much more memory than it has.
void limitMemory(rlim_t more) {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  limit(RLIMIT_AS, pages * static_cast<rlim_t>(getpagesize()) + more);
}

// Sets the name and then overwrites it on the heap.
void nameTheLog() {
  qx::setLogModuleName(u"PROBE");
  std::memset(qx::logModuleName().m_str, 0x5A, 5 * sizeof(char16_t));
}

// Many variables, and one that changes once the guard is there.
void fillEnvironment() {
  for (int i = 0; i < 5000; ++i) setenv(("QX_MARK_" + std::to_string(i)).c_str(), "", 1);
  setenv("QX_TEST_MARK", "before", 1);
}

void handleUserSignal() {
  std::signal(SIGUSR1, [](int) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, "handled\n", 8);
  });
}

int guardThreadWithoutMemory() {
  bool guarded = true;
  std::thread([&] {
    limitMemory(0);
    guarded = qx::guardThisThread();
    limit(RLIMIT_AS, RLIM_INFINITY);
  }).join();
  return guarded ? 1 : 0;
}

void prepare(std::string_view fault) {
  if (fault == "memory") limitMemory(512 << 10);
  if (fault == "named") nameTheLog();
  if (fault == "environment") fillEnvironment();
  if (fault == "handler" || fault == "terminate with handler") handleUserSignal();
  if (fault == "previous") {
    std::set_terminate([] { std::fputs("previous handler\n", stderr); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view fault = argc > 1 ? argv[1] : "";
  // Without the flush of the streams at the end of a program.
  if (fault == "filter") _exit(static_cast<int>(ExpFilter(nullptr, 0)));
  prepare(fault);
  if (!qx::installFaultGuard()) return 2;
  if (fault == "thread memory") return guardThreadWithoutMemory();
  if (fault == "environment") setenv("QX_TEST_MARK", "after", 1);
  if (fault == "files") limit(RLIMIT_NOFILE, 3);
  if (fault == "kill") kill(getpid(), SIGFPE);
  if (fault == "abort") std::abort();
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
  if (fault == "terminate" || fault == "terminate with handler" || fault == "previous") {
    std::terminate();
  }
  if (fault == "overflow") overflow(0);
  if (fault != "none") writeToNowhere();
  return 0;
}
