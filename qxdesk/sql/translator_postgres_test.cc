// Golden text: the statements that the framework writes in each dialect, and their PostgreSQL text.
// The suites say Server, because "Postgres" in a test's name means that it needs a running one.
#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::refusal;
using test::translatedForPostgres;

struct Golden {
  std::string_view input;
  std::string_view output;
};

void expectGolden(Dialect dialect, const std::vector<Golden>& pairs) {
  ASSERT_FALSE(pairs.empty());
  for (const Golden& pair : pairs) {
    EXPECT_EQ(translatedForPostgres(dialect, pair.input), pair.output);
  }
}

const std::vector<Golden> kBracketStatements = {
    {"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = 'QX' "
     "order by Code desc",
     R"(SELECT "u_version", "u_status" FROM "@qxextdbversion" WHERE "u_extid" = 'QX' )"
     R"(ORDER BY "code" DESC NULLS LAST)"},
    {"insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, "
     "U_Status, U_Rdate)   values ('00000001', '00000001', 'QX', '9.20', '07', "
     "'Installed', getdate())",
     R"(INSERT INTO "@qxextdbversion" ("code", "name", "u_extid", "u_version", )"
     R"("u_efnum", "u_status", "u_rdate") VALUES ('00000001', '00000001', 'QX', )"
     "'9.20', '07', 'Installed', timestamp '2024-02-15 13:45:10')"},
    {"delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20' "
     "and U_EFNum= '07'",
     R"(DELETE FROM "@qxextdbversion" WHERE "u_extid" = 'QX' AND "u_version" = '9.20' )"
     R"(AND "u_efnum" = '07')"},
    {"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum "
     "from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc",
     R"(SELECT CASE WHEN "u_efnum" IS NULL THEN '00' ELSE "u_efnum" END AS "u_efnum" )"
     R"(FROM "@qxextdbversion" WHERE "u_extid" = 'QX' ORDER BY "code" DESC NULLS LAST)"},
    {"SELECT MAX(Code) FROM [@T]", R"(SELECT max("code") FROM "@t")"},
    {"insert into [@T] (Code, Name, U_A, U_Date) values ('1', '1', N'O''Brien', "
     "GETDATE())",
     R"(INSERT INTO "@t" ("code", "name", "u_a", "u_date") VALUES ('1', '1', )"
     "'O''Brien', timestamp '2024-02-15 13:45:10')"},
    {"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'X'",
     R"(SELECT "fieldid" FROM "cufd" WHERE "tableid" = '@T' AND "aliasid" = 'X')"},
    {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND "
     "(EffecDate<=GetDate()) ORDER BY EffecDate DESC",
     R"(SELECT "code", "rate", "effecdate" FROM "vtg1" WHERE "code" = 'A1' AND )"
     R"("effecdate" <= timestamp '2024-02-15 13:45:10' ORDER BY "effecdate" DESC )"
     "NULLS LAST"},
    {"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
     "(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
     "CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))",
     R"(SELECT "category", "subnum", "f_refdate" FROM "ofpr" WHERE "f_refdate" <= )"
     "timestamp '2024-01-31 00:00:00' AND timestamp '2024-01-31 00:00:00' <= "
     R"((CAST("t_refdate" AS timestamp) + 1 * interval '1 day' + interval '103830043 days' )"
     "- interval '105551469 days' + interval '1721426 days')"},
    {"SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'A'",
     R"(SELECT "t0"."code" AS "t0.code" FROM "@t" AS "t0" WHERE "t0"."code" = 'A')"},
    {"INSERT INTO [@T] ( Code, Name, U_A)  VALUES ( N'1', N'1', N'x') ",
     R"(INSERT INTO "@t" ("code", "name", "u_a") VALUES ('1', '1', 'x'))"},
    {"UPDATE [@T]  SET U_A = N'x', U_Price = 12.5, U_Date = "
     "CONVERT(datetime,N'20240131',112)  WHERE Code = N'1' AND U_B = 5",
     R"(UPDATE "@t" SET "u_a" = 'x', "u_price" = 12.5, "u_date" = timestamp )"
     R"('2024-01-31 00:00:00' WHERE "code" = '1' AND "u_b" = 5)"},
    {"DELETE FROM [@T]   WHERE (Code = N'1' OR Price = N'12.5')",
     R"(DELETE FROM "@t" WHERE "code" = '1' OR "price" = '12.5')"},
    {"SELECT TOP 5 T0.Code AS'T0.Code',T1.U_Text AS'T1.U_Text' FROM [@T] T0   "
     "LEFT OUTER JOIN [@L] T1 ON T0.Code = T1.U_T AND T1.Code  =  N'1' WHERE "
     "T0.U_A LIKE N'%x' OR (T0.U_B >= 5 AND T0.U_B <> 7) ORDER BY T0.Code "
     "ASC,T0.U_A DESC",
     R"(SELECT "t0"."code" AS "t0.code", "t1"."u_text" AS "t1.u_text" FROM "@t" AS )"
     R"("t0" LEFT OUTER JOIN "@l" AS "t1" ON "t0"."code" = "t1"."u_t" AND "t1"."code" )"
     R"(= '1' WHERE "t0"."u_a" LIKE '%x' ESCAPE '' OR "t0"."u_b" >= 5 AND "t0"."u_b" )"
     R"(<> 7 ORDER BY "t0"."code" NULLS FIRST, "t0"."u_a" DESC NULLS LAST LIMIT 5)"},
    {"SELECT Code AS 'The code' ,Name AS 'It''s' FROM [@T] WHERE U_A='x'",
     R"(SELECT "code" AS "the code", "name" AS "it's" FROM "@t" WHERE "u_a" = 'x')"},
    {"SELECT * FROM HVITEM WHERE U_A IS NOT NULL",
     R"(SELECT * FROM "hvitem" WHERE "u_a" IS NOT NULL)"},
    {"SELECT T0.[Code] AS N'__kf__.Code', T0.[U_A] AS N'__pff__.U_A', T0.*\r\nFROM "
     "[@T] T0\r\nWHERE T0.[U_B] >= 5\r\nORDER BY T0.[Code] ASC\r\n",
     R"(SELECT "t0"."code" AS "__kf__.code", "t0"."u_a" AS "__pff__.u_a", "t0".* FROM )"
     R"("@t" AS "t0" WHERE "t0"."u_b" >= 5 ORDER BY "t0"."code" NULLS FIRST)"},
    {"SELECT COUNT(*)\r\nFROM [@T] T0\r\n", R"(SELECT count(*) FROM "@t" AS "t0")"},
    {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.[Code] AS "
     "N'__kf__.Code', T0.[U_A] AS N'__pff__.U_A' \r\nFROM [@T] T0\r\nWHERE (T0.[U_B] "
     "> 1 AND T0.[U_B] < 9) AND (T0.[U_A] >= N'x')\r\nORDER BY T0.[U_A] "
     "ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] T0\r\nORDER BY T0.[__pff__.U_A] "
     "ASC,T0.[__kf__.Code] ASC",
     R"(WITH "__tempcte*&^()132" AS (SELECT "t0"."code" AS "__kf__.code", "t0"."u_a" )"
     R"(AS "__pff__.u_a" FROM "@t" AS "t0" WHERE ("t0"."u_b" > 1 AND "t0"."u_b" < 9) )"
     R"(AND "t0"."u_a" >= 'x' ORDER BY "t0"."u_a" NULLS FIRST FETCH FIRST 2 ROWS WITH )"
     R"(TIES) SELECT * FROM "__tempcte*&^()132" AS "t0" ORDER BY "t0"."__pff__.u_a" )"
     R"(NULLS FIRST, "t0"."__kf__.code" NULLS FIRST)"},
    {"INSERT INTO [@T] ([Code], [Name], [U_A]) \r\nVALUES (N'000000FF', "
     "N'000000FF', N'x')",
     R"(INSERT INTO "@t" ("code", "name", "u_a") VALUES ('000000FF', '000000FF', 'x'))"},
    {"UPDATE [@T] SET [U_A]=N'x', [U_Price]=12.5 WHERE [Code]=N'1' AND [U_B]=5",
     R"(UPDATE "@t" SET "u_a" = 'x', "u_price" = 12.5 WHERE "code" = '1' AND "u_b" = 5)"},
    {"DELETE FROM [@T] WHERE [Code]=N'1'", R"(DELETE FROM "@t" WHERE "code" = '1')"},
};

TEST(TranslatorForServerMssql, TranslatesEveryStatementOfTheFramework) {
  expectGolden(Dialect::Mssql, kBracketStatements);
}

TEST(TranslatorForServerSybase, TranslatesEveryStatementOfTheFramework) {
  expectGolden(Dialect::Sybase, kBracketStatements);
}

TEST(TranslatorForServerDb2, TranslatesEveryStatementOfTheFramework) {
  expectGolden(
      Dialect::Db2,
      {{"select U_Version, U_Status  from @QXEXTDBV where U_ExtID = 'QX' order by "
        "Code desc",
        R"(SELECT "u_version", "u_status" FROM "@qxextdbv" WHERE "u_extid" = 'QX' ORDER )"
        R"(BY "code" DESC)"},
       {"insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, "
        "U_Rdate)   values ('1', '1', 'QX', '9.20', '07', 'Installed', CURRENT "
        "TIMESTAMP)",
        R"(INSERT INTO "@qxextdbv" ("code", "name", "u_extid", "u_version", "u_efnum", )"
        R"("u_status", "u_rdate") VALUES ('1', '1', 'QX', '9.20', '07', 'Installed', )"
        "timestamp '2024-02-15 13:45:10')"},
       {"SELECT MAX(Code) FROM @QXEXTDBV", R"(SELECT max("code") FROM "@qxextdbv")"},
       {"insert into @T (Code, Name, U_A) values ('1', '1', 'O''Brien')",
        R"(INSERT INTO "@t" ("code", "name", "u_a") VALUES ('1', '1', 'O''Brien'))"},
       {"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A1') AND (EffecDate<= "
        "TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
        R"(SELECT "code", "rate", "effecdate" FROM "vtg1" WHERE "code" = 'A1' AND )"
        R"("effecdate" <= timestamp '2024-02-15 00:00:00' ORDER BY "effecdate" DESC)"},
       {"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
        "(F_RefDate<=TIMESTAMP_ISO('2024-01-31')) AND "
        "TIMESTAMP_ISO('2024-01-31')<=(T_RefDate + 1 DAYS)",
        R"(SELECT "category", "subnum", "f_refdate" FROM "ofpr" WHERE "f_refdate" <= )"
        "timestamp '2024-01-31 00:00:00' AND timestamp '2024-01-31 00:00:00' <= "
        R"((CAST("t_refdate" AS timestamp) + 1 * interval '1 day' + interval '103830043 days' )"
        "- interval '105551469 days' + interval '1721426 days')"},
       {R"(SELECT T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A"  FROM @T T0     WHERE )"
        "T0.Code = N'A' ORDER BY T0.Code ASC  FETCH FIRST 5 ROWS ONLY",
        R"(SELECT "t0"."code" AS "t0.code", "t0"."u_a" AS "t0.u_a" FROM "@t" AS "t0" )"
        R"(WHERE "t0"."code" = 'A' ORDER BY "t0"."code" LIMIT 5)"},
       {"DELETE FROM @T  WHERE U_Date = TIMESTAMP_ISO(N'2024-01-31')",
        R"(DELETE FROM "@t" WHERE "u_date" = timestamp '2024-01-31 00:00:00')"},
       {R"(SELECT Code AS "The code" FROM @T WHERE U_A='x')",
        R"(SELECT "code" AS "the code" FROM "@t" WHERE "u_a" = 'x')"}});
}

