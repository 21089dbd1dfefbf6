// Values on real databases: numbers, texts and dates that are compared with each other or
// converted. The engines do this differently by themselves; the results must not differ.
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
using test::literal;
using test::refusalOf;

class ExecutionMixedTypes : public EngineTest {};
class ExecutionCast : public EngineTest {};
class ExecutionText : public EngineTest {};
class ExecutionNumber : public EngineTest {};
class ExecutionNames : public EngineTest {};
class ExecutionLike : public EngineTest {};
class ExecutionOneRow : public EngineTest {};

// ---- texts and numbers

TEST_P(ExecutionMixedTypes, QuotedNumberIsComparedAsANumber) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Price = N'12.50'"), "1");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_B = N'010' OR U_B = N' 7 '"), "1/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Price > '-1' AND U_Price < '1e1' ORDER BY "
                         "Code"),
            "4/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_B + 1 IN ('11', 6) ORDER BY Code"), "1/4");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] WHERE U_B = 'x'"),
            "not a number: 'x' (line 1, column 35)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] WHERE U_B = '10.0'"),
            "not a whole number: '10.0' (line 1, column 35)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] WHERE U_Price BETWEEN 1 AND ''"),
            "not a number: '' (line 1, column 51)");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT Code FROM @T WHERE U_B = '10.0'"), "1");
  EXPECT_EQ(refusalOf(db2, "SELECT Code FROM @T WHERE U_B = ''"),
            "not a number: '' (line 1, column 33)");
}

TEST_P(ExecutionMixedTypes, PartsOfAUnionGetOneType) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string text =
      "SELECT U_Price, 1, Code, '20240101' FROM [@T] WHERE Code = '1' UNION ALL SELECT '12.75', "
      "2.5, "
      "7, U_Date FROM [@T] WHERE Code = '1' ORDER BY 1";
  EXPECT_EQ(database.run(text), "12.5|1|1|2024-01-01 00:00:00/12.75|2.5|7|2024-01-31 00:00:00");
  const std::vector<OutputColumn> columns = database.translate(text).columns;
  ASSERT_EQ(columns.size(), 4U);
  EXPECT_EQ(columns[0].type, ColumnType::Decimal);
  EXPECT_EQ(columns[1].type, ColumnType::Decimal);
  EXPECT_EQ(columns[2].type, ColumnType::Integer);
  EXPECT_EQ(columns[3].type, ColumnType::Date);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] UNION SELECT U_B FROM [@T] ORDER BY 1"),
            "NULL/1/2/3/4/5/7/10/20");
  const std::string united =
      "SELECT Code FROM [@T] WHERE U_B < 10 UNION SELECT U_B FROM [@T] WHERE "
      "Code = '1'";
  EXPECT_EQ(database.run(united + " ORDER BY Code DESC"), "10/5/4");
  EXPECT_EQ(database.run("SELECT D.code + 1 FROM (" + united + ") D ORDER BY D.Code"), "5/6/11");
  EXPECT_EQ(database.translate(united).columns.at(0).name, "Code");
}

TEST_P(ExecutionMixedTypes, WrittenValueGetsTheTypeOfItsColumn) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run(
      "INSERT INTO [@T] (Code, Name, U_B, U_Price, U_A) VALUES (10, 1.50, N'7', N'12.5', -7), "
      "(11, 1 + 1, ' -8 ', 3, 1.5 * 2)");
  database.run(
      "INSERT INTO [@T] (Code, U_B, U_Price, U_A) SELECT '12', Code, Code, U_B FROM [@T] WHERE "
      "Code = '1' UNION SELECT DISTINCT 13, '', '1.5', 2");
  EXPECT_EQ(database.run("SELECT Code, Name, U_B, U_Price, U_A FROM [@T] WHERE Code > '1' AND "
                         "Code < '2' ORDER BY Code"),
            "10|1.50|7|12.5|-7/11|2|-8|3|3/12|NULL|1|1|10/13|NULL|0|1.5|2");
  database.run("UPDATE [@T] SET U_B = 2.9, U_A = U_Price WHERE Code = '10'");
  EXPECT_EQ(database.run("SELECT U_B, U_A FROM [@T] WHERE Code = '10'"), "2|12.5");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_Price = ''"),
            "the column U_Price takes a number, not '' (line 1, column 27)");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_B = '8.9'"),
            "the column U_B takes a whole number, not '8.9' (line 1, column 23)");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_B = getdate()"),
            "the column U_B takes a number, not a date (line 1, column 23)");
  database.run(
      "INSERT INTO [@T] (Code, U_B) SELECT '2' + Code, Code FROM [@L] WHERE Code < '3' UNION "
      "SELECT "
      "'29', '4' ORDER BY Code DESC");
  EXPECT_EQ(
      database.run("SELECT Code, U_B FROM [@T] WHERE Code > '20' AND Code < '3' ORDER BY Code"),
      "21|1/22|2/29|4");
  CompanyDatabase db2 = company(Dialect::Db2);
  db2.run("UPDATE @T SET U_B = '8.9' WHERE Code = '1'");
  EXPECT_EQ(db2.run("SELECT U_B FROM @T WHERE Code = '1'"), "8");
}

