#include "qxlogger/log_settings.h"

#include <gtest/gtest.h>

namespace qx::logger {
namespace {

TEST(LogSettings, AdmitErrorsOfAllModulesByDefault) {
  const LogSettings settings;
  EXPECT_EQ(settings.fileCount, 2);
  EXPECT_EQ(settings.fileSize, 1);
  EXPECT_TRUE(settings.admits(1, u"any"));
  EXPECT_TRUE(settings.admits(1, u""));
  EXPECT_FALSE(settings.admits(2, u"any"));
}

TEST(LogSettings, AreMovedIntoTheirRanges) {
  EXPECT_EQ(withinLimits({.fileCount = 0, .fileSize = 0, .level = 0}),
            (LogSettings{.fileCount = 2, .fileSize = 1, .level = 1}));
  EXPECT_EQ(withinLimits({.fileCount = 11, .fileSize = -5, .level = 9}),
            (LogSettings{.fileCount = 10, .fileSize = 1, .level = 6}));
  const LogSettings fine{.fileCount = 1, .fileSize = 20, .level = 4, .module = u"X"};
  EXPECT_EQ(withinLimits(fine), fine);
}

TEST(LogSettings, CompareTheModuleWithoutCase) {
  const LogSettings settings{.level = 6, .module = u"BILLING"};
  EXPECT_TRUE(settings.admits(6, u"Billing"));
  EXPECT_FALSE(settings.admits(6, u"Billing2"));
  EXPECT_TRUE((LogSettings{.level = 6, .module = u"\u00DCBUNG"}).admits(6, u"\u00FCbung"));
  EXPECT_FALSE(settings.admits(1, u""));
  EXPECT_FALSE(settings.admits(1, {})) << "a null text";
}

TEST(LogSettings, MatchLongModulesByTheirFirstTenCharacters) {
  const LogSettings settings{.level = 6, .module = u"WAREHOUSEM"};
  EXPECT_TRUE(settings.admits(6, u"WarehouseManager"));
  EXPECT_TRUE(settings.admits(6, u"WarehouseM"));
  EXPECT_FALSE(settings.admits(6, u"Warehouse"));
}

}  // namespace
}  // namespace qx::logger
