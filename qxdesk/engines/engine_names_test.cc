#include "qxdesk/engines/engine_names.h"

#include "qxdesk/engines/database.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(EngineNames, AreWrittenInTheStyleOfTheEngine) {
  const std::string sql = "SELECT [Code], 'it''s [x] \"y\"' FROM [@QX] WHERE \"Z [a]\" = ?";
  EXPECT_EQ(withEngineNames(sql, {"\"", true}),
            "SELECT \"code\", 'it''s [x] \"y\"' FROM \"@qx\" WHERE \"Z [a]\" = ?");
  EXPECT_EQ(withEngineNames(sql, {"`", false}),
            "SELECT `Code`, 'it''s [x] \"y\"' FROM `@QX` WHERE \"Z [a]\" = ?");
  EXPECT_EQ(withEngineNames("SELECT [Code] FROM [HVCOMP]", {"", false}), "SELECT Code FROM HVCOMP");
}

TEST(EngineNames, AQuoteOrBracketInANameStaysPartOfTheName) {
  const std::string sql = "DROP TABLE " + bracketed("@a]; DROP TABLE \"b\"; --[");
  EXPECT_EQ(sql, "DROP TABLE [@a]]; DROP TABLE \"b\"; --[]");
  EXPECT_EQ(withEngineNames(sql, {"\"", true}), "DROP TABLE \"@a]; drop table \"\"b\"\"; --[\"");
  EXPECT_EQ(withEngineNames(sql, {"`", false}), "DROP TABLE `@a]; DROP TABLE \"b\"; --[`");
  EXPECT_EQ(withEngineNames(bracketed("a`b]]c'd"), {"`", false}), "`a``b]]c'd`");
  EXPECT_EQ(withEngineNames(bracketed("]") + "+" + bracketed("'"), {"\"", false}), "\"]\"+\"'\"");
}

TEST(EngineNames, ANameThatNeedsQuotesIsRefusedWhereTheEngineHasNone) {
  for (const char* name : {"a b", "a;b", "a\"b", "a]b", "\xC3\xA4"}) {
    try {
      withEngineNames("SELECT 1 FROM " + bracketed(name), {"", false});
      ADD_FAILURE() << name;
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.fault(), Fault::Statement);
      EXPECT_EQ(error.what(), "the name '" + std::string(name) +
                                  "' needs quotes, and this engine has none for names");
    }
  }
}

TEST(EngineNames, ABraceIsAnEscapeOnlyOutsideQuotes) {
  EXPECT_TRUE(hasEscape("SELECT {d '2024-01-31'}"));
  EXPECT_TRUE(hasEscape("SELECT '{' , {fn now()}"));
  EXPECT_TRUE(hasEscape("SELECT 'it''s' {"));
  EXPECT_FALSE(hasEscape("SELECT '{ts}', \"{\", [{], 'it''s {' -- {\n, 1 /* { */"));
  EXPECT_FALSE(hasEscape("SELECT 1 -- {"));
  EXPECT_FALSE(hasEscape("'{"));
  EXPECT_FALSE(hasEscape(""));
}

TEST(EngineNames, TextWithoutNamesIsUnchanged) {
  EXPECT_EQ(withEngineNames("", {}), "");
  EXPECT_EQ(withEngineNames("SELECT 1", {}), "SELECT 1");
  EXPECT_EQ(withEngineNames("'", {}), "'");
}

}  // namespace
}  // namespace qx::desk
