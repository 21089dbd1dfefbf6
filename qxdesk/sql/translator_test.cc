// Golden text: the statements that the framework writes in each dialect, and their SQLite text.
#include "qxdesk/sql/translator.h"

#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qx::sql {
namespace {

using test::translated;

struct Golden {
  std::string_view input;
  std::string_view output;
};

void expectGolden(Dialect dialect, const std::vector<Golden>& pairs) {
  ASSERT_FALSE(pairs.empty());
  for (const Golden& pair : pairs) EXPECT_EQ(translated(dialect, pair.input), pair.output);
}

const std::vector<Golden> kBracketStatements = {
    {"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc",
     R"(SELECT "U_Version", "U_Status" FROM "@QXEXTDBVERSION" WHERE "U_ExtID" = 'QX' )"
     R"(ORDER BY "Code" DESC)"},
    {"insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate)"
     "   values ('00000001', '00000001', 'QX', '9.20', '07', 'Installed', getdate())",
     R"(INSERT INTO "@QXEXTDBVERSION" ("Code", "Name", "U_ExtID", "U_Version", "U_EFNum", )"
     R"("U_Status", "U_Rdate") VALUES ('00000001', '00000001', 'QX', '9.20', '07', )"
     R"('Installed', qx_now()))"},
    {"delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20' and U_EFNum= '07'",
     R"(DELETE FROM "@QXEXTDBVERSION" WHERE "U_ExtID" = 'QX' AND "U_Version" = '9.20' AND )"
     R"("U_EFNum" = '07')"},
    {"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
     "[@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc",
     R"(SELECT CASE WHEN "U_EFNum" IS NULL THEN '00' ELSE "U_EFNum" END AS "U_EFNum" FROM )"
     R"("@QXEXTDBVERSION" WHERE "U_ExtID" = 'QX' ORDER BY "Code" DESC)"},
    {"SELECT MAX(Code) FROM [@T]", R"(SELECT max("Code") FROM "@T")"},
    {"insert into [@T] (Code, Name, U_A, U_Date) values ('1', '1', N'O''Brien', GETDATE())",
     R"(INSERT INTO "@T" ("Code", "Name", "U_A", "U_Date") VALUES ('1', '1', 'O''Brien', )"
     R"(qx_now()))"},
    {"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'X'",
     R"(SELECT "FieldID" FROM "CUFD" WHERE "TableID" = '@T' AND "AliasID" = 'X')"},
    {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND (EffecDate<=GetDate()) "
     "ORDER BY EffecDate DESC",
     R"(SELECT "Code", "Rate", "EffecDate" FROM "VTG1" WHERE "Code" = 'A1' AND )"
     R"("EffecDate" <= qx_now() ORDER BY "EffecDate" DESC)"},
    {"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
     "(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
     "CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))",
     R"(SELECT "Category", "SubNum", "F_RefDate" FROM "OFPR" WHERE )"
     R"("F_RefDate" <= '2024-01-31 00:00:00' AND )"
     R"('2024-01-31 00:00:00' <= qx_add_time("T_RefDate", 1, 86400))"},
    {"SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'A'",
     R"(SELECT "T0"."Code" AS "T0.Code" FROM "@T" AS "T0" WHERE "T0"."Code" = 'A')"},
    {"INSERT INTO [@T] ( Code, Name, U_A)  VALUES ( N'1', N'1', N'x') ",
     R"(INSERT INTO "@T" ("Code", "Name", "U_A") VALUES ('1', '1', 'x'))"},
    {"UPDATE [@T]  SET U_A = N'x', U_Price = 12.5, U_Date = CONVERT(datetime,N'20240131',112)  "
     "WHERE Code = N'1' AND U_B = 5",
     R"(UPDATE "@T" SET "U_A" = 'x', "U_Price" = 12.5, "U_Date" = '2024-01-31 00:00:00' )"
     R"(WHERE "Code" = '1' AND "U_B" = 5)"},
    {"DELETE FROM [@T]   WHERE (Code = N'1' OR Price = N'12.5')",
     R"(DELETE FROM "@T" WHERE "Code" = '1' OR "Price" = '12.5')"},
    {"SELECT TOP 5 T0.Code AS'T0.Code',T1.U_Text AS'T1.U_Text' FROM [@T] T0   LEFT OUTER JOIN [@L] "
     "T1 ON T0.Code = T1.U_T AND T1.Code  =  N'1' WHERE T0.U_A LIKE N'%x' OR (T0.U_B >= 5 AND "
     "T0.U_B <> 7) ORDER BY T0.Code ASC,T0.U_A DESC",
     R"(SELECT "T0"."Code" AS "T0.Code", "T1"."U_Text" AS "T1.U_Text" FROM "@T" AS "T0" )"
     R"(LEFT OUTER JOIN "@L" AS "T1" ON "T0"."Code" = "T1"."U_T" AND "T1"."Code" = '1' )"
     R"(WHERE "T0"."U_A" LIKE '%x' OR "T0"."U_B" >= 5 AND "T0"."U_B" <> 7 )"
     R"(ORDER BY "T0"."Code", "T0"."U_A" DESC LIMIT 5)"},
    {"SELECT Code AS 'The code' ,Name AS 'It''s' FROM [@T] WHERE U_A='x'",
     R"(SELECT "Code" AS "The code", "Name" AS "It's" FROM "@T" WHERE "U_A" = 'x')"},
    {"SELECT * FROM HVITEM WHERE U_A IS NOT NULL",
     R"(SELECT * FROM "HVITEM" WHERE "U_A" IS NOT NULL)"},
    {"SELECT T0.[Code] AS N'__kf__.Code', T0.[U_A] AS N'__pff__.U_A', T0.*\r\nFROM [@T] T0\r\n"
     "WHERE T0.[U_B] >= 5\r\nORDER BY T0.[Code] ASC\r\n",
     R"(SELECT "T0"."Code" AS "__kf__.Code", "T0"."U_A" AS "__pff__.U_A", "T0".* FROM "@T" AS )"
     R"("T0" WHERE "T0"."U_B" >= 5 ORDER BY "T0"."Code")"},
    {"SELECT COUNT(*)\r\nFROM [@T] T0\r\n", R"(SELECT count(*) FROM "@T" AS "T0")"},
    {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.[Code] AS N'__kf__.Code', "
     "T0.[U_A] AS N'__pff__.U_A' \r\nFROM [@T] T0\r\nWHERE (T0.[U_B] > 1 AND T0.[U_B] < 9) AND "
     "(T0.[U_A] >= N'x')\r\nORDER BY T0.[U_A] ASC\r\n)\r\n\r\nSELECT * \r\nFROM "
     "[__tempCTE*&^()132] T0\r\nORDER BY T0.[__pff__.U_A] ASC,T0.[__kf__.Code] ASC",
     R"(WITH "__tempCTE*&^()132" AS (SELECT "T0"."Code" AS "__kf__.Code", "T0"."U_A" AS )"
     R"("__pff__.U_A" FROM "@T" AS "T0" WHERE ("T0"."U_B" > 1 AND "T0"."U_B" < 9) AND )"
     R"("T0"."U_A" >= 'x' ORDER BY "T0"."U_A" LIMIT (SELECT count(*) FROM (SELECT rank() OVER )"
     R"((ORDER BY "T0"."U_A") AS "rank" FROM "@T" AS "T0" WHERE ("T0"."U_B" > 1 AND )"
     R"("T0"."U_B" < 9) AND "T0"."U_A" >= 'x') WHERE "rank" <= 2)) SELECT * FROM )"
     R"("__tempCTE*&^()132" AS "T0" ORDER BY "T0"."__pff__.U_A", "T0"."__kf__.Code")"},
    {"INSERT INTO [@T] ([Code], [Name], [U_A]) \r\nVALUES (N'000000FF', N'000000FF', N'x')",
     R"(INSERT INTO "@T" ("Code", "Name", "U_A") VALUES ('000000FF', '000000FF', 'x'))"},
    {"UPDATE [@T] SET [U_A]=N'x', [U_Price]=12.5 WHERE [Code]=N'1' AND [U_B]=5",
     R"(UPDATE "@T" SET "U_A" = 'x', "U_Price" = 12.5 WHERE "Code" = '1' AND "U_B" = 5)"},
    {"DELETE FROM [@T] WHERE [Code]=N'1'", R"(DELETE FROM "@T" WHERE "Code" = '1')"},
};

TEST(TranslatorMssql, TranslatesEveryStatementOfTheFramework) {
  expectGolden(Dialect::Mssql, kBracketStatements);
}

TEST(TranslatorSybase, TranslatesEveryStatementOfTheFramework) {
  expectGolden(Dialect::Sybase, kBracketStatements);
}

// The order of NULL stays that of Db2.
TEST(TranslatorDb2, TranslatesTheStatementsOfTheRecordCacheIfBracketsAreAccepted) {
  expectGolden(
      Dialect::Db2Brackets,
      {{"SELECT T0.[Code] AS N'__kf__.Code', T0.*\r\nFROM [@T] T0\r\nWHERE T0.[U_A] = "
        "N'x'\r\nORDER BY T0.[Code] ASC\r\n",
        R"(SELECT "T0"."Code" AS "__kf__.Code", "T0".* FROM "@T" AS "T0" WHERE "T0"."U_A" = 'x' )"
        R"(ORDER BY "T0"."Code" NULLS LAST)"},
       {"WITH [a*b] AS \r\n(\r\nSELECT top 2 WITH TIES [Code] AS N'__kf__.Code' \r\nFROM "
        "[@T]\r\nWHERE ([Code] >= N'x')\r\nORDER BY [Code] ASC\r\n)\r\n\r\nSELECT * "
        "\r\nFROM [a*b] \r\nORDER BY [__kf__.Code] ASC",
        R"(WITH "a*b" AS (SELECT "Code" AS "__kf__.Code" FROM "@T" WHERE "Code" >= 'x' ORDER BY )"
        R"("Code" NULLS LAST LIMIT (SELECT count(*) FROM (SELECT rank() OVER (ORDER BY "Code" )"
        R"(NULLS LAST) AS "rank" FROM "@T" WHERE "Code" >= 'x') WHERE "rank" <= 2)) SELECT * )"
        R"(FROM "a*b" ORDER BY "__kf__.Code" NULLS LAST)"},
       {"DELETE FROM [@T] WHERE [Code]=N'1'", R"(DELETE FROM "@T" WHERE "Code" = '1')"},
       {"SELECT VALUE(Code, '') AS \"A\" FROM @T FETCH FIRST 2 ROWS ONLY",
        R"(SELECT coalesce("Code", '') AS "A" FROM "@T" LIMIT 2)"}});
}

TEST(TranslatorDb2, HasBracketsOnlyIfTheyAreAccepted) {
  EXPECT_EQ(dialectOf(2), Dialect::Db2);
  EXPECT_EQ(dialectOf(2, true), Dialect::Db2Brackets);
  EXPECT_EQ(dialectOf(1, true), Dialect::Mssql);
  EXPECT_EQ(dialectOf(3, true), Dialect::Sybase);
  EXPECT_EQ(dialectOf(9, true), Dialect::Kordb);
}

TEST(TranslatorDb2, TranslatesEveryStatementOfTheFramework) {
  expectGolden(
      Dialect::Db2,
      {{"select U_Version, U_Status  from @QXEXTDBV where U_ExtID = 'QX' order by Code desc",
        R"(SELECT "U_Version", "U_Status" FROM "@QXEXTDBV" WHERE "U_ExtID" = 'QX' )"
        R"(ORDER BY "Code" DESC NULLS FIRST)"},
       {"insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)   "
        "values ('1', '1', 'QX', '9.20', '07', 'Installed', CURRENT TIMESTAMP)",
        R"(INSERT INTO "@QXEXTDBV" ("Code", "Name", "U_ExtID", "U_Version", "U_EFNum", )"
        R"("U_Status", "U_Rdate") VALUES ('1', '1', 'QX', '9.20', '07', 'Installed', qx_now()))"},
       {"SELECT MAX(Code) FROM @QXEXTDBV", R"(SELECT max("Code") FROM "@QXEXTDBV")"},
       {"insert into @T (Code, Name, U_A) values ('1', '1', 'O''Brien')",
        R"(INSERT INTO "@T" ("Code", "Name", "U_A") VALUES ('1', '1', 'O''Brien'))"},
       {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND (EffecDate<= "
        "TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
        R"(SELECT "Code", "Rate", "EffecDate" FROM "VTG1" WHERE "Code" = 'A1' AND "EffecDate" )"
        R"(<= datetime(qx_now(), 'start of day') ORDER BY "EffecDate" DESC NULLS FIRST)"},
       {"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
        "(F_RefDate<=TIMESTAMP_ISO('2024-01-31')) AND "
        "TIMESTAMP_ISO('2024-01-31')<=(T_RefDate + 1 DAYS)",
        R"(SELECT "Category", "SubNum", "F_RefDate" FROM "OFPR" WHERE )"
        R"("F_RefDate" <= '2024-01-31 00:00:00' AND )"
        R"('2024-01-31 00:00:00' <= qx_add_time("T_RefDate", 1, 86400))"},
       {R"(SELECT T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A"  FROM @T T0     WHERE T0.Code = N'A' )"
        "ORDER BY T0.Code ASC  FETCH FIRST 5 ROWS ONLY",
        R"(SELECT "T0"."Code" AS "T0.Code", "T0"."U_A" AS "T0.U_A" FROM "@T" AS "T0" WHERE )"
        R"("T0"."Code" = 'A' ORDER BY "T0"."Code" NULLS LAST LIMIT 5)"},
       {"DELETE FROM @T  WHERE U_Date = TIMESTAMP_ISO(N'2024-01-31')",
        R"(DELETE FROM "@T" WHERE "U_Date" = '2024-01-31 00:00:00')"},
       {R"(SELECT Code AS "The code" FROM @T WHERE U_A='x')",
        R"(SELECT "Code" AS "The code" FROM "@T" WHERE "U_A" = 'x')"}});
}

TEST(TranslatorKordb, TranslatesEveryStatementOfTheFramework) {
  expectGolden(
      Dialect::Kordb,
      {{R"(select "U_Version", "U_Status" from "@QXEXTDBVERSION" where "U_ExtID" = 'QX' )"
        R"(order by "Code" desc)",
        R"(SELECT "U_Version", "U_Status" FROM "@QXEXTDBVERSION" WHERE "U_ExtID" = 'QX' )"
        R"(ORDER BY "Code" DESC)"},
       {R"(insert into "@QXEXTDBVERSION" ("Code", "U_Rdate")   values ('1', CURRENT_TIMESTAMP))",
        R"(INSERT INTO "@QXEXTDBVERSION" ("Code", "U_Rdate") VALUES ('1', qx_now()))"},
       {R"(select (case when "U_EFNum" is null then '00' else "U_EFNum" end) as "U_EFNum" from )"
        R"("@QXEXTDBVERSION" where "U_ExtID" = 'QX' order by "Code" desc)",
        R"(SELECT CASE WHEN "U_EFNum" IS NULL THEN '00' ELSE "U_EFNum" END AS "U_EFNum" FROM )"
        R"("@QXEXTDBVERSION" WHERE "U_ExtID" = 'QX' ORDER BY "Code" DESC)"},
       {R"(SELECT MAX("Code") FROM "@T")", R"(SELECT max("Code") FROM "@T")"},
       {R"(insert into "@T"("Code", "Name", "U_A") values ('1', '1', N'O''Brien'))",
        R"(INSERT INTO "@T" ("Code", "Name", "U_A") VALUES ('1', '1', 'O''Brien'))"},
       {R"(SELECT "FieldID" FROM CUFD WHERE "TableID" = '@T' AND "AliasID" = 'X')",
        R"(SELECT "FieldID" FROM "CUFD" WHERE "TableID" = '@T' AND "AliasID" = 'X')"},
       {R"(SELECT "Code", "Rate" FROM VTG1 WHERE ("Code" = 'A1') AND )"
        R"(("EffecDate"<=CURRENT_TIMESTAMP) ORDER BY "EffecDate" DESC)",
        R"(SELECT "Code", "Rate" FROM "VTG1" WHERE "Code" = 'A1' AND "EffecDate" <= qx_now() )"
        R"(ORDER BY "EffecDate" DESC)"},
       {R"(SELECT "Category" FROM OFPR WHERE ("F_RefDate"<='2024-01-31 00:00:00') AND )"
        R"('2024-01-31 00:00:00' <=(ADDDATE("T_RefDate", 1)))",
        R"(SELECT "Category" FROM "OFPR" WHERE "F_RefDate" <= '2024-01-31 00:00:00' AND )"
        R"('2024-01-31 00:00:00' <= qx_add_time("T_RefDate", 1, 86400))"},
       {R"(SELECT TOP 2 T0."Code" AS"T0.Code" FROM "@T" T0     WHERE T0."Code" = N'A' )"
        R"(ORDER BY T0."Code")",
        R"(SELECT "T0"."Code" AS "T0.Code" FROM "@T" AS "T0" WHERE "T0"."Code" = 'A' )"
        R"(ORDER BY "T0"."Code" LIMIT 2)"},
       {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.\"Code\" AS "
        "\"__kf__.Code\" \r\nFROM \"@T\" T0\r\nWHERE T0.\"U_A\" >= N'x'\r\nORDER BY T0.\"U_A\" "
        "ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] T0\r\nORDER BY "
        "T0.\"__kf__.Code\" ASC",
        R"(WITH "__tempCTE*&^()132" AS (SELECT "T0"."Code" AS "__kf__.Code" FROM "@T" AS "T0" )"
        R"(WHERE "T0"."U_A" >= 'x' ORDER BY "T0"."U_A" LIMIT (SELECT count(*) FROM (SELECT )"
        R"(rank() OVER (ORDER BY "T0"."U_A") AS "rank" FROM "@T" AS "T0" WHERE "T0"."U_A" >= )"
        R"('x') WHERE "rank" <= 2)) SELECT * FROM "__tempCTE*&^()132" AS "T0" ORDER BY )"
        R"("T0"."__kf__.Code")"}});
}

TEST(TranslatorServerTypes, ServerTypesMapToDialects) {
  EXPECT_EQ(dialectOf(2), Dialect::Db2);
  EXPECT_EQ(dialectOf(3), Dialect::Sybase);
  EXPECT_EQ(dialectOf(9), Dialect::Kordb);
  EXPECT_EQ(dialectOf(1), Dialect::Mssql);
  EXPECT_EQ(dialectOf(4), Dialect::Mssql);
}

TEST(TranslatorJoins, EveryKindOfJoinIsWritten) {
  const auto joined = [](const std::string& words) {
    return translated(Dialect::Mssql,
                      "SELECT T0.A FROM X T0" + words + " JOIN Y T1 ON T0.A = T1.A");
  };
  EXPECT_EQ(joined(" INNER"),
            R"(SELECT "T0"."A" FROM "X" AS "T0" INNER JOIN "Y" AS "T1" ON "T0"."A" = "T1"."A")");
  EXPECT_EQ(
      joined(" LEFT OUTER"),
      R"(SELECT "T0"."A" FROM "X" AS "T0" LEFT OUTER JOIN "Y" AS "T1" ON "T0"."A" = "T1"."A")");
  EXPECT_EQ(
      joined(" RIGHT OUTER"),
      R"(SELECT "T0"."A" FROM "X" AS "T0" RIGHT OUTER JOIN "Y" AS "T1" ON "T0"."A" = "T1"."A")");
  EXPECT_EQ(
      joined(" FULL OUTER"),
      R"(SELECT "T0"."A" FROM "X" AS "T0" FULL OUTER JOIN "Y" AS "T1" ON "T0"."A" = "T1"."A")");
  EXPECT_EQ(joined(""), joined(" INNER"));
}

TEST(TranslatorBrackets, BracketsFollowThePrecedenceOfTheEngine) {
  expectGolden(Dialect::Mssql,
               {{"SELECT a FROM T WHERE NOT (a = 1 OR b = 2) AND (c = 3 OR d = 4)",
                 R"(SELECT "a" FROM "T" WHERE NOT ("a" = 1 OR "b" = 2) AND ("c" = 3 OR "d" = 4))"},
                {"SELECT (a - (b - c)) * -(d + 1) FROM T",
                 R"(SELECT ("a" - ("b" - "c")) * -("d" + 1) FROM "T")"},
                {"SELECT - - -a FROM T", R"(SELECT -(-(-"a")) FROM "T")"},
                {"SELECT 'a' + b + 'c' FROM T", R"(SELECT ('a' || "b") || 'c' FROM "T")"}});
}

TEST(TranslatorPlus, PlusJoinsTextsAndAddsNumbers) {
  EXPECT_EQ(translated(Dialect::Mssql, "SELECT a FROM T WHERE 'x' + a = b + 1"),
            R"(SELECT "a" FROM "T" WHERE 'x' || "a" = "b" + 1)");
  EXPECT_EQ(translated(Dialect::Db2, "SELECT a || b FROM T"), R"(SELECT "a" || "b" FROM "T")");
  EXPECT_EQ(translated(Dialect::Kordb, "SELECT a + b FROM T"), R"(SELECT "a" + "b" FROM "T")");
}

TEST(TranslatorPatterns, PatternsWithSetsUseTheRegisteredFunction) {
  EXPECT_EQ(translated(Dialect::Mssql, "SELECT a FROM T WHERE a NOT LIKE '[a-c]%' AND b LIKE c"),
            R"(SELECT "a" FROM "T" WHERE NOT qx_like("a", '[a-c]%') AND qx_like("b", "c"))");
  EXPECT_EQ(translated(Dialect::Db2, "SELECT a FROM T WHERE a NOT LIKE '[a-c]%' ESCAPE '!'"),
            R"(SELECT "a" FROM "T" WHERE "a" NOT LIKE '[a-c]%' ESCAPE '!')");
}

TEST(TranslatorNames, NamesAreDecodedAndQuoted) {
  EXPECT_EQ(translated(Dialect::Mssql, "SELECT [a]]b], [c\"d] FROM [x y]"),
            R"(SELECT "a]b", "c""d" FROM "x y")");
  EXPECT_EQ(translated(Dialect::Kordb, R"(SELECT "a""b" FROM "@T")"), R"(SELECT "a""b" FROM "@T")");
}

TEST(TranslatorComments, NestedCommentsAreSkipped) {
  EXPECT_EQ(translated(Dialect::Mssql, "SELECT a -- b\r\n, c /* d /* e */ f */ FROM T;"),
            R"(SELECT "a", "c" FROM "T")");
}

TEST(TranslatorUnion, PartsOfAUnionAreLimitedOneByOne) {
  EXPECT_EQ(translated(Dialect::Mssql,
                       "SELECT TOP 1 a FROM T UNION ALL SELECT b FROM U UNION SELECT c FROM V "
                       "ORDER BY 1 DESC"),
            R"(SELECT * FROM (SELECT "a" FROM "T" LIMIT 1) UNION ALL SELECT "b" FROM "U" UNION )"
            R"(SELECT "c" FROM "V" ORDER BY 1 DESC)");
}

TEST(TranslatorTies, AliasInTheOrderIsRankedByItsExpression) {
  EXPECT_EQ(
      translated(Dialect::Mssql, "SELECT TOP 3 WITH TIES a + 1 AS b FROM T ORDER BY b DESC, c"),
      R"(SELECT "a" + 1 AS "b" FROM "T" ORDER BY "b" DESC, "c" LIMIT (SELECT count(*) )"
      R"(FROM (SELECT rank() OVER (ORDER BY "a" + 1 DESC, "c") AS "rank" FROM "T") WHERE )"
      R"("rank" <= 3))");
}

TEST(TranslatorSubqueries, SubqueriesAreWrittenInEveryPlace) {
  EXPECT_EQ(
      translated(Dialect::Mssql,
                 "SELECT a, (SELECT MAX(b) FROM U) m FROM (SELECT a, c FROM T) X WHERE EXISTS "
                 "(SELECT * FROM V WHERE V.a = X.a) AND c NOT IN (SELECT d FROM W) AND a IN (1, 2) "
                 "AND c BETWEEN 1 AND 5"),
      R"(SELECT "a", (SELECT max("b") FROM "U") AS "m" FROM (SELECT "a", "c" FROM "T") AS "X" )"
      R"(WHERE EXISTS (SELECT * FROM "V" WHERE "V"."a" = "X"."a") AND "c" NOT IN (SELECT "d" )"
      R"(FROM "W") AND "a" IN (1, 2) AND "c" BETWEEN 1 AND 5)");
}

TEST(TranslatorGroups, GroupsAndTheirConditionsAreWritten) {
  EXPECT_EQ(translated(Dialect::Mssql,
                       "SELECT a, COUNT(DISTINCT b), SUM(c) s FROM T GROUP BY a HAVING SUM(c) > 5"),
            R"(SELECT "a", count(DISTINCT "b"), sum("c") AS "s" FROM "T" GROUP BY "a" )"
            R"(HAVING sum("c") > 5)");
}

TEST(TranslatorDates, EachDialectAddsUnitsToDates) {
  expectGolden(
      Dialect::Mssql,
      {{"SELECT DATEADD(hour, -2, a) FROM T", R"(SELECT qx_add_time("a", -2, 3600) FROM "T")"},
       {"SELECT DATEADD(week, b, a) FROM T", R"(SELECT qx_add_time("a", "b", 604800) FROM "T")"},
       {"SELECT getdate() - 1", R"(SELECT qx_add_time(qx_now(), -1, 86400))"},
       {"SELECT CONVERT(nvarchar(8), a, 112), DATEDIFF(day, a, b) FROM T",
        R"(SELECT substr(CAST(strftime('%Y%m%d', "a") AS TEXT), 1, 8), )"
        R"(CAST(julianday(date("b")) - julianday(date("a")) AS INTEGER) FROM "T")"}});
  EXPECT_EQ(translated(Dialect::Db2, "SELECT a - 2 HOURS + n DAYS FROM T"),
            R"(SELECT qx_add_time(qx_add_time("a", -2, 3600), "n", 86400) FROM "T")");
  EXPECT_EQ(translated(Dialect::Kordb, "SELECT CURRENT_DATE FROM T"),
            R"(SELECT datetime(qx_now(), 'start of day') FROM "T")");
}

TEST(TranslatorCommonTables, CommonTableSeesEarlierOnes) {
  EXPECT_EQ(translated(Dialect::Mssql,
                       "WITH A AS (SELECT * FROM T), B AS (SELECT * FROM A) SELECT A.x + 'a' "
                       "FROM A, B"),
            R"(WITH "A" AS (SELECT * FROM "T"), "B" AS (SELECT * FROM "A") SELECT "A"."x" || 'a' )"
            R"(FROM "A" CROSS JOIN "B")");
  test::CompanyDatabase database(Engine::Sqlite, Dialect::Mssql);
  const Translation hidden = database.translate(
      "WITH A AS (SELECT U_T FROM [@L]), B AS (SELECT * FROM A) SELECT U_T FROM B");
  ASSERT_EQ(hidden.columns.size(), 1U);
  EXPECT_EQ(hidden.columns[0].type, ColumnType::Text);
}

// ---- row count of the connection

TEST(TranslatorRowCount, RowCountLimitsStatementsUntilZero) {
  Translator translator(Dialect::Sybase);
  const Translation set = translator.translate("SET ROWCOUNT 7");
  EXPECT_EQ(set.kind, StatementKind::SetRowCount);
  EXPECT_EQ(set.text, "");
  EXPECT_EQ(translator.translate("SELECT a FROM T ORDER BY a").text,
            R"(SELECT "a" FROM "T" ORDER BY "a" LIMIT 7)");
  EXPECT_EQ(translator.translate("SELECT TOP 3 a FROM T").text, R"(SELECT "a" FROM "T" LIMIT 3)");
  EXPECT_EQ(translator.translate("SELECT TOP 9 a FROM T").text, R"(SELECT "a" FROM "T" LIMIT 7)");
  EXPECT_EQ(
      translator.translate("UPDATE T SET a = 1 WHERE b = 2").text,
      R"(UPDATE "T" SET "a" = 1 WHERE rowid IN (SELECT rowid FROM "T" WHERE "b" = 2 LIMIT 7))");
  EXPECT_EQ(translator.translate("DELETE FROM T").text,
            R"(DELETE FROM "T" WHERE rowid IN (SELECT rowid FROM "T" LIMIT 7))");
  translator.translate("set rowcount 0");
  EXPECT_EQ(translator.translate("DELETE FROM T").text, R"(DELETE FROM "T")");
}

TEST(TranslatorRowCount, RowCountSurvivesARefusedStatement) {
  Translator translator(Dialect::Sybase);
  translator.translate("SET ROWCOUNT 7");
  EXPECT_THROW(translator.translate("SELECT FROM"), SqlError);
  EXPECT_EQ(translator.translate("SELECT a FROM T").text, R"(SELECT "a" FROM "T" LIMIT 7)");
}

// ---- result columns

TEST(TranslatorColumns, ColumnsHaveTheirNamesAsWritten) {
  const Translation translation = Translator(Dialect::Mssql)
                                      .translate(
                                          "SELECT T0.Code AS'T0.Code', u_a, MAX(b), 1 AS n "
                                          "FROM T T0");
  ASSERT_EQ(translation.columns.size(), 4U);
  EXPECT_EQ(translation.columns[0].name, "T0.Code");
  EXPECT_EQ(translation.columns[1].name, "u_a");
  EXPECT_EQ(translation.columns[2].name, "");
  EXPECT_EQ(translation.columns[3].name, "n");
}

TEST(TranslatorColumns, StarLeavesTheColumnsToTheDatabase) {
  const Translation translation =
      Translator(Dialect::Mssql).translate("SELECT COUNT(a), T0.* FROM T T0");
  EXPECT_TRUE(translation.columns.empty());
  EXPECT_EQ(translation.text, R"(SELECT count("a") AS "", "T0".* FROM "T" AS "T0")");
}

TEST(TranslatorColumns, ColumnsHaveTheTypesThatTheTextDetermines) {
  const Translation translation =
      Translator(Dialect::Mssql)
          .translate(
              "SELECT COUNT(*), getdate(), 'x', 1.5, 2, CAST(a AS int), a, MAX(a), "
              "ISNULL(a, 0), CASE WHEN a = 1 THEN b ELSE c END FROM T");
  const std::vector<std::pair<ColumnType, std::string>> expected = {
      {ColumnType::Integer, ""},
      {ColumnType::Date, ""},
      {ColumnType::Text, ""},
      {ColumnType::Decimal, ""},
      {ColumnType::Integer, ""},
      {ColumnType::Integer, ""},
      {ColumnType::Unknown, ""},
      {ColumnType::Unknown, R"(SELECT "a" FROM "T" LIMIT 0)"},
      {ColumnType::Unknown, R"(SELECT "a" FROM "T" LIMIT 0)"},
      {ColumnType::Unknown, R"(SELECT "b", "c" FROM "T" LIMIT 0)"},
  };
  ASSERT_EQ(translation.columns.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(translation.columns[i].type, expected[i].first) << i;
    EXPECT_EQ(translation.columns[i].probe, expected[i].second) << i;
  }
}

TEST(TranslatorNumbers, TextBesideANumberIsRead) {
  EXPECT_EQ(translated(Dialect::Mssql,
                       "SELECT CAST(a AS nvarchar(5)) + 1, LTRIM(a) + 1.5, '5' + 3, '' + 3, "
                       "CAST(LTRIM(a) AS int), CAST('' AS int) FROM T"),
            R"(SELECT qx_whole(qx_whole_text(substr(CAST("a" AS TEXT), 1, 5)) + 1), )"
            R"(CAST(qx_number(ltrim("a")) AS REAL) + 1.5, qx_whole(5 + 3), qx_whole(0 + 3), )"
            R"(qx_whole_text(ltrim("a")), qx_whole_text('0') FROM "T")");
}

TEST(TranslatorDates, DateAsATextIsWrittenByDialect) {
  constexpr std::string_view kText = "SELECT CAST(CAST(a AS datetime) AS nvarchar(6)) FROM T";
  EXPECT_EQ(translated(Dialect::Sybase, kText),
            R"(SELECT substr(qx_month_date(qx_date("a")), 1, 6) FROM "T")");
  EXPECT_EQ(translated(Dialect::Kordb, kText),
            R"(SELECT substr(CAST(qx_date("a") AS TEXT), 1, 6) FROM "T")");
}

TEST(TranslatorNumbers, ResultsThatSqliteWouldChangeAreChecked) {
  EXPECT_EQ(
      translated(Dialect::Mssql,
                 "SELECT 1 + 2 * 3, (1 + 2) * -3 - 4, 1 + a, 1.5 + 2 * 3, CAST(a AS int), "
                 "CAST(2 AS int), CAST(a AS decimal(9,2)), ROUND(7, 1), ROUND(a, 1), 12.5, "
                 "1.5E+300 FROM T"),
      R"(SELECT qx_whole(1 + 2 * 3), qx_whole((1 + 2) * -3 - 4), 1 + "a", )"
      R"(1.5 + qx_whole(2 * 3), qx_cut("a"), CAST(2 AS INTEGER), )"
      R"(round(CAST("a" AS REAL), 2), 7, round("a", 1), 12.5, qx_number('1.5E+300') FROM "T")");
}

}  // namespace
}  // namespace qx::sql
