// Refused statements: the message names the fault or the remedy, and the place.

#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::refusal;

struct ExpectedRefusal {
  std::string_view text;
  std::string message;
};

void expectRefusals(Dialect dialect, const std::vector<ExpectedRefusal>& refusals) {
  for (const ExpectedRefusal& expected : refusals) {
    EXPECT_EQ(refusal(dialect, expected.text), expected.message) << expected.text;
  }
}

TEST(Refusal, NamesTheExpectedTokenAndItsPosition) {
  expectRefusals(
      Dialect::Mssql,
      {{"SELECT a\r\nFROM T\r\n  WHERE U = = 1",
        "an expression is expected near '=' (line 3, column 13)"},
       {"",
        "a statement (SELECT, INSERT, UPDATE or DELETE) is expected at the end (line 1, "
        "column 1)"},
       {"DROP TABLE T",
        "a statement (SELECT, INSERT, UPDATE or DELETE) is expected near 'DROP' (line 1, column "
        "1)"},
       {"SELECT  FROM T", "an expression is expected near 'FROM' (line 1, column 9)"},
       {"SELECT a FROM T WHERE ", "an expression is expected at the end (line 1, column 23)"},
       {"UPDATE T SET ", "a column name is expected at the end (line 1, column 14)"},
       {"UPDATE T SET  WHERE a = 1", "a column name is expected near 'WHERE' (line 1, column 15)"},
       {"SELECT a FROM T WHERE a",
        "a condition is expected here, not a value; compare it with "
        "something (line 1, column 23)"},
       {"SELECT a = 1 FROM T", "a value is expected here, not a condition (line 1, column 8)"},
       {"SELECT a FROM T ORDER BY é ü b",
        "one statement per call; unexpected text near 'ü' (line "
        "1, column 28)"},
       {"SELECT a FROM T WHERE (A = 1( AND B = 2)", "')' is expected near '(' (line 1, column 29)"},
       {"SELECT a.b.c FROM T", "a column name has at most two parts (line 1, column 11)"},
       {"SELECT a FROM dbo.T",
        "a table name has one part only; leave out the part before the point (line 1, column "
        "18)"},
       {"INSERT INTO T VALUES (1)",
        "the list of columns in brackets is expected near 'VALUES' (line 1, column 15)"},
       {"INSERT INTO T (a, b) VALUES (1)", "1 values for 2 columns (line 1, column 29)"},
       {"INSERT INTO T (a, A) VALUES (1, 2)", "the column A is named twice (line 1, column 19)"},
       {"SELECT a FROM (SELECT b FROM T)",
        "an alias for the SELECT in brackets is expected at the end (line 1, column 32)"},
       {"SELECT TOP 5 PERCENT a FROM T",
        "TOP n PERCENT is not supported; give a number of rows (line 1, column 14)"},
       {"SELECT TOP 5 WITH TIES a FROM T", "TOP n WITH TIES needs ORDER BY (line 1, column 1)"},
       {"SELECT TOP 99999999999999999999 a FROM T",
        "the number 99999999999999999999 is too large (line 1, column 12)"},
       {"SELECT a FROM T ORDER BY a, 'x'",
        "rows are ordered or grouped by a column, an expression or a position (line 1, column 29)"},
       {"SELECT 1 FROM T GROUP BY -1",
        "rows are ordered or grouped by a column, an expression or a position (line 1, column 26)"},
       {"SELECT a FROM T LIMIT 5",
        "one statement per call; unexpected text near 'LIMIT' (line 1, column 17)"},
       {"SELECT a FROM T WITH (NOLOCK)",
        "one statement per call; unexpected text near 'WITH' (line 1, column 17)"}});
}