TEST(TranslatorForServerKordb, TranslatesEveryStatementOfTheFramework) {
  expectGolden(
      Dialect::Kordb,
      {{R"(select "U_Version", "U_Status" from "@QXEXTDBVERSION" where "U_ExtID" = )"
        R"('QX' order by "Code" desc)",
        R"(SELECT "u_version", "u_status" FROM "@qxextdbversion" WHERE "u_extid" = 'QX' )"
        R"(ORDER BY "code" DESC NULLS LAST)"},
       {R"(insert into "@QXEXTDBVERSION" ("Code", "U_Rdate")   values ('1', )"
        "CURRENT_TIMESTAMP)",
        R"(INSERT INTO "@qxextdbversion" ("code", "u_rdate") VALUES ('1', timestamp )"
        "'2024-02-15 13:45:10')"},
       {R"(select (case when "U_EFNum" is null then '00' else "U_EFNum" end) as )"
        R"("U_EFNum" from "@QXEXTDBVERSION" where "U_ExtID" = 'QX' order by "Code" desc)",
        R"(SELECT CASE WHEN "u_efnum" IS NULL THEN '00' ELSE "u_efnum" END AS "u_efnum" )"
        R"(FROM "@qxextdbversion" WHERE "u_extid" = 'QX' ORDER BY "code" DESC NULLS LAST)"},
       {R"(SELECT MAX("Code") FROM "@T")", R"(SELECT max("code") FROM "@t")"},
       {R"(insert into "@T"("Code", "Name", "U_A") values ('1', '1', N'O''Brien'))",
        R"(INSERT INTO "@t" ("code", "name", "u_a") VALUES ('1', '1', 'O''Brien'))"},
       {R"(SELECT "FieldID" FROM CUFD WHERE "TableID" = '@T' AND "AliasID" = 'X')",
        R"(SELECT "fieldid" FROM "cufd" WHERE "tableid" = '@T' AND "aliasid" = 'X')"},
       {R"(SELECT "Code", "Rate" FROM VTG1 WHERE ("Code" = 'A1') AND )"
        R"(("EffecDate"<=CURRENT_TIMESTAMP) ORDER BY "EffecDate" DESC)",
        R"(SELECT "code", "rate" FROM "vtg1" WHERE "code" = 'A1' AND "effecdate" <= )"
        R"(timestamp '2024-02-15 13:45:10' ORDER BY "effecdate" DESC NULLS LAST)"},
       {R"(SELECT "Category" FROM OFPR WHERE ("F_RefDate"<='2024-01-31 00:00:00') AND )"
        R"('2024-01-31 00:00:00' <=(ADDDATE("T_RefDate", 1)))",
        R"(SELECT "category" FROM "ofpr" WHERE "f_refdate" <= '2024-01-31 00:00:00' AND )"
        R"(timestamp '2024-01-31 00:00:00' <= (CAST("t_refdate" AS timestamp) + 1 * interval )"
        "'1 day' + interval '103830043 days' - interval '105551469 days' + interval '1721426 "
        "days')"},
       {R"(SELECT TOP 2 T0."Code" AS"T0.Code" FROM "@T" T0     WHERE T0."Code" = N'A' )"
        R"(ORDER BY T0."Code")",
        R"(SELECT "t0"."code" AS "t0.code" FROM "@t" AS "t0" WHERE "t0"."code" = 'A' )"
        R"(ORDER BY "t0"."code" NULLS FIRST LIMIT 2)"},
       {"WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 2 WITH TIES T0.\"Code\" AS "
        "\"__kf__.Code\" \r\nFROM \"@T\" T0\r\nWHERE T0.\"U_A\" >= N'x'\r\nORDER BY T0.\"U_A\" "
        "ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] T0\r\nORDER BY T0.\"__kf__.Code\" "
        "ASC",
        R"(WITH "__tempcte*&^()132" AS (SELECT "t0"."code" AS "__kf__.code" FROM "@t" AS )"
        R"("t0" WHERE "t0"."u_a" >= 'x' ORDER BY "t0"."u_a" NULLS FIRST FETCH FIRST 2 )"
        R"(ROWS WITH TIES) SELECT * FROM "__tempcte*&^()132" AS "t0" ORDER BY )"
        R"("t0"."__kf__.code" NULLS FIRST)"}});
}

