// Every kind of statement in every dialect, compared as a whole.

#include "tools/sqlprint/printer.h"

#include "tools/sqlprint/example.h"

#include <gtest/gtest.h>

#include <set>

namespace qx::sqlprint {
namespace {

std::string shown(const std::string& toml) {
  return sideBySide(readDescription("f", toml).statements);
}

std::string bareOn(DbServerType serverType, const std::string& toml) {
  return bare(readDescription("f", toml).statements, serverType, '\n');
}

constexpr const char* kJoined = R"(
[select]
table = "@ORDERS"
as = "T0"
keys = ["Code"]
keys-only = false
fields = ["Code", "U_Total"]
where = [
  { field = "U_Total", is = ">", value = 12.5 },
  { or = true, field = "U_Date", is = "<=", value = 2024-01-31, open = 1 },
  { field = "U_Name", is = "like", value = "O'B%", close = 1 } ]
sort = ["U_Date", "-Code"]
limit = 5
join = [ { table = "@LINES", as = "T1", kind = "left", fields = ["U_Item"], on = [ { from = "Code", to = "U_Order" }, { to = "U_Kind", value = "A" } ] } ]
)";

TEST(SideBySide, ShowsASelectWithAllPartsInAllDialects) {
  EXPECT_EQ(
      shown(kJoined),
      R"(mssql   SELECT TOP 5 T0.Code AS'T0.Code',T0.U_Total AS'T0.U_Total',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   LEFT OUTER JOIN [@LINES] T1 ON T0.Code = T1.U_Order AND T1.U_Kind  =  N'A'   WHERE T0.U_Total > 12.5 OR (T0.U_Date <= CONVERT(datetime,N'20240131',112) AND T0.U_Name LIKE N'O''B%') ORDER BY T0.U_Date ASC,T0.Code DESC
sybase  SET ROWCOUNT 5 
        SELECT T0.Code AS'T0.Code',T0.U_Total AS'T0.U_Total',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   LEFT OUTER JOIN [@LINES] T1 ON T0.Code = T1.U_Order AND T1.U_Kind  =  N'A'   WHERE T0.U_Total > 12.5 OR (T0.U_Date <= CONVERT(datetime,N'20240131',112) AND T0.U_Name LIKE N'O''B%') ORDER BY T0.U_Date ASC,T0.Code DESC
        SET ROWCOUNT 0
db2     SELECT T0.Code AS "T0.Code" ,T0.U_Total AS "T0.U_Total" ,T1.U_Item AS "T1.U_Item"  FROM @ORDERS T0   LEFT OUTER JOIN @LINES T1 ON T0.Code = T1.U_Order AND T1.U_Kind  =  N'A'   WHERE T0.U_Total > 12.5 OR (T0.U_Date <= TIMESTAMP_ISO(N'2024-01-31') AND T0.U_Name LIKE N'O''B%') ORDER BY T0.U_Date ASC,T0.Code DESC  FETCH FIRST 5 ROWS ONLY
kordb   SELECT TOP 5 T0."Code" AS"T0.Code",T0."U_Total" AS"T0.U_Total",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   LEFT OUTER JOIN "@LINES" T1 ON T0."Code" = T1."U_Order" AND T1."U_Kind"  =  N'A'   WHERE T0."U_Total" > 12.5 OR (T0."U_Date" <= '2024-01-31 00:00:00' AND T0."U_Name" LIKE N'O''B%') ORDER BY T0."U_Date" ASC,T0."Code" DESC
)");
}

TEST(SideBySide, ShowsASelectOfTheKeysByDefault) {
  EXPECT_EQ(shown("[select]\ntable = \"OFPR\"\nkeys = [\"PeriodNo\"]\n"),
            R"(mssql   SELECT PeriodNo FROM OFPR     ORDER BY PeriodNo
sybase  SELECT PeriodNo FROM OFPR     ORDER BY PeriodNo
db2     SELECT PeriodNo FROM OFPR     ORDER BY PeriodNo  
kordb   SELECT "PeriodNo" FROM "OFPR"     ORDER BY "PeriodNo"
)");
}

TEST(SideBySide, TakesTheKeysOfASelectFromItsConditions) {
  EXPECT_EQ(bareOn(kMssql, "[select]\ntable = \"@T\"\nwhere = [{ field = \"A\", value = 1 }]\n"),
            "SELECT A FROM [@T]     WHERE A = 1 ORDER BY A\n");
}

TEST(SideBySide, ShowsALoadInAllDialects) {
  EXPECT_EQ(shown(R"(
[load]
table = "@T"
as = "T0"
fields = ["Code"]
where = [{ field = "Code", value = "A" }]
)"),
            R"(mssql   SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'A'
sybase  SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'A'
db2     SELECT T0.Code AS "T0.Code"  FROM @T T0     WHERE T0.Code = N'A'
kordb   SELECT T0."Code" AS"T0.Code" FROM "@T" T0     WHERE T0."Code" = N'A'
)");
}

TEST(SideBySide, ShowsAnInsertIntoAUserTableAfterTheQueryForItsCode) {
  EXPECT_EQ(shown(R"(
[insert]
table = "@T"
next-code = "0000001F"
[insert.values]
U_B = "O'Brien"
U_A = 12.5
U_Date = 2024-01-31
U_Count = -3
)"),
            R"(mssql   SELECT MAX(Code) FROM [@T]
        INSERT INTO [@T] ( Code, Name, U_B, U_A, U_Date, U_Count)  VALUES ( N'0000001F', N'0000001F', N'O''Brien', 12.5, CONVERT(datetime,N'20240131',112), -3) 
sybase  SELECT MAX(Code) FROM [@T]
        INSERT INTO [@T] ( Code, Name, U_B, U_A, U_Date, U_Count)  VALUES ( N'0000001F', N'0000001F', N'O''Brien', 12.5, CONVERT(datetime,N'20240131',112), -3) 
db2     SELECT MAX(Code) FROM @T
        INSERT INTO @T ( Code, Name, U_B, U_A, U_Date, U_Count)  VALUES ( N'0000001F', N'0000001F', N'O''Brien', 12.5, TIMESTAMP_ISO(N'2024-01-31'), -3) 
kordb   SELECT MAX("Code") FROM "@T"
        INSERT INTO "@T" ( "Code", "Name", "U_B", "U_A", "U_Date", "U_Count")  VALUES ( N'0000001F', N'0000001F', N'O''Brien', 12.5, '2024-01-31 00:00:00', -3) 
)");
}

TEST(SideBySide, ShowsAnInsertIntoAHostTableAlone) {
  EXPECT_EQ(bareOn(kKordb, "[insert]\ntable = \"HVCOMP\"\nvalues = { Code = \"X\", A = 1 }\n"),
            "INSERT INTO \"HVCOMP\" ( \"Code\", \"A\")  VALUES ( N'X', 1) \n");
}

TEST(SideBySide, ShowsAnUpdateByConditionsInAllDialects) {
  EXPECT_EQ(
      shown(R"(
[update]
table = "@T"
keys = ["Code"]
values = { Code = "A", U_B = 2, U_A = 1.5 }
where = [{ field = "Code", value = "A" }, { or = true, field = "U_D", is = "<>", value = 2024-01-31 }]
)"),
      R"(mssql   UPDATE [@T]  SET U_B = 2, U_A = 1.5  WHERE Code = N'A' OR U_D <> CONVERT(datetime,N'20240131',112)
sybase  UPDATE [@T]  SET U_B = 2, U_A = 1.5  WHERE Code = N'A' OR U_D <> CONVERT(datetime,N'20240131',112)
db2     UPDATE @T  SET U_B = 2, U_A = 1.5  WHERE Code = N'A' OR U_D <> TIMESTAMP_ISO(N'2024-01-31')
kordb   UPDATE "@T"  SET "U_B" = 2, "U_A" = 1.5  WHERE "Code" = N'A' OR "U_D" <> '2024-01-31 00:00:00'
)");
}

TEST(SideBySide, ShowsAnUpdateByTheKeyValuesThatMatchAColumn) {
  EXPECT_EQ(bareOn(kDb2, R"(
[update]
table = "@T"
as = "T0"
fields = ["Code"]
values = { Code = "A" }
key-values = { "T0.Code" = "B", Other = 1 }
)"),
            "UPDATE @T  SET Code = N'A'  WHERE Code = N'B'\n");
}

TEST(SideBySide, ShowsADeleteInAllDialectsWithItsNumbersAsTexts) {
  EXPECT_EQ(
      shown(R"(
[delete]
table = "@T"
where = [{ field = "Price", value = 12.5, open = 1 }, { field = "D", value = 2024-01-31, close = 1 }]
)"),
      R"(mssql   DELETE FROM [@T]  WHERE (Price = N'12.5' AND D = CONVERT(datetime,N'20240131',112))
sybase  DELETE FROM [@T]  WHERE (Price = N'12.5' AND D = CONVERT(datetime,N'20240131',112))
db2     DELETE FROM @T  WHERE (Price = N'12.5' AND D = TIMESTAMP_ISO(N'2024-01-31'))
kordb   DELETE FROM "@T"  WHERE ("Price" = N'12.5' AND "D" = '2024-01-31 00:00:00')
)");
}

TEST(SideBySide, ShowsAChooseListInAllDialects) {
  EXPECT_EQ(shown(R"(
[choose-list]
table = "@T"
fields = { U_B = "Second's", U_A = "First" }
where = "U_A > 0"
)"),
            R"(mssql   SELECT U_B AS 'Second's' ,U_A AS 'First' FROM [@T] WHERE U_A > 0
sybase  SELECT U_B AS 'Second's' ,U_A AS 'First' FROM [@T] WHERE U_A > 0
db2     SELECT U_B AS "Second's" ,U_A AS "First" FROM @T WHERE U_A > 0
kordb   SELECT "U_B" AS "Second's" ,"U_A" AS "First" FROM "@T" WHERE U_A > 0
)");
}

TEST(SideBySide, AChooseListWithoutFieldsShowsAllColumns) {
  EXPECT_EQ(bareOn(kMssql, "[choose-list]\ntable = \"@T\"\nuser-table = false\n"),
            "SELECT * FROM @T\n");
}

TEST(SideBySide, AUserTableOfAJoinGetsItsFormByTheFlag) {
  const std::string head = "[select]\ntable = \"A\"\nas = \"T0\"\nkeys = [\"K\"]\n";
  const std::string on = "on = [{ from = \"K\", to = \"K\" }] }]\n";
  EXPECT_EQ(bareOn(kKordb, head + "join = [{ table = \"B\", as = \"T1\", user-table = true, " + on),
            "SELECT T0.\"K\" AS\"T0.K\" FROM \"A\" T0   INNER JOIN \"B\" T1 ON T0.\"K\" = "
            "T1.\"K\"   ORDER BY T0.\"K\"\n");
  EXPECT_EQ(
      bareOn(kKordb, head + "join = [{ table = \"@B\", as = \"T1\", user-table = false, " + on),
      "SELECT T0.\"K\" AS\"T0.K\" FROM \"A\" T0   INNER JOIN @B T1 ON T0.\"K\" = "
      "T1.\"K\"   ORDER BY T0.\"K\"\n");
}

TEST(SideBySide, ARawConditionIsWrittenUnchanged) {
  EXPECT_EQ(bareOn(kMssql, R"toml(
[load]
table = "T"
where = [{ field = "D", is = "<", raw = "getdate()" }]
)toml"),
            "SELECT * FROM T     WHERE D < getdate()\n");
}

TEST(SideBySide, AHeadingIsOneLineForEveryName) {
  const std::string one = "[[delete]]\ntable = \"A\\r\\nDROP TABLE B \\u001B[2J\"\n";
  const std::string both = shown(one + one);
  EXPECT_EQ(both.substr(0, both.find('\n')), "-- delete A??DROP TABLE B ?[2J, line 1");
}

TEST(SideBySide, SeveralStatementsHaveHeadingsInTheOrderOfTheFile) {
  EXPECT_EQ(shown(R"([[select]]
table = "B"
keys = ["K"]

[delete]
table = "@D"

[[select]]
table = "A"
keys = ["K"]
)"),
            R"(-- select B, line 1
mssql   SELECT K FROM B     ORDER BY K
sybase  SELECT K FROM B     ORDER BY K
db2     SELECT K FROM B     ORDER BY K  
kordb   SELECT "K" FROM "B"     ORDER BY "K"

-- delete @D, line 5
mssql   DELETE FROM [@D]  WHERE 
sybase  DELETE FROM [@D]  WHERE 
db2     DELETE FROM @D  WHERE 
kordb   DELETE FROM "@D"  WHERE 

-- select A, line 8
mssql   SELECT K FROM A     ORDER BY K
sybase  SELECT K FROM A     ORDER BY K
db2     SELECT K FROM A     ORDER BY K  
kordb   SELECT "K" FROM "A"     ORDER BY "K"
)");
}

TEST(Bare, PrintsOneDialectsStatementsInTheOrderOfSending) {
  EXPECT_EQ(bareOn(kSybase, "[select]\ntable = \"@T\"\nkeys = [\"K\"]\nlimit = 2\n"),
            "SET ROWCOUNT 2 \nSELECT K FROM [@T]     ORDER BY K\nSET ROWCOUNT 0\n");
}

TEST(Bare, EndsStatementsWithTheGivenCharacter) {
  const auto statements =
      readDescription("f",
                      "[load]\ntable = \"T\"\nwhere = [{ field = \"A\", value = \"x\\ny\" }]\n")
          .statements;
  EXPECT_EQ(bare(statements, kMssql, '\0'),
            std::string("SELECT * FROM T     WHERE A = N'x\ny'\0", 37));
}

TEST(Bare, KeepsEveryLetter) {
  EXPECT_EQ(bareOn(kKordb,
                   "[load]\ntable = \"T\"\nwhere = [{ field = \"\u00C4\", value = "
                   "\"\U0001F600\u4E2D\" }]\n"),
            "SELECT * FROM \"T\"     WHERE \"\u00C4\" = N'\U0001F600\u4E2D'\n");
}

TEST(Example, HasAStatementOfEachKindAndPrintsWithoutAWarning) {
  const Description description = readDescription("example", kExample);
  std::set<Kind> kinds;
  for (const Statement& statement : description.statements) kinds.insert(statement.kind);
  EXPECT_EQ(kinds.size(), 6U);
  EXPECT_TRUE(description.warnings.empty());
  EXPECT_EQ(
      bare(description.statements, kKordb, '\n'),
      R"(SELECT TOP 5 T0."Code" AS"T0.Code",T0."U_Total" AS"T0.U_Total",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   LEFT OUTER JOIN "@LINES" T1 ON T0."Code" = T1."U_Order" AND T1."U_Kind"  =  N'A'   WHERE T0."U_Total" > 12.5 OR (T0."U_Date" <= '2024-01-31 00:00:00' AND T0."U_Name" LIKE N'O''B%') ORDER BY T0."U_Date" ASC,T0."Code" DESC
SELECT "PeriodNo" FROM "OFPR"     ORDER BY "PeriodNo"
SELECT * FROM "@ORDERS"     WHERE "Code" = N'00000001'
SELECT MAX("Code") FROM "@ORDERS"
INSERT INTO "@ORDERS" ( "Code", "Name", "U_Name", "U_Total", "U_Date", "U_Count")  VALUES ( N'00000001', N'00000001', N'O''Brien', 12.5, '2024-01-31 00:00:00', 3) 
UPDATE "@ORDERS"  SET "U_Total" = 13  WHERE "Code" = N'00000001'
DELETE FROM "@ORDERS"  WHERE "Code" = N'00000001'
SELECT "Code" AS "Number" ,"U_Name" AS "Customer" FROM "@ORDERS" WHERE U_Total > 0
)");
}

}  // namespace
}  // namespace qx::sqlprint
