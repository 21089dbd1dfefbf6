// The translated statements run on a real database: what they yield and change.
#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::CompanyDatabase;

struct Outcome {
  std::string_view statement;
  std::string_view rows;
};

void expectOutcomes(Dialect dialect, const std::vector<Outcome>& outcomes) {
  CompanyDatabase database(dialect);
  for (const Outcome& outcome : outcomes) {
    EXPECT_EQ(database.run(outcome.statement), outcome.rows) << outcome.statement;
  }
}

std::string literal(const std::string& text, bool national) {
  std::string quoted = national ? "N'" : "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

const std::vector<Outcome> kBracketOutcomes = {
    // The version table: read, stamp, next code.
    {"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc",
     "9.20.00.01|Upgrading/9.20.00.00|Installed"},
    {"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
     "[@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc",
     "07/00"},
    {"SELECT MAX(Code) FROM [@QXEXTDBVERSION]", "000000FF"},
    {"delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20.00.01' and "
     "U_EFNum= '07'",
     ""},
    {"insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate) "
     "  values ('00000100', '00000100', 'QX', '9.21', '00', 'Installed', getdate())",
     ""},
    {"select Code, U_Version, U_Rdate from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code",
     "00000000|9.20.00.00|2024-01-01 00:00:00/00000100|9.21|2024-02-15 13:45:10"},
    // Fields, rates, periods.
    {"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'X'", "1"},
    {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND (EffecDate<=GetDate()) ORDER "
     "BY EffecDate DESC",
     "A1|16.5|2024-02-15 00:00:00/A1|15|2020-01-01 00:00:00"},
    {"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
     "(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
     "CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))",
     "2024|1|2024-01-01 00:00:00"},
    // Lists with aliases, limits, joins.
    {"SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'1'", "1"},
    {"SELECT TOP 2 T0.Code AS'T0.Code',T0.U_A AS'T0.U_A' FROM [@T] T0     WHERE T0.U_A = N'y' "
     "ORDER BY T0.Code",
     "2|y/3|y"},
    {"SELECT T0.Code, T1.U_Text FROM [@T] T0   INNER JOIN [@L] T1 ON T0.Code = T1.U_T   ORDER BY "
     "T0.Code",
     "1|first/2|second"},
    {"SELECT T0.Code, T1.U_Text FROM [@T] T0   LEFT OUTER JOIN [@L] T1 ON T0.Code = T1.U_T AND "
     "T1.Code  =  N'1' WHERE T0.U_B > 9 ORDER BY T0.Code",
     "1|first/2|NULL"},
    {"SELECT T0.Code AS N'C1', T1.U_Text FROM [@T] T0 RIGHT OUTER JOIN [@L] T1 ON T0.Code = "
     "T1.U_T ORDER BY T1.Code",
     "1|first/2|second/NULL|stray"},
    {"SELECT T0.Code AS N'C1', T1.U_Text FROM [@T] T0 FULL OUTER JOIN [@L] T1 ON T0.Code = "
     "T1.U_T WHERE T0.Code IS NULL OR T0.Code = N'5' ORDER BY T1.U_Text DESC",
     "NULL|stray/5|NULL"},
    {"SELECT COUNT(*)\r\nFROM [@T] T0\r\nORDER BY T0.[Code] ASC\r\n", "5"},
    {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.[Code] AS N'__kf__.Code', "
     "T0.[U_A] AS N'__pff__.U_A' \r\nFROM [@T] T0\r\nWHERE (T0.[U_A] >= N'x')\r\nORDER BY "
     "T0.[U_A] ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] T0\r\nORDER BY "
     "T0.[__pff__.U_A] ASC,T0.[__kf__.Code] DESC",
     "1|x/4|y/3|y/2|y"},
    {"SELECT TOP 2 Code, U_A FROM [@T] WHERE U_B > 5 ORDER BY U_B DESC", "2|y/1|x"},
    // Writing.
    {"UPDATE [@T]  SET U_A = N'z', U_Price = 1.25  WHERE Code = N'1' AND U_B = 10", ""},
    {"SELECT U_A, U_Price FROM [@T] WHERE U_Price = N'1.25'", "z|1.25"},
    {"DELETE FROM [@T]   WHERE U_Price = N'1.25'", ""},
    {"SELECT COUNT(*) FROM [@T]", "4"},
    {"INSERT INTO [@T] ( Code, Name, U_A)  VALUES ( N'9', N'9', N'O''Brien') ", ""},
    {"SELECT Name + '/' + U_A FROM [@T] WHERE U_A LIKE N'%''B%'", "9/O'Brien"},
};

TEST(ExecutionMssql, RunsTheStatementsOfTheFramework) {
  expectOutcomes(Dialect::Mssql, kBracketOutcomes);
}

TEST(ExecutionSybase, RunsTheStatementsOfTheFramework) {
  expectOutcomes(Dialect::Sybase, kBracketOutcomes);
}

TEST(ExecutionDb2, RunsTheStatementsOfTheFramework) {
  expectOutcomes(
      Dialect::Db2,
      {{"select U_Version, U_Status  from @QXEXTDBV where U_ExtID = 'QX' order by Code desc",
        "9.20.00.01|Upgrading/9.20.00.00|Installed"},
       {"insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)   "
        "values ('00000100', '00000100', 'QX', '9.21', '00', 'Installed', CURRENT TIMESTAMP)",
        ""},
       {"SELECT MAX(Code) FROM @QXEXTDBV", "00000100"},
       {"select U_Rdate from @QXEXTDBV where Code = '00000100'", "2024-02-15 13:45:10"},
       {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND (EffecDate<= "
        "TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
        "A1|16.5|2024-02-15 00:00:00/A1|15|2020-01-01 00:00:00"},
       {"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
        "(F_RefDate<=TIMESTAMP_ISO('2024-01-31')) AND "
        "TIMESTAMP_ISO('2024-01-31')<=(T_RefDate + 1 DAYS)",
        "2024|1|2024-01-01 00:00:00"},
       {R"(SELECT T0.Code AS "T0.Code"  FROM @T T0     WHERE T0.U_A = N'y' ORDER BY T0.Code  )"
        "FETCH FIRST 2 ROWS ONLY",
        "2/3"},
       {"DELETE FROM @T  WHERE U_Date = TIMESTAMP_ISO(N'2024-01-31')", ""},
       {"SELECT COUNT(*) FROM @T", "3"}});
}

TEST(ExecutionKordb, RunsTheStatementsOfTheFramework) {
  expectOutcomes(
      Dialect::Kordb,
      {{R"(select "U_Version" from "@QXEXTDBVERSION" where "U_ExtID" = 'QX' order by "Code" desc)",
        "9.20.00.01/9.20.00.00"},
       {R"(insert into "@T"("Code", "Name", "U_Date") values ('6', '6', CURRENT_TIMESTAMP))", ""},
       {R"(SELECT "U_Date" FROM "@T" WHERE "Code" = N'6')", "2024-02-15 13:45:10"},
       {R"(SELECT "Rate" FROM VTG1 WHERE ("Code" = 'A1') AND ("EffecDate"<=CURRENT_TIMESTAMP) )"
        R"(ORDER BY "EffecDate" DESC)",
        "16.5/15"},
       {R"(SELECT "SubNum" FROM OFPR WHERE ("F_RefDate"<='2024-02-29 00:00:00') AND )"
        R"('2024-02-29 00:00:00' <=(ADDDATE("T_RefDate", 1)))",
        "2"},
       {R"(SELECT TOP 2 T0."Code" AS"T0.Code" FROM "@T" T0     WHERE T0."U_A" = N'y' ORDER BY )"
        R"(T0."Code" DESC)",
        "4/3"},
       {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.\"Code\" AS "
        "\"__kf__.Code\", T0.\"U_A\" AS \"__pff__.U_A\" \r\nFROM \"@T\" T0\r\nWHERE T0.\"U_A\" >= "
        "N'x'\r\nORDER BY T0.\"U_A\" ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] "
        "T0\r\nORDER BY T0.\"__pff__.U_A\" ASC,T0.\"__kf__.Code\" ASC",
        "1|x/2|y/3|y/4|y"}});
}

// ---- what the engines do and SQLite by itself does not

TEST(ExecutionComparison, CountsCaseAndBlanks) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A = 'X'"), "");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A LIKE 'X%'"), "");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A LIKE 'x%'"), "1");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A = 'x '"), "");
}