TEST(Refusal, NamesTheUnsupportedClauseAndItsPosition) {
  expectRefusals(
      Dialect::Mssql,
      {{"SELECT TOP 5 WITH TIES a FROM T UNION SELECT a FROM T ORDER BY a",
        "WITH TIES is not supported in a UNION (line 1, column 1)"},
       {"SELECT DISTINCT TOP 5 WITH TIES a FROM T ORDER BY a",
        "WITH TIES is not supported with DISTINCT (line 1, column 1)"},
       {"SELECT TOP 1 WITH TIES 1 ORDER BY 1", "TOP n WITH TIES needs FROM (line 1, column 1)"},
       {"SELECT a FROM A, B RIGHT JOIN C ON 1 = 1",
        "a RIGHT or FULL join after a comma is not supported; write CROSS JOIN for the comma "
        "(line 1, column 31)"},
       {"SELECT a FROM f(1)",
        "a table function is not supported; name a table (line 1, column 16)"},
       {"SELECT a FROM T HAVING a > 1", "HAVING needs GROUP BY before it (line 1, column 17)"},
       {"WITH a AS (WITH b AS (SELECT 1) SELECT 1) SELECT 1",
        "WITH is accepted at the start of a statement only (line 1, column 12)"},
       {"SELECT a FROM (T)", "SELECT is expected near 'T' (line 1, column 16)"},
       {"SELECT a FROM T WHERE EXISTS (a)", "SELECT is expected near 'a' (line 1, column 31)"},
       {"SELECT a AS '' FROM T", "an alias must not be empty (line 1, column 13)"},
       {"SELECT a FROM T WHERE b LIKE 'x' ESCAPE 'ab'",
        "ESCAPE takes one character (line 1, column 41)"},
       {"SELECT a FROM T WHERE b LIKE 'x' ESCAPE c",
        "one character in single quotes is expected near 'c' (line 1, column 41)"}});
}

TEST(Refusal, SecondStatementIsRefused) {
  expectRefusals(
      Dialect::Mssql,
      {{"SELECT 1;DROP TABLE T",
        "one statement per call; unexpected text near 'DROP' (line 1, column 10)"},
       {"SELECT 1;;", "one statement per call; unexpected text near ';' (line 1, column 10)"},
       {"SELECT 1 SELECT 2",
        "one statement per call; unexpected text near 'SELECT' (line 1, column 10)"}});
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT 1; -- end"), "");
}

TEST(RefusalOfText, UnclosedAndInvalidTextsAreRefused) {
  using std::string_view_literals::operator""sv;
  expectRefusals(
      Dialect::Mssql,
      {{"SELECT 'a", "the string is not closed; ' is missing (line 1, column 8)"},
       {"SELECT N'a'' FROM T", "the string is not closed; ' is missing (line 1, column 8)"},
       {"SELECT [a", "the name is not closed; ] is missing (line 1, column 8)"},
       {"SELECT \"a", "the name is not closed; \" is missing (line 1, column 8)"},
       {"SELECT 1 /* /* */", "the comment is not closed; */ is missing (line 1, column 10)"},
       {"SELECT []", "a name must not be empty (line 1, column 8)"},
       {"SELECT a\0 FROM T"sv, "the statement holds a zero character (line 1, column 9)"},
       {"SELECT '\0'"sv, "the statement holds a zero character (line 1, column 9)"},
       {"SELECT '\xC3'", "the statement is not valid UTF-8 (line 1, column 9)"},
       {"SELECT 'é\xED\xA0\x80'", "the statement is not valid UTF-8 (line 1, column 10)"},
       {"SELECT 1 -- \xFF", "the statement is not valid UTF-8 (line 1, column 13)"},
       {"SELECT a ? b", "unexpected character '?' (line 1, column 10)"},
       {"SELECT a\u00A0FROM T", "unexpected character U+00A0 (line 1, column 9)"},
       {"SELECT 12abc",
        "a blank or an operator is expected after the number 12 (line 1, column "
        "8)"},
       {"SELECT 1.2.3",
        "a blank or an operator is expected after the number 1.2 (line 1, column "
        "8)"}});
}

