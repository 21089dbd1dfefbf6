#include "qxdesk/company/engines/odbc_names.h"

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

TEST(OdbcNames, TextWithoutNamesStaysAsItIs) {
  EXPECT_EQ(withEngineNames("", {}), "");
  EXPECT_EQ(withEngineNames("SELECT 1", {}), "SELECT 1");
  EXPECT_EQ(withEngineNames("'", {}), "'");
}

}  // namespace
}  // namespace qx::desk