// ---- names

TEST(TranslatorForServerNames, NamesAreDecodedFoldedAndQuoted) {
  EXPECT_EQ(translatedForPostgres(Dialect::Mssql, "SELECT [A]]b], [C\"d], É FROM [X y]"),
            R"(SELECT "a]b", "c""d", "É" FROM "x y")");
}

TEST(TranslatorForServerNames, NamesThatTheServerWouldCutAreRefused) {
  const std::string longest(63, 'n');
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT " + longest + " FROM T", Engine::Postgres), "");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT n" + longest + " FROM T", Engine::Sqlite), "");
  const std::string refused =
      "the name nnnnnnnnnnnnnnnnnnnnnnnn... is too long for PostgreSQL; at most 63 bytes (line 1, "
      "column ";
  for (const auto& [text, column] :
       std::vector<std::pair<std::string, int>>{{"SELECT n" + longest + " FROM T", 8},
                                                {"SELECT a AS N'n" + longest + "' FROM T", 13},
                                                {"SELECT a FROM [n" + longest + "]", 15},
                                                {"UPDATE T SET n" + longest + " = 1", 14}}) {
    EXPECT_EQ(refusal(Dialect::Mssql, text, Engine::Postgres),
              refused + std::to_string(column) + ")");
  }
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a AS \"n" + longest + "\" FROM T", Engine::Postgres),
            refused + "13)");
}