TEST(RefusalOfFunctions, UnknownFunctionsAndWrongArgumentsAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT foo(1)"),
            "function foo is not supported (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT getdate() FROM T"),
            "function getdate is not one of DB2 (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT ISNULL(a) FROM T"),
            "function ISNULL takes 2 arguments, not 1 (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT MAX(a, b) FROM T"),
            "function MAX takes 1 argument, not 2 (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT DATEADD(month, 1, a) FROM T"),
            "a date part (second, minute, hour, day or week) is expected near 'month' (line 1, "
            "column 16)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CONVERT(datetime, '20240231', 112)"),
            "not a date: '20240231' (line 1, column 26)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CONVERT(datetime, a, 103) FROM T"),
            "CONVERT knows the styles 112 and 120 only (line 1, column 29)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT DATEDIFF(hour, a, b) FROM T"),
            "DATEDIFF counts days only; write day instead of hour (line 1, column 17)");
  EXPECT_EQ(refusal(Dialect::Sybase, "SELECT DATEDIFF(month, a, b) FROM T"),
            "DATEDIFF counts days only; write day instead of month (line 1, column 17)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT DATEDIFF(1, a, b) FROM T"),
            "the date part day is expected near '1' (line 1, column 17)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT DATEDIFF(dd, a, b) FROM T"), "");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT CURRENT TIME FROM T"),
            "TIMESTAMP or DATE is expected near 'TIME' (line 1, column 16)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT CURRENT CURRENT_DATE FROM T"),
            "TIMESTAMP or DATE is expected near 'CURRENT_DATE' (line 1, column 16)");
}

TEST(RefusalOfTypes, PlusBetweenUnknownTypesIsRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT a + b FROM T"),
            "it is not clear whether + adds numbers or joins texts; CAST one side to a type "
            "(line 1, column 10)");
}

TEST(RefusalOfTypes, DivisionOfUnknownTypesOrFractionsIsRefused) {
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a / 2 FROM T"),
            "it is not clear whether / takes whole numbers; CAST both sides to a type (line 1, "
            "column 10)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT 1.5 % 2"),
            "% takes whole numbers; CAST both sides to int (line 1, column 12)");
}

TEST(RefusalByDialect, NamesInAnotherDialectsFormAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT a FROM @T"),
            "the name @T is not written as MSSQL has it; write it plain or as [@T] (line 1, "
            "column 15)");
  EXPECT_EQ(refusal(Dialect::Sybase, "SELECT \"a\" FROM T"),
            "the name \"a\" is not written as Sybase has it; write it plain or as [a] (line 1, "
            "column 8)");
  EXPECT_EQ(refusal(Dialect::Kordb, "SELECT a FROM [@T]"),
            "the name [@T] is not written as KORDB has it; write it plain or as \"@T\" (line 1, "
            "column 15)");
  EXPECT_EQ(refusal(Dialect::Kordb, "SELECT a FROM @T"),
            "the name @T is not written as KORDB has it; write it plain or as \"@T\" (line 1, "
            "column 15)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a FROM [@T]"),
            "the name [@T] is not written as DB2 has it; write @T (line 1, column 15)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a FROM \"@T\""),
            "the name \"@T\" is not written as DB2 has it; write @T (line 1, column 15)");
}

TEST(RefusalByDialect, AliasesInAnotherDialectsFormAreRefused) {
  EXPECT_EQ(refusal(Dialect::Kordb, "SELECT a AS'T0.a' FROM T"),
            "an alias in single quotes is not KORDB; write AS \"T0.a\" (line 1, column 12)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a AS N'x' FROM T"),
            "an alias in single quotes is not DB2; write AS \"x\" (line 1, column 13)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT a AS \"x\" FROM T"),
            "the name \"x\" is not written as MSSQL has it; write it plain or as [x] (line 1, "
            "column 13)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT a AS \"T0.a\" FROM T ORDER BY \"T0.a\""), "");
}

TEST(RefusalByDialect, LimitsOfAnotherDialectAreRefused) {
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT TOP 5 a FROM T"),
            "TOP is not a word of DB2; write FETCH FIRST n ROWS ONLY at the end (line 1, column "
            "8)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT a FROM T FETCH FIRST 5 ROWS ONLY"),
            "FETCH FIRST is not a clause of MSSQL; write TOP n after SELECT (line 1, column 17)");
  EXPECT_EQ(refusal(Dialect::Db2, "SET ROWCOUNT 5"),
            "SET ROWCOUNT is not a statement of DB2; limit the SELECT (line 1, column 1)");
  EXPECT_EQ(refusal(Dialect::Kordb, "SET ROWCOUNT 5"),
            "SET ROWCOUNT is not a statement of KORDB; limit the SELECT (line 1, column 1)");
}

