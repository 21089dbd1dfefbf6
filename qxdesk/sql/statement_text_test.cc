#include "qxdesk/sql/statement_text.h"

#include "qxdesk/sql/sql_error.h"

#include <gtest/gtest.h>

namespace qx::sql {
namespace {

std::string refusal(std::u16string_view text) {
  try {
    statementText(text);
    return {};
  } catch (const SqlError& error) {
    return error.what();
  }
}

TEST(StatementText, KeepsEveryCharacter) {
  EXPECT_EQ(statementText(u"SELECT 'a\u00E9\u6F22\uFFFF\U0001F600'"),
            "SELECT 'a\u00E9\u6F22\uFFFF\U0001F600'");
  EXPECT_EQ(statementText(u"a\u0001\t\r\n\x7F"), "a\x01\t\r\n\x7F");
  EXPECT_EQ(statementText(u""), "");
}

TEST(StatementText, RefusesAnUnpairedSurrogateWithItsPosition) {
  const std::string refused = "the statement holds half of a surrogate pair (line ";
  EXPECT_EQ(refusal(u"SELECT '\xD83D'"), refused + "1, column 9)");
  EXPECT_EQ(refusal(u"SELECT\r\n'\U0001F600\xDE00'"), refused + "2, column 3)");
  EXPECT_EQ(refusal(u"\r\n\n\r\xD83D\xD83D\xDE00"), refused + "4, column 1)");
  EXPECT_EQ(refusal(u"a\xD83D"), refused + "1, column 2)");
}

// Even in a literal: a driver would cut the statement there.
TEST(StatementText, RefusesAZeroCharacterWithItsPosition) {
  const std::string refused = "the statement holds a zero character (line ";
  EXPECT_EQ(refusal({u"a\0b", 3}), refused + "1, column 2)");
  EXPECT_EQ(refusal({u"SELECT\n'\0'", 10}), refused + "2, column 2)");
  EXPECT_EQ(refusal({u"\0", 1}), refused + "1, column 1)");
}

}  // namespace
}  // namespace qx::sql