TEST(TranslatorForServerNames, TablesOfTheServerItselfAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT passwd FROM Pg_Shadow", Engine::Postgres),
            "the table Pg_Shadow is one of PostgreSQL's own, which statements cannot name (line 1, "
            "column 20)");
  EXPECT_NE(refusal(Dialect::Kordb, "DELETE FROM \"pg_class\"", Engine::Postgres), "");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT pg_x FROM pgx", Engine::Postgres), "");
}

// ---- functions and operators

TEST(TranslatorForServerTime, ServerTimeIsUsedWithoutAClock) {
  Translator translator(Dialect::Db2, nullptr, {.engine = Engine::Postgres});
  EXPECT_EQ(translator.translate("SELECT CURRENT TIMESTAMP, CURRENT DATE FROM T").text,
            R"(SELECT date_trunc('second', CAST(statement_timestamp() AS timestamp)), )"
            R"(date_trunc('day', CAST(statement_timestamp() AS timestamp)) FROM "t")");
}

TEST(TranslatorForServerTime, ClockIsReadOncePerStatement) {
  int asked = 0;
  Translator translator(Dialect::Mssql, nullptr, {.engine = Engine::Postgres, .now = [&asked] {
                                                    ++asked;
                                                    return std::string("2024-02-15 13:45:10");
                                                  }});
  translator.translate("SELECT a FROM T");
  EXPECT_EQ(asked, 0);
  translator.translate("SELECT getdate(), getdate() + 1");
  EXPECT_EQ(asked, 1);
}