TEST(ExecutionOrder, NullIsLowestButHighestOnDb2) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase, Dialect::Kordb}) {
    CompanyDatabase database(dialect);
    EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate"), "NULL/15/16.5/19");
    EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate DESC"), "19/16.5/15/NULL");
  }
  CompanyDatabase database(Dialect::Db2);
  EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate"), "15/16.5/19/NULL");
  EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate DESC"), "NULL/19/16.5/15");
}

TEST(ExecutionDates, OfTheShortFormMeetDateColumns) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(
      database.run("SELECT [Code] FROM [@T] T0 WHERE T0.[U_Date] = N'20240131' ORDER BY Code"),
      "1/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date IN ('20240131', '2023-12-31') "
                         "ORDER BY Code"),
            "1/4/5");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_Date BETWEEN '20240101' AND '20240131' "
                         "AND Code > '1'"),
            "5");
  database.run("INSERT INTO [@T] ([Code], [U_Date]) VALUES (N'6', N'20240301')");
  database.run("UPDATE [@T] SET [U_Date]=N'20240302' WHERE [U_Date]=N'20240301'");
  EXPECT_EQ(database.run("SELECT U_Date FROM [@T] WHERE Code = '6'"), "2024-03-02 00:00:00");
}

TEST(ExecutionDates, AreFoundThroughCommonAndDerivedTables) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(database.run("WITH C AS (SELECT U_Date AS D, Code FROM [@T]) SELECT X.Code FROM "
                         "(SELECT * FROM C) X WHERE X.D = '20240131' ORDER BY X.Code"),
            "1/5");
}

