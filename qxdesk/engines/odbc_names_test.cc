#include "qxdesk/engines/odbc_names.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(OdbcNames, AreWrittenInTheStyleOfTheEngine) {
  const std::string sql = "SELECT [Code], 'it''s [x] \"y\"' FROM [@QX] WHERE \"Z [a]\" = ?";
  EXPECT_EQ(withEngineNames(sql, {"\"", true}),
            "SELECT \"code\", 'it''s [x] \"y\"' FROM \"@qx\" WHERE \"Z [a]\" = ?");
  EXPECT_EQ(withEngineNames(sql, {"`", false}),
            "SELECT `Code`, 'it''s [x] \"y\"' FROM `@QX` WHERE \"Z [a]\" = ?");
  EXPECT_EQ(withEngineNames("SELECT [Code] FROM [HVCOMP]", {"", false}), "SELECT Code FROM HVCOMP");
}

TEST(OdbcNames, ABraceIsAnEscapeOnlyOutsideQuotes) {
  EXPECT_TRUE(hasEscape("SELECT {d '2024-01-31'}"));
  EXPECT_TRUE(hasEscape("SELECT '{' , {fn now()}"));
  EXPECT_TRUE(hasEscape("SELECT 'it''s' {"));
  EXPECT_FALSE(hasEscape("SELECT '{ts}', \"{\", [{], 'it''s {' -- {\n, 1 /* { */"));
  EXPECT_FALSE(hasEscape("SELECT 1 -- {"));
  EXPECT_FALSE(hasEscape("'{"));
  EXPECT_FALSE(hasEscape(""));
}

TEST(OdbcNames, TextWithoutNamesIsUnchanged) {
  EXPECT_EQ(withEngineNames("", {}), "");
  EXPECT_EQ(withEngineNames("SELECT 1", {}), "SELECT 1");
  EXPECT_EQ(withEngineNames("'", {}), "'");
}

}  // namespace
}  // namespace qx::desk