TEST(TranslatorForServerDates, DatesUseTheServersArithmetic) {
  expectGolden(
      Dialect::Mssql,
      {{"SELECT DATEADD(hour, -2, a) FROM T",
        R"(SELECT (CAST("a" AS timestamp) + -2 * interval '1 hour' + interval '103830043 days' )"
        R"(- interval '105551469 days' + interval '1721426 days') FROM "t")"},
       {"SELECT DATEADD(week, b, a) FROM T",
        R"(SELECT (CAST("a" AS timestamp) + trunc(CAST("b" AS numeric)) * interval '1 week' )"
        R"(+ interval '103830043 days' - interval '105551469 days' + interval '1721426 days') )"
        R"(FROM "t")"},
       {"SELECT getdate() - 1",
        "SELECT (timestamp '2024-02-15 13:45:10' + -1 * interval '1 day' + interval '103830043 "
        "days' - interval '105551469 days' + interval '1721426 days')"},
       {"SELECT CONVERT(nvarchar(8), a, 112), DATEDIFF(day, a, b), MONTH(a) FROM T",
        R"(SELECT CAST(to_char(CAST("a" AS timestamp), 'YYYYMMDD') AS varchar(8)), )"
        R"((CAST(CAST("b" AS timestamp) AS date) - CAST(CAST("a" AS timestamp) AS date)), )"
        R"(CAST(extract(month FROM CAST("a" AS timestamp)) AS integer) FROM "t")"},
       {"SELECT CAST(a + 'x' AS datetime) FROM T",
        R"(SELECT CAST(regexp_replace(regexp_replace("a" || 'x', '^(?! *\d{4}(-\d\d-\d\d|)"
        R"(\d{4})([ T]([01]\d|2[0-3]):[0-5]\d(:[0-5]\d(\.\d*)?)?)? *$)', 'not a date: '), )"
        R"('(:\d\d)\.\d* *$', '\1') AS timestamp) FROM "t")"}});
}

