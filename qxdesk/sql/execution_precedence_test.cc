// The precedence of types on real databases: where a text meets a number, the number wins. The text
// is converted, or the statement fails and says why.
#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/test_support.h"

#include <gmock/gmock.h>
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
using test::refusalOf;

class ExecutionPrecedence : public EngineTest {};

/// Returns the words with which the engine refuses a value; empty if the statement runs.
std::string faultOf(CompanyDatabase& database, const std::string& text) {
  try {
    database.run(text);
    return {};
  } catch (const test::ValueFault& error) {
    return error.what();
  }
}

// ---- operators

TEST_P(ExecutionPrecedence, PlusBesideANumberAdds) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase}) {
    CompanyDatabase database = company(dialect);
    EXPECT_EQ(database.run("SELECT MAX(Code) + 1 FROM [@QXEXTDBVERSION] WHERE U_ExtID = 'QX'"),
              "2");
    EXPECT_EQ(database.run("SELECT '5' + 3, 3 + '5', ' -5 ' + 3, '' + 3, '007' + 1"), "8|8|-2|3|8");
    EXPECT_EQ(database.run("SELECT U_B + '1', U_Price + '0.5', Code + U_B, Code + U_Price, Code + "
                           "1.5 FROM [@T] WHERE Code = '5'"),
              "8|3.5|12|8|6.5");
    EXPECT_EQ(database.run("SELECT '5' + '3', Code + '1', Code + Name, '5' + NULL FROM [@T] WHERE "
                           "Code = '1'"),
              "53|11|1one|NULL");
  }
}

TEST_P(ExecutionPrecedence, PlusBesideANumberHasItsType) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::vector<OutputColumn> columns =
      database
          .translate(
              "SELECT MAX(Code) + 1, '5' + 2.5, Code + U_Price, '5' + '3' FROM [@T] "
              "GROUP BY Code, U_Price")
          .columns;
  ASSERT_EQ(columns.size(), 4U);
  EXPECT_EQ(columns[0].type, ColumnType::Integer);
  EXPECT_EQ(columns[1].type, ColumnType::Decimal);
  EXPECT_EQ(columns[2].type, ColumnType::Decimal);
  EXPECT_EQ(columns[3].type, ColumnType::Text);
}

TEST_P(ExecutionPrecedence, PlusOfANumberAndALiteralThatIsNoneIsRefused) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string hint = "; + adds beside a number, CAST the number to a text to join (line 1, ";
  EXPECT_EQ(refusalOf(database, "SELECT 'No ' + U_B FROM [@T]"),
            "not a number: 'No '" + hint + "column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT U_B + '1.5' FROM [@T]"),
            "not a whole number: '1.5'" + hint + "column 14)");
  EXPECT_EQ(refusalOf(database, "SELECT '' + U_Price FROM [@T]"),
            "not a number: ''" + hint + "column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT 'a' + MAX(U_B) + 'b' FROM [@T]"),
            "not a number: 'a'" + hint + "column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] WHERE Name = 'x' + 1"),
            "not a number: 'x'" + hint + "column 36)");
}

TEST_P(ExecutionPrecedence, PlusOfANumberAndARowThatIsNoneFails) {
  CompanyDatabase database = company(Dialect::Mssql);
  const bool sqlite = GetParam() == Engine::Sqlite;
  const auto words = [&](const std::string& ofSqlite, const std::string& ofPostgres) {
    return testing::HasSubstr(sqlite ? ofSqlite : ofPostgres);
  };
  EXPECT_THAT(faultOf(database, "SELECT MAX(Code) + 1 FROM [@QXEXTDBVERSION]"),
              words("not a number: '000000FF'", "\"not a whole number: 000000FF\""));
  EXPECT_THAT(faultOf(database,
                      "SELECT U_Version + 1.5 FROM [@QXEXTDBVERSION] WHERE Code = "
                      "'00000000'"),
              words("not a number: '9.20.00.00'", "\"not a number: 9.20.00.00\""));
  database.run("UPDATE [@L] SET U_Text = '1.5'");
  EXPECT_THAT(faultOf(database, "SELECT U_Text + 1 FROM [@L]"),
              words("not a whole number: '1.5'", "\"not a whole number: 1.5\""));
  EXPECT_EQ(database.run("SELECT U_Text + 1.0 FROM [@L] WHERE Code = '1'"), "2.5");
  EXPECT_EQ(answerOf(database, "UPDATE [@T] SET U_B = Name + 1"), kRefusedByEngine);
}

