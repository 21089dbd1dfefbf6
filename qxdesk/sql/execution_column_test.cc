// The names that count as columns, on real databases. Each engine also takes other names for a
// column: the number of a row, a function of a whole row, a row itself, an alias of the list within
// a condition. If the tables are known, the front end refuses all of them.
#include "qxdesk/sql/test_sqlite.h"
#include "qxdesk/sql/test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace qx::sql {
namespace {

using test::CompanyDatabase;
using test::engineName;
using test::engines;
using test::EngineTest;
using test::refusalOf;

class ExecutionColumn : public EngineTest {};

TEST_P(ExecutionColumn, MissingColumnIsRefusedWithItsPosition) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT Nix FROM [@T]"),
            "there is no column Nix in @T (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT T0.Code FROM [@T] T0 WHERE T0.Nix = 1"),
            "there is no column Nix in @T (line 1, column 35)");
  EXPECT_EQ(refusalOf(database, "SELECT Nix FROM [@T] T0, [@L] T1"),
            "there is no column Nix in any of the tables (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT 1 FROM [@T] WHERE EXISTS (SELECT T1.U_B FROM [@L] T1)"),
            "there is no column U_B in @L (line 1, column 41)");
  EXPECT_EQ(refusalOf(database, "SELECT Nix"), "there is no column Nix here (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT 1 FROM [@T] T0 INNER JOIN [@L] T1 ON T0.Code = T1.Nix"),
            "there is no column Nix in @L (line 1, column 55)");
}

TEST_P(ExecutionColumn, RowFunctionOrWholeRowIsRefusedAsAColumn) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT T0.count FROM [@T] T0"),
            "there is no column count in @T (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT T0 FROM [@T] T0"),
            "there is no column T0 in @T (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT D.count FROM (SELECT COUNT(*) FROM [@T]) D"),
            "there is no column count in D (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT D FROM (SELECT Code FROM [@T]) D"),
            "there is no column D in D (line 1, column 8)");
}

TEST_P(ExecutionColumn, RowNumberIsRefusedAsAColumn) {
  CompanyDatabase database = company(Dialect::Mssql);
  for (const std::string name : {"rowid", "OID", "_rowid_", "ctid", "xmin", "tableoid"}) {
    const std::string lacking = "there is no column " + name + " in @T (line 1, column ";
    EXPECT_EQ(refusalOf(database, "SELECT " + name + " FROM [@T]"), lacking + "8)");
    EXPECT_EQ(refusalOf(database, "SELECT 1 FROM [@T] T0 WHERE T0." + name + " = 1"),
              lacking + "29)");
    EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET " + name + " = 5"), lacking + "17)");
    EXPECT_EQ(refusalOf(database, "INSERT INTO [@T] (Code, " + name + ") VALUES ('7', 7)"),
              lacking + "25)");
    EXPECT_EQ(refusalOf(database, "DELETE FROM [@T] WHERE " + name + " = 5"), lacking + "24)");
  }
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T]"), "5");
}

TEST_P(ExecutionColumn, ColumnOfADerivedOrCommonTableComesFromItsList) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("WITH C AS (SELECT T0.*, T0.U_B + 1 AS Next FROM [@T] T0) SELECT D.CODE, "
                         "D.next, C.u_b FROM (SELECT * FROM C) D INNER JOIN C ON C.Code = D.Code "
                         "WHERE D.Code = '1'"),
            "1|11|10");
  EXPECT_EQ(refusalOf(database, "WITH C AS (SELECT T0.* FROM [@T] T0) SELECT C.Nix FROM C"),
            "there is no column Nix in C (line 1, column 45)");
  EXPECT_EQ(refusalOf(database, "SELECT Name FROM (SELECT Code FROM [@T]) D"),
            "there is no column Name in D (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT D.rowid FROM (SELECT * FROM [@T]) D"),
            "there is no column rowid in D (line 1, column 8)");
}

TEST_P(ExecutionColumn, SubquerySeesTheColumnsOfTheOuterTable) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code FROM [@T] T0 WHERE EXISTS (SELECT 1 FROM [@L] WHERE U_T = "
                         "T0.Code AND U_B = 10)"),
            "1");
  database.run("UPDATE [@L] SET U_Text = (SELECT Name FROM [@T] T0 WHERE T0.Code = U_T)");
  database.run(
      "DELETE FROM [@L] WHERE EXISTS (SELECT 1 FROM [@T] WHERE [@T].Code = [@L].U_T AND "
      "U_B = 20)");
  EXPECT_EQ(database.run("SELECT u_text FROM [@l] ORDER BY CODE"), "one/NULL");
  EXPECT_EQ(refusalOf(database, "INSERT INTO [@L] (Code, U_T) SELECT Code, U_T FROM [@T]"),
            "there is no column U_T in @T (line 1, column 43)");
  EXPECT_EQ(refusalOf(database, "INSERT INTO [@L] (Code, U_T) VALUES ('8', U_Text)"),
            "there is no column U_Text here (line 1, column 43)");
}

