#include "qxlogger/log_service.h"

#include "qxlogger/test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <new>
#include <regex>

namespace qx::logger {
namespace {

class LogServiceTest : public testing::Test {
 protected:
  void storeLevel(long level, const std::u16string& module = {}) {
    ASSERT_EQ(service.store({.level = level, .module = module}).error, 0);
  }
  std::string textOf(const std::string& name) {
    service.flush();
    return test::contentOf(folder / ("log/" + name));
  }
  static std::string expected(const std::string& rest) {
    return "2024-02-29T12:34:56.789012+00:00\t" +
           std::regex_replace(rest, std::regex("PID"), std::to_string(getpid()));
  }

  test::ScopedTimeZone zone{"UTC0"};
  test::TemporaryFolder folder;
  test::FaultyFiles files;
  test::FakeClock clock;
  LogService service{files, clock, {.settings = folder / "log.toml", .logs = folder / "log"}};
};

TEST_F(LogServiceTest, RecordsOnlyErrorsByDefault) {
  EXPECT_EQ(service.write(7, u"Billing", 1, u"CQXAddOn::Connect", u"Failed\n"), kRecorded);
  EXPECT_EQ(service.write(7, u"Billing", 2, u"CQXAddOn::Connect", u"Careful\n"), kRecorded);
  EXPECT_EQ(service.write(7, u"Other", 6, u"CQXAddOn::Connect", u"Entering function\n"), kRecorded);
  EXPECT_EQ(textOf("Billing.log"), expected("Error\t7\tPID\tCQXAddOn::Connect\tFailed\n"));
  EXPECT_FALSE(std::filesystem::exists(folder / "log/Other.log"));
}

// The flush runs on a thread of its own and at the end of the process, where nothing catches.
TEST_F(LogServiceTest, AFlushThatFindsNoMemoryLeavesTheRecordsToTheNextOne) {
  files.onWrite = [](std::size_t) -> std::int64_t { throw std::bad_alloc(); };
  EXPECT_EQ(service.write(7, u"Billing", 1, u"f", u"Failed\n"), kNotRecorded);
  EXPECT_NO_THROW(service.flush());
  files.onWrite = nullptr;
  EXPECT_EQ(textOf("Billing.log"), expected("Error\t7\tPID\tf\tFailed\n"));
}

TEST_F(LogServiceTest, OpensNoFileForAnExcludedRecord) {
  files.onOpen = [](const std::string& path) -> int {
    ADD_FAILURE() << path;
    return -EACCES;
  };
  for (long level = 2; level <= 6; ++level) {
    EXPECT_EQ(service.write(0, u"Billing", level, u"f", u"text"), kRecorded);
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "log"));
}

TEST_F(LogServiceTest, RecordsAllSixSeveritiesAtTheHighestLevel) {
  storeLevel(6);
  for (long level = 1; level <= 6; ++level) service.write(0, u"M", level, u"f", u"text");
  std::string all;
  for (const char* word : {"Error", "Warning", "Information", "Debug", "Debug1", "Debug2"}) {
    all += expected(std::string(word) + "\t0\tPID\tf\ttext\n");
  }
  EXPECT_EQ(textOf("M.log"), all);
}

TEST_F(LogServiceTest, KeepsAFileSetPerModule) {
  storeLevel(6);
  service.write(1, u"A", 3, u"f", u"one");
  service.write(2, u"B", 3, u"f", u"two");
  service.write(3, u"", 3, u"f", u"three");
  EXPECT_EQ(textOf("A.log"), expected("Information\t1\tPID\tf\tone\n"));
  EXPECT_EQ(textOf("B.log"), expected("Information\t2\tPID\tf\ttwo\n"));
  EXPECT_EQ(textOf("nomodule.log"), expected("Information\t3\tPID\tf\tthree\n"));
}

TEST_F(LogServiceTest, RecordsOnlyTheModuleOfTheFilter) {
  storeLevel(6, u"BILLING");
  service.write(0, u"Billing", 3, u"f", u"text");
  service.write(0, u"Other", 1, u"f", u"text");
  EXPECT_NE(textOf("Billing.log"), "");
  EXPECT_EQ(textOf("Other.log"), "");
}

TEST_F(LogServiceTest, RefusesALevelThatDoesNotExist) {
  storeLevel(6);
  EXPECT_EQ(service.write(0, u"M", 0, u"f", u"text"), kNotRecorded);
  EXPECT_EQ(service.write(0, u"M", 7, u"f", u"text"), kNotRecorded);
  EXPECT_EQ(textOf("M.log"), "");
}

TEST_F(LogServiceTest, ReportsADroppedRecord) {
  files.onOpen = [](const std::string&) { return -EROFS; };
  EXPECT_EQ(service.write(0, u"M", 1, u"f", u"text"), kNotRecorded);
  files.onOpen = nullptr;
  EXPECT_EQ(service.write(0, u"M", 1, u"f", u"text"), kRecorded);
  EXPECT_EQ(textOf("M.log"), expected("Warning\t0\tPID\tQXLogger\tRecords dropped: 1 "
                                      "(Read-only file system)\n") +
                                 expected("Error\t0\tPID\tf\ttext\n"));
}

TEST_F(LogServiceTest, WritesErrorsAndWarningsAtOnce) {
  storeLevel(6);
  service.write(0, u"M", 6, u"f", u"1");
  service.write(0, u"M", 6, u"f", u"2");
  service.write(0, u"M", 2, u"f", u"3");
  EXPECT_TRUE(test::contentOf(folder / "log/M.log").ends_with("f\t3\n"));
  service.write(0, u"M", 6, u"f", u"4");
  service.write(0, u"M", 1, u"f", u"5");
  EXPECT_TRUE(test::contentOf(folder / "log/M.log").ends_with("f\t5\n"));
}

TEST_F(LogServiceTest, RotatesAtTheFileSizeOfTheSettings) {
  ASSERT_EQ(service.store({.fileCount = 3, .fileSize = 1, .level = 6}).error, 0);
  const std::u16string text(1023, u'x');
  for (int i = 0; i < 3000; ++i) service.write(0, u"M", 6, u"f", text);
  EXPECT_GT(textOf("M.log").size(), 0U);
  for (const char* name : {"M.1.log", "M.2.log"}) {
    EXPECT_LE(textOf(name).size(), 1U << 20);
    EXPECT_GT(textOf(name).size(), (1U << 20) - 1200);
  }
  EXPECT_EQ(textOf("M.3.log"), "");
}

TEST_F(LogServiceTest, HonoursSettingsThatAnotherProcessStores) {
  ASSERT_EQ(storeSettings(files, folder / "log.toml", {.level = 6}).error, 0);
  clock.advance(kNanosecondsPerSecond);
  service.write(0, u"M", 6, u"f", u"text");
  EXPECT_NE(textOf("M.log"), "");
}

}  // namespace
}  // namespace qx::logger