TEST(TranslatorForServerNumbers, NumbersHaveTheWidthAndFormOfSqlite) {
  expectGolden(Dialect::Mssql,
               {{"SELECT 7 / 2, 1 + 2 * 3, 1.5 / CAST(a AS int), CAST(a AS decimal(21,6)) FROM T",
                 R"(SELECT 7 / 2, CAST(1 AS bigint) + CAST(2 AS bigint) * 3, CAST(1.5 AS numeric) )"
                 R"(/ NULLIF(CAST(trunc(CAST("a" AS numeric)) AS bigint), 0), )"
                 R"(round(CAST("a" AS numeric), 6) FROM "t")"},
                {"SELECT ROUND(a, 2), 'x' + CAST(1.50 AS nvarchar), ABS(a) FROM T",
                 R"(SELECT round(CAST("a" AS numeric), 2), 'x' || CAST(CAST(trim_scale(CAST(CAST()"
                 R"(1.50 AS double precision) AS numeric)) AS text) AS text), abs("a") FROM "t")"},
                {"SELECT SUM(1), SUM(a), SUM(1) + 1, 1 - 9223372036854775808 FROM T",
                 R"(SELECT CAST(sum(1) AS bigint), sum("a"), CAST(sum(1) AS bigint) + 1, )"
                 R"(CAST(1 AS bigint) - CAST(9223372036854775808 AS bigint) FROM "t")"}});
}

TEST(TranslatorForServerNumbers, TextBesideANumberIsRead) {
  expectGolden(Dialect::Mssql,
               {{"SELECT LTRIM(a) + 1, '5' + 3, CAST('' AS int) FROM T",
                 R"(SELECT CAST(regexp_replace(regexp_replace(ltrim("a"), '^ *$', '0'), )"
                 R"('^(?! *[+-]?[0-9]+ *$)', 'not a whole number: ') AS bigint) + 1, )"
                 R"(CAST(5 AS bigint) + 3, CAST('0' AS bigint) FROM "t")"}});
}

