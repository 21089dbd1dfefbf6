#include "qxlogger/shared_log.h"

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "qxlogger/shared_region.h"
#include "qxlogger/test_support.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace qx::logger {
namespace {

constexpr LogLimits kRoomy{.fileCount = 2, .fileBytes = 1 << 20};
constexpr LogLimits kTiny{.fileCount = 3, .fileBytes = 10};

class LogFiles : public testing::Test {
 protected:
  Appended append(const std::string& text, const LogLimits& limits = kRoomy) {
    return log.append({.text = text, .time = clock.wall, .processId = 42, .mayWait = false},
                      limits);
  }
  /// Appends a record that belongs to a flood, because the clock does not advance.
  Appended flood(const std::string& text) {
    return log.append({.text = text, .time = clock.wall, .processId = 42, .mayWait = true}, kRoomy);
  }
  std::string current() const { return test::contentOf(folder / "sub/x.log"); }
  std::string rotated(int number) const {
    return test::contentOf(folder / ("sub/x." + std::to_string(number) + ".log"));
  }
  void refuseWrites(int error) {
    files.onWrite = [error](std::size_t) { return std::int64_t{-error}; };
  }
  /// Appends until the shared memory is full. Returns the number of records kept.
  int fill(const std::string& text) {
    int kept = 0;
    while (append(text) != Appended::kDropped) ++kept;
    return kept;
  }

