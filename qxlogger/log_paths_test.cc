#include "qxlogger/log_paths.h"

#include "qxlogger/test_support.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace qx::logger {
namespace {

TEST(LogPaths, NamesTheFilesAfterTheModule) {
  EXPECT_EQ(fileBaseName(u"Billing"), "Billing");
  EXPECT_EQ(fileBaseName(u"QX.Demo_2-a"), "QX.Demo_2-a");
  EXPECT_EQ(fileBaseName(u"\u00DCbung"),
            "\xC3\x9C"
            "bung");
}

TEST(LogPaths, NamesTheFilesOfAnEmptyModule) { EXPECT_EQ(fileBaseName(u""), "nomodule"); }

TEST(LogPaths, KeepsAModuleInsideItsFolder) {
  EXPECT_EQ(fileBaseName(u"../../etc/passwd"), "%2E.%2F..%2Fetc%2Fpasswd");
  EXPECT_EQ(fileBaseName(u".."), "%2E.");
  EXPECT_EQ(fileBaseName(u"a b%\n"), "a%20b%25%0A");
  EXPECT_EQ(fileBaseName(std::u16string_view(u"a\0b", 3)), "a%00b");
}

TEST(LogPaths, EscapesTheDotBeforeANumberAsInARotatedFile) {
  EXPECT_EQ(fileBaseName(u"Billing.1"), "Billing%2E1");
  EXPECT_EQ(fileBaseName(u"Billing.v1"), "Billing.v1");
  EXPECT_EQ(fileBaseName(u"2024"), "2024");
}

TEST(LogPaths, CutsLongNamesButKeepsThemDistinct) {
  const std::string first = fileBaseName(std::u16string(300, u'\u00E4') + u"1");
  const std::string second = fileBaseName(std::u16string(300, u'\u00E4') + u"2");
  EXPECT_LT(first.size(), 240U);
  EXPECT_NE(first, second);
  EXPECT_EQ(first.substr(0, 200), second.substr(0, 200));
}

TEST(LogPaths, FollowsTheBaseFoldersOfTheUser) {
  const test::ScopedVariable home("HOME", "/home/x");
  const test::ScopedVariable config("XDG_CONFIG_HOME", nullptr);
  const test::ScopedVariable state("XDG_STATE_HOME", "/var/state/x");
  const test::ScopedVariable ownSettings("QX_LOG_SETTINGS", nullptr);
  const test::ScopedVariable ownFolder("QX_LOG_DIR", nullptr);
  EXPECT_EQ(settingsPath(), "/home/x/.config/qxframework/log.toml");
  EXPECT_EQ(logFolder(), "/var/state/x/qxframework/log");
}

TEST(LogPaths, IgnoresARelativeBaseFolder) {
  const test::ScopedVariable home("HOME", "/home/x");
  const test::ScopedVariable state("XDG_STATE_HOME", "state");
  const test::ScopedVariable ownFolder("QX_LOG_DIR", nullptr);
  EXPECT_EQ(logFolder(), "/home/x/.local/state/qxframework/log");
}

TEST(LogPaths, IgnoresFoldersOfAnotherUser) {
  const qx::test::TempFolder folder;
  const std::string theirs = folder.file("theirs");
  std::filesystem::create_directory(theirs);
  if (chown(theirs.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only root gives folders away";
  const test::ScopedVariable home("HOME", theirs);
  const test::ScopedVariable config("XDG_CONFIG_HOME", nullptr);
  const test::ScopedVariable state("XDG_STATE_HOME", theirs + "/not/made/yet");
  const test::ScopedVariable ownSettings("QX_LOG_SETTINGS", nullptr);
  const test::ScopedVariable ownFolder("QX_LOG_DIR", nullptr);
  const std::string own = getpwuid(geteuid())->pw_dir;
  EXPECT_EQ(settingsPath(), own + "/.config/qxframework/log.toml");
  EXPECT_EQ(logFolder(), own + "/.local/state/qxframework/log");
}

TEST(LogPaths, CanBeOverriddenByVariables) {
  const test::ScopedVariable ownSettings("QX_LOG_SETTINGS", "/tmp/a.toml");
  const test::ScopedVariable ownFolder("QX_LOG_DIR", "/tmp/b");
  EXPECT_EQ(settingsPath(), "/tmp/a.toml");
  EXPECT_EQ(logFolder(), "/tmp/b");
}

}  // namespace
}  // namespace qx::logger