TEST(TranslatorForServerDates, DateAsATextIsWrittenByDialect) {
  constexpr std::string_view kText = "SELECT CAST(CURRENT_DATE AS nvarchar) FROM T";
  EXPECT_EQ(translatedForPostgres(Dialect::Kordb, kText),
            R"(SELECT CAST(to_char(timestamp '2024-02-15 00:00:00', 'YYYY-MM-DD HH24:MI:SS') AS )"
            R"(text) FROM "t")");
  EXPECT_EQ(translatedForPostgres(Dialect::Mssql, "SELECT CAST(getdate() AS nvarchar(6)) FROM T"),
            R"(SELECT CAST(regexp_replace(to_char(timestamp '2024-02-15 13:45:10', )"
            R"('Mon DD YYYY HH12:MIAM'), ' 0(\d[ :])', '  \1', 'g') AS varchar(6)) FROM "t")");
}

TEST(TranslatorForServerTexts, CaseIsMappedInAllScripts) {
  EXPECT_EQ(translatedForPostgres(Dialect::Mssql,
                                  "SELECT UPPER(a), LEN(a + 'x'), "
                                  "SUBSTRING(a, 2, b) FROM T"),
            R"(SELECT upper("a" COLLATE "und-x-icu") COLLATE "C", length(rtrim("a" || 'x')), )"
            R"(substr("a", 2, CAST(NULLIF(least(greatest(coalesce(trunc(CAST("b" AS numeric)), )"
            R"(0.5), -1000000000), 1000000000), 0.5) AS integer)) FROM "t")");
}

TEST(TranslatorForServerPatterns, PatternsWithSetsBecomeRegularExpressions) {
  expectGolden(
      Dialect::Mssql,
      {{"SELECT a FROM T WHERE a NOT LIKE '[a-c]%_.' AND b LIKE 'x''%'",
        R"(SELECT "a" FROM "t" WHERE "a" !~ '^(?:[\U00000061-\U00000063].*.\U0000002E)$' AND )"
        R"("b" LIKE 'x''%' ESCAPE '')"},
       {"SELECT a FROM T WHERE a LIKE 'a!%\\_' ESCAPE '!'",
        R"(SELECT "a" FROM "t" WHERE "a" LIKE 'a\%\\_' ESCAPE '\')"},
       {"SELECT a FROM T WHERE a LIKE b",
        R"(SELECT "a" FROM "t" WHERE "a" ~ (SELECT '^(?:' || CASE WHEN p = '' THEN '' ELSE )"
        R"((SELECT string_agg(CASE WHEN m[1] = '%' THEN '.*' WHEN m[1] = '_' THEN '.' )"
        R"(WHEN m[1] = '[]' THEN '[^\U00000001-\U0010FFFF]' WHEN m[1] = '[^]' THEN '.' )"
        R"(WHEN length(m[1]) > 1 THEN '[' || regexp_replace(substr(m[1], 2), '([[\\])', )"
        R"('\\\1', 'g') ELSE '\U' || lpad(to_hex(ascii(m[1])), 8, '0') END, '' ORDER BY n) )"
        R"(FROM regexp_matches(p, '(\[[^]]*\]|.)', 'g') WITH ORDINALITY AS e (m, n)) END )"
        R"(|| ')$' FROM (VALUES ("b")) AS q (p)))"}});
  EXPECT_EQ(translatedForPostgres(Dialect::Db2, "SELECT a FROM T WHERE a LIKE b ESCAPE '!'"),
            R"(SELECT "a" FROM "t" WHERE "a" LIKE "b" ESCAPE '!')");
}

// ---- limits