TEST_P(ExecutionColumn, AliasOfTheListIsAColumnInOrderByOnly) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT Code AS'T0.Code', U_B * 2 AS Twice FROM [@T] WHERE U_B > 6 ORDER "
                         "BY TWICE DESC, [T0.Code]"),
            "2|40/1|20/5|14");
  EXPECT_EQ(database.run("SELECT Code AS X FROM [@T] UNION SELECT U_T FROM [@L] ORDER BY x DESC"),
            "9/5/4/3/2/1");
  EXPECT_EQ(refusalOf(database, "SELECT U_B AS X FROM [@T] ORDER BY X + 1"),
            "there is no column X in @T (line 1, column 36)");
  EXPECT_EQ(refusalOf(database, "SELECT U_B AS X FROM [@T] WHERE X > 1"),
            "there is no column X in @T (line 1, column 33)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] ORDER BY Nix"),
            "there is no column Nix in @T (line 1, column 32)");
}

TEST_P(ExecutionColumn, MissingTableIsRefusedWithItsPosition) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT Nix FROM Missing"),
            "there is no table Missing (line 1, column 17)");
  EXPECT_EQ(refusalOf(database, "SELECT Code\nFROM [@T] T0\n  INNER JOIN [@NONE] T1 ON 1 = 1"),
            "there is no table @NONE (line 3, column 14)");
  EXPECT_EQ(refusalOf(database, "SELECT M.Nix FROM [@T], Missing M"),
            "there is no table Missing (line 1, column 25)");
  EXPECT_EQ(refusalOf(database, "SELECT 1 WHERE 1 IN (SELECT Nix FROM Missing)"),
            "there is no table Missing (line 1, column 38)");
  EXPECT_EQ(refusalOf(database, "WITH C AS (SELECT 1 AS a FROM C) SELECT a FROM C"),
            "a common table names only those before it; C is not yet complete here (line 1, column "
            "31)");
  EXPECT_EQ(refusalOf(database, "UPDATE Missing SET Nix = 1"),
            "there is no table Missing (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "DELETE FROM Missing"),
            "there is no table Missing (line 1, column 13)");
  EXPECT_EQ(refusalOf(database, "INSERT INTO Missing (a) VALUES (1)"),
            "there is no table Missing (line 1, column 13)");
  EXPECT_EQ(database.run("WITH C AS (SELECT 1 AS a) SELECT a FROM C"), "1");
}

TEST_P(ExecutionColumn, UnknownTableBeforeAColumnIsRefusedWithItsPosition) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT T9.Code FROM [@T]"),
            "there is no table T9 here (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT [@T].Code FROM [@T] T0"),
            "there is no table @T here (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT Code, T9.* FROM [@T]"),
            "there is no table T9 here (line 1, column 14)");
  EXPECT_EQ(refusalOf(database, "SELECT T0.Code FROM [@T] T0 ORDER BY T9.Code"),
            "there is no table T9 here (line 1, column 38)");
  EXPECT_EQ(refusalOf(database, "UPDATE [@T] SET U_A = T9.Code"),
            "there is no table T9 here (line 1, column 23)");
  EXPECT_EQ(refusalOf(database, "INSERT INTO [@T] (Code) VALUES (T9.Code)"),
            "there is no table T9 here (line 1, column 33)");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] T0 WHERE EXISTS (SELECT 1 FROM [@L] T1 WHERE "
                         "T1.U_T = T0.Code)"),
            "2");
}

TEST_P(ExecutionColumn, ColumnOfSeveralTablesIsRefusedWithItsPosition) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string from = " FROM [@T] T0 INNER JOIN [@L] T1 ON T0.Code = T1.U_T";
  EXPECT_EQ(refusalOf(database, "SELECT Code" + from),
            "the column Code is in several tables (T0, T1); write the table's name before it (line "
            "1, column 8)");
  EXPECT_EQ(refusalOf(database,
                      "SELECT T0.Code FROM [@T] T0, (SELECT Code FROM [@L]) D\n WHERE "
                      "code > '1'"),
            "the column code is in several tables (T0, D); write the table's name before it (line "
            "2, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT U_B" + from + " ORDER BY Code"),
            "the column Code is in several tables (T0, T1); write the table's name before it (line "
            "1, column 73)");
  EXPECT_EQ(refusalOf(database, "SELECT T0.Code FROM [@T] T0, [@L] T0"),
            "several tables are called T0; give each an alias (line 1, column 8)");
  EXPECT_EQ(refusalOf(database, "SELECT D.Code FROM (SELECT T0.*, T1.* FROM [@T] T0, [@L] T1) D"),
            "D has several columns Code; give each an alias (line 1, column 8)");
  EXPECT_EQ(refusalOf(database,
                      "WITH C AS (SELECT Code, Name AS Code FROM [@T]) SELECT D.Name FROM "
                      "(SELECT *, 1 AS Name FROM C) D WHERE D.Code = '1'"),
            "D has several columns Code; give each an alias (line 1, column 105)");
  EXPECT_EQ(database.run("SELECT U_Text, Name" + from + " ORDER BY U_Text"),
            "first|one/second|two");
  EXPECT_EQ(database.run("SELECT Code FROM [@L] WHERE EXISTS (SELECT 1 FROM [@T] WHERE Code = "
                         "U_T) ORDER BY Code"),
            "1/2");
}

