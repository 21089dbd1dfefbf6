#include "fuzz/replay.h"

#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace qx::fuzz {
namespace {

using std::chrono::seconds;

class Replay : public testing::Test {
 protected:
  Replay() {
    machine.now = [this] { return time; };
    machine.setAlarm = [this](seconds alarm, const std::string&) { alarms.push_back(alarm); };
    machine.resetPeak = [this] { peak = 0; };
    machine.peakMegabytes = [this] { return peak; };
    command.limits = {seconds(5), 100};
    for (const char* name : {"a", "b"}) command.files.push_back(folder.write(name, name));
  }
  /// Runs the files; the case of the file "a" takes that much.
  int run(seconds takes, long megabytes) {
    return replay(
        command,
        [&](const std::uint8_t* data, std::size_t size) {
          seen.append(reinterpret_cast<const char*>(data), size);
          if (*data == 'a') time += takes;
          if (*data == 'a') peak = megabytes;
          return 0;
        },
        machine, messages);
  }

  test::TempFolder folder;
  CommandLine command;
  Machine machine;
  std::chrono::steady_clock::time_point time;
  long peak = 0;
  std::vector<seconds> alarms;
  std::string seen;
  std::ostringstream messages;
};

TEST_F(Replay, CasesWithinTheirLimitsAllRun) {
  EXPECT_EQ(run(seconds(5), 100), 0);
  EXPECT_EQ(seen, "ab");
  EXPECT_EQ(messages.str(), "");
  EXPECT_EQ(alarms, (std::vector<seconds>{seconds(6), seconds(0), seconds(6), seconds(0)}));
}

TEST_F(Replay, ACaseThatTakesTooLongIsReportedWithItsFile) {
  EXPECT_EQ(run(seconds(6), 1), 70);
  EXPECT_EQ(seen, "a");
  EXPECT_EQ(messages.str(), folder.file("a") + ": the case took 6000 ms, more than 5 s\n");
}

TEST_F(Replay, ACaseThatTakesTooMuchMemoryIsReportedWithItsFile) {
  EXPECT_EQ(run(seconds(0), 101), 71);
  EXPECT_EQ(messages.str(), folder.file("a") + ": the process took 101 MB, more than 100 MB\n");
}

TEST_F(Replay, WithoutLimitsNothingIsReported) {
  command.limits = {};
  EXPECT_EQ(run(seconds(1000), 1'000'000), 0);
  EXPECT_EQ(alarms, (std::vector<seconds>(4, seconds(0))));
}

TEST_F(Replay, AFileThatCannotBeReadIsReported) {
  command.files = {folder.file("missing")};
  EXPECT_EQ(run(seconds(0), 0), 1);
  EXPECT_EQ(messages.str(), folder.file("missing") + ": cannot be read\n");
}

TEST(ReplayOptions, AreThoseOfLibFuzzer) {
  const CommandLine command =
      readCommandLine({"-timeout=10", "one", "-rss_limit_mb=1024", "-malloc_limit_mb=256", "two"});
  EXPECT_EQ(command.limits.time, seconds(10));
  EXPECT_EQ(command.limits.megabytes, 1024);
  EXPECT_EQ(command.files, (std::vector<std::string>{"one", "two"}));
}

TEST(ReplayMachine, ACaseThatNeverEndsEndsTheProcess) {
  test::TempFolder folder;
  const std::string file = folder.write("endless", "x");
  const auto endless = [](const std::uint8_t*, std::size_t) -> int {
    for (volatile bool on = true; on;) {
    }
    return 0;
  };
  Machine machine = thisMachine();
  // The limit itself would take seconds.
  machine.setAlarm = [&](seconds time, const std::string& name) {
    thisMachine().setAlarm(time.count() == 0 ? time : seconds(1), name);
  };
  EXPECT_EXIT(replay({{seconds(1000), 0}, {file}}, endless, machine, std::cerr),
              testing::ExitedWithCode(70), "endless: the case does not end within its limit");
}

TEST(ReplayMachine, ThePeakIsThatOfTheCase) {
  constexpr std::size_t kBytes = 64 << 20;
  const Machine machine = thisMachine();
  machine.resetPeak();
  const long before = machine.peakMegabytes();
  { const std::vector<char> block(kBytes, 'x'); }
  EXPECT_GE(machine.peakMegabytes(), before + 32);
  machine.resetPeak();
  EXPECT_LT(machine.peakMegabytes(), before + 32);
}

}  // namespace
}  // namespace qx::fuzz