TEST(ExecutionDates, ThatAreNoneAreRefused) {
  CompanyDatabase database(Dialect::Mssql);
  try {
    database.run("SELECT Code FROM [@T]\nWHERE U_Date = '20240230'");
    FAIL();
  } catch (const SqlError& error) {
    EXPECT_STREQ(error.what(), "not a date: '20240230' (line 2, column 16)");
  }
}

TEST(ExecutionDates, ReadBackByTheirParts) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT YEAR(U_Date), MONTH(U_Date), DAY(U_Date), "
                         "CONVERT(nvarchar(8), U_Date, 112), DATEDIFF(day, U_Date, getdate()) "
                         "FROM [@T] WHERE Code = '2'"),
            "2024|2|1|20240201|14");
  EXPECT_EQ(database.run("SELECT getdate() + 1"), "2024-02-16 13:45:10");
}

TEST(ExecutionPatterns, KnowSetsWhereTheDialectHasThem) {
  CompanyDatabase mssql(Dialect::Mssql);
  EXPECT_EQ(mssql.run("SELECT Name FROM [@T] WHERE Name LIKE '[n-o]%' OR Name LIKE '%[^re]'"),
            "one/two");
  CompanyDatabase db2(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT Name FROM @T WHERE Name LIKE '[n-o]%'"), "");
  EXPECT_EQ(db2.run("SELECT Name FROM @T WHERE Name LIKE 'f!o%' ESCAPE '!'"), "four");
}

TEST(ExecutionPlus, JoinsColumnsThatTheCatalogueKnowsAsTexts) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code + Name, U_B + 1 FROM [@T] WHERE Code = '1'"), "1one|11");
}

TEST(ExecutionDivision, CutsWholeNumbersOnly) {
  CompanyDatabase database(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT U_B / 4, U_B % 4, U_Price / 8, U_B / 8.0, AVG(U_B) FROM [@T] "
                         "WHERE Code = '2' GROUP BY U_B, U_Price"),
            "5|0|12.5|2.5|20");
  EXPECT_EQ(database.run("SELECT AVG(U_B), AVG(U_Price) FROM [@T] WHERE Code IN ('1', '4')"),
            "7|6.5");
  CompanyDatabase kordb(Dialect::Kordb);
  EXPECT_EQ(kordb.run("SELECT AVG(U_B) FROM \"@T\" WHERE Code IN ('1', '4')"), "7.5");
}