TEST_P(ExecutionMixedTypes, NumberInAColumnOfDatesIsRefusedWithTheFormOfADate) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string takes =
      "the column U_Date takes a date, such as '20240131' or '2024-01-31 10:59:00', not ";
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_Date = 45000"),
            takes + "the number 45000 (line 1, column 26)");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_Date = -1.5"),
            takes + "the number -1.5 (line 1, column 26)");
  EXPECT_EQ(refusalOf(database, "INSERT INTO [@T] (Code, U_Date) VALUES ('9', U_B)"),
            "there is no column U_B here (line 1, column 46)");
  EXPECT_EQ(refusalOf(database, "INSERT INTO [@T] (Code, U_Date) SELECT '9', U_B FROM [@T]"),
            takes + "a number (line 1, column 45)");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_Date = '31.1.2024'"),
            takes + "'31.1.2024' (line 1, column 26)");
  EXPECT_EQ(database.run("SELECT U_Date FROM [@T] WHERE Code = '1'"), "2024-01-31 00:00:00");
}

// ---- casts

TEST_P(ExecutionCast, CastToAWholeNumberCuts) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT CAST(12.7 AS int), CAST(-12.7 AS int), CONVERT(int, U_Price), "
                         "CAST(Code AS smallint) FROM [@T] WHERE Code = '1'"),
            "12|-12|12|1");
}

TEST_P(ExecutionCast, CastOfATextToAWholeNumberTakesWholeNumbersAndBlanks) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase}) {
    CompanyDatabase database = company(dialect);
    const auto castOf = [&](const std::string& text) {
      database.run("UPDATE [@L] SET U_Text = " + literal(text));
      const std::string stored =
          answerOf(database, "SELECT CAST(U_Text AS int) FROM [@L] WHERE Code = '1'");
      const std::string written = answerOf(database, "SELECT CAST(" + literal(text) + " AS int)");
      EXPECT_EQ(stored == kRefusedByEngine ? "" : stored,
                written.starts_with("not a ") ? "" : written)
          << text;
      return stored;
    };
    EXPECT_EQ(castOf("12"), "12");
    EXPECT_EQ(castOf(" -012 "), "-12");
    EXPECT_EQ(castOf("+3"), "3");
    EXPECT_EQ(castOf(""), "0");
    EXPECT_EQ(castOf("  "), "0");
    for (const char* text : {"1.5", "5.", "1e3", "x", "-", "1 2", "0x10", "\t5", "5\n"}) {
      EXPECT_EQ(castOf(text), kRefusedByEngine) << text;
    }
    EXPECT_EQ(answerOf(database, "SELECT CAST('1.5' AS int)"),
              "not a whole number: '1.5' (line 1, column 13)");
    EXPECT_EQ(answerOf(database, "SELECT CONVERT(int, 'x')"),
              "not a number: 'x' (line 1, column 21)");
    EXPECT_EQ(answerOf(database, "SELECT CAST('9223372036854775808' AS int)"), kRefusedByEngine);
  }
  CompanyDatabase kordb = company(Dialect::Kordb);
  EXPECT_EQ(kordb.run("SELECT CAST(' 12.7 ' AS int)"), "12");
  EXPECT_EQ(answerOf(kordb, "SELECT CAST('' AS int)"), "not a number: '' (line 1, column 13)");
}

TEST_P(ExecutionCast, CastOfATextThatIsNoNumberFails) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(answerOf(database, "SELECT CAST(Name AS int) FROM [@T]"), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT CAST(Name AS decimal(21,6)) FROM [@T]"), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "SELECT CAST('12abc' AS int)"),
            "not a number: '12abc' (line 1, column 13)");
  EXPECT_EQ(database.run("SELECT CAST(U_A AS int) FROM [@T] WHERE Code = '5'"), "NULL");
}

