#pragma once

// The signals of faults.

#include <csignal>

namespace qx::diagnostics {

inline constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS, SIGTRAP};

/// Restores the default actions of these signals and unblocks them. May be called in a handler.
inline void restoreFaultSignals() {
  sigset_t faults;
  sigemptyset(&faults);
  for (const int number : kFaultSignals) {
    signal(number, SIG_DFL);
    sigaddset(&faults, number);
  }
  sigprocmask(SIG_UNBLOCK, &faults, nullptr);
}

}  // namespace qx::diagnostics
