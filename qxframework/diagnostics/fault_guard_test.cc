// The guard against faults, in programs of their own that die: testdata/fault_probe.cc.

#include "qxframework/diagnostics/fault_guard.h"

#include "testing/child_process.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

namespace {

using qx::test::ChildProcess;
using testing::AllOf;
using testing::ContainsRegex;
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
  };

  Result run(const std::string& fault, const std::string& program = QX_FAULT_PROBE) const {
    ChildProcess probe({program, fault}, {"QX_LOG_DIR=" + folder.path().string(),
                                          "QX_REGISTRY=" + folder.file("none.toml"),
                                          "QX_RUNTIME_DIR=" + folder.path().string()});
    std::string output = probe.rest();
    return {probe.wait(), std::move(output)};
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

TEST_F(FaultGuard, FilterNeedsNoGuard) {
  const Result result = run("filter");
  EXPECT_EQ(result.end, 1);
  EXPECT_THAT(result.output, ContainsRegex(kMainFrame));
}

}  // namespace
