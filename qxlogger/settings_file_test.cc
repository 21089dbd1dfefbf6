#include "qxlogger/settings_file.h"

#include "qxlogger/test_support.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace qx::logger {
namespace {

const LogSettings kSample{.fileCount = 5, .fileSize = 3, .level = 4, .module = u"\u00DCBUNG"};

class SettingsFile : public testing::Test {
 protected:
  test::TemporaryFolder folder;
  test::FaultyFiles files;
  std::string path = folder / "a/b/log.toml";
};

TEST_F(SettingsFile, LoadsDefaultsIfMissing) {
  EXPECT_EQ(loadSettings(files, path), LogSettings{});
  EXPECT_EQ(loadSettings(files, ""), LogSettings{});
}

TEST_F(SettingsFile, LoadsTheStoredSettings) {
  EXPECT_EQ(storeSettings(files, path, kSample).error, 0);
  EXPECT_EQ(loadSettings(files, path), kSample);
  EXPECT_EQ(test::contentOf(path),
            "# Settings of the log. level: 1 Error, 2 Warning, 3 Information, 4 Debug, 5 Debug1, "
            "6 Debug2;\n# module: the only module to record, empty for all.\n"
            "file_count = 5\nfile_size_mb = 3\nlevel = 4\nmodule = '\xC3\x9C"
            "BUNG'\n");
}

TEST_F(SettingsFile, LoadsDefaultsIfBroken) {
  const std::string broken = folder / "log.toml";
  test::writeText(broken, "level = = 6\n");
  EXPECT_EQ(loadSettings(files, broken), LogSettings{});
  test::writeText(broken, std::string("\0\xFF\x01", 3));
  EXPECT_EQ(loadSettings(files, broken), LogSettings{});
}

TEST_F(SettingsFile, LoadsDefaultsIfAKeyHasThousandsOfLevels) {
  const std::string deep = folder / "log.toml";
  std::string key = "a";
  for (int i = 0; i < 40000; ++i) key += ".a";
  test::writeText(deep, key + " = 1\nlevel = 6\n");
  EXPECT_EQ(loadSettings(files, deep), LogSettings{});
}

TEST_F(SettingsFile, LoadsDefaultsFromAPipeWithoutWaiting) {
  const std::string pipe = folder / "log.toml";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(loadSettings(files, pipe), LogSettings{});
}

TEST_F(SettingsFile, AreLoadedThroughALinkButNotStoredThroughOne) {
  test::writeText(folder / "elsewhere", "level = 6\n");
  std::filesystem::create_symlink(folder / "elsewhere", folder / "log.toml");
  EXPECT_EQ(loadSettings(files, folder / "log.toml").level, 6);
  test::writeText(folder / "victim", "precious");
  std::filesystem::create_symlink(folder / "victim", folder / "log.toml.new");
  EXPECT_EQ(storeSettings(files, folder / "log.toml", kSample).error, 0);
  EXPECT_EQ(test::contentOf(folder / "victim"), "precious");
  EXPECT_EQ(loadSettings(files, folder / "log.toml"), kSample);
}

TEST_F(SettingsFile, LoadsTheDefaultOnlyForAnInvalidValue) {
  const std::string file = folder / "log.toml";
  test::writeText(file, "level = \"six\"\nfile_count = 99\nfile_size_mb = 7\nmodule = 3\n");
  EXPECT_EQ(loadSettings(files, file), (LogSettings{.fileCount = 10, .fileSize = 7}));
}

TEST_F(SettingsFile, KeepsOtherKeys) {
  const std::string file = folder / "log.toml";
  test::writeText(file, "colour = \"blue\"\nlevel = 2\n");
  EXPECT_EQ(storeSettings(files, file, kSample).error, 0);
  EXPECT_NE(test::contentOf(file).find("colour = 'blue'"), std::string::npos)
      << test::contentOf(file);
  EXPECT_EQ(loadSettings(files, file), kSample);
}

TEST_F(SettingsFile, KeepsTheOldSettingsIfTheDiskIsFull) {
  ASSERT_EQ(storeSettings(files, path, kSample).error, 0);
  files.onWrite = [](std::size_t) { return -ENOSPC; };
  const StoreResult result = storeSettings(files, path, {});
  EXPECT_EQ(result.error, ENOSPC);
  EXPECT_EQ(result.text, "cannot write " + path + ".new: No space left on device");
  EXPECT_EQ(loadSettings(files, path), kSample);
  EXPECT_EQ(test::contentOf(path + ".new"), "");
}

TEST_F(SettingsFile, ReportsWhyItCannotBeReplaced) {
  files.onRename = [](const std::string&) { return -EACCES; };
  const StoreResult result = storeSettings(files, path, {});
  EXPECT_EQ(result.error, EACCES);
  EXPECT_EQ(result.text, "cannot replace " + path + ": Permission denied");
}

TEST_F(SettingsFile, ReportsAnUnwritableFolder) {
  files.onOpen = [](const std::string&) { return -EROFS; };
  const StoreResult result = storeSettings(files, path, {});
  EXPECT_EQ(result.error, EROFS);
  EXPECT_EQ(result.text, "cannot open " + path + ".lock: Read-only file system");
  EXPECT_EQ(storeSettings(files, "", {}).error, ENOENT);
}

TEST_F(SettingsFile, IsWholeAfterShortAndInterruptedWrites) {
  int call = 0;
  files.onWrite = [&](std::size_t) { return ++call % 2 == 0 ? -EINTR : std::int64_t{7}; };
  EXPECT_EQ(storeSettings(files, path, kSample).error, 0);
  EXPECT_EQ(loadSettings(files, path), kSample);
}

}  // namespace
}  // namespace qx::logger
