// qxdump, the program that writes the call stack of a dying process. The guard against faults
// starts it (qxframework/diagnostics/fault_guard.h); it is of no use by hand. It has a sound heap
// and reads the other one from outside.

#include "qxframework/diagnostics/internal/fault_report.h"
#include "qxframework/diagnostics/internal/fault_signals.h"
#include "qxframework/diagnostics/internal/process_memory.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

using qx::diagnostics::FaultReport;

// The dying process has blocked all signals, and may have closed any standard stream.
void prepareProcess() {
  sigset_t blocked;
  sigemptyset(&blocked);
  sigprocmask(SIG_SETMASK, &blocked, nullptr);
  signal(SIGPIPE, SIG_IGN);
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
  }
  // The core dump of this moment is that of the dying process.
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  // Servers of debug information may take longer to answer than a dying process may wait.
  unsetenv("DEBUGINFOD_URLS");
  // Each line is out before the next one, in case that the time is over in the middle.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

bool readReport(FaultReport& report) {
  auto* next = reinterpret_cast<char*>(&report);
  std::size_t left = sizeof report;
  while (left > 0) {
    const ssize_t count = read(qx::diagnostics::kReportFd, next, left);
    if (count <= 0) return false;
    next += count;
    left -= static_cast<std::size_t>(count);
  }
  report.module[std::size(report.module) - 1] = 0;
  return report.size == sizeof report;
}

// Some systems forbid to read other processes; a copy of the dying process then writes the dump.
bool canRead(const FaultReport& report) {
  std::uint32_t size = 0;
  return qx::diagnostics::readMemory(report.process, report.self, &size, sizeof size) ==
             sizeof size &&
         size == report.size;
}

}  // namespace

int main(int argc, char**) {
  FaultReport report{};
  if (argc != 1 || !readReport(report) || !canRead(report)) {
    return qx::diagnostics::kDumpFailed;
  }
  prepareProcess();
  qx::diagnostics::walkProcess(report.process);
  // The log comes first, since the dump may need more time than there is.
  qx::diagnostics::noteInLog(report);
  qx::diagnostics::writeDump(report);
  return 0;
}
