// Types on real databases. The declared type of a value counts and not the form in which an engine
// keeps it. A statement in which the engines would convert a value differently is refused.
#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::answerOf;
using test::CompanyDatabase;
using test::engineName;
using test::engines;
using test::EngineTest;
using test::kRefusedByEngine;

class ExecutionResultType : public EngineTest {};
class ExecutionOperandType : public EngineTest {};
class ExecutionTypeRange : public EngineTest {};

// ---- types of results

TEST_P(ExecutionResultType, RoundedWholeNumberIsWhole) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT ROUND(U_B, 2) / 4, CAST(ROUND(U_B, 2) AS nvarchar(10)), "
                         "LEN(ROUND(U_B, 1)), '5' + ROUND(U_B + 1, 1) FROM [@T] WHERE Code = '1'"),
            "2|10|2|16");
}

TEST_P(ExecutionResultType, TextsOfASubqueryBecomeDatesWhenComparedWithDates) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@L] SET U_Text = '20240131' WHERE Code = '1'");
  database.run("UPDATE [@L] SET U_Text = '2024-02-01 08:30' WHERE Code <> '1'");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date IN (SELECT U_Text FROM [@L]) "
                         "ORDER BY Code"),
            "1/2/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@L] WHERE U_Text NOT IN (SELECT U_Date FROM [@T] "
                         "WHERE Code = '1') ORDER BY Code"),
            "2/3");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date IN (SELECT U_Text FROM [@L] WHERE "
                         "Code = '1' UNION SELECT '20231231') ORDER BY Code"),
            "1/4/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date = (SELECT U_Text FROM [@L] WHERE "
                         "Code = '2') OR '20231231' IN (SELECT U_Date FROM [@T] T1 WHERE T1.Code "
                         "= [@T].Code) ORDER BY Code"),
            "2/4");
  EXPECT_EQ(answerOf(database, "SELECT 1 FROM [@T] WHERE U_Date IN (SELECT U_B FROM [@T])"),
            "a number meets a date here; write the date as '20240131', or use a date function "
            "(line 1, column 26)");
}

TEST_P(ExecutionResultType, TextAsADateLosesItsFractionOfASecond) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@L] SET U_Text = '2024-01-31 23:59:59.9999999 '");
  EXPECT_EQ(database.run("SELECT CAST(U_Text AS datetime), YEAR('2024' + '1231 23:59:59.9999999'), "
                         "CAST('2024-01-31 23:59:59.9999999' AS datetime) FROM [@L] WHERE "
                         "Code = '1'"),
            "2024-01-31 23:59:59|2024|2024-01-31 23:59:59");
}

// ---- types that operators and functions need

TEST_P(ExecutionOperandType, ConvertWithAStyleTakesDatesOnly) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@L] SET U_Text = '2024-01-31 08:30'");
  EXPECT_EQ(database.run("SELECT CONVERT(nvarchar(8), U_Text, 112), CONVERT(nvarchar(20), U_Text, "
                         "120), CONVERT(nvarchar(20), '20240229', 120), CONVERT(nvarchar(8), "
                         "NULL, 112), DATEDIFF(day, U_Text, '20240201') FROM [@L] WHERE Code = "
                         "'1'"),
            "20240131|2024-01-31 08:30:00|2024-02-29 00:00:00|NULL|1");
  const std::string number = "a date is expected here, not a number (line 1, column ";
  EXPECT_EQ(answerOf(database, "SELECT CONVERT(nvarchar(8), U_B, 112) FROM [@T]"), number + "29)");
  EXPECT_EQ(answerOf(database, "SELECT CONVERT(nvarchar(8), 5, 120)"), number + "29)");
  EXPECT_EQ(answerOf(database, "SELECT CONVERT(nvarchar(20), 'now', 120)"),
            "not a date: 'now' (line 1, column 30)");
  database.run("UPDATE [@L] SET U_Text = 'now'");
  EXPECT_EQ(answerOf(database, "SELECT CONVERT(nvarchar(8), U_Text, 112) FROM [@L]"),
            kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT YEAR(U_Text) FROM [@L]"), kRefusedByEngine);
}