TEST(RefusalByDialect, CurrentTimesAndDurationsOfAnotherDialectAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CURRENT TIMESTAMP"),
            "CURRENT is not a word of MSSQL; write getdate() (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT CURRENT_TIMESTAMP FROM T"),
            "CURRENT_TIMESTAMP is not a word of DB2; write CURRENT TIMESTAMP (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Kordb, "SELECT CURRENT DATE FROM T"),
            "CURRENT is not a word of KORDB; write CURRENT_TIMESTAMP (line 1, column 8)");
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase, Dialect::Kordb}) {
    EXPECT_EQ(refusal(dialect, "SELECT a + 1 DAYS FROM T"),
              "one statement per call; unexpected text near 'DAYS' (line 1, column 14)");
  }
}

TEST(RefusalByDialect, TextOperatorsOfAnotherDialectAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT a || b FROM T"),
            "|| is not an operator of MSSQL; join texts by + (line 1, column 10)");
  EXPECT_EQ(refusal(Dialect::Db2, "SELECT 'a' + b FROM T"),
            "+ does not join texts in DB2; write || (line 1, column 12)");
  EXPECT_EQ(refusal(Dialect::Kordb, "SELECT CURRENT_DATE + '1' FROM T"),
            "+ does not join texts in KORDB; write || (line 1, column 21)");
}

// Of each dialect's statements, none may pass in a dialect whose database would refuse it.
TEST(RefusalByDialect, VersionTableStatementsOfAnotherDialectAreRefused) {
  constexpr std::string_view kBracketSelect =
      "select U_Version from [@QXEXTDBVERSION] where U_ExtID = 'QX'";
  constexpr std::string_view kBracketInsert =
      "insert into [@QXEXTDBVERSION] (U_Rdate) values (getdate())";
  constexpr std::string_view kBareSelect = "select U_Version from @QXEXTDBV where U_ExtID = 'QX'";
  constexpr std::string_view kQuotedSelect =
      R"(select "U_Version" from "@QXEXTDBVERSION" where "U_ExtID" = 'QX')";
  constexpr std::string_view kQuotedInsert =
      R"(insert into "@QXEXTDBVERSION" ("U_Rdate") values (CURRENT_TIMESTAMP))";
  const auto form = [](const char* name, const char* dialect, const char* remedy, int column) {
    return "the name " + std::string(name) + " is not written as " + dialect + " has it; write " +
           remedy + " (line 1, column " + std::to_string(column) + ")";
  };
  const char* bracketed = "it plain or as [@QXEXTDBVERSION]";
  const char* quoted = R"(it plain or as "@QXEXTDBVERSION")";
  expectRefusals(
      Dialect::Db2,
      {{kBracketSelect, form("[@QXEXTDBVERSION]", "DB2", "@QXEXTDBVERSION", 23)},
       {kBracketInsert, form("[@QXEXTDBVERSION]", "DB2", "@QXEXTDBVERSION", 13)},
       {kQuotedSelect, form("\"U_Version\"", "DB2", "U_Version", 8)},
       {kQuotedInsert,
        "CURRENT_TIMESTAMP is not a word of DB2; write CURRENT TIMESTAMP (line 1, column 51)"}});
  expectRefusals(Dialect::Kordb,
                 {{kBracketSelect, form("[@QXEXTDBVERSION]", "KORDB", quoted, 23)},
                  {kBracketInsert, form("[@QXEXTDBVERSION]", "KORDB", quoted, 13)},
                  {kBareSelect, form("@QXEXTDBV", "KORDB", R"(it plain or as "@QXEXTDBV")", 23)}});
  for (const auto& [dialect, name] :
       {std::pair(Dialect::Mssql, "MSSQL"), std::pair(Dialect::Sybase, "Sybase")}) {
    expectRefusals(dialect,
                   {{kBareSelect, form("@QXEXTDBV", name, "it plain or as [@QXEXTDBV]", 23)},
                    {kQuotedSelect, form("\"U_Version\"", name, "it plain or as [U_Version]", 8)},
                    {kQuotedInsert, form("\"@QXEXTDBVERSION\"", name, bracketed, 13)}});
  }
}

