#include "qxframework/diagnostics/internal/thread_suspension.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <mutex>

namespace qx::diagnostics {
namespace {

// A suspension has a number, its ticket. The word below holds the ticket and the state in its
// lowest bits, so that a signal that arrives late cannot be taken for that of the next suspension.
enum State : std::uint32_t { kFree, kRequested, kStoring, kHeld };
constexpr std::uint32_t kStateBits = 2;

std::atomic<std::uint32_t> g_word{kFree};
CONTEXT g_context;          // of the held thread; written in kStoring
struct sigaction g_before;  // what the signal did before
std::uint32_t g_lastTicket = 0;

constexpr std::uint32_t word(std::uint32_t ticket, State state) {
  return ticket << kStateBits | state;
}

// High among the real-time signals, which programs use from the low end on.
int suspendSignal() { return SIGRTMAX - 3; }

// Waits while the word is `expected`, at most for the given time. A signal or another change may
// end the wait early.
void waitWhile(std::uint32_t expected, std::chrono::milliseconds longest) {
  const timespec time{.tv_sec = longest.count() / 1000,
                      .tv_nsec = longest.count() % 1000 * 1'000'000};
  syscall(SYS_futex, &g_word, FUTEX_WAIT_PRIVATE, expected, &time, nullptr, 0);
}

void wakeAll() { syscall(SYS_futex, &g_word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0); }

std::chrono::nanoseconds now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void hold(std::uint32_t ticket, const ucontext_t& registers) {
  std::uint32_t requested = word(ticket, kRequested);
  if (!g_word.compare_exchange_strong(requested, word(ticket, kStoring))) return;
  g_context = contextOf(registers);
  g_word.store(word(ticket, kHeld), std::memory_order_release);
  wakeAll();
  const auto end = now() + ThreadSuspension::kLongestHold;
  while (g_word.load(std::memory_order_acquire) == word(ticket, kHeld)) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - now());
    if (left.count() <= 0) return;
    waitWhile(word(ticket, kHeld), left);
  }
}

void onSignal(int number, siginfo_t* info, void* registers) {
  const int error = errno;
  if (info->si_code == SI_QUEUE && info->si_value.sival_ptr == &g_word) {
    // The sender's ticket is in the field for its user, which it does not need.
    hold(static_cast<std::uint32_t>(info->si_uid), *static_cast<ucontext_t*>(registers));
  } else if ((g_before.sa_flags & SA_SIGINFO) != 0) {
    g_before.sa_sigaction(number, info, registers);
  } else if (g_before.sa_handler != SIG_DFL && g_before.sa_handler != SIG_IGN) {
    g_before.sa_handler(number);
  }
  errno = error;
}

void installHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    sigaction(suspendSignal(), &action, &g_before);
  });
}

bool sendRequest(pid_t thread, std::uint32_t ticket) {
  siginfo_t info{};
  info.si_signo = suspendSignal();
  info.si_code = SI_QUEUE;
  info.si_pid = getpid();
  info.si_uid = ticket;
  info.si_value.sival_ptr = &g_word;
  return syscall(SYS_rt_tgsigqueueinfo, getpid(), thread, suspendSignal(), &info) == 0;
}

// Returns false if the thread has not answered. Its answer can then no longer come.
bool waitForAnswer(pid_t thread, std::uint32_t ticket) {
  constexpr std::chrono::milliseconds kLookAgain{10};
  const auto end = now() + ThreadSuspension::kLongestWait;
  std::uint32_t seen = 0;
  while ((seen = g_word.load(std::memory_order_acquire)) != word(ticket, kHeld)) {
    const bool gone = now() > end || syscall(SYS_tgkill, getpid(), thread, 0) != 0;
    // A thread that is storing its registers answers in an instant.
    std::uint32_t requested = word(ticket, kRequested);
    if (gone && g_word.compare_exchange_strong(requested, kFree)) return false;
    waitWhile(seen, kLookAgain);
  }
  return true;
}

}  // namespace

bool ThreadSuspension::suspend(pid_t thread, CONTEXT& context) {
  resume();
  if (thread <= 0 || thread == gettid()) return false;
  installHandler();
  const std::uint32_t ticket = g_lastTicket = g_lastTicket % 0xFFFFFF + 1;
  g_word.store(word(ticket, kRequested), std::memory_order_release);
  if (!sendRequest(thread, ticket) || !waitForAnswer(thread, ticket)) {
    g_word.store(kFree, std::memory_order_release);
    return false;
  }
  context = g_context;
  ticket_ = ticket;
  return true;
}

void ThreadSuspension::resume() {
  if (ticket_ == 0) return;
  ticket_ = 0;
  g_word.store(kFree, std::memory_order_release);
  wakeAll();
}

}  // namespace qx::diagnostics