TEST(ExecutionRowCount, LimitsReadsAndChangesOfRows) {
  CompanyDatabase database(Dialect::Sybase);
  database.run("SET ROWCOUNT 2");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] ORDER BY Code"), "1/2");
  database.run("UPDATE [@T] SET Name = 'new' WHERE Code > '1'");
  database.run("DELETE FROM [@L]");
  EXPECT_EQ(
      database.run("SELECT TOP 1 WITH TIES Code FROM [@T] WHERE U_A = 'y' ORDER BY U_A, Code"),
      "2");
  EXPECT_EQ(database.run("SELECT TOP 1 WITH TIES Name FROM [@T] WHERE U_A = 'y' ORDER BY U_A"),
            "new/new");
  database.run("SET ROWCOUNT 0");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE Name = 'new'"), "2");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@L]"), "1");
}

TEST(ExecutionTypes, OfExpressionsComeFromTheTextOrTheProbe) {
  CompanyDatabase database(Dialect::Mssql);
  Translator translator(Dialect::Mssql);
  const Translation translation = translator.translate(
      "SELECT MAX(U_Date), SUM(U_Price), ISNULL(U_B, 0), MAX(T0.Code), U_B * U_Price FROM [@T] T0 "
      "WHERE 1 = 0");
  const std::array<ColumnType, 5> expected = {ColumnType::Date, ColumnType::Decimal,
                                              ColumnType::Integer, ColumnType::Text,
                                              ColumnType::Decimal};
  ASSERT_EQ(translation.columns.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(probedType(database.db(), translation.columns[i].probe), expected.at(i)) << i;
  }
  const Translation known = database.translate("SELECT MAX(U_Date), ISNULL(U_Price, 0) FROM [@T]");
  EXPECT_EQ(known.columns[0].type, ColumnType::Date);
  EXPECT_EQ(known.columns[1].type, ColumnType::Decimal);
}

TEST(ExecutionDepth, AndLongChainsStayWithinTheLimitsOfTheDatabase) {
  CompanyDatabase database(Dialect::Mssql);
  std::string chain = "SELECT COUNT(*) FROM [@T] WHERE Code = '0'";
  for (int i = 0; i < 5000; ++i) chain += " OR Code = " + literal(std::to_string(i), false);
  EXPECT_EQ(database.run(chain), "5");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE " + std::string(50, '(') + "Code = '1'" +
                         std::string(50, ')')),
            "1");
}

// The deepest nesting that is accepted must not be too deep for the database.
TEST(ExecutionDepth, OfEveryNestingFitsTheDatabase) {
  struct Nesting {
    std::string_view open, middle, close;
  };
  CompanyDatabase database(Dialect::Mssql);
  for (const Nesting& nesting : std::vector<Nesting>{
           {"(1 + ", "2", ")"},
           {"ABS(", "2", ")"},
           {"1 - (2 * ", "2", ")"},
           {"-(1 + ", "2", ")"},
           {"COALESCE(1, ABS(2 * ", "2", "))"},
           {"CASE 1 WHEN 1 THEN 2 + ", "2", " ELSE 3 END"},
           {"CASE WHEN 1 = 1 AND 2 < ", "2", " THEN 2 END"},
           {"(SELECT 1 + ", "2", ")"},
           {"(SELECT MAX(U_B) FROM [@T] WHERE U_B IN (SELECT 1 + ", "2", "))"},
           {"(SELECT T0.U_B FROM (SELECT U_B FROM [@T] WHERE 1 = 1 AND U_B = ", "2", ") T0)"},
           {"CASE WHEN NOT EXISTS (SELECT 1 WHERE 1 = 1 AND 1 BETWEEN 1 AND 2 + ", "2",
            ") THEN 1 END"},
           {"(SELECT TOP 1 WITH TIES 1 + U_B FROM [@T] ORDER BY U_B + ", "2", ")"}}) {
    std::string accepted;
    std::string text(nesting.middle);
    for (int depth = 0; depth < 200; ++depth) {
      text = std::string(nesting.open) + text + std::string(nesting.close);
      if (!test::refusal(Dialect::Mssql, "SELECT " + text).empty()) break;
      accepted = "SELECT " + text;
    }
    EXPECT_NO_THROW(database.run(accepted)) << accepted;
  }
}