TEST_P(ExecutionColumn, NameInTheOrderMeansItsEntryOfTheList) {
  CompanyDatabase database = company(Dialect::Mssql);
  const std::string from =
      " FROM [@T] T0 INNER JOIN [@L] T1 ON T0.Code = T1.U_T ORDER BY Code DESC";
  EXPECT_EQ(database.run("SELECT T0.Code" + from), "2/1");
  EXPECT_EQ(database.run("SELECT T0.Code, T0.Code" + from), "2|2/1|1");
  EXPECT_EQ(database.run("SELECT T1.U_Text AS Code, T0.U_B" + from), "second|20/first|10");
  EXPECT_EQ(refusalOf(database, "SELECT T0.Code, T1.Code" + from),
            "several columns of the list are called Code; write the position, or the table's name "
            "before it (line 1, column 86)");
}

TEST_P(ExecutionColumn, PositionBeyondTheListIsRefusedWithItsPlace) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(refusalOf(database, "SELECT Code, Name FROM [@T] ORDER BY 1, 3 DESC"),
            "ORDER BY 3 is out of range; the list has 2 columns (line 1, column 41)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] ORDER BY 0"),
            "ORDER BY 0 is out of range; the list has 1 column (line 1, column 32)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] UNION SELECT U_T FROM [@L] ORDER BY 2"),
            "ORDER BY 2 is out of range; the list has 1 column (line 1, column 59)");
  EXPECT_EQ(refusalOf(database, "SELECT Code FROM [@T] ORDER BY 99999999999999999999"),
            "ORDER BY 99999999999999999999 is out of range; the list has 1 column (line 1, column "
            "32)");
  EXPECT_EQ(refusalOf(database, "SELECT COUNT(*) FROM [@T] GROUP BY 2"),
            "GROUP BY 2 is out of range; the list has 1 column (line 1, column 36)");
  EXPECT_EQ(refusalOf(database, "SELECT * FROM [@T] T0 ORDER BY 7"),
            "ORDER BY 7 is out of range; the list has 6 columns (line 1, column 32)");
  EXPECT_EQ(refusalOf(database,
                      "WITH C AS (SELECT T1.*, 1 AS a FROM [@L] T1) SELECT D.*, 2 FROM "
                      "(SELECT * FROM C) D ORDER BY 6"),
            "ORDER BY 6 is out of range; the list has 5 columns (line 1, column 94)");
  EXPECT_EQ(database.run("SELECT T0.*, 1 FROM [@L] T0 ORDER BY 4, 3 DESC"),
            "3|9|stray|1/2|2|second|1/1|1|first|1");
}

TEST(ExecutionColumnCatalog, DeclaredColumnDiffersFromTheRowNumber) {
  test::SqliteConnection connection;
  connection.runNative("CREATE TABLE Own (OID int, \"_ROWID_\" datetime)");
  const Catalog& catalog = connection.catalog();
  EXPECT_FALSE(catalog.lacksColumn("own", "oid"));
  EXPECT_FALSE(catalog.lacksColumn("own", "_rowid_"));
  EXPECT_TRUE(catalog.lacksColumn("own", "rowid"));
  EXPECT_TRUE(catalog.lacksColumn("@T", "ROWID"));
  EXPECT_FALSE(catalog.lacksColumn("@t", "CODE"));
  EXPECT_FALSE(catalog.lacksColumn("missing", "rowid"));
  EXPECT_FALSE(catalog.lacksTable("OWN"));
  EXPECT_TRUE(catalog.lacksTable("missing"));
  EXPECT_EQ(catalog.columnCount("own"), 2U);
  EXPECT_EQ(catalog.columnType("own", "_rowid_"), ColumnType::Date);
  EXPECT_EQ(catalog.columnType("@T", "rowid"), ColumnType::Unknown);
}

TEST(ExecutionColumnCatalog, ViewCountsAsATable) {
  test::SqliteConnection connection;
  connection.runNative("CREATE VIEW Both AS SELECT Code, Name FROM \"@T\"");
  EXPECT_FALSE(connection.catalog().lacksTable("both"));
  EXPECT_EQ(connection.catalog().columnCount("Both"), 2U);
}

TEST(ExecutionColumnCatalog, EveryNameIsAcceptedWithoutACatalog) {
  EXPECT_EQ(test::refusal(Dialect::Mssql, "SELECT a, T0.b FROM T WHERE c = 1 ORDER BY d"), "");
  EXPECT_EQ(test::refusal(Dialect::Mssql, "SELECT a FROM (SELECT b FROM T) D"), "");
  EXPECT_EQ(test::refusal(Dialect::Mssql, "SELECT a"), "");
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionColumn, engines(), engineName);

}  // namespace
}  // namespace qx::sql