TEST_P(ExecutionCast, CastToATextReturnsTheShortestForm) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(
      database.run("SELECT CAST(U_B AS nvarchar), CAST(U_Price AS nvarchar(20)), "
                   "CAST(Name AS nvarchar(2)), 'p' + CAST(U_Price AS nvarchar(3)) FROM [@T] WHERE "
                   "U_Price >= 12 ORDER BY Code"),
      "10|12.5|on|p12./20|100|tw|p100");
}

TEST_P(ExecutionCast, DateAsATextWithoutAStyleHasTheNameOfTheMonth) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase}) {
    CompanyDatabase database = company(dialect);
    const auto textOf = [&](const std::string& date) {
      database.run("UPDATE [@T] SET U_Date = '" + date + "' WHERE Code = '1'");
      const std::string cell =
          database.run("SELECT CAST(U_Date AS nvarchar(30)) FROM [@T] WHERE Code = '1'");
      EXPECT_EQ(database.run("SELECT CONVERT(nvarchar, CONVERT(datetime, '" + date + "', 120))"),
                cell);
      return cell;
    };
    EXPECT_EQ(textOf("2024-01-31 10:59:58"), "Jan 31 2024 10:59AM");
    EXPECT_EQ(textOf("2024-02-01 08:05:00"), "Feb  1 2024  8:05AM");
    EXPECT_EQ(textOf("2023-12-10 00:00:00"), "Dec 10 2023 12:00AM");
    EXPECT_EQ(textOf("2023-09-09 12:30:00"), "Sep  9 2023 12:30PM");
    EXPECT_EQ(textOf("0001-05-20 20:08:00"), "May 20 0001  8:08PM");
  }
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(
      database.run(
          "SELECT CAST(U_Date AS nvarchar(6)), UPPER(U_Date), LEN(U_Date), "
          "SUBSTRING(U_Date, 1, 3), CAST(DATEADD(day, NULL, U_Date) AS nvarchar), ISNULL(U_A, "
          "U_Date), CONVERT(nvarchar(20), U_Date, 120) FROM [@T] WHERE Code = '2' "
          "AND U_Date LIKE 'Feb%8:30AM'"),
      "Feb  1|FEB  1 2024  8:30AM|19|Feb|NULL|y|2024-02-01 08:30:00");
  database.run("INSERT INTO [@L] (Code, U_Text) SELECT '8', U_Date FROM [@T] WHERE Code = '2'");
  EXPECT_EQ(database.run("SELECT U_Text FROM [@L] WHERE Code = '8'"), "Feb  1 2024  8:30AM");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT CAST(U_Date AS VARCHAR(30)), 'on ' || U_Date FROM @T WHERE Code = '2'"),
            "2024-02-01 08:30:00|on 2024-02-01 08:30:00");
}

TEST_P(ExecutionCast, CastToADecimalRounds) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT CAST('2.345678' AS decimal(21,2)), CAST(U_Price AS decimal(5)), "
                         "CAST(U_B AS float), ROUND(U_Price, 0), ROUND(-0.25, 1) FROM [@T] WHERE "
                         "Code = '1'"),
            "2.35|13|10|13|-0.3");
}

TEST_P(ExecutionCast, CastToADateTakesTheKnownFormsOnly) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto dateOf = [&](const std::string& text) {
    database.run("UPDATE [@L] SET U_Text = " + literal(text) + " WHERE Code = '1'");
    return answerOf(database, "SELECT CAST(U_Text AS datetime) FROM [@L] WHERE Code = '1'");
  };
  EXPECT_EQ(dateOf("20240131"), "2024-01-31 00:00:00");
  EXPECT_EQ(dateOf(" 2024-01-31 "), "2024-01-31 00:00:00");
  EXPECT_EQ(dateOf("2024-01-31T08:30"), "2024-01-31 08:30:00");
  EXPECT_EQ(dateOf("20240131 08:30:59.999"), "2024-01-31 08:30:59");
  for (const char* text : {"now", "today", "infinity", "31.1.2024", "01/31/2024", "20240231", "",
                           "2024-01-31 24:00", "2024-01-31 08:60", "0000-01-01", "2024-0131",
                           "2024-01-31 08:30+01", "2024-01-31 08:30 BC"}) {
    EXPECT_EQ(dateOf(text), kRefusedByEngine) << text;
  }
  EXPECT_EQ(database.run("SELECT CAST(U_A AS datetime) FROM [@T] WHERE Code = '5'"), "NULL");
}

