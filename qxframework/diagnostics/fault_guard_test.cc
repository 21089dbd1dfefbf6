// The guard against faults, in programs of their own that die: testdata/fault_probe.cc.

#include "qxframework/diagnostics/fault_guard.h"

#include "qxframework/diagnostics/internal/dump_process.h"
#include "qxframework/diagnostics/internal/fault_report.h"
#include "qxframework/diagnostics/internal/process_memory.h"
#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using qx::diagnostics::FaultReport;
using qx::test::ChildProcess;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kFirstFrame[] =
    "fault_probe.cc \\([0-9]+\\): \\(anonymous namespace\\)::writeToNowhere\\(\\)";
constexpr char kMainFrame[] = "fault_probe.cc \\([0-9]+\\): main";

class FaultGuard : public testing::Test {
 protected:
  struct Result {
    int end;
    std::string output;
    int process;
  };

  std::vector<std::string> environment() const {
    return {"QX_LOG_DIR=" + folder.path().string(), "QX_REGISTRY=" + folder.file("none.toml"),
            "QX_RUNTIME_DIR=" + folder.path().string()};
  }
  Result run(const std::string& fault, const std::string& program = QX_FAULT_PROBE) const {
    ChildProcess probe({program, fault}, environment());
    std::string output = probe.rest();
    return {probe.wait(), std::move(output), probe.pid()};
  }
  /// Returns what the process hands to its program.
  FaultReport reportOf(const std::string& fault, int signal) const {
    const Result result = run(fault, probeWith("cat <&3 >\"$QX_LOG_DIR/report\""));
    EXPECT_EQ(result.end, -signal);
    const std::string bytes = qx::test::contentOf(folder.path() / "report");
    FaultReport report{};
    EXPECT_EQ(bytes.size(), sizeof report);
    std::memcpy(&report, bytes.data(), std::min(bytes.size(), sizeof report));
    EXPECT_EQ(report.size, sizeof report);
    EXPECT_NE(report.self, 0U);
    EXPECT_EQ(report.process, result.process);
    EXPECT_EQ(report.signal, signal);
    EXPECT_EQ(report.context.ContextFlags, CONTEXT_FULL);
    return report;
  }
  /// Returns the path of a copy of the probe beside which there is no qxdump, or this script.
  std::string probeWith(const std::string& script) const {
    std::filesystem::create_directories(folder.path() / "alone/lib");
    const std::filesystem::path probe = folder.path() / "alone/lib/fault_probe";
    std::filesystem::copy_file(QX_FAULT_PROBE, probe);
    if (!script.empty()) {
      const auto file = folder.write("alone/lib/qxdump", "#!/bin/sh\n" + script + "\n");
      chmod(file.c_str(), 0755);
    }
    return probe.string();
  }

  qx::test::TempFolder folder;
};

TEST_F(FaultGuard, LeavesAProgramWithoutFaultAlone) {
  const Result result = run("none");
  EXPECT_EQ(result.end, 0);
  EXPECT_EQ(result.output, "");
}

TEST_F(FaultGuard, WritesTheStackAndLetsTheProgramDieByItsSignal) {
  const Result result = run("segv");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, StartsWith("SymInit: Symbol-SearchPath: '.;"));
  EXPECT_THAT(result.output, AllOf(ContainsRegex(kFirstFrame), ContainsRegex(kMainFrame)));
  // The first frame is the one with the fault.
  EXPECT_THAT(result.output.substr(result.output.rfind("PDB: '")),
              ContainsRegex(std::string("^PDB: '[^\n]*\n[^\n]*") + kFirstFrame));
}

TEST_F(FaultGuard, CanBeInstalledTwice) { EXPECT_EQ(run("twice").end, -SIGSEGV); }

TEST_F(FaultGuard, WritesTheStackOfAnOverflow) {
  const Result result = run("overflow");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex("\\(anonymous namespace\\)::overflow"));
  EXPECT_THAT(result.output, HasSubstr("\nERROR: StackWalk64, GetLastError: 1001 (Address: 0x"));
}

TEST_F(FaultGuard, WritesTheStackOfAnOverflowInAThreadThatAsksForIt) {
  const Result result = run("thread");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex("\\(anonymous namespace\\)::overflow"));
}

TEST_F(FaultGuard, WritesOneStackIfManyThreadsFault) {
  const Result result = run("threads");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex(kFirstFrame));
  EXPECT_EQ(result.output.find("SymInit", 1), std::string::npos);
}