TEST_P(ExecutionPrecedence, OtherOperatorsConvertATextBesideANumberToo) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code * 2, U_B - Code, Code / 2, Code % 3, U_Price * Code FROM "
                         "[@T] WHERE Code = '5'"),
            "10|2|2|2|15");
  EXPECT_EQ(refusalOf(database, "SELECT 7 - '1.5'"),
            "not a whole number: '1.5' (line 1, column 12)");
  EXPECT_EQ(answerOf(database, "SELECT Name * 2 FROM [@T]"), kRefusedByEngine);
}

TEST_P(ExecutionPrecedence, PlusOfATextAndADateIsRefused) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string remedy =
      "; CONVERT the date to a text, or CAST the text to a number of days (line 1, column ";
  EXPECT_EQ(refusalOf(database, "SELECT 'on ' + U_Date FROM [@T]"),
            "a text meets a date at the +" + remedy + "14)");
  EXPECT_EQ(refusalOf(database, "SELECT getdate() - '1'"),
            "a text meets a date at the -" + remedy + "18)");
  EXPECT_EQ(refusalOf(database, "SELECT getdate() * '1'"),
            "dates cannot be used with * here; use a date function (line 1, column 18)");
  EXPECT_EQ(database.run("SELECT 'on ' + CONVERT(nvarchar(8), U_Date, 112), U_Date + CAST(Code AS "
                         "int) FROM [@T] WHERE Code = '1'"),
            "on 20240131|2024-02-01 00:00:00");
}

TEST_P(ExecutionPrecedence, ExpressionHasTheKindOfItsArgument) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto plusOne = [&](const std::string& text, const std::string& rest) {
    return answerOf(database, "SELECT " + text + " + 1 " + rest);
  };
  for (const char* text :
       {"MAX(Code)", "MIN(T0.Code)", "COALESCE(MAX(Code), '0')", "ISNULL(MAX(Code), '0')",
        "ISNULL(NULL, MAX(Code))", "COALESCE(NULL, MIN(Code))",
        "CASE WHEN COUNT(*) > 9 THEN '7' ELSE MAX(Code) END", "CAST(MAX(U_B) - 2 AS nvarchar(5))",
        "SUBSTRING(MAX(Code), 1, 1)", "LTRIM(MAX(Code))", "UPPER(MAX(Code))",
        "REPLACE(MAX(Code), 'x', '')", "(MAX(Code) + '')", "(SELECT MAX(T1.Code) FROM [@T] T1)",
        "(SELECT Code FROM [@T] T1 WHERE T1.Code = '5' UNION SELECT '5')"}) {
    EXPECT_EQ(plusOne(text, "FROM [@T] T0 WHERE Code = '5'"), "6") << text;
  }
  EXPECT_EQ(plusOne("D.K", "FROM (SELECT Code AS K FROM [@T]) D WHERE D.K = '5'"), "6");
  EXPECT_EQ(plusOne("D.K", "FROM (SELECT MAX(Code) K FROM [@T] UNION SELECT '8') D ORDER BY 1"),
            "6/9");
  EXPECT_EQ(plusOne("T1.U_T",
                    "FROM [@T] T0 LEFT OUTER JOIN [@L] T1 ON T0.Code = T1.U_T WHERE "
                    "T0.Code < '3' ORDER BY T0.Code"),
            "2/3");
  EXPECT_EQ(answerOf(database,
                     "WITH C AS (SELECT T0.*, MAX(Code) AS M FROM [@T] T0 GROUP BY Code, "
                     "Name, U_A, U_B, U_Price, U_Date) SELECT MAX(C.M) + 1, MAX(C.Code) + "
                     "1 FROM C"),
            "6|6");
}

// ---- comparisons

