#include "qxframework/diagnostics/internal/dump_process.h"

#include "qxframework/automation/text.h"
#include "qxframework/diagnostics/internal/fault_signals.h"
#include "qxframework/os/module.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace qx::diagnostics {
namespace {

constexpr std::size_t kStarterStack = 64 << 10;
constexpr std::size_t kCopyStack = 1 << 20;

// All that the handler needs, made before. It is in pages of their own that are read-only from then
// on, so that a program that overwrites its heap does not overwrite this.
struct Prepared {
  char program[4096];
  char* arguments[2];
  char* stack;         // the lower end of kCopyStack bytes
  char* variables[1];  // as many as there are, ended by null; their texts follow
};
Prepared* g_prepared = nullptr;

char* newPages(std::size_t size) {
  void* pages = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return pages == MAP_FAILED ? nullptr : static_cast<char*>(pages);
}

// The program is beside the module of this code, or in the folder of programs of an installation or
// a build. Returns an empty path if it is nowhere.
std::string findProgram() {
  const std::filesystem::path module =
      toUtf8(modulePath(moduleOf(reinterpret_cast<const void*>(&findProgram))));
  for (const char* folder : {".", "../bin", QX_PROGRAMS_FROM_LIBRARY}) {
    const std::filesystem::path program = module.parent_path() / folder / "qxdump";
    if (access(program.c_str(), X_OK) == 0) return program.string();
  }
  return {};
}

std::vector<std::string> environmentNow() {
  std::vector<std::string> variables;
  for (char** each = environ; each != nullptr && *each != nullptr; ++each) {
    variables.emplace_back(*each);
  }
  return variables;
}

Prepared* prepare(const std::string& program, const std::vector<std::string>& variables) {
  std::size_t size = sizeof(Prepared);
  for (const std::string& each : variables) size += sizeof(char*) + each.size() + 1;
  char* pages = newPages(size);
  char* stack = newPages(kCopyStack);
  if (pages == nullptr || stack == nullptr) return nullptr;
  auto* prepared = reinterpret_cast<Prepared*>(pages);
  program.copy(prepared->program, sizeof prepared->program - 1);
  prepared->arguments[0] = prepared->program;
  prepared->stack = stack;
  char** entry = prepared->variables;
  char* text = pages + sizeof(Prepared) + variables.size() * sizeof(char*);
  for (const std::string& each : variables) {
    *entry++ = text;
    std::memcpy(text, each.c_str(), each.size() + 1);
    text += each.size() + 1;
  }
  mprotect(pages, size, PROT_READ);
  return prepared;
}

// Moves a descriptor out of the way of the standard streams, one of which may be closed: a pipe at
// the place of the standard output would get the dump.
int aboveStandard(int file) {
  if (file > kReportFd) return file;
  const int moved = fcntl(file, F_DUPFD_CLOEXEC, kReportFd + 1);
  close(file);
  return moved;
}

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    out = aboveStandard(ends[0]);
    in = aboveStandard(ends[1]);
  }
  int out = -1;
  int in = -1;
};

// Runs in the memory of the dying process, on a stack of its own, until it has become the program:
// that needs no copy of a process that may be large. Signals stay blocked until then, since their
// handlers would run in that memory.
int becomeProgram(void* data) {
  const auto* report = static_cast<const Pipe*>(data);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (dup2(report->out, kReportFd) != kReportFd) _exit(kDumpFailed);
  execve(g_prepared->program, g_prepared->arguments, g_prepared->variables);
  _exit(kDumpFailed);
}

// Runs in a copy of the dying process. A fault in it ends the copy only.
int dumpInCopy(void* data) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  restoreFaultSignals();
  std::set_terminate(std::abort);
  const auto& report = *static_cast<const FaultReport*>(data);
  // The stack comes first here: a lock of the log may be held by a thread that the copy lacks.
  writeDump(report);
  noteInLog(report);
  _exit(0);
}

std::int64_t milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

enum class End { kWell, kBadly, kTooLate };

// Waits for the end of the child until the deadline, and kills it then. Looks again and again,
// since a wait with a limit would need a signal or a thread.
End waitFor(pid_t child, std::int64_t deadline) {
  int status = 0;
  pid_t ended = 0;
  while ((ended = waitpid(child, &status, __WALL | WNOHANG)) == 0 && milliseconds() < deadline) {
    poll(nullptr, 0, 1);
  }
  if (ended == 0) {
    kill(child, SIGKILL);
    return End::kTooLate;
  }
  return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? End::kWell : End::kBadly;
}

// A child without a signal for its end, so that the process's own handler of SIGCHLD is not called.
pid_t startChild(int (*entry)(void*), char* stack, std::size_t size, int flags, void* data) {
  return clone(entry, stack + size, flags, data);
}

// A program that has lost track of its files may have reached its limit for them, and a dump needs
// some.
void allowMoreFiles() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
}

// Returns kBadly if the program is missing, may not read this process or fails.
End dumpByProgram(const FaultReport& report, std::int64_t deadline) {
  if (g_prepared->program[0] == 0) return End::kBadly;
  Pipe pipe;
  if (pipe.in < 0 || pipe.out < 0) return End::kBadly;
  // Without CLONE_VFORK, which would wait for the start of the program without a limit.
  const pid_t child = startChild(becomeProgram, g_prepared->stack, kStarterStack, CLONE_VM, &pipe);
  close(pipe.out);
  // Some systems let a process be read by its parents only, or by whom it names. The program reads
  // the report first, and so nothing before this.
  if (child > 0) prctl(PR_SET_PTRACER, child, 0, 0, 0);
  // Small enough for the pipe's buffer, so that it cannot block. Without a reader it raises
  // SIGPIPE, which is blocked here; the program has failed then.
  [[maybe_unused]] const ssize_t sent = write(pipe.in, &report, sizeof report);
  close(pipe.in);
  return child > 0 ? waitFor(child, deadline) : End::kBadly;
}

void dumpByCopy(const FaultReport& report, std::int64_t deadline) {
  const pid_t child =
      startChild(dumpInCopy, g_prepared->stack, kCopyStack, 0, const_cast<FaultReport*>(&report));
  if (child > 0) waitFor(child, deadline);
}

}  // namespace

bool prepareDump() {
  if (g_prepared == nullptr) g_prepared = prepare(findProgram(), environmentNow());
  return g_prepared != nullptr;
}

void dumpFromOutside(const FaultReport& report) {
  if (g_prepared == nullptr) return;
  const std::int64_t deadline = milliseconds() + kDumpMilliseconds;
  allowMoreFiles();
  if (dumpByProgram(report, deadline) == End::kBadly) dumpByCopy(report, deadline);
}

}  // namespace qx::diagnostics