TEST_P(ExecutionOperandType, DateFunctionsRefuseNumbers) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string number = "a date is expected here, not a number (line 1, column ";
  EXPECT_EQ(answerOf(database, "SELECT YEAR(U_B) FROM [@T]"), number + "13)");
  EXPECT_EQ(answerOf(database, "SELECT MONTH(U_Price) FROM [@T]"), number + "14)");
  EXPECT_EQ(answerOf(database, "SELECT DAY(5)"), number + "12)");
  EXPECT_EQ(answerOf(database, "SELECT DATEADD(day, 1, U_B) FROM [@T]"), number + "24)");
  EXPECT_EQ(answerOf(database, "SELECT DATEDIFF(day, U_Date, U_B) FROM [@T]"), number + "30)");
  EXPECT_EQ(answerOf(database, "SELECT DATEADD(day, U_Date, U_Date) FROM [@T]"),
            "a date takes numbers, not dates (line 1, column 21)");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(answerOf(db2, "SELECT U_B + 1 DAYS FROM @T"), number + "8)");
}

TEST_P(ExecutionOperandType, SignTakesNumbersOnly) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT -U_B, -U_Price, -'5', -' 2.5 ', - -U_B, -(U_B + 1) * 2 FROM [@T] "
                         "WHERE Code = '1'"),
            "-10|-12.5|-5|-2.5|10|-22");
  EXPECT_EQ(answerOf(database, "SELECT -U_Date FROM [@T]"),
            "- takes numbers, not dates (line 1, column 9)");
  EXPECT_EQ(answerOf(database, "SELECT -Name FROM [@T]"),
            "- takes numbers; CAST the text to one (line 1, column 9)");
  EXPECT_EQ(answerOf(database, "SELECT -'x'"), "not a number: 'x' (line 1, column 9)");
}

TEST_P(ExecutionOperandType, SubstringCutsItsPositionsToWholeNumbers) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT SUBSTRING('abcdef', 2.9, 2), SUBSTRING('abcdef', U_Price / 5, "
                         "2.7), SUBSTRING('abcdef', '3', 1), SUBSTRING('abc', U_B - 9, NULL), "
                         "SUBSTRING('abc', -0.9, 2) FROM [@T] WHERE Code = '1'"),
            "bc|bc|c|NULL|a");
  EXPECT_EQ(database.run("SELECT SUBSTRING('abc', 9999999999, 2), SUBSTRING('abc', U_B * "
                         "900000000000000000, 1), SUBSTRING('abc', -5000000000, 6000000000), "
                         "SUBSTRING('abc', 1e300, 1), SUBSTRING('abc', 2, 9223372036854775807) "
                         "FROM [@T] WHERE Code = '1'"),
            "||||bc");
  EXPECT_EQ(answerOf(database, "SELECT SUBSTRING('abc', 'x', 1)"),
            "not a number: 'x' (line 1, column 25)");
  EXPECT_EQ(answerOf(database, "SELECT SUBSTRING('abc', 1, U_Date) FROM [@T]"),
            "SUBSTRING takes numbers, not dates (line 1, column 28)");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT SUBSTR('abc', -5000000000), SUBSTR('abc', 5000000000) FROM @T WHERE "
                    "Code = '1'"),
            "abc|");
}

TEST_P(ExecutionOperandType, StarIsRefusedWhereTypesAreNeeded) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string star =
      "* does not show the types that are needed here; name the columns (line "
      "1, column ";
  EXPECT_EQ(answerOf(database, "INSERT INTO [@L] (Code, U_T, U_Text) SELECT * FROM [@L]"),
            star + "45)");
  EXPECT_EQ(answerOf(database, "INSERT INTO [@L] (Code, U_T) SELECT '9', T0.* FROM [@L] T0"),
            star + "42)");
  EXPECT_EQ(answerOf(database, "SELECT Code FROM [@T] UNION SELECT * FROM [@L]"), star + "36)");
  EXPECT_EQ(answerOf(database, "SELECT 1 FROM [@T] WHERE Code IN (SELECT * FROM [@L])"),
            star + "42)");
  EXPECT_EQ(answerOf(database, "SELECT 1 FROM [@T] WHERE U_Date = (SELECT T0.* FROM [@L] T0)"),
            star + "43)");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM (SELECT * FROM [@T]) D WHERE EXISTS (SELECT * FROM "
                         "[@L])"),
            "5");
}