TEST(TranslatorForServerRowCount, RowCountLimitsReadsAndChanges) {
  const Target target{.engine = Engine::Postgres, .now = {}};
  Translator translator(Dialect::Sybase, nullptr, target);
  translator.translate("SET ROWCOUNT 7");
  EXPECT_EQ(translator.translate("SELECT TOP 9 a FROM T").text, R"(SELECT "a" FROM "t" LIMIT 7)");
  EXPECT_EQ(translator.translate("UPDATE T SET a = 1 WHERE b = 2").text,
            R"(UPDATE "t" SET "a" = 1 WHERE ctid = ANY (ARRAY(SELECT ctid FROM "t" WHERE "b" = 2 )"
            R"(LIMIT 7)))");
  EXPECT_EQ(translator.translate("DELETE FROM T").text,
            R"(DELETE FROM "t" WHERE ctid = ANY (ARRAY(SELECT ctid FROM "t" LIMIT 7)))");
  EXPECT_EQ(translator.translate("SELECT TOP 8 WITH TIES a FROM T ORDER BY a").text,
            R"(SELECT "a" FROM "t" ORDER BY "a" NULLS FIRST LIMIT 7)");
  EXPECT_EQ(translator.translate("SELECT TOP 2 WITH TIES a FROM T ORDER BY 1").text,
            R"(SELECT "a" FROM "t" ORDER BY 1 NULLS FIRST LIMIT least(7, (SELECT count(*) FROM )"
            R"((SELECT rank() OVER (ORDER BY "a" NULLS FIRST) AS "rank" FROM "t") AS "ranks" )"
            R"(WHERE "rank" <= 2)))");
}

TEST(TranslatorForServerUnion, LimitedPartsOfAUnionAreInBrackets) {
  EXPECT_EQ(translatedForPostgres(Dialect::Mssql,
                                  "SELECT TOP 1 a FROM T UNION ALL SELECT b FROM U ORDER BY 1 "
                                  "DESC"),
            R"((SELECT "a" FROM "t" LIMIT 1) UNION ALL SELECT "b" FROM "u" ORDER BY 1 DESC NULLS )"
            R"(LAST)");
}

// ---- result columns

TEST(TranslatorForServerColumns, StarIsListedAsItsTable) {
  const Target target{.engine = Engine::Postgres, .now = {}};
  const Translation translation =
      Translator(Dialect::Mssql, nullptr, target)
          .translate(
              "SELECT COUNT(a) OVER_ALL, MAX(b), T0.*, X.* FROM [@T] T0 CROSS JOIN (SELECT c AS "
              "N'C.c', V.* FROM V) X");
  EXPECT_EQ(
      translation.text,
      R"(SELECT count("a") AS "over_all", max("b") AS "?column?", "t0".*, "x".* FROM "@t" AS )"
      R"("t0" CROSS JOIN (SELECT "c" AS "c.c", "v".* FROM "v") AS "x")");
  EXPECT_TRUE(translation.columns.empty());
  std::string listed;
  for (const OutputColumn& column : translation.outline) {
    listed += column.name + "(" + column.starTable + column.probe + ")";
  }
  EXPECT_EQ(listed, "OVER_ALL()()(@T)C.c()(V)");
}

TEST(TranslatorForServerColumns, StarOfACommonTableListsItsColumns) {
  const Translation translation =
      Translator(Dialect::Mssql)
          .translate(
              "WITH A AS (SELECT a1 AS N'A1', b FROM T), B AS (SELECT A.*, MAX(c) FROM A GROUP BY "
              "b) SELECT B.*, A.b FROM B, A");
  std::string listed;
  for (const OutputColumn& column : translation.columns) listed += column.name + "/";
  EXPECT_EQ(listed, "A1/b//b/");
}

TEST(TranslatorForServerColumns, TooManyColumnsAreNotListed) {
  std::string text = "WITH C0 AS (SELECT Code FROM [@T])";
  for (int i = 1; i < 40; ++i) {
    const std::string before = "C" + std::to_string(i - 1);
    text += ", C" + std::to_string(i);
    text += " AS (SELECT A.*, A.* FROM " + before + " A)";
  }
  const Translation translation = Translator(Dialect::Mssql).translate(text + " SELECT * FROM C39");
  EXPECT_TRUE(translation.columns.empty());
  EXPECT_TRUE(translation.outline.empty());
}

}  // namespace
}  // namespace qx::sql