  test::ScopedTimeZone zone{"UTC0"};
  test::TemporaryFolder folder;
  test::FaultyFiles files;
  test::FakeClock clock;
  SharedLog log{files, clock, folder / "sub", "x"};
};

TEST_F(LogFiles, AreCreatedWithTheirFolderByTheFirstRecord) {
  EXPECT_FALSE(std::filesystem::exists(folder / "sub"));
  EXPECT_EQ(append("one\n"), Appended::kWritten);
  EXPECT_EQ(append("two\n"), Appended::kWritten);
  EXPECT_EQ(current(), "one\ntwo\n");
}

TEST_F(LogFiles, RotateAtTheirSizeAndKeepTheirCount) {
  for (const char* text : {"1111\n", "2222\n", "3333\n", "4444\n", "5555\n", "6666\n", "7777\n"}) {
    EXPECT_EQ(append(text, kTiny), Appended::kWritten);
  }
  EXPECT_EQ(current(), "7777\n");
  EXPECT_EQ(rotated(1), "5555\n6666\n");
  EXPECT_EQ(rotated(2), "3333\n4444\n");
  EXPECT_EQ(rotated(3), "");
}

TEST_F(LogFiles, AreOverwrittenIfOnlyOneIsKept) {
  for (const char* text : {"1111\n", "2222\n", "3333\n"}) append(text, {1, 10});
  EXPECT_EQ(current(), "3333\n");
  EXPECT_EQ(rotated(1), "");
}

TEST_F(LogFiles, AreRemovedIfFewerAreKept) {
  for (int i = 0; i < 10; ++i) append("1111\n", {5, 5});
  EXPECT_EQ(rotated(4), "1111\n");
  append("2222\n", {2, 5});
  EXPECT_EQ(current(), "2222\n");
  EXPECT_EQ(rotated(1), "1111\n");
  EXPECT_EQ(rotated(2) + rotated(3) + rotated(4), "");
}

TEST_F(LogFiles, AcceptARecordLargerThanAFile) {
  append("1\n", kTiny);
  append("a record of many letters\n", kTiny);
  append("2\n", kTiny);
  EXPECT_EQ(rotated(2), "1\n");
  EXPECT_EQ(rotated(1), "a record of many letters\n");
  EXPECT_EQ(current(), "2\n");
}

TEST_F(LogFiles, LoseNoRecordIfARotationIsInterrupted) {
  for (const char* text : {"1111\n", "2222\n", "3333\n"}) append(text, {5, 5});
  int renames = 0;
  files.onRename = [&](const std::string&) { return ++renames == 2 ? -EACCES : 0; };
  EXPECT_EQ(append("4444\n", {5, 5}), Appended::kWritten);
  EXPECT_EQ(current(), "3333\n4444\n");
  files.onRename = nullptr;
  const std::string large(64 * 1024, 'a');
  append(large + "\n", {5, 5});
  EXPECT_EQ(rotated(3), "1111\n");
  EXPECT_EQ(rotated(2), "2222\n");
  EXPECT_EQ(rotated(1), "3333\n4444\n");
  EXPECT_EQ(current(), large + "\n");
}

TEST_F(LogFiles, AreNeverReplacedByARotation) {
  std::vector<std::string> replaced;
  files.onRename = [&](const std::string& from) {
    const std::string number = from.substr(from.find("x.") + 2);
    const int next = number == "log" ? 1 : std::atoi(number.c_str()) + 1;
    if (!rotated(next).empty()) replaced.push_back(from);
    return 0;
  };
  for (const char* text : {"1\n", "2\n", "3\n", "4\n", "5\n", "6\n"}) append(text, {3, 2});
  EXPECT_EQ(replaced, std::vector<std::string>{});
  EXPECT_EQ(rotated(2) + rotated(1) + current(), "4\n5\n6\n");
  EXPECT_EQ(rotated(3), "");
}

TEST_F(LogFiles, KeepTheOldestIfARotationFailsHalfway) {
  for (const char* text : {"1\n", "2\n", "3\n"}) append(text, {3, 2});
  int renames = 0;
  files.onRename = [&](const std::string&) { return ++renames == 2 ? -EACCES : 0; };
  append("4\n", {3, 2});
  EXPECT_EQ(rotated(3) + rotated(2) + rotated(1) + current(), "1\n2\n3\n4\n");
}

TEST_F(LogFiles, GrowOnIfRotationFails) {
  files.onRename = [](const std::string&) { return -EACCES; };
  for (const char* text : {"1111\n", "2222\n", "3333\n"}) {
    EXPECT_EQ(append(text, {2, 5}), Appended::kWritten);
  }
  EXPECT_EQ(current(), "1111\n2222\n3333\n");
}

TEST_F(LogFiles, StopGrowingAtSomeDistanceBeyondTheirSizeIfRotationKeepsFailing) {
  constexpr LogLimits kSmall{.fileCount = 2, .fileBytes = 1000};
  files.onRename = [](const std::string&) { return -EACCES; };
  const std::string text = std::string(99, 'x') + "\n";
  std::string expected;
  for (int i = 0; i < 665; ++i, expected += text) {
    ASSERT_EQ(append(text, kSmall), Appended::kWritten) << i;
  }
  EXPECT_EQ(append(text, kSmall), Appended::kDropped);
  EXPECT_EQ(append(text, kSmall), Appended::kDropped);
  expected +=
      "2024-02-29T12:34:56.789012+00:00\tWarning\t0\t42\tQXLogger\t"
      "Records are dropped until the log files can be rotated (Permission denied)\n";
  EXPECT_EQ(current(), expected);
  files.onRename = nullptr;
  clock.advance(kNanosecondsPerSecond);
  EXPECT_EQ(append("last\n", kSmall), Appended::kWritten);
  EXPECT_EQ(rotated(1), expected);
  EXPECT_EQ(current(),
            "2024-02-29T12:34:57.789012+00:00\tWarning\t0\t42\tQXLogger\t"
            "Records dropped: 2 (Permission denied)\nlast\n");
}

TEST_F(LogFiles, AreNotRotatedAgainForEachRecordIfRotationKeepsFailing) {
  int renames = 0;
  files.onRename = [&](const std::string&) {
    ++renames;
    return -EACCES;
  };
  const std::string text(70'000, 'x');
  for (int i = 0; i < 100; ++i) append(text + "\n", kTiny);
  EXPECT_LT(renames, 5);
}

TEST_F(LogFiles, TakeAFloodInOneWrite) {
  EXPECT_EQ(flood("first\n"), Appended::kWritten);
  const int before = files.writes;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(flood("more\n"), Appended::kPending);
  EXPECT_EQ(files.writes, before);
  EXPECT_EQ(current(), "first\n");
  EXPECT_TRUE(log.flush());
  EXPECT_EQ(files.writes, before + 1);
  EXPECT_EQ(current().size(), 6U + 500U);
}

TEST_F(LogFiles, TakeALongFloodInPieces) {
  const std::string line = std::string(99, 'x') + "\n";
  for (int i = 0; i < 1000; ++i) flood(line);
  EXPECT_GT(files.writes, 5);
  EXPECT_LT(files.writes, 10);
}

TEST_F(LogFiles, TakePendingRecordsWithTheNextRecordAfterAPause) {
  flood("1\n");
  EXPECT_EQ(flood("2\n"), Appended::kPending);
  clock.advance(kNanosecondsPerMillisecond);
  EXPECT_EQ(flood("3\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n2\n3\n");
  EXPECT_EQ(files.writes, 2);
}

TEST_F(LogFiles, TakeAnUrgentRecordAtOnceAndInOrder) {
  flood("1\n");
  flood("2\n");
  EXPECT_EQ(append("urgent\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n2\nurgent\n");
}

TEST_F(LogFiles, AreWholeAfterShortAndInterruptedWrites) {
  int call = 0;
  files.onWrite = [&](std::size_t) { return ++call % 2 == 0 ? -EINTR : std::int64_t{3}; };
  EXPECT_EQ(append("one record\n"), Appended::kWritten);
  EXPECT_EQ(append("another record\n"), Appended::kWritten);
  EXPECT_EQ(current(), "one record\nanother record\n");
}

TEST_F(LogFiles, GetTheRecordsThatAFullDiskRefusedOnceThereIsRoom) {
  append("0\n");
  refuseWrites(ENOSPC);
  EXPECT_EQ(append("1\n"), Appended::kPending);
  EXPECT_EQ(append("2\n"), Appended::kPending);
  EXPECT_FALSE(log.flush());
  EXPECT_EQ(current(), "0\n");
  files.onWrite = nullptr;
  EXPECT_EQ(append("3\n"), Appended::kWritten);
  EXPECT_EQ(current(), "0\n1\n2\n3\n");
}

TEST_F(LogFiles, CompleteALineThatAFullDiskCutOff) {
  int call = 0;
  files.onWrite = [&](std::size_t) { return ++call == 1 ? std::int64_t{4} : -ENOSPC; };
  EXPECT_EQ(append("one record\n"), Appended::kPending);
  EXPECT_EQ(current(), "one ");
  files.onWrite = nullptr;
  EXPECT_EQ(append("two\n"), Appended::kWritten);
  EXPECT_EQ(current(), "one record\ntwo\n");
}

TEST_F(LogFiles, ReportTheNumberOfDroppedRecordsOnce) {
  append("first\n");
  refuseWrites(ENOSPC);
  const std::string line = std::string(1023, 'x') + "\n";
  EXPECT_EQ(fill(line), 60);
  EXPECT_EQ(append("short\n"), Appended::kDropped);
  EXPECT_EQ(append(std::string(100'000, 'y') + "\n"), Appended::kDropped);
  files.onWrite = nullptr;
  EXPECT_EQ(append("last\n"), Appended::kWritten);
  EXPECT_EQ(append("after\n"), Appended::kWritten);
  std::string expected = "first\n";
  for (int i = 0; i < 60; ++i) expected += line;
  expected +=
      "2024-02-29T12:34:56.789012+00:00\tWarning\t0\t42\tQXLogger\t"
      "Records dropped: 3 (No space left on device)\nlast\nafter\n";
  EXPECT_EQ(current(), expected);
}

TEST_F(LogFiles, DropRecordsInAnUnwritableFolderAndReportItLater) {
  files.onOpen = [](const std::string&) { return -EACCES; };
  EXPECT_EQ(append("1\n"), Appended::kDropped);
  EXPECT_EQ(append("2\n"), Appended::kDropped);
  EXPECT_TRUE(log.flush());
  files.onOpen = nullptr;
  EXPECT_EQ(append("3\n"), Appended::kWritten);
  EXPECT_EQ(current(),
            "2024-02-29T12:34:56.789012+00:00\tWarning\t0\t42\tQXLogger\t"
            "Records dropped: 2 (Permission denied)\n3\n");
}

TEST_F(LogFiles, KeepRecordsPendingWhileTheFileCannotBeOpened) {
  files.onOpen = [](const std::string& path) { return path.ends_with(".log") ? -EACCES : 0; };
  EXPECT_EQ(append("1\n"), Appended::kPending);
  files.onOpen = nullptr;
  EXPECT_EQ(append("2\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n2\n");
}

TEST_F(LogFiles, DropRecordsWhileAStoppedProcessHoldsTheLock) {
  append("1\n");
  SharedLog impatient(files, clock, folder / "sub", "x", 0);
  const auto appendThere = [&](const char* text) {
    return impatient.append({.text = text, .time = clock.wall, .processId = 42}, kRoomy);
  };
  int error = 0;
  const auto other = SharedRegion::open(files, folder / "sub/.x.sync1", error);
  ASSERT_NE(other, nullptr) << error;
  ASSERT_EQ(other->lock(), SharedRegion::Lock::kHeld);
  EXPECT_EQ(appendThere("2\n"), Appended::kDropped);
  EXPECT_EQ(appendThere("3\n"), Appended::kDropped);
  EXPECT_FALSE(impatient.flush());
  other->unlock();
  EXPECT_EQ(appendThere("4\n"), Appended::kWritten);
  EXPECT_EQ(current(),
            "1\n2024-02-29T12:34:56.789012+00:00\tWarning\t0\t42\tQXLogger\t"
            "Records dropped: 2 (Device or resource busy)\n4\n");
}

TEST_F(LogFiles, DropRecordsOfAUserWithoutFolders) {
  SharedLog homeless(files, clock, "", "x");
  EXPECT_EQ(homeless.append({.text = "1\n"}, kRoomy), Appended::kDropped);
}

// What other users could put into a folder that they can write: links, pipes, files of their own.
class LogFilesOfOthers : public LogFiles {
 protected:
  LogFilesOfOthers() {
    std::filesystem::create_directory(folder / "sub");
    traced.clear();
    setDeveloperTraceSink([](std::u16string_view text) { traced += toUtf8(text); });
  }
  ~LogFilesOfOthers() override { setDeveloperTraceSink(nullptr); }
  std::string told(const std::string& reason) const {
    return "log: " + (folder / "sub/x.log") + " cannot be written (" + reason + ")\n";
  }

  static inline std::string traced;
};

TEST_F(LogFilesOfOthers, AreNotWrittenThroughALink) {
  test::writeText(folder / "victim", "precious");
  std::filesystem::create_symlink(folder / "victim", folder / "sub/x.log");
  EXPECT_EQ(append("1\n"), Appended::kPending);
  EXPECT_EQ(append("2\n"), Appended::kPending);
  EXPECT_EQ(test::contentOf(folder / "victim"), "precious");
  EXPECT_EQ(traced, told("Too many levels of symbolic links"));
  std::filesystem::remove(folder / "sub/x.log");
  EXPECT_EQ(append("3\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n2\n3\n");
}

TEST_F(LogFilesOfOthers, AreNotWrittenUnderASecondName) {
  test::writeText(folder / "victim", "precious");
  std::filesystem::create_hard_link(folder / "victim", folder / "sub/x.log");
  append("1\n");
  EXPECT_EQ(test::contentOf(folder / "victim"), "precious");
  EXPECT_EQ(traced, told("Operation not permitted"));
}

TEST_F(LogFilesOfOthers, DoNotHangAtAPipe) {
  for (const char* name : {"sub/.x.sync1", "sub/x.log"}) {
    ASSERT_EQ(mkfifo((folder / name).c_str(), 0600), 0);
    append("1\n");
    std::filesystem::remove(folder / name);
  }
  EXPECT_EQ(traced, told("Operation not permitted"));
}

TEST_F(LogFilesOfOthers, ShareNoMemoryThroughALink) {
  test::writeText(folder / "victim", "precious");
  std::filesystem::create_symlink(folder / "victim", folder / "sub/.x.sync1");
  EXPECT_EQ(append("1\n"), Appended::kDropped);
  EXPECT_EQ(test::contentOf(folder / "victim"), "precious");
  EXPECT_EQ(traced, told("Too many levels of symbolic links"));
}

TEST_F(LogFilesOfOthers, AreNotTakenOverFromAnotherUser) {
  test::writeText(folder / "sub/x.log", "theirs\n");
  // Only root can give a file away, and only root could write to another user's file at all.
  constexpr uid_t kNobody = 65534;
  const bool given = chown((folder / "sub/x.log").c_str(), kNobody, 0) == 0;
  append("1\n");
  EXPECT_EQ(current(), given ? "theirs\n" : "theirs\n1\n");
  EXPECT_EQ(traced, given ? told("Operation not permitted") : "");
}

TEST_F(LogFilesOfOthers, AreToldOnlyOnceHoweverManyRecordsAreLost) {
  files.onOpen = [](const std::string&) { return -EACCES; };
  append("1\n");
  append("2\n");
  EXPECT_EQ(traced, told("Permission denied"));
}

TEST_F(LogFiles, AcceptARecordLargerThanTheSharedMemory) {
  const std::string large = std::string(100'000, 'y') + "\n";
  flood("1\n");
  flood("2\n");
  EXPECT_EQ(append(large), Appended::kWritten);
  EXPECT_EQ(append("3\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n2\n" + large + "3\n");
}

TEST_F(LogFiles, ContainNoPartOfALargeRecordThatFailed) {
  const std::string large = std::string(100'000, 'y') + "\n";
  append("1\n");
  int call = 0;
  files.onWrite = [&](std::size_t) { return ++call == 1 ? std::int64_t{500} : -ENOSPC; };
  EXPECT_EQ(append(large), Appended::kDropped);
  files.onWrite = nullptr;
  EXPECT_EQ(current(), "1\n");
  append("2\n");
  EXPECT_TRUE(current().ends_with("\tRecords dropped: 1 (No space left on device)\n2\n"));
}

TEST_F(LogFiles, EndTheLineOfALargeRecordThatCannotBeCutOff) {
  append("1\n");
  int call = 0;
  files.onWrite = [&](std::size_t) { return ++call == 1 ? std::int64_t{3} : -EIO; };
  files.onTruncate = [] { return -EIO; };
  EXPECT_EQ(append(std::string(100'000, 'y') + "\n"), Appended::kDropped);
  files.onWrite = nullptr;
  append("2\n");
  const std::string text = current();
  EXPECT_TRUE(text.starts_with("1\nyyy\n")) << text;
  EXPECT_TRUE(text.ends_with("Records dropped: 1 (Input/output error)\n2\n")) << text;
}

TEST_F(LogFiles, AreCreatedAgainIfRemoved) {
  append("1\n");
  std::filesystem::remove(folder / "sub/x.log");
  clock.advance(kNanosecondsPerSecond);
  EXPECT_EQ(append("2\n"), Appended::kWritten);
  EXPECT_EQ(current(), "2\n");
}

TEST_F(LogFiles, AreCreatedAgainIfTheirFolderIsRemoved) {
  append("1\n");
  std::filesystem::remove_all(folder / "sub");
  clock.advance(kNanosecondsPerSecond);
  EXPECT_EQ(append("2\n"), Appended::kWritten);
  EXPECT_EQ(append("3\n"), Appended::kWritten);
  EXPECT_EQ(current(), "2\n3\n");
}

TEST_F(LogFiles, AreNotCreatedAgainWithoutARecordIfTheirFolderIsEmptied) {
  append("1\n");
  std::filesystem::remove_all(folder / "sub");
  std::filesystem::create_directory(folder / "sub");
  clock.advance(kNanosecondsPerSecond);
  EXPECT_TRUE(log.flush());
  EXPECT_TRUE(std::filesystem::is_empty(folder / "sub"));
}

TEST_F(LogFiles, StartFromSizeZeroIfEmptied) {
  append("1111\n2222\n");
  test::writeText(folder / "sub/x.log", "");
  clock.advance(kNanosecondsPerSecond);
  append("3333\n", {3, 12});
  EXPECT_EQ(current(), "3333\n");
  EXPECT_EQ(rotated(1), "");
}

TEST_F(LogFiles, AreSharedByTwoWriters) {
  SharedLog other(files, clock, folder / "sub", "x");
  for (int i = 0; i < 3; ++i) {
    append("a\n", {10, 4});
    other.append({.text = "b\n", .time = clock.wall}, {10, 4});
  }
  EXPECT_EQ(current() + rotated(1) + rotated(2), "a\nb\na\nb\na\nb\n");
}

TEST_F(LogFiles, GetALineEndAfterATornLine) {
  std::filesystem::create_directory(folder / "sub");
  test::writeText(folder / "sub/x.log", "torn by a power fail");
  append("1\n");
  EXPECT_EQ(current(), "torn by a power fail\n1\n");
}

TEST_F(LogFiles, SurviveCorruptSharedMemory) {
  std::filesystem::create_directory(folder / "sub");
  test::writeText(folder / "sub/.x.sync1", std::string(70'000, '\xA5'));
  EXPECT_EQ(append("1\n"), Appended::kWritten);
  EXPECT_EQ(current(), "1\n");
}

TEST_F(LogFiles, ContinueAfterAnEarlierProcessHasEnded) {
  {
    SharedLog earlier(files, clock, folder / "sub", "x");
    earlier.append({.text = "1\n", .time = clock.wall, .mayWait = true}, kRoomy);
    earlier.append({.text = "2\n", .time = clock.wall, .mayWait = true}, kRoomy);
  }
  EXPECT_EQ(current(), "1\n");
  append("3\n");
  EXPECT_EQ(current(), "1\n2\n3\n");
}

}  // namespace
}  // namespace qx::logger
