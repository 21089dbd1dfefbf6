// The rows that translated statements return and change on a real database.
#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::CompanyDatabase;
using test::engineName;
using test::engines;
using test::EngineTest;

class ExecutionMssql : public EngineTest {};
class ExecutionSybase : public EngineTest {};
class ExecutionDb2 : public EngineTest {};
class ExecutionKordb : public EngineTest {};
class ExecutionComparison : public EngineTest {};
class ExecutionOrder : public EngineTest {};
class ExecutionDates : public EngineTest {};
class ExecutionPatterns : public EngineTest {};
class ExecutionPlus : public EngineTest {};
class ExecutionDivision : public EngineTest {};
class ExecutionRowCount : public EngineTest {};

struct Outcome {
  std::string_view statement;
  std::string_view rows;
};

void expectOutcomes(CompanyDatabase database, const std::vector<Outcome>& outcomes) {
  ASSERT_FALSE(outcomes.empty());
  for (const Outcome& outcome : outcomes) {
    EXPECT_EQ(database.run(outcome.statement), outcome.rows) << outcome.statement;
  }
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

TEST_P(ExecutionMssql, RunsTheStatementsOfTheFramework) {
  expectOutcomes(company(Dialect::Mssql), kBracketOutcomes);
}

TEST_P(ExecutionSybase, RunsTheStatementsOfTheFramework) {
  expectOutcomes(company(Dialect::Sybase), kBracketOutcomes);
}

TEST_P(ExecutionDb2, RunsTheStatementsOfTheFramework) {
  expectOutcomes(
      company(Dialect::Db2),
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

TEST_P(ExecutionKordb, RunsTheStatementsOfTheFramework) {
  expectOutcomes(
      company(Dialect::Kordb),
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

// ---- rules of the dialects that the engines do not follow by themselves

TEST_P(ExecutionComparison, CaseAndTrailingBlanksCount) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A = 'X'"), "");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A LIKE 'X%'"), "");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A LIKE 'x%'"), "1");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] WHERE U_A = 'x '"), "");
}

TEST_P(ExecutionOrder, NullIsLowestButHighestOnDb2) {
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase, Dialect::Kordb}) {
    CompanyDatabase database = company(dialect);
    EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate"), "NULL/15/16.5/19");
    EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate DESC"), "19/16.5/15/NULL");
  }
  CompanyDatabase database = company(Dialect::Db2);
  EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate"), "15/16.5/19/NULL");
  EXPECT_EQ(database.run("SELECT Rate FROM VTG1 ORDER BY Rate DESC"), "NULL/19/16.5/15");
}

TEST_P(ExecutionDates, ShortFormIsComparedAsADate) {
  CompanyDatabase database = company(Dialect::Mssql);
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

TEST_P(ExecutionDates, DateColumnsAreFoundThroughCommonAndDerivedTables) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("WITH C AS (SELECT U_Date AS D, Code FROM [@T]) SELECT X.Code FROM "
                         "(SELECT * FROM C) X WHERE X.D = '20240131' ORDER BY X.Code"),
            "1/5");
}

TEST_P(ExecutionDates, TextThatIsNoDateIsRefused) {
  CompanyDatabase database = company(Dialect::Mssql);
  try {
    database.run("SELECT Code FROM [@T]\nWHERE U_Date = '20240230'");
    FAIL();
  } catch (const SqlError& error) {
    EXPECT_STREQ(error.what(), "not a date: '20240230' (line 2, column 16)");
  }
}

TEST_P(ExecutionDates, PartsOfADateAreReadBack) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT YEAR(U_Date), MONTH(U_Date), DAY(U_Date), "
                         "CONVERT(nvarchar(8), U_Date, 112), DATEDIFF(day, U_Date, getdate()) "
                         "FROM [@T] WHERE Code = '2'"),
            "2024|2|1|20240201|14");
  EXPECT_EQ(database.run("SELECT getdate() + 1"), "2024-02-16 13:45:10");
}

TEST_P(ExecutionPatterns, SetsWorkInDialectsThatHaveThem) {
  CompanyDatabase mssql = company(Dialect::Mssql);
  EXPECT_EQ(mssql.run("SELECT Name FROM [@T] WHERE Name LIKE '[n-o]%' OR Name LIKE '%[^re]'"),
            "one/two");
  CompanyDatabase db2 = company(Dialect::Db2);
  EXPECT_EQ(db2.run("SELECT Name FROM @T WHERE Name LIKE '[n-o]%'"), "");
  EXPECT_EQ(db2.run("SELECT Name FROM @T WHERE Name LIKE 'f!o%' ESCAPE '!'"), "four");
}

TEST_P(ExecutionPlus, ColumnsKnownAsTextsAreJoined) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code + Name, U_B + 1 FROM [@T] WHERE Code = '1'"), "1one|11");
}

TEST_P(ExecutionDivision, OnlyQuotientsOfWholeNumbersAreCut) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT U_B / 4, U_B % 4, U_Price / 8, U_B / 8.0, AVG(U_B) FROM [@T] "
                         "WHERE Code = '2' GROUP BY U_B, U_Price"),
            "5|0|12.5|2.5|20");
  EXPECT_EQ(database.run("SELECT AVG(U_B), AVG(U_Price) FROM [@T] WHERE Code IN ('1', '4')"),
            "7|6.5");
  CompanyDatabase kordb = company(Dialect::Kordb);
  EXPECT_EQ(kordb.run("SELECT AVG(U_B) FROM \"@T\" WHERE Code IN ('1', '4')"), "7.5");
}

TEST_P(ExecutionRowCount, RowCountLimitsReadsAndChanges) {
  CompanyDatabase database = company(Dialect::Sybase);
  database.run("SET ROWCOUNT 2");
  EXPECT_EQ(database.run("SELECT Code FROM [@T] ORDER BY Code"), "1/2");
  database.run("UPDATE [@T] SET Name = 'new' WHERE Code > '1'");
  database.run("DELETE FROM [@L]");
  EXPECT_EQ(
      database.run("SELECT TOP 1 WITH TIES Code FROM [@T] WHERE U_A = 'y' ORDER BY U_A, Code"),
      "2");
  EXPECT_EQ(database.run("SELECT TOP 1 WITH TIES U_A FROM [@T] WHERE U_A = 'y' ORDER BY U_A"),
            "y/y");
  database.run("SET ROWCOUNT 0");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE Name = 'new'"), "2");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@L]"), "1");
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionMssql, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionSybase, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionDb2, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionKordb, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionComparison, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionOrder, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionDates, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionPatterns, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionPlus, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionDivision, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionRowCount, engines(), engineName);

}  // namespace
}  // namespace qx::sql
