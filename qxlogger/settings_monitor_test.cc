#include "qxlogger/settings_monitor.h"

#include "qxlogger/test_support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <thread>

namespace qx::logger {
namespace {

constexpr std::int64_t kHalfSecond = 500 * kNanosecondsPerMillisecond;

class SettingsMonitorTest : public testing::Test {
 protected:
  test::TemporaryFolder folder;
  test::FaultyFiles files;
  test::FakeClock clock;
  std::string path = folder / "log.toml";
};

TEST_F(SettingsMonitorTest, HonoursAChangeOfAnotherProcessWithinASecond) {
  SettingsMonitor monitor(files, clock, path);
  EXPECT_EQ(monitor.current().level, 1);
  ASSERT_EQ(storeSettings(files, path, {.level = 6}).error, 0);
  EXPECT_EQ(monitor.current().level, 1);
  clock.advance(kHalfSecond);
  EXPECT_EQ(monitor.current().level, 6);
  ASSERT_EQ(storeSettings(files, path, {.level = 3}).error, 0);
  clock.advance(kHalfSecond);
  EXPECT_EQ(monitor.current().level, 3);
}

TEST_F(SettingsMonitorTest, ChecksTheFileTwiceASecond) {
  SettingsMonitor monitor(files, clock, path);
  const int before = files.pathInfos;
  for (int i = 0; i < 1000; ++i) monitor.current();
  EXPECT_EQ(files.pathInfos, before);
  clock.advance(kHalfSecond);
  for (int i = 0; i < 1000; ++i) monitor.current();
  EXPECT_EQ(files.pathInfos, before + 1);
}

TEST_F(SettingsMonitorTest, HonoursItsOwnChangeAtOnce) {
  SettingsMonitor monitor(files, clock, path);
  EXPECT_EQ(monitor.store({.level = 5}).error, 0);
  EXPECT_EQ(monitor.current().level, 5);
}

TEST_F(SettingsMonitorTest, ReturnsToDefaultsIfTheFileIsRemoved) {
  ASSERT_EQ(storeSettings(files, path, {.level = 6}).error, 0);
  SettingsMonitor monitor(files, clock, path);
  EXPECT_EQ(monitor.current().level, 6);
  std::filesystem::remove(path);
  clock.advance(kHalfSecond);
  EXPECT_EQ(monitor.current(), LogSettings{});
}

TEST_F(SettingsMonitorTest, KeepsTheCurrentSettingsIfStoringFails) {
  SettingsMonitor monitor(files, clock, path);
  ASSERT_EQ(monitor.store({.level = 5}).error, 0);
  files.onWrite = [](std::size_t) { return -ENOSPC; };
  EXPECT_EQ(monitor.store({.level = 6}).error, ENOSPC);
  EXPECT_EQ(monitor.current().level, 5);
}

TEST_F(SettingsMonitorTest, CanBeReadWhileItChanges) {
  SettingsMonitor monitor(files, clock, path);
  std::thread reader([&] {
    for (int i = 0; i < 20000; ++i) EXPECT_LE(monitor.current().level, 6);
  });
  for (long i = 0; i < 50; ++i) monitor.store({.level = 1 + i % 6, .module = u"LONGER MODULE"});
  reader.join();
  EXPECT_EQ(monitor.current().level, 2);
}

}  // namespace
}  // namespace qx::logger
