// Texts, numbers and dates that meet in a statement of an add-on: the number or the date wins, or
// the statement is refused in words that lead to the fault.

#include "qxframework/automation/text.h"
#include "tests/media/unchanged_orders.h"

#include <gmock/gmock.h>

namespace {

using qx::test::failureOf;
using qx::test::medium;
using testing::ElementsAre;

class MixedKinds : public qx::test::UnchangedOrders {
 protected:
  std::vector<std::string> rows(const char* sql) const { return login->rows(qx::toUtf16(sql)); }
  /// Returns the text of the last error after a statement that must be refused.
  std::string refusalOf(const char* sql) const {
    EXPECT_NE(failureOf([&] { login->query(qx::toUtf16(sql)); }), "no failure") << sql;
    return login->lastError();
  }
  /// True if + joins texts in the dialect.
  static bool plusJoins() { return medium().is(qx::kMssql) || medium().is(qx::kSybase); }
};

TEST_F(MixedKinds, NextCodeIsANumber) {
  if (plusJoins()) {
    EXPECT_THAT(rows("SELECT MAX(Code) + 1 FROM [@ORDERS]"), ElementsAre("2"));
    EXPECT_THAT(rows("SELECT CASE WHEN MAX(Code) IS NULL THEN 0 ELSE MAX(Code) + 1 END FROM "
                     "[@ORDERS] WHERE Code > '9'"),
                ElementsAre("0"));
    EXPECT_EQ(
        refusalOf("SELECT 'No ' + U_Count FROM [@ORDERS]"),
        "not a number: 'No '; + adds beside a number, CAST the number to a text to join (line "
        "1, column 8)");
  } else {
    EXPECT_EQ(refusalOf(byDialect("", "SELECT MAX(Code) + 1 FROM @ORDERS",
                                  "SELECT MAX(\"Code\") + 1 FROM \"@ORDERS\"")),
              byDialect("", "+ does not join texts in DB2; write || (line 1, column 18)",
                        "+ does not join texts in KORDB; write || (line 1, column 20)"));
  }
  EXPECT_THAT(rows(byDialect("SELECT CAST(MAX(Code) AS int) + 1 FROM [@ORDERS]",
                             "SELECT CAST(MAX(Code) AS int) + 1 FROM @ORDERS",
                             "SELECT CAST(MAX(\"Code\") AS int) + 1 FROM \"@ORDERS\"")),
              ElementsAre("2"));
}

TEST_F(MixedKinds, TextIsComparedWithANumberAsANumber) {
  EXPECT_THAT(rows(byDialect("SELECT U_No FROM [@ORDERS] WHERE Code = 1",
                             "SELECT U_No FROM @ORDERS WHERE Code = 1",
                             "SELECT \"U_No\" FROM \"@ORDERS\" WHERE \"Code\" = 1")),
              ElementsAre("B"));
  EXPECT_THAT(
      rows(byDialect("SELECT U_No FROM [@ORDERS] WHERE U_Count - 3 IN (SELECT Code FROM [@ORDERS])",
                     "SELECT U_No FROM @ORDERS WHERE U_Count - 3 IN (SELECT Code FROM @ORDERS)",
                     "SELECT \"U_No\" FROM \"@ORDERS\" WHERE \"U_Count\" - 3 IN (SELECT \"Code\" "
                     "FROM \"@ORDERS\")")),
      ElementsAre("A"));
}

TEST_F(MixedKinds, NumberInAColumnOfDatesIsRefusedWithTheFormOfADate) {
  EXPECT_EQ(
      refusalOf(byDialect("UPDATE [@ORDERS] SET U_Day = 45000", "UPDATE @ORDERS SET U_Day = 45000",
                          "UPDATE \"@ORDERS\" SET \"U_Day\" = 45000")),
      std::string("the column U_Day takes a date, such as '20240131' or '2024-01-31 10:59:00', "
                  "not the number 45000 (line 1, column ") +
          byDialect("30)", "28)", "32)"));
}

TEST_F(MixedKinds, MissingTableIsRefusedWithItsPosition) {
  EXPECT_EQ(
      refusalOf(byDialect("SELECT Code FROM [@NONE]", "SELECT Code FROM @NONE",
                          "SELECT \"Code\" FROM \"@NONE\"")),
      std::string("there is no table @NONE (line 1, column ") + byDialect("18)", "18)", "20)"));
}

}  // namespace