std::string repeated(std::string_view piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

TEST(Refusal, AColumnSetTwiceAmongThousandsIsRefused) {
  std::string text = "UPDATE T SET first = 0";
  for (int i = 0; i < 20'000; ++i) text += ", c" + std::to_string(i) + " = 0";
  EXPECT_EQ(refusal(Dialect::Mssql, text), "");
  const std::string at = std::to_string(text.size() + 3);
  EXPECT_EQ(refusal(Dialect::Mssql, text + ", C777 = 1"),
            "the column C777 is named twice (line 1, column " + at + ")");
}

TEST(RefusalByDialect, TheOneQuotedNameOfThousandsThatIsNoAliasIsRefused) {
  std::string list = "SELECT a AS \"a0\"";
  std::string order = " FROM T ORDER BY \"A0\"";
  for (int i = 1; i < 2'000; ++i) {
    list += ", a AS \"a" + std::to_string(i) + "\"";
    order += ", \"a" + std::to_string(i) + "\"";
  }
  const std::string text = list + order;
  EXPECT_EQ(refusal(Dialect::Db2, text), "");
  EXPECT_EQ(refusal(Dialect::Db2, text + ", \"b\""),
            "the name \"b\" is not written as DB2 has it; write b (line 1, column " +
                std::to_string(text.size() + 3) + ")");
}

TEST(RefusalOfSize, DeepNestingIsRefused) {
  const std::string tooDeep =
      "the statement is nested too deeply; simplify its brackets or subqueries";
  for (const std::string_view piece : {"(", "NOT ", "- ", "CASE WHEN 1 = ", "ABS(",
                                       "EXISTS(SELECT 1 WHERE ", "(SELECT ", "a IN ("}) {
    const std::string message =
        refusal(Dialect::Mssql, "SELECT a FROM T WHERE " + repeated(piece, 20000));
    EXPECT_EQ(message.substr(0, tooDeep.size()), tooDeep) << piece;
  }
}

TEST(RefusalOfSize, LongOperatorChainsAreRefused) {
  const std::string message =
      refusal(Dialect::Mssql, "SELECT 1" + repeated(" + 1", 20000) + " FROM T");
  EXPECT_EQ(message.substr(0, message.find(" (")),
            "the expression is too long; at most 200 operators in a row");
}

TEST(RefusalOfSize, StarsThatMultiplyAreRefused) {
  test::CompanyDatabase database(Engine::Sqlite, Dialect::Mssql);
  std::string text = "WITH C0 AS (SELECT Code FROM [@T])";
  for (int i = 1; i < 40; ++i) {
    const std::string before = std::to_string(i - 1);
    text += ", C" + std::to_string(i);
    text += " AS (SELECT A.*, A.* FROM C" + before + " A)";
  }
  text += " SELECT zz FROM C39";
  const std::string message = test::refusalOf(database, text);
  EXPECT_EQ(message.substr(0, message.find(" (")),
            "the statement is too complex; name the columns instead of *");
}

TEST(RefusalOfSize, MoreThan100CommonTablesAreRefused) {
  std::string text = "WITH C0 AS (SELECT a FROM T)";
  for (int i = 1; i <= 100; ++i) text += ", C" + std::to_string(i) + " AS (SELECT * FROM C0)";
  EXPECT_EQ(refusal(Dialect::Mssql, text + " SELECT 1"),
            "WITH has at most 100 tables (line 1, column 2695)");
}

// Each names the one before it twice, so that the last one stands for 2^n tables.
std::string doublingTables(int count) {
  std::string text = "WITH c0 AS (SELECT Code FROM OFPR)";
  for (int i = 1; i <= count; ++i) {
    const std::string before = "c" + std::to_string(i - 1);
    text +=
        ", c" + std::to_string(i) + " AS (SELECT a.Code FROM " + before + " a, " + before + " b)";
  }
  return text + " SELECT Code FROM c" + std::to_string(count);
}

TEST(RefusalOfSize, CommonTablesThatMultiplyAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, doublingTables(7)), "");
  EXPECT_EQ(refusal(Dialect::Mssql, doublingTables(8)),
            "the statement has more than 500 tables, those of common tables counted where they are "
            "named (line 1, column 342)");
}