TEST_P(ExecutionPrecedence, TextIsComparedWithANumberAsANumber) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Db2}) {
    CompanyDatabase database = company(dialect);
    const std::string from =
        dialect == Dialect::Db2 ? " FROM @T T0 WHERE " : " FROM [@T] T0 WHERE ";
    const auto codes = [&](const std::string& condition) {
      return answerOf(database, "SELECT Code" + from + condition + " ORDER BY Code");
    };
    EXPECT_EQ(codes("Code = 1"), "1");
    EXPECT_EQ(codes("Code <> 1 AND Code < 10"), "2/3/4/5");
    EXPECT_EQ(codes("Code IN (1, 002, -3)"), "1/2");
    EXPECT_EQ(codes("Code BETWEEN 2 AND 3"), "2/3");
    EXPECT_EQ(codes("Code > 3.5"), "4/5");
    EXPECT_EQ(codes("Code = U_B - 2"), "5");
    EXPECT_EQ(codes("CASE Code WHEN 3 THEN 1 ELSE 0 END = 1"), "3");
    EXPECT_EQ(codes("Name = 1"), kRefusedByEngine);
    EXPECT_EQ(codes("Code IN (1, 'x')"),
              "not a number: 'x' (line 1, column " + std::to_string(11 + from.size() + 13) + ")");
  }
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@L] SET U_Text = '007' WHERE Code = '1'");
  EXPECT_EQ(database.run("SELECT Code FROM [@L] WHERE Code = '1' AND U_Text = 7"), "1");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] WHERE U_Date > 5"),
            "a number meets a date here; write the date as '20240131', or use a date function "
            "(line 1, column 38)");
}

TEST_P(ExecutionPrecedence, SubqueryIsComparedLikeAList) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT 1 WHERE 5 IN ('a')"),
            "not a number: 'a' (line 1, column 22)");
  EXPECT_EQ(refusalOf(database, "SELECT 1 WHERE 5 IN (SELECT 'a')"),
            "not a number: 'a' (line 1, column 29)");
  EXPECT_EQ(refusalOf(database, "SELECT 1 WHERE 'a' IN (SELECT 5)"),
            "not a number: 'a' (line 1, column 16)");
  EXPECT_EQ(database.run("SELECT 1 WHERE 5 IN ('05') AND 5 IN (SELECT '05') AND '05' IN (SELECT 5) "
                         "AND 5 = (SELECT '05') AND 5 NOT IN (SELECT '4' UNION SELECT '6')"),
            "1");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_B - 9 IN (SELECT U_T FROM [@L])"), "1");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE Code IN (SELECT U_B - 5 FROM [@T])"), "2/5");
  EXPECT_EQ(answerOf(database, "SELECT 1 FROM [@T] WHERE U_B IN (SELECT U_Text FROM [@L])"),
            kRefusedByEngine);
}

TEST_P(ExecutionPrecedence, ConversionKeepsTheOrderOfASubquery) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@L] SET U_T = '10' WHERE Code = '3'");
  const std::string numbers = "SELECT Code FROM [@T] WHERE U_B IN (SELECT ";
  EXPECT_EQ(database.run(numbers + "TOP 1 U_T FROM [@L] ORDER BY 1)"), "");
  EXPECT_EQ(database.run(numbers + "TOP 2 U_T FROM [@L] ORDER BY U_T)"), "1");
  EXPECT_EQ(database.run(numbers + "TOP 2 U_T + '' FROM [@L] ORDER BY 1)"), "1");
  EXPECT_EQ(database.run(numbers + "DISTINCT U_T FROM [@L] ORDER BY U_T)"), "1");
  EXPECT_EQ(
      database.run("SELECT Code FROM [@T] T0 WHERE U_B - 9 IN (SELECT TOP 1 T1.Code FROM [@L] "
                   "T1 WHERE T1.U_T = T0.Code ORDER BY T1.Code)"),
      "1");
  database.run("UPDATE [@L] SET U_Text = '20240131'");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date IN (SELECT DISTINCT U_Text FROM [@L] "
                         "ORDER BY U_Text) ORDER BY Code"),
            "1/5");
  EXPECT_EQ(database.run(numbers + "U_T AS K FROM [@L] UNION SELECT '20' ORDER BY K) ORDER BY 1"),
            "1/2");
}

// ---- choices