TEST_F(FaultGuard, WritesTheStackOfTerminate) {
  const Result result = run("terminate");
  EXPECT_EQ(result.end, -SIGABRT);
  EXPECT_THAT(result.output, ContainsRegex(kMainFrame));
  EXPECT_EQ(result.output.find("SymInit", 1), std::string::npos);
}

// The kernel ends a process that faults with the signal blocked, whatever handlers it has.
TEST_F(FaultGuard, DoesNotSeeAFaultWhoseSignalIsBlocked) {
  const Result result = run("blocked");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "");
}

TEST_F(FaultGuard, DiesByItsSignalWithAClosedStandardOutput) {
  const Result result = run("closed");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "");
}

TEST_F(FaultGuard, WithoutItsProgramACopyOfTheProcessWritesTheStack) {
  const Result result = run("segv", probeWith(""));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, AllOf(ContainsRegex(kFirstFrame), ContainsRegex(kMainFrame)));
}

TEST_F(FaultGuard, CopyWritesWhatTheProgramHasPrintedBefore) {
  const Result result = run("buffered", probeWith(""));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, StartsWith("printed before\nSymInit"));
}

TEST_F(FaultGuard, CopyWritesTheStackOfAnOverflow) {
  const Result result = run("overflow", probeWith(""));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex("\\(anonymous namespace\\)::overflow"));
}