// ---- model tests

std::string hostileText(std::mt19937& random) {
  static const std::array<std::string, 24> kPieces = {"'",
                                                      "''",
                                                      "\"",
                                                      "\\",
                                                      "--",
                                                      "/*",
                                                      "*/",
                                                      ";",
                                                      "\r\n",
                                                      "\n",
                                                      "?",
                                                      "@x",
                                                      ":y",
                                                      "$1",
                                                      "[",
                                                      "]",
                                                      "%",
                                                      "_",
                                                      "N'",
                                                      "é",
                                                      "漢",
                                                      "\xF0\x9F\x98\x80",
                                                      "DROP TABLE T",
                                                      " "};
  std::string text;
  for (int i = std::uniform_int_distribution<>(0, 12)(random); i > 0; --i) {
    text += kPieces.at(std::uniform_int_distribution<std::size_t>(0, 23)(random));
  }
  return text;
}

class ExecutionLiterals : public testing::TestWithParam<Dialect> {};

TEST_P(ExecutionLiterals, OfHostileTextComeBackUnchanged) {
  CompanyDatabase database(GetParam());
  const bool quoted = GetParam() == Dialect::Kordb;
  const std::string table = GetParam() == Dialect::Db2 ? "@L" : quoted ? "\"@L\"" : "[@L]";
  std::mt19937 random(20240215);
  for (int i = 0; i < 3000; ++i) {
    const std::string text = hostileText(random);
    database.run("UPDATE " + table + " SET U_Text = " + literal(text, i % 2 == 0));
    ASSERT_EQ(database.run("SELECT U_Text FROM " + table +
                           " WHERE Code = '1' AND U_Text = " + literal(text, i % 3 == 0)),
              text)
        << i;
  }
}

INSTANTIATE_TEST_SUITE_P(AllDialects, ExecutionLiterals,
                         testing::Values(Dialect::Mssql, Dialect::Sybase, Dialect::Db2,
                                         Dialect::Kordb),
                         [](const auto& test) { return std::string(traitsOf(test.param).name); });

// The rows that TOP n WITH TIES has to yield: every row that is not behind the n-th by the keys.
TEST(ExecutionTies, AgreeWithAModelOnRandomRows) {
  std::mt19937 random(7);
  const auto number = [&random](int high) {
    return std::uniform_int_distribution<>(0, high)(random);
  };
  CompanyDatabase database(Dialect::Mssql);
  for (int round = 0; round < 200; ++round) {
    database.run("DELETE FROM [@L]");
    std::vector<int> keys;
    const int rows = number(12);
    for (int i = 0; i < rows; ++i) {
      keys.push_back(number(4));  // 0 stands for NULL, which is lowest
      const std::string key =
          keys.back() == 0 ? "NULL" : literal(std::to_string(keys.back()), false);
      database.run("INSERT INTO [@L] (Code, U_T) VALUES ('c', " + key + ")");
    }
    const bool descending = number(1) == 1;
    const int top = number(6);
    std::sort(keys.begin(), keys.end());
    if (descending) std::reverse(keys.begin(), keys.end());
    std::size_t expected = std::min(keys.size(), static_cast<std::size_t>(top));
    while (expected > 0 && expected < keys.size() && keys[expected] == keys[expected - 1]) {
      ++expected;
    }
    const std::string inner = "SELECT TOP " + std::to_string(top) +
                              " WITH TIES Code FROM [@L] ORDER BY U_T" +
                              (descending ? " DESC" : "");
    EXPECT_EQ(database.run("WITH C AS (" + inner + ") SELECT COUNT(*) FROM C"),
              std::to_string(expected))
        << round;
  }
}

}  // namespace
}  // namespace qx::sql