TEST_P(ExecutionPrecedence, ChoiceOfTextsAndNumbersIsANumber) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string choice = "SELECT CASE WHEN U_B > 9 THEN Code ELSE U_B END FROM [@T] ";
  EXPECT_EQ(database.run(choice + "ORDER BY Code"), "1/2/NULL/5/7");
  EXPECT_EQ(database.run("SELECT CASE WHEN U_B > 9 THEN U_Price WHEN U_B > 5 THEN '0.25' ELSE Code "
                         "END + 1 FROM [@T] ORDER BY Code"),
            "13.5/101/4/5/1.25");
  EXPECT_EQ(database.run("SELECT COALESCE(U_B, '-1'), COALESCE(NULL, '5', 1) FROM [@T] WHERE Code "
                         "IN ('3', '5') ORDER BY Code"),
            "-1|5/7|5");
  EXPECT_EQ(database.run("SELECT CASE WHEN 1 = 1 THEN 5 ELSE Name END"
                         " FROM [@T] WHERE Code = '1'"),
            "5");
  EXPECT_EQ(answerOf(database, "SELECT CASE WHEN 1 = 0 THEN 5 ELSE Name END FROM [@T]"),
            kRefusedByEngine);
  EXPECT_EQ(refusalOf(database, "SELECT CASE Code WHEN 3 THEN 'three' ELSE 4 END FROM [@T]"),
            "not a number: 'three' (line 1, column 30)");
  EXPECT_EQ(refusalOf(database, "SELECT COALESCE(NULL, 'a', 1)"),
            "not a number: 'a' (line 1, column 23)");
  EXPECT_EQ(refusalOf(database, "SELECT CASE WHEN 1 = 1 THEN U_Date ELSE 5 END FROM [@T]"),
            "a number meets a date here; write the date as '20240131', or use a date function "
            "(line 1, column 41)");
  const std::vector<OutputColumn> columns = database.translate(choice).columns;
  ASSERT_EQ(columns.size(), 1U);
  EXPECT_EQ(columns[0].type, ColumnType::Integer);
}

TEST_P(ExecutionPrecedence, IsNullHasTheTypeOfItsFirstValue) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string text =
      "SELECT ISNULL(U_B, '-1'), ISNULL(U_A, 0), ISNULL(U_A, U_B), ISNULL(U_A, U_Price), "
      "ISNULL(U_B, 2.9), ISNULL(U_B, ''), ISNULL(U_B, Code), ISNULL(U_Date, '20240101'), "
      "ISNULL(NULL, 1.5) FROM [@T] ";
  EXPECT_EQ(database.run(text + "WHERE Code IN ('3', '5') ORDER BY Code"),
            "-1|y|y|y|2|0|3|2024-01-01 00:00:00|1.5/7|0|7|3|7|7|7|2024-01-31 00:00:00|1.5");
  const std::vector<OutputColumn> columns = database.translate(text).columns;
  ASSERT_EQ(columns.size(), 9U);
  EXPECT_EQ(columns[1].type, ColumnType::Text);
  EXPECT_EQ(columns[4].type, ColumnType::Integer);
  EXPECT_EQ(columns[8].type, ColumnType::Decimal);
  EXPECT_EQ(refusalOf(database, "SELECT ISNULL(U_B, 'x') FROM [@T]"),
            "not a number: 'x' (line 1, column 20)");
  EXPECT_EQ(refusalOf(database, "SELECT ISNULL(U_Date, 0) FROM [@T]"),
            "a number meets a date here; write the date as '20240131', or use a date function "
            "(line 1, column 23)");
  EXPECT_EQ(refusalOf(database, "SELECT ISNULL(U_Price, U_Date) FROM [@T]"),
            "a number meets a date here; write the date as '20240131', or use a date function "
            "(line 1, column 24)");
}

TEST(ExecutionPrecedenceFault, TextThatIsNoNumberHasItsCode) {
  CompanyDatabase database(Engine::Sqlite, Dialect::Mssql);
  for (const char* text : {"SELECT Name + 1 FROM [@T]", "SELECT Name + 1.5 FROM [@T]",
                           "SELECT CAST(Name AS float) FROM [@T]"}) {
    try {
      database.run(text);
      ADD_FAILURE() << text;
    } catch (const test::ValueFault& error) {
      EXPECT_EQ(error.code, kBadNumberCode) << text;
      EXPECT_STREQ(error.what(), "not a number: 'one'") << text;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionPrecedence, engines(), engineName);

}  // namespace
}  // namespace qx::sql