TEST_F(FaultGuard, ProgramThatCannotReadTheProcessLeavesItToTheCopy) {
  const Result result = run("segv", probeWith("exit 3"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex(kFirstFrame));
}

TEST_F(FaultGuard, CopyWritesTheStackAfterAProgramThatFails) {
  const Result result = run("segv", probeWith("cat <&3 >/dev/null; echo begun; kill -KILL $$"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, AllOf(StartsWith("begun\nSymInit"), ContainsRegex(kFirstFrame)));
}

// The program stays until the test ends it, unless the guard does so after its five seconds.
TEST_F(FaultGuard, ProgramThatHangsIsEndedAndTheProcessDies) {
  const Result result = run("segv", probeWith("echo hangs; exec tail -f /dev/null"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "hangs\n");
}

TEST_F(FaultGuard, SecondFaultEndsTheProcessWithTheFirstSignal) {
  const Result result = run("segv", probeWith("kill -BUS $PPID; exec tail -f /dev/null"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "");
}

TEST_F(FaultGuard, ReportsTheFaultToItsProgram) {
  const FaultReport report = reportOf("segv", SIGSEGV);
  EXPECT_EQ(report.address, 0x40U);
  EXPECT_EQ(std::u16string_view(report.module), u"");
}

TEST_F(FaultGuard, ReportsTheNameOfTheLogAlsoIfItIsOverwritten) {
  EXPECT_EQ(std::u16string_view(reportOf("named", SIGSEGV).module), u"PROBE");
}

TEST_F(FaultGuard, ReportsNoAddressOfASignalThatAProgramHasSent) {
  EXPECT_EQ(reportOf("kill", SIGFPE).address, 0U);
}

TEST_F(FaultGuard, GivesItsProgramTheEnvironmentOfItsInstallation) {
  const Result result =
      run("environment", probeWith("env | grep -c ^QX_MARK_; echo $QX_TEST_MARK"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "5000\nbefore\n");
}

TEST_F(FaultGuard, LetsOtherSignalsWaitForItsProgram) {
  const Result result = run("handler", probeWith("kill -USR1 $PPID; echo dumped"));
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_EQ(result.output, "dumped\n");
}

// The previous handler of terminate may need the signals.
TEST_F(FaultGuard, LetsOtherSignalsWaitForTheDumpOfTerminate) {
  const Result result = run("terminate with handler", probeWith("kill -USR1 $PPID; echo dumped"));
  EXPECT_EQ(result.end, -SIGABRT);
  EXPECT_EQ(result.output, "dumped\nhandled\n");
}

TEST_F(FaultGuard, CallsThePreviousHandlerOfTerminateAfterTheDump) {
  const std::string probe = probeWith("echo dumped");
  ChildProcess shell({"/bin/sh", "-c", "\"$0\" previous 2>&1", probe}, environment());
  EXPECT_EQ(shell.line(), "dumped");
  EXPECT_EQ(shell.line(), "previous handler");
}

TEST_F(FaultGuard, WritesTheStackOfAProcessWithoutFreeDescriptors) {
  const Result result = run("files");
  EXPECT_EQ(result.end, -SIGSEGV);
  EXPECT_THAT(result.output, ContainsRegex(kFirstFrame));
}

TEST_F(FaultGuard, CopyLetsTheProcessDieByTheSignalOfAbort) {
  const Result result = run("abort", probeWith(""));
  EXPECT_EQ(result.end, -SIGABRT);
  EXPECT_THAT(result.output, ContainsRegex(kMainFrame));
}

TEST_F(FaultGuard, ProgramEndsWithTheProcess) {
  ChildProcess probe({probeWith("echo hangs; exec tail -f /dev/null"), "segv"}, environment());
  EXPECT_EQ(probe.line(), "hangs");
  probe.kill();
  EXPECT_EQ(probe.line(), "<end>");
}

// The dump is larger than the buffer of the pipe.
TEST_F(FaultGuard, DoesNotWaitForAReaderOfTheDump) {
  ChildProcess probe({QX_FAULT_PROBE, "overflow"}, environment());
  EXPECT_EQ(probe.wait(), -SIGSEGV);
  const std::string output = probe.rest();
  EXPECT_THAT(output, StartsWith("SymInit"));
  EXPECT_THAT(output, Not(HasSubstr("ERROR: StackWalk64")));
}

TEST_F(FaultGuard, CopyThatHangsIsEndedAndTheProcessDies) {
  ChildProcess probe({probeWith(""), "overflow"}, environment());
  EXPECT_EQ(probe.wait(), -SIGSEGV);
  EXPECT_THAT(probe.rest(), Not(HasSubstr("ERROR: StackWalk64")));
}

// The status of a shell is 128 more than the signal.
TEST_F(FaultGuard, DiesByItsSignalIfTheReaderOfItsOutputHasEnded) {
  ChildProcess shell({"/bin/sh", "-c", "{ \"$0\" overflow; echo $? >\"$1\"; } | :", QX_FAULT_PROBE,
                      folder.file("status")},
                     environment());
  EXPECT_EQ(shell.wait(), 0);
  EXPECT_EQ(qx::test::contentOf(folder.path() / "status"), "139\n");
}

TEST_F(FaultGuard, FilterReturnsOneWithAClosedStandardOutput) {
  ChildProcess shell({"/bin/sh", "-c", "\"$0\" filter >&-", QX_FAULT_PROBE}, environment());
  EXPECT_EQ(shell.wait(), 1);
}

constexpr char kNoLibrary[] =
    "ERROR: Error while initializing dbghelp.dll, GetLastError: 0 (Address: 0x0)\n";

// The dynamic linker takes the first file of this name and refuses it.
TEST_F(FaultGuard, WritesOneLineWithoutTheDebugLibrary) {
  std::vector<std::string> variables = environment();
  folder.write("libdw.so.1", "");
  variables.push_back("LD_LIBRARY_PATH=" + folder.path().string());
  ChildProcess guarded({QX_FAULT_PROBE, "segv"}, variables);
  EXPECT_EQ(guarded.rest(), kNoLibrary);
  EXPECT_EQ(guarded.wait(), -SIGSEGV);
  ChildProcess filter({QX_FAULT_PROBE, "filter"}, variables);
  EXPECT_EQ(filter.rest(), kNoLibrary);
  EXPECT_EQ(filter.wait(), 1);
}

#ifndef QX_SANITIZED
// The sanitizers need memory of their own.
TEST_F(FaultGuard, CannotBeInstalledWithoutMemory) { EXPECT_EQ(run("memory").end, 2); }

TEST_F(FaultGuard, CannotGuardAThreadWithoutMemory) { EXPECT_EQ(run("thread memory").end, 0); }
#endif

// A stop of a traced process: why, and where.
struct Stop {
  int code;
  std::uintptr_t address;
  unsigned long long pc;
  unsigned long long stack;
  bool operator==(const Stop&) const = default;
};

Stop stopOf(pid_t process) {
  siginfo_t info{};
  ptrace(PTRACE_GETSIGINFO, process, nullptr, &info);
  user_regs_struct registers{};
  iovec all{&registers, sizeof registers};
  ptrace(PTRACE_GETREGSET, process, 1, &all);  // 1: the general registers
  Stop stop{info.si_code, reinterpret_cast<std::uintptr_t>(info.si_addr), 0, 0};
#if defined(__x86_64__)
  stop.pc = registers.rip;
  stop.stack = registers.rsp;
#else
  stop.pc = registers.pc;
  stop.stack = registers.sp;
#endif
  return stop;
}

[[noreturn]] void becomeTracedProbe() {
  const int nowhere = open("/dev/null", O_RDWR);
  dup2(nowhere, STDOUT_FILENO);
  ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  execl(QX_FAULT_PROBE, QX_FAULT_PROBE, "segv", nullptr);
  _exit(127);
}

// A debugger, or the core dump, sees the fault twice: as it happens, and as the process dies.
TEST_F(FaultGuard, LetsTheProcessDieAtThePlaceOfTheFaultWithItsDetails) {
  const pid_t probe = fork();
  if (probe == 0) becomeTracedProbe();
  std::vector<Stop> faults;
  int status = 0;
  while (waitpid(probe, &status, 0) == probe && WIFSTOPPED(status)) {
    const int signal = WSTOPSIG(status);
    if (signal == SIGSEGV) faults.push_back(stopOf(probe));
    ptrace(PTRACE_CONT, probe, nullptr, signal == SIGTRAP ? 0 : signal);
  }
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
  ASSERT_EQ(faults.size(), 2U);
  EXPECT_EQ(faults[0].code, SEGV_MAPERR);
  EXPECT_EQ(faults[0].address, 0x40U);
  EXPECT_TRUE(faults[0] == faults[1]);
}

bool isReadable(const void* address) {
  char byte = 0;
  return qx::diagnostics::readMemory(getpid(), reinterpret_cast<std::uint64_t>(address), &byte,
                                     1) == 1;
}

TEST(GuardedThread, HasAHandlerStackAboveAGuardPageUntilItsEnd) {
  stack_t stack{};
  std::thread([&] {
    EXPECT_TRUE(qx::guardThisThread());
    EXPECT_TRUE(qx::guardThisThread());
    sigaltstack(nullptr, &stack);
    const char* const first = static_cast<const char*>(stack.ss_sp);
    EXPECT_TRUE(isReadable(first));
    EXPECT_TRUE(isReadable(first + stack.ss_size - 1));
    EXPECT_FALSE(isReadable(first - 1));
  }).join();
  EXPECT_EQ(stack.ss_size, 65536U);
  EXPECT_FALSE(isReadable(stack.ss_sp));
  EXPECT_FALSE(isReadable(static_cast<const char*>(stack.ss_sp) + stack.ss_size - 1));
}

long readOnlyPages() {
  std::ifstream maps("/proc/self/maps");
  long count = 0;
  for (std::string line; std::getline(maps, line);) {
    if (line.find(" r--p 00000000 00:00 0") != std::string::npos) ++count;
  }
  return count;
}

int newReadOnlyPages() {
  const long before = readOnlyPages();
  return qx::diagnostics::prepareDump() ? static_cast<int>(readOnlyPages() - before) : 9;
}

// A program that overwrites its memory must not overwrite what the dump needs.
TEST(DumpProcessDeathTest, KeepsWhatItPreparesInReadOnlyMemory) {
  EXPECT_EXIT(_exit(newReadOnlyPages()), testing::ExitedWithCode(1), "");
}

class DumpProgram : public testing::Test {
 protected:
  /// Runs it with the report and returns its exit code.
  int run(const FaultReport& report, std::size_t size = sizeof(FaultReport)) const {
    const std::filesystem::path file =
        folder.write("report", std::string_view(reinterpret_cast<const char*>(&report), size));
    ChildProcess program({"/bin/sh", "-c", "exec \"$0\" 3<\"$1\"", QX_DUMP, file.string()}, {});
    EXPECT_EQ(program.rest(), "");
    return program.wait();
  }
  static FaultReport reportOf(pid_t process) {
    FaultReport report{};
    report.size = sizeof report;
    report.self = reinterpret_cast<std::uint64_t>(&report);
    report.process = process;
    return report;
  }

  qx::test::TempFolder folder;
};

TEST_F(DumpProgram, IsOfNoUseByHand) {
  ChildProcess bare({QX_DUMP}, {});
  EXPECT_EQ(bare.wait(), 3);
  ChildProcess asked({QX_DUMP, "--help"}, {});
  EXPECT_EQ(asked.wait(), 3);
}

TEST_F(DumpProgram, RefusesAReportThatIsCutOff) {
  EXPECT_EQ(run(reportOf(getpid()), sizeof(FaultReport) - 1), 3);
}

TEST_F(DumpProgram, RefusesTheReportOfAnotherVersion) {
  FaultReport report = reportOf(getpid());
  report.size = sizeof report - 8;
  EXPECT_EQ(run(report), 3);
}

TEST_F(DumpProgram, RefusesAProcessThatItCannotRead) {
  EXPECT_EQ(run(reportOf(INT_MAX)), 3);
  FaultReport report = reportOf(getpid());
  report.self = 16;
  EXPECT_EQ(run(report), 3);
}

TEST_F(FaultGuard, FilterNeedsNoGuard) {
  const Result result = run("filter");
  EXPECT_EQ(result.end, 1);
  EXPECT_THAT(result.output, ContainsRegex(kMainFrame));
}

}  // namespace