// ---- texts

void expectCodePointOrder(CompanyDatabase database) {
  database.run("DELETE FROM [@L]");
  for (const char* text : {"a", "B", "b", "A", "\u00E9", "e", "_", "\U0001F600", "\uFB01", "a b"}) {
    database.run("INSERT INTO [@L] (Code, U_Text) VALUES ('c', " + literal(text) + ")");
  }
  EXPECT_EQ(database.run("SELECT U_Text FROM [@L] ORDER BY U_Text"),
            "A/B/_/a/a b/b/e/\u00E9/\uFB01/\U0001F600");
  EXPECT_EQ(database.run("SELECT DISTINCT U_Text FROM [@L] WHERE U_Text BETWEEN 'B' AND 'a' "
                         "UNION SELECT UPPER(U_Text) FROM [@L] WHERE U_Text < 'B' ORDER BY 1 DESC"),
            "a/_/B/A");
  EXPECT_EQ(database.run("SELECT MIN(U_Text), MAX(U_Text) FROM [@L]"), "A|\U0001F600");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@L] WHERE U_Text > 'a'"), "6");
  EXPECT_EQ(database.run("WITH C AS (SELECT TOP 3 UPPER(U_Text) U FROM [@L] ORDER BY UPPER(U_Text)"
                         " DESC) SELECT T0.U_Text, C.U FROM [@L] T0 INNER JOIN C ON C.U = T0.U_Text"
                         " ORDER BY C.U"),
            "_|_/\U0001F600|\U0001F600");
}

TEST_P(ExecutionText, TextsAreComparedAndOrderedByCodePoints) {
  expectCodePointOrder(company(Dialect::Mssql));
}

TEST(ExecutionTextPostgres, TextsAreOrderedByCodePointsInADatabaseOfAnotherOrder) {
  expectCodePointOrder({Engine::Postgres, Dialect::Mssql, test::connectToForeignPostgres()});
}

TEST_P(ExecutionText, CaseIsMappedInAllScripts) {
  CompanyDatabase database = company(Dialect::Kordb);
  EXPECT_EQ(database.run("SELECT UPPER('\u00E4x\u00DF\u03C3'), LOWER('\u00C4X'), UPPER(NULL), "
                         "UPPER(\"U_B\") FROM \"@T\" WHERE \"Code\" = '1'"),
            "\u00C4XSS\u03A3|\u00E4x|NULL|10");
}

TEST_P(ExecutionText, LengthsCountCharacters) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT LEN('a\U0001F600 '), LEN('  a  '), LEN(U_Price), LEN(U_Date), "
                         "SUBSTRING('a\U0001F600b', 2, 1), LEN('') FROM [@T] WHERE Code = '1'"),
            "2|3|4|19|\U0001F600|0");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT LENGTH('a '), SUBSTR(Name, 3), SUBSTR('abc', LENGTH(Name) - 4) || "
                    "LTRIM('  x ') || RTRIM(' y  ') || REPLACE('aXbX', 'X', '-') FROM @T WHERE "
                    "Code = '3'"),
            "2|ree|abcx  ya-b-");
}

TEST_P(ExecutionText, SubstringStaysWithinTheText) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT SUBSTRING('abc', 0, 2), SUBSTRING('abc', -1, 3), "
                         "SUBSTRING('abc', -5, 2), SUBSTRING('abc', 2, 9), SUBSTRING('abc', 4, 1), "
                         "SUBSTRING(Name, U_B - 8, U_B - 10) FROM [@T] WHERE Code = '1'"),
            "a|a||bc||");
  EXPECT_EQ(answerOf(database, "SELECT SUBSTRING('abc', 1, U_B - 11) FROM [@T]"), kRefusedByEngine);
}

TEST_P(ExecutionText, ValuesOfEveryTypeAreJoined) {
  CompanyDatabase database = company(Dialect::Kordb);
  EXPECT_EQ(database.run("SELECT Code || '/' || U_Date, 'p' || U_Price, U_B || 'x', 'a' || NULL, "
                         "'' || U_Price * 8, '' || 0.000125, '' || (0 - 123456789012.5), "
                         "CAST(1e17 * 10 AS nvarchar(50)) FROM \"@T\" WHERE Code = '1'"),
            "1/2024-01-31 00:00:00|p12.5|10x|NULL|100|0.000125|-123456789012.5|"
            "1000000000000000000");
}

