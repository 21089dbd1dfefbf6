// Tests several processes that write one file set: children of the test, some of which are killed.

#include "qxlogger/shared_log.h"
#include "qxlogger/test_support.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace qx::logger {
namespace {

constexpr LogLimits kRoomy{.fileCount = 2, .fileBytes = 1 << 30};
constexpr const char* kPadding = "a message that is about as long as that of most records";

pid_t startChild(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  return child;
}

int statusOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

bool wasKilled(pid_t child) {
  const int status = statusOf(child);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

void killSelf() { kill(getpid(), SIGKILL); }

class LogProcesses : public testing::Test {
 protected:
  LogLine line(const std::string& text, bool mayWait) {
    return {.text = text, .time = LogClock::system().wallNanoseconds(), .mayWait = mayWait};
  }
  void writeMany(int writer, int count, const LogLimits& limits) {
    for (int i = 0; i < count; ++i) {
      log.append(line(fmt::format("{} {} {}\n", writer, i, kPadding), i % 100 != 0), limits);
    }
  }
  /// Returns all records, from the oldest file to the newest.
  std::string allText() const {
    std::string all;
    for (int i = 200; i > 0; --i) all += test::contentOf(folder / fmt::format("x.{}.log", i));
    return all + test::contentOf(folder / "x.log");
  }
  /// Checks that every line is a whole record, and that the records of each writer are in their
  /// order without gaps or duplicates. Returns the number of records of each writer.
  std::map<int, int> countByWriter() const {
    std::map<int, int> counts;
    std::istringstream lines(allText());
    for (std::string text; std::getline(lines, text);) {
      const int writer = std::atoi(text.c_str());
      EXPECT_EQ(text, fmt::format("{} {} {}", writer, counts[writer], kPadding));
      ++counts[writer];
    }
    return counts;
  }

  test::TemporaryFolder folder;
  test::FaultyFiles files;
  SharedLog log{files, LogClock::system(), folder.path(), "x"};
};

TEST_F(LogProcesses, LoseAndTearNothingAcrossManyRotations) {
  constexpr int kRecords = 3000;
  constexpr LogLimits kSmall{.fileCount = 90, .fileBytes = 16 * 1024};
  std::vector<pid_t> children;
  for (int writer = 0; writer < 4; ++writer) {
    children.push_back(startChild([&] { writeMany(writer, kRecords, kSmall); }));
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  log.append(line(fmt::format("9 0 {}\n", kPadding), false), kSmall);
  const std::map<int, int> expected{
      {0, kRecords}, {1, kRecords}, {2, kRecords}, {3, kRecords}, {9, 1}};
  EXPECT_EQ(countByWriter(), expected);
  EXPECT_GT(folder.names().size(), 40U);
}

TEST_F(LogProcesses, LoseNothingWithSeveralThreads) {
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 4; ++writer) {
    threads.emplace_back([&, writer] { writeMany(writer, 2000, {90, 16 * 1024}); });
  }
  for (std::thread& thread : threads) thread.join();
  log.flush();
  const std::map<int, int> expected{{0, 2000}, {1, 2000}, {2, 2000}, {3, 2000}};
  EXPECT_EQ(countByWriter(), expected);
}

TEST_F(LogProcesses, KeepRecordsThatAKilledOneLeftPending) {
  log.append(line("first\n", false), kRoomy);
  const pid_t child = startChild([&] {
    test::FakeClock clock;
    SharedLog own(files, clock, folder.path(), "x");
    for (const char* text : {"1\n", "2\n", "3\n"}) {
      own.append({.text = text, .time = clock.wall, .mayWait = true}, kRoomy);
    }
    killSelf();
  });
  EXPECT_TRUE(wasKilled(child));
  EXPECT_EQ(allText(), "first\n1\n");
  log.append(line("last\n", false), kRoomy);
  EXPECT_EQ(allText(), "first\n1\n2\n3\nlast\n");
}

TEST_F(LogProcesses, CompleteALineInWhichAnotherWasKilled) {
  log.append(line("first\n", false), kRoomy);
  const pid_t child = startChild([&] {
    files.onWrite = [](std::size_t) { return 4; };
    files.afterWrite = killSelf;
    log.append(line("a record\n", false), kRoomy);
  });
  EXPECT_TRUE(wasKilled(child));
  EXPECT_EQ(allText(), "first\na re");
  log.append(line("last\n", false), kRoomy);
  EXPECT_EQ(allText(), "first\na record\nlast\n");
}

TEST_F(LogProcesses, RepeatNoRecordIfOneIsKilledRightAfterItsWrite) {
  log.append(line("first\n", false), kRoomy);
  const pid_t child = startChild([&] {
    files.afterWrite = killSelf;
    log.append(line("a record\n", false), kRoomy);
  });
  EXPECT_TRUE(wasKilled(child));
  log.append(line("last\n", false), kRoomy);
  EXPECT_EQ(allText(), "first\na record\nlast\n");
}

TEST_F(LogProcesses, EndTheLineOfALargeRecordInWhichOneWasKilled) {
  log.append(line("first\n", false), kRoomy);
  const pid_t child = startChild([&] {
    files.onWrite = [](std::size_t) { return 4; };
    files.afterWrite = killSelf;
    log.append(line(std::string(100'000, 'y') + "\n", false), kRoomy);
  });
  EXPECT_TRUE(wasKilled(child));
  log.append(line("last\n", false), kRoomy);
  EXPECT_EQ(allText(), "first\nyyyy\nlast\n");
}

TEST_F(LogProcesses, LiveOnIfTheirFilesReachTheLimitOfTheProcess) {
  constexpr rlim_t kLimit = 100'000;
  const pid_t child = startChild([&] {
    const rlimit limit{.rlim_cur = kLimit, .rlim_max = kLimit};
    setrlimit(RLIMIT_FSIZE, &limit);
    int written = 0;
    while (log.append(line(fmt::format("0 {} {}\n", written, kPadding), false), kRoomy) !=
           Appended::kDropped) {
      ++written;
    }
  });
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(allText().size(), kLimit);
  // The parent has no limit, so it completes what the child has left pending.
  log.append(line("last\n", false), kRoomy);
  const std::string text = allText();
  const auto note = text.rfind('\n', text.rfind("\tWarning\t"));
  EXPECT_TRUE(text.ends_with("\tQXLogger\tRecords dropped: 1 (File too large)\nlast\n"));
  std::istringstream records(text.substr(0, note + 1));
  int count = 0;
  for (std::string record; std::getline(records, record); ++count) {
    ASSERT_EQ(record, fmt::format("0 {} {}", count, kPadding));
  }
  EXPECT_GT(count, 2000);
}

/// The parameter is the number of the rename before which the rotating process is killed.
class KilledRotation : public LogProcesses, public testing::WithParamInterface<int> {};

TEST_P(KilledRotation, LosesNoRecord) {
  constexpr LogLimits kLine{.fileCount = 10, .fileBytes = 2};
  for (const char* text : {"1\n", "2\n", "3\n"}) log.append(line(text, false), kLine);
  const pid_t child = startChild([&] {
    int renames = 0;
    files.onRename = [&](const std::string&) {
      if (++renames == GetParam()) killSelf();
      return 0;
    };
    log.append(line("4\n", false), kLine);
    log.append(line("5\n", false), kLine);
    log.append(line("6\n", false), kLine);
  });
  EXPECT_TRUE(wasKilled(child));
  const std::string before = allText();
  log.append(line("7\n", false), kLine);
  log.append(line("8\n", false), kLine);
  EXPECT_EQ(allText(), before + "7\n8\n");
  EXPECT_TRUE(before.starts_with("1\n2\n3\n"));
}

INSTANTIATE_TEST_SUITE_P(AtEveryRename, KilledRotation, testing::Range(1, 12));

// The number of records between two bytes in the pipe: a flood.
constexpr int kGroup = 50;

/// Kills a child that writes a byte into `pipe` after each group of records, once it has completed
/// `groups` of them. Returns the number of groups that it reported in all.
int killWhileWriting(pid_t child, int pipe, int groups) {
  int reported = 0;
  char byte = 0;
  while (reported < groups && read(pipe, &byte, 1) == 1) ++reported;
  kill(child, SIGKILL);
  EXPECT_TRUE(wasKilled(child));
  while (read(pipe, &byte, 1) == 1) ++reported;
  EXPECT_GE(reported, groups);
  return reported;
}

TEST_F(LogProcesses, LoseNoRecordThatAKilledOneHadWritten) {
  constexpr LogLimits kSmall{.fileCount = 90, .fileBytes = 32 * 1024};
  std::map<int, int> reported;
  for (int writer = 0; writer < 12; ++writer) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t child = startChild([&] {
      for (int i = 0; true; ++i) {
        log.append(line(fmt::format("{} {} {}\n", writer, i, kPadding), true), kSmall);
        if (i % kGroup == kGroup - 1 && write(ends[1], "", 1) != 1) return;
      }
    });
    close(ends[1]);
    reported[writer] = killWhileWriting(child, ends[0], 10 + writer);
    close(ends[0]);
  }
  log.append(line(fmt::format("99 0 {}\n", kPadding), false), kSmall);
  const std::map<int, int> written = countByWriter();
  for (const auto& [writer, count] : reported) {
    EXPECT_GE(written.at(writer), count * kGroup);
    EXPECT_LE(written.at(writer), (count + 1) * kGroup);
  }
}

}  // namespace
}  // namespace qx::logger
