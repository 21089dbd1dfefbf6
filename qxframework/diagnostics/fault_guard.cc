#include "qxframework/diagnostics/fault_guard.h"

#include "qxframework/diagnostics/internal/dump_process.h"
#include "qxframework/diagnostics/internal/fault_signals.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iterator>

namespace qx {
namespace {

using diagnostics::FaultReport;

constexpr std::size_t kHandlerStack = 64 << 10;

// The thread whose fault is being dumped, 0 as long as there was no fault, and its signal.
std::atomic<pid_t> g_faulting{0};
std::atomic<int> g_firstSignal{};
std::terminate_handler g_terminateBefore = nullptr;
FaultReport g_report;  // of the first fault; too large for a small stack on some machines

// Ends the process by the signal, here and now.
[[noreturn]] void dieBy(int number) {
  diagnostics::restoreFaultSignals();
  syscall(SYS_tgkill, getpid(), gettid(), number);
  // Not reached, unless the process is one that the kernel protects from signals.
  kill(getpid(), SIGKILL);
  _exit(128 + number);
}

// Returns false if this thread's dump is being written already.
bool beginDump(int number) {
  pid_t expected = 0;
  if (g_faulting.compare_exchange_strong(expected, gettid())) {
    g_firstSignal = number;
    return true;
  }
  if (expected == gettid()) return false;
  // Another thread had a fault before and ends the process within seconds.
  while (true) pause();
}

void dump(int number, const void* address, const CONTEXT& context) {
  g_report.size = sizeof g_report;
  g_report.self = reinterpret_cast<std::uintptr_t>(&g_report);
  g_report.process = getpid();
  g_report.signal = number;
  g_report.address = reinterpret_cast<std::uintptr_t>(address);
  g_report.context = context;
  // Zeros follow, since the report is written once.
  keptModuleName().copy(g_report.module, kMaxKeptModuleName);
  diagnostics::dumpFromOutside(g_report);
}

// Lets the process die at the place of the fault and with the same details, as if there were no
// handler: the signal is pending when the handler returns, so that the core dump shows the fault.
void dieOnReturn(int number, siginfo_t* info, ucontext_t& registers) {
  signal(number, SIG_DFL);
  sigset_t pending;
  sigemptyset(&pending);
  sigaddset(&pending, number);
  sigprocmask(SIG_BLOCK, &pending, nullptr);
  sigdelset(&registers.uc_sigmask, number);
  if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), number, info) != 0) dieBy(number);
}

void onFault(int number, siginfo_t* info, void* data) {
  // A second fault, in the code that dumps the first one.
  if (!beginDump(number)) dieBy(g_firstSignal);
  auto& registers = *static_cast<ucontext_t*>(data);
  const int error = errno;
  // A signal that a program has sent is about no address.
  dump(number, info->si_code > 0 ? info->si_addr : nullptr, contextOf(registers));
  errno = error;
  dieOnReturn(number, info, registers);
}

// Runs with the stack of the throw still there: nothing unwinds an exception that no one catches.
void onTerminate() {
  ucontext_t registers;
  getcontext(&registers);
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  for (const int number : diagnostics::kFaultSignals) sigdelset(&all, number);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  if (beginDump(SIGABRT)) dump(SIGABRT, nullptr, contextOf(registers));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  // Usually it writes the exception's text and aborts, which now ends the process at once.
  if (g_terminateBefore != nullptr) g_terminateBefore();
  dieBy(SIGABRT);
}

bool handleSignals() {
  struct sigaction action {};
  action.sa_sigaction = onFault;
  // A fault inside the handler must call it again, since it would otherwise count as the cause of
  // death. All other signals wait: their handlers belong to a program that is broken.
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigfillset(&action.sa_mask);
  for (const int number : diagnostics::kFaultSignals) sigdelset(&action.sa_mask, number);
  return std::all_of(std::begin(diagnostics::kFaultSignals), std::end(diagnostics::kFaultSignals),
                     [&](int number) { return sigaction(number, &action, nullptr) == 0; });
}

// The handler's stack of one thread, with a page below it that faults.
class HandlerStack {
 public:
  HandlerStack() {
    const auto guard = static_cast<std::size_t>(getpagesize());
    void* memory = mmap(nullptr, guard + kHandlerStack, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return;
    memory_ = memory;
    size_ = guard + kHandlerStack;
    mprotect(memory, guard, PROT_NONE);
    stack_t stack{};
    stack.ss_sp = static_cast<char*>(memory) + guard;
    stack.ss_size = kHandlerStack;
    inUse_ = sigaltstack(&stack, &before_) == 0;
  }
  ~HandlerStack() {
    if (inUse_) sigaltstack(&before_, nullptr);
    if (memory_ != nullptr) munmap(memory_, size_);
  }
  HandlerStack(const HandlerStack&) = delete;
  HandlerStack& operator=(const HandlerStack&) = delete;

  bool inUse() const { return inUse_; }

 private:
  void* memory_ = nullptr;
  std::size_t size_ = 0;
  stack_t before_{};
  bool inUse_ = false;
};

}  // namespace

bool guardThisThread() {
  static thread_local HandlerStack stack;
  return stack.inUse();
}

bool installFaultGuard() {
  static const bool installed = [] {
    if (!diagnostics::prepareDump() || !handleSignals()) return false;
    g_terminateBefore = std::set_terminate(onTerminate);
    return true;
  }();
  return guardThisThread() && installed;
}

}  // namespace qx