TEST_P(ExecutionText, DecimalHasOneTextForm) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT LEN(U_Price * 2), UPPER(U_Price * 2), LTRIM(U_Price * 2), "
                         "REPLACE(U_Price * 2, '5', 6.0), SUBSTRING(U_Price * 2, 1, 9), "
                         "SUBSTRING(U_Price * 2, U_B - 9, 9) FROM [@T] WHERE Code = '1' AND "
                         "U_Price * 2 LIKE '25' AND U_Price * 2 LIKE '2[4-6]'"),
            "2|25|25|26|25|25");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT LENGTH(U_Price * 2) FROM @T WHERE Code = '1'"), "2");
}

// ---- numbers

TEST_P(ExecutionNumber, ResultsOfArithmeticHave64Bits) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT 2000000000 + 2000000000, U_B * 1000000000, SUM(SubNum) * "
                         "30000 * 30000 FROM [@T], OFPR WHERE Code = '1' GROUP BY U_B"),
            "4000000000|10000000000|2700000000");
}

TEST_P(ExecutionNumber, DivisionByZeroIsNull) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT U_B / 0, U_B % (U_B - 10), U_Price / 0, 7 / 2, -7 / 2, -7 % 3, "
                         "7 / 2.0 FROM [@T] WHERE Code = '1'"),
            "NULL|NULL|NULL|3|-3|-1|3.5");
}

TEST_P(ExecutionNumber, AddedTimeMayBeAnyNumber) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT DATEADD(day, U_B, U_Date), DATEADD(week, -1, U_Date), "
                         "DATEADD(hour, U_Price, U_Date), DATEADD(minute, '90', U_Date), U_Date - "
                         "U_B, DATEADD(second, 1, NULL) FROM [@T] WHERE Code = '1'"),
            "2024-02-10 00:00:00|2024-01-24 00:00:00|2024-01-31 12:00:00|2024-01-31 01:30:00|"
            "2024-01-21 00:00:00|NULL");
}

TEST_P(ExecutionNumber, ArithmeticRefusesTextsAndDates) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT SUM(Code) FROM [@T]"),
            "SUM takes numbers; CAST the text to one (line 1, column 12)");
  EXPECT_EQ(refusalOf(database, "SELECT Code * Code FROM [@T]"),
            "* takes numbers; CAST the text to one (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT AVG(U_Date) FROM [@T]"),
            "AVG takes numbers, not dates (line 1, column 12)");
  EXPECT_EQ(refusalOf(database, "SELECT CAST(U_Date AS int) FROM [@T]"),
            "a date cannot be CAST to a number; use a date function (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT ROUND(U_Price, -1) FROM [@T]"),
            "ROUND takes a whole number of digits, 0 or more (line 1, column 23)");
  EXPECT_EQ(database.run("SELECT '5' * 2, 7.0 - '1.5', ABS('-3'), ROUND('2.55', 1)"),
            "10|5.5|3|2.6");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(refusalOf(db2, "SELECT Code * 2 FROM @T"),
            "* takes numbers; CAST the text to one (line 1, column 8)");
}

// ---- names

TEST_P(ExecutionNames, CaseOfNamesDoesNotCount) {
  CompanyDatabase database = company(Dialect::Kordb);
  EXPECT_EQ(
      database.run("SELECT \"CODE\", t0.u_a AS \"T0.U_A\" FROM \"@t\" T0 WHERE \"T0\".\"code\""
                   " = '1' ORDER BY \"t0.u_A\""),
      "1|x");
}

TEST_P(ExecutionNames, ResultColumnsHaveTheNamesOfTheText) {
  CompanyDatabase database = company(Dialect::Mssql);
  const Translation translation = database.translate(
      "WITH [C*] AS (SELECT T0.[Code] AS N'__kf__.Code', MAX(U_A) FROM [@T] T0 GROUP BY T0.Code) "
      "SELECT *, 1, X.* FROM [C*] CROSS JOIN (SELECT U_B FROM [@T]) X");
  const std::vector<std::string> expected = {"__kf__.Code", "", "U_B", "", "U_B"};
  ASSERT_EQ(translation.columns.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(translation.columns[i].name, expected[i]) << i;
  }
  EXPECT_EQ(translation.columns[2].type, ColumnType::Integer);
}

// ---- patterns

