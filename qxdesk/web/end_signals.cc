#include "qxdesk/web/end_signals.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <utility>

namespace qx::web {
namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT};

/// What the handler needs and the servers of the process share. The atomics are all that the
/// handler touches.
struct Shared {
  std::mutex lock;
  int servers = 0;
  std::atomic<int> leaving{0};  // servers that have not said done()
  std::atomic<int> event{-1};   // made once for a process and never closed
  std::atomic<int> signal{0};   // the one that has come
  std::atomic<pid_t> process{0};
};

constinit Shared shared;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

extern "C" void onEndSignal(int signal) {
  const int before = errno;
  if (shared.process == getpid()) {
    shared.signal = signal;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(shared.event, &one, sizeof one);
  } else {
    // A child of the process has no thread that would answer. The handler is gone by now.
    raise(signal);
  }
  errno = before;
}

bool isOurs(const struct sigaction& action) { return action.sa_handler == onEndSignal; }

void install() {
  struct sigaction ours {};
  ours.sa_handler = onEndSignal;
  // Calls that the add-on has begun go on. The second signal finds no handler.
  ours.sa_flags = SA_RESTART | SA_RESETHAND;
  sigemptyset(&ours.sa_mask);
  for (const int signal : kSignals) {
    struct sigaction now {};
    sigaction(signal, nullptr, &now);
    const bool isDefault = (now.sa_flags & SA_SIGINFO) == 0 && now.sa_handler == SIG_DFL;
    if (isDefault) sigaction(signal, &ours, nullptr);
  }
}

void uninstall() {
  for (const int signal : kSignals) {
    struct sigaction now {};
    sigaction(signal, nullptr, &now);
    if (isOurs(now)) ::signal(signal, SIG_DFL);
  }
}

// A child made by fork() has the numbers of its parent, and a descriptor that both would read.
void beginAnew() {
  const int event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  shared.event = event;
  shared.servers = 0;
  shared.leaving = 0;
  shared.signal = 0;
  shared.process = getpid();
}

}  // namespace

EndSignals::EndSignals() {
  const std::lock_guard guard(shared.lock);
  if (shared.process != getpid()) beginAnew();
  ++shared.leaving;
  if (++shared.servers == 1) install();
}

EndSignals::~EndSignals() {
  {
    const std::lock_guard guard(shared.lock);
    if (--shared.servers == 0) uninstall();
  }
  done();
}

int EndSignals::descriptor() const {
  const int copy = fcntl(shared.event, F_DUPFD_CLOEXEC, 0);
  if (copy < 0) throw std::system_error(errno, std::generic_category(), "fcntl");
  return copy;
}

void EndSignals::done() {
  if (std::exchange(done_, true)) return;
  if (--shared.leaving > 0 || shared.signal == 0) return;
  kill(getpid(), shared.signal);
}

}  // namespace qx::web