TEST(RefusalOfSize, MoreThan64TablesOfASelectAreRefused) {
  std::string text = "SELECT a0.Code FROM OFPR a0";
  for (int i = 1; i < 64; ++i) text += ", OFPR a" + std::to_string(i);
  EXPECT_EQ(refusal(Dialect::Mssql, text), "");
  EXPECT_EQ(refusal(Dialect::Mssql, text + ", OFPR x"),
            "a SELECT has at most 64 tables (line 1, column 651)");
}

TEST(RefusalOfSize, AMessageQuotesTheBeginningOfALongNameOrNumber) {
  const std::string name(5000, 'x');
  const std::string quoted = std::string(100, 'x') + "...";
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT " + name + "(1)"),
            "function " + quoted + " is not supported (line 1, column 8)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT 1" + std::string(5000, '0')),
            "the number is out of range: 1" + std::string(99, '0') + "... (line 1, column 8)");
}

TEST(RefusalOfSize, MoreThan2000ColumnsOfASelectAreRefusedWhereTheyBegin) {
  std::string text = "SELECT 1";
  for (int i = 1; i < 2000; ++i) text += ",1";
  EXPECT_EQ(refusal(Dialect::Mssql, text), "");
  EXPECT_EQ(refusal(Dialect::Mssql, text + ",b"),
            "a SELECT has at most 2000 columns (line 1, column 4008)");
}

TEST(RefusalOfSize, MoreThan500TablesOfSubqueriesAreRefused) {
  std::string text = "SELECT Code FROM OFPR WHERE 1 = 1";
  for (int i = 1; i < 500; ++i) text += " OR Code IN (SELECT Code FROM OFPR)";
  EXPECT_EQ(refusal(Dialect::Mssql, text), "");
  EXPECT_NE(refusal(Dialect::Mssql, text + " OR Code IN (SELECT Code FROM OFPR)"), "");
}

TEST(Refusal, ACommonTableThatNamesItselfOrALaterOneIsRefused) {
  expectRefusals(
      Dialect::Mssql,
      {{"WITH c AS (SELECT 1 AS n UNION ALL SELECT n + 1 FROM c) SELECT n FROM c",
        "a common table names only those before it; c is not yet complete here (line 1, column "
        "54)"},
       {"WITH a AS (SELECT Code FROM B), b AS (SELECT Code FROM OFPR) SELECT Code FROM a",
        "a common table names only those before it; b is not yet complete here (line 1, column "
        "29)"},
       {"WITH a AS (SELECT Code FROM OFPR WHERE Code IN (SELECT Code FROM a)) SELECT 1 AS x",
        "a common table names only those before it; a is not yet complete here (line 1, column "
        "66)"}});
  EXPECT_EQ(refusal(Dialect::Mssql,
                    "WITH a AS (SELECT Code FROM OFPR), b AS (SELECT Code FROM a) SELECT Code FROM "
                    "b, OFPR"),
            "");
}

TEST(RefusalOfSize, ALongPatternIsRefused) {
  const auto like = [](std::size_t length) {
    return refusal(Dialect::Mssql,
                   "SELECT Code FROM OFPR WHERE Code LIKE '" + std::string(length, '%') + "'");
  };
  EXPECT_EQ(like(4000), "");
  EXPECT_EQ(like(4001), "a LIKE pattern has at most 4000 characters (line 1, column 39)");
}

TEST(RefusalOfSize, AMessageQuotesTheBeginningOfALongValue) {
  EXPECT_EQ(refusal(Dialect::Mssql,
                    "SELECT CONVERT(datetime, '" + std::string(5'000, 'x') + "', 112) FROM OFPR"),
            "not a date: '" + std::string(100, 'x') + "...' (line 1, column 26)");
}

TEST(RefusalOfTypes, ATextWithoutLengthIsRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CAST(a AS nvarchar(0)) FROM T"),
            "a length is at least 1 (line 1, column 28)");
}

TEST(RefusalOfTypes, CastsToUnknownTypesAndLengthsAreRefused) {
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CAST(a AS nvarchar(8001)) FROM T"),
            "a length is at most 8000 (line 1, column 31)");
  EXPECT_EQ(refusal(Dialect::Mssql, "SELECT CAST(a AS foo) FROM T"),
            "a type such as nvarchar(50) or int is expected near 'foo' (line 1, column 18)");
}

}  // namespace
}  // namespace qx::sql