TEST_P(ExecutionOperandType, CastToANumberTakesSpelledNumbersOnly) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto castOf = [&](const std::string& text) {
    database.run("UPDATE [@L] SET U_Text = " + test::literal(text));
    const std::string stored = answerOf(database,
                                        "SELECT CAST(U_Text AS float), CAST(U_Text AS "
                                        "decimal(9,1)) FROM [@L] WHERE Code = '1'");
    const std::string written =
        answerOf(database, "SELECT CAST(" + test::literal(text) + " AS float)");
    EXPECT_EQ(stored == kRefusedByEngine, written.starts_with("not a number: '")) << text;
    return stored;
  };
  EXPECT_EQ(castOf(" 12.25 "), "12.25|12.3");
  EXPECT_EQ(castOf("-.5e1"), "-5|-5");
  EXPECT_EQ(castOf("+3."), "3|3");
  for (const char* text :
       {"NaN", "inf", "-Infinity", "\t5", "5\n", "", " ", ".", "1e", "--1", "1 2", "0x10", "1_0"}) {
    EXPECT_EQ(castOf(text), kRefusedByEngine) << text;
  }
  EXPECT_EQ(answerOf(database, "SELECT CAST('NaN' AS float)"),
            "not a number: 'NaN' (line 1, column 13)");
}

// ---- types of NULL, which has that of the value it stands for

TEST_P(ExecutionResultType, NullHasTheTypeOfTheOtherPartsOfAUnion) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT NULL UNION SELECT NULL UNION SELECT 1 ORDER BY 1"), "NULL/1");
  EXPECT_EQ(database.run("SELECT NULL, NULL, NULL UNION ALL SELECT NULL, NULL, U_Date FROM [@T] "
                         "WHERE Code = '1' UNION ALL SELECT 'x', 2.5, NULL ORDER BY 1, 3"),
            "NULL|NULL|NULL/NULL|NULL|2024-01-31 00:00:00/x|2.5|NULL");
  const Translation translation = database.translate("SELECT NULL UNION SELECT 1");
  ASSERT_EQ(translation.columns.size(), 1U);
  EXPECT_EQ(translation.columns[0].type, ColumnType::Integer);
}

TEST_P(ExecutionResultType, InsertedNullHasTheTypeOfItsColumn) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run(
      "INSERT INTO [@T] (Code, U_A, U_B, U_Price, U_Date) SELECT '7', NULL, NULL, NULL, "
      "NULL UNION ALL SELECT '8', NULL, NULL, NULL, NULL");
  EXPECT_EQ(database.run("SELECT Code, U_A, U_B, U_Price, U_Date FROM [@T] WHERE Code > '5' ORDER "
                         "BY Code"),
            "7|NULL|NULL|NULL|NULL/8|NULL|NULL|NULL|NULL");
}

