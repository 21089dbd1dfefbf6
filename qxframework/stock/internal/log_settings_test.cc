#include "qxframework/stock/internal/log_settings.h"

#include "testing/recording_logger.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::test {
namespace {

class LogSettingsHolder : public testing::Test {
 protected:
  RecordingLogger log;
};

TEST_F(LogSettingsHolder, ReadsTheSettingsAsTheyAre) {
  log.settings = {0, -3, 9, u"orders"};
  const CLog settings;
  EXPECT_EQ(settings.fileCount(), 0);
  EXPECT_EQ(settings.fileSize(), -3);
  EXPECT_EQ(settings.level(), 9);
  EXPECT_EQ(settings.module(), u"orders");
}

TEST_F(LogSettingsHolder, HasDefaultsWithoutALogger) {
  log.settings = {7, 7, 3, u"M"};
  log.refuse = true;
  CLog settings;
  EXPECT_EQ(settings.fileCount(), 2);
  EXPECT_EQ(settings.fileSize(), 1);
  EXPECT_EQ(settings.level(), 1);
  EXPECT_EQ(settings.module(), u"");
  EXPECT_EQ(settings.Save(), E_FAIL);
  log.refuse = false;
  EXPECT_EQ(settings.Save(), S_OK) << "the logger is created when it is needed";
  EXPECT_EQ(log.settings, (RecordedSettings{2, 1, 1, u""}));
}

TEST_F(LogSettingsHolder, ReplacesValuesOutOfRange) {
  const auto stored = [this](long count, long size, long level) {
    CLog settings;
    settings.SetFileCount(count);
    settings.SetFileSize(size);
    settings.SetLevel(level);
    settings.Save();
    return log.settings;
  };
  EXPECT_EQ(stored(0, 0, 0), (RecordedSettings{2, 1, 1, u""}));
  EXPECT_EQ(stored(11, -1, -1), (RecordedSettings{10, 1, 1, u""}));
  EXPECT_EQ(stored(1, 1, 1), (RecordedSettings{1, 1, 1, u""}));
  EXPECT_EQ(stored(10, 2, 3), (RecordedSettings{10, 2, 3, u""}));
  for (const long level : {4, 5, 6, 7}) {
    EXPECT_EQ(stored(9, 3, level), (RecordedSettings{9, 3, 6, u""})) << level;
  }
}

TEST_F(LogSettingsHolder, StoresTheModuleInUpperCaseCutToTen) {
  CLog settings;
  settings.SetModule(u"MyOrders-Add");
  EXPECT_EQ(settings.module(), u"MYORDERS-A");
  settings.SetModule(nullptr);
  EXPECT_EQ(settings.module(), u"MYORDERS-A");
  settings.SetModule(u"");
  EXPECT_EQ(settings.module(), u"");
  log.settings.module = u"ABCDEFGHIJKL";
  CLog long_;
  long_.Save();
  EXPECT_EQ(log.settings.module, u"ABCDEFGHIJ");
}

TEST_F(LogSettingsHolder, ReturnsTheFailureToStore) {
  CLog settings;
  log.settingsResult = E_ACCESSDENIED;
  EXPECT_EQ(settings.Save(), E_ACCESSDENIED);
}

}  // namespace
}  // namespace qx::test