TEST_P(ExecutionLike, PatternsMatchAlikeAsLiteralsAndColumns) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto matches = [&](const std::string& text, const std::string& pattern,
                           const std::string& escape = "") {
    const std::string tail = escape.empty() ? "" : " ESCAPE " + literal(escape);
    database.run("UPDATE [@L] SET U_Text = " + literal(text) + ", U_T = " + literal(pattern));
    const std::string rows = "SELECT COUNT(*) FROM [@L] WHERE U_Text LIKE ";
    const std::string byLiteral = database.run(rows + literal(pattern) + tail);
    EXPECT_EQ(database.run(rows + "U_T" + tail), byLiteral) << text << " LIKE " << pattern;
    EXPECT_EQ(
        database.run("SELECT COUNT(*) FROM [@L] WHERE U_Text NOT LIKE " + literal(pattern) + tail),
        byLiteral == "3" ? "0" : "3");
    return byLiteral == "3";
  };
  EXPECT_TRUE(matches("a\\b", "a\\b"));
  EXPECT_TRUE(matches("a\\", "%\\"));
  EXPECT_TRUE(matches("a.b*c", "a.b*_"));
  EXPECT_FALSE(matches("axb", "a.b"));
  EXPECT_TRUE(matches("", ""));
  EXPECT_TRUE(matches("", "%"));
  EXPECT_FALSE(matches("x", ""));
  EXPECT_TRUE(matches("a\nb", "a_b"));
  EXPECT_TRUE(matches("\U0001F600", "_"));
  EXPECT_TRUE(matches("[x", "[x"));
  EXPECT_TRUE(matches("x]", "x]"));
  EXPECT_TRUE(matches("b", "[a-c]"));
  EXPECT_TRUE(matches("-", "[a-]"));
  EXPECT_TRUE(matches("-", "[-a]"));
  EXPECT_TRUE(matches("[", "[[]"));
  EXPECT_TRUE(matches("\\", "[\\]"));
  EXPECT_TRUE(matches("%", "[%]"));
  EXPECT_TRUE(matches("\u6F22", "[\u4E00-\u9FFF]"));
  EXPECT_FALSE(matches("B", "[a-c]"));
  EXPECT_FALSE(matches("b", "[^a-c]"));
  EXPECT_TRUE(matches("d", "[^a-c]"));
  EXPECT_FALSE(matches("a", "[]"));
  EXPECT_TRUE(matches("a", "[^]"));
  EXPECT_TRUE(matches("50%", "50!%", "!"));
  EXPECT_FALSE(matches("500", "50!%", "!"));
  EXPECT_TRUE(matches("a!b", "a!!_", "!"));
  EXPECT_TRUE(matches("[a]", "![[a]]", "!"));
  EXPECT_TRUE(matches("[a]", "[[a]", "["));
  EXPECT_TRUE(matches("'x", "''%", "'"));
  EXPECT_TRUE(matches("a!", "a!", "!"));
}

TEST_P(ExecutionLike, RangeFromHighToLowHasNoCharacter) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE Name LIKE '[z-a]%'"), "0");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE Name LIKE '[^z-a]%'"), "5");
}

TEST_P(ExecutionLike, LikeOfNullIsNeitherTrueNorFalse) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE U_A LIKE '[x]' OR U_A NOT LIKE '[x]'"),
            "4");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE Name LIKE U_A OR Name NOT LIKE U_A"),
            "4");
}

TEST_P(ExecutionLike, NumbersAndDatesAreMatchedAsTexts) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Price LIKE '12%' OR U_Date LIKE "
                         "'Feb  [1-3] 2024%' ORDER BY Code"),
            "1/2");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT Code FROM @T WHERE U_B LIKE '1%' OR Name LIKE U_A || '%' OR U_Date "
                    "LIKE '2024-02-0%' ORDER BY Code"),
            "1/2");
}

// ---- a single row needs no order

TEST_P(ExecutionOneRow, SingleRowMayBeOrderedByAnyColumn) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT MAX(Code), COUNT(*) FROM [@T] T0 ORDER BY T0.U_A, T0.Code DESC"),
            "5|5");
  EXPECT_EQ(database.run("SELECT TOP 1 WITH TIES MAX(Code) FROM [@T] T0 ORDER BY T0.U_A"), "5");
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionMixedTypes, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionCast, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionText, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionNumber, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionNames, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionLike, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionOneRow, engines(), engineName);

}  // namespace
}  // namespace qx::sql