TEST_P(ExecutionResultType, NullIsANumberInArithmetic) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT SUM(NULL), AVG(NULL) FROM [@T]"), "NULL|NULL");
  EXPECT_EQ(database.run("SELECT ABS(NULL), -NULL, NULL * NULL, NULL - 1, 1 + NULL, NULL / 2, "
                         "ROUND(NULL, 2), DATEADD(day, NULL, U_Date) FROM [@T] WHERE Code = '1'"),
            "NULL|NULL|NULL|NULL|NULL|NULL|NULL|NULL");
  EXPECT_EQ(database.run("SELECT U_Date - NULL, U_Date + NULL FROM [@T] WHERE Code = '1'"),
            "NULL|NULL");
  EXPECT_EQ(company(Dialect::Db2).run("SELECT NULL + NULL FROM @T WHERE Code = '1'"), "NULL");
  EXPECT_EQ(
      database.run("SELECT COUNT(*) FROM [@T] WHERE U_B IN (SELECT NULL) OR U_Date IN (SELECT "
                   "NULL UNION SELECT NULL)"),
      "0");
  const std::vector<OutputColumn> columns =
      database.translate("SELECT NULL + 1, 1.5 * NULL, ABS(NULL), SUM(NULL)").columns;
  ASSERT_EQ(columns.size(), 4U);
  EXPECT_EQ(columns[0].type, ColumnType::Integer);
  EXPECT_EQ(columns[1].type, ColumnType::Decimal);
  EXPECT_EQ(columns[2].type, ColumnType::Decimal);
  EXPECT_EQ(columns[3].type, ColumnType::Decimal);
}

// ---- the ends of ranges

TEST_P(ExecutionTypeRange, NegatedWholeNumberStaysWithin64Bits) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string lowest = "(0 - U_B - 9223372036854775798)";
  const std::string where = " FROM [@T] WHERE Code = '1'";
  EXPECT_EQ(answerOf(database, "SELECT " + lowest + where), "-9223372036854775808");
  EXPECT_EQ(answerOf(database, "SELECT -" + lowest + where), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT -" + lowest + " - 1" + where), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT -" + lowest + " + '1'" + where), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT -(-9223372036854775808)"), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT -(" + lowest + " + 1)" + where), "9223372036854775807");
}

TEST_P(ExecutionTypeRange, SumOfDecimalsMayExceed64Bits) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@T] SET U_Price = 999999999999999");
  EXPECT_EQ(database.run("SELECT SUM(U_Price * 10000) / 50000 FROM [@T]"), "999999999999999");
  EXPECT_EQ(database.run("SELECT SUM(CAST(U_B AS float) * 1e18) / 1e18 FROM [@T]"), "42");
  EXPECT_EQ(database.run("SELECT SUM(U_Price), SUM(U_B) FROM [@T] WHERE 1 = 0"), "NULL|NULL");
}

TEST_P(ExecutionTypeRange, OnlyTheFinalSumOfWholeNumbersMustFit64Bits) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT SUM(CASE WHEN U_B = 10 THEN 0 - 9223372036854775807 WHEN U_B = 20 "
                         "THEN 9223372036854775807 ELSE U_B END) FROM [@T]"),
            "12");
  EXPECT_EQ(database.run("SELECT SUM(CASE WHEN U_B >= 10 THEN 9223372036854775807 ELSE 0 - "
                         "9223372036854775807 END) FROM [@T] WHERE U_B IS NOT NULL"),
            "0");
  EXPECT_EQ(database.run("SELECT SUM(-U_B), SUM(U_B - 10) FROM [@T]"), "-42|2");
}

TEST(ExecutionTypeRangeFault, OverflowOfSumsAndAbsoluteValuesHasItsCode) {
  CompanyDatabase database(Engine::Sqlite, Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT ABS(-U_B), ABS(U_B), ABS(U_Price * -1) FROM [@T] WHERE Code = "
                         "'1'"),
            "10|10|12.5");
  for (const char* text : {"SELECT SUM(U_B * 220000000000000000) FROM [@T]",
                           "SELECT SUM(0 - U_B * 220000000000000000) FROM [@T]",
                           "SELECT ABS(0 - U_B - 9223372036854775798) FROM [@T] WHERE Code = '1'",
                           "SELECT -(0 - U_B - 9223372036854775798) FROM [@T] WHERE Code = '1'"}) {
    try {
      database.run(text);
      ADD_FAILURE() << text;
    } catch (const test::ValueFault& error) {
      EXPECT_EQ(error.code, kOutOfRangeCode) << text;
      EXPECT_STREQ(error.what(), "out of range: a whole number of more than 64 bits") << text;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionResultType, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionOperandType, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionTypeRange, engines(), engineName);

}  // namespace
}  // namespace qx::sql
