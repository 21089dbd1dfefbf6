#include "qxdesk/sql/sqlite_guard.h"

#include "qxdesk/sql/test_sqlite.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

namespace qx::sql {
namespace {

using test::SqliteConnection;

std::string guardRefusal(sqlite3* db, std::string_view text) {
  try {
    prepareGuarded(db, text);
    return {};
  } catch (const SqliteError& error) {
    return error.what();
  }
}

class SqliteGuard : public testing::Test {
 protected:
  SqliteConnection database_;
  std::string runTranslated(std::string_view text) {
    return database_.run(test::translated(Dialect::Mssql, text));
  }
  sqlite3* db() { return database_.db(); }
};

TEST_F(SqliteGuard, RefusesAllButReadingAndChangingRows) {
  for (const std::string_view text :
       {"ATTACH 'x' AS y", "DETACH main", "PRAGMA user_version", "CREATE TABLE X (a)",
        "CREATE TEMP TABLE X (a)", "DROP TABLE OFPR", "ALTER TABLE OFPR ADD x", "BEGIN", "COMMIT",
        "SAVEPOINT s", "ANALYZE", "REINDEX", "CREATE INDEX i ON OFPR (Category)",
        "CREATE VIEW v AS SELECT 1", "SELECT load_extension('x')", "SELECT random()",
        "SELECT * FROM sqlite_master", "SELECT * FROM pragma_table_info('OFPR')",
        "DELETE FROM sqlite_master"}) {
    EXPECT_NE(guardRefusal(db(), text), "") << text;
  }
  EXPECT_EQ(guardRefusal(db(), "SELECT count(*) FROM OFPR"), "");
  EXPECT_EQ(guardRefusal(db(), "UPDATE OFPR SET SubNum = 1"), "");
}

TEST_F(SqliteGuard, EndsWithThePreparation) {
  EXPECT_NE(guardRefusal(db(), "CREATE TABLE X (a)"), "");
  EXPECT_EQ(database_.runNative("CREATE TABLE X (a)"), "");
}

TEST_F(SqliteGuard, StaysWhenItIsSwitchedOn) {
  allowRowsOnly(db());
  EXPECT_THROW(database_.runNative("CREATE TABLE X (a)"), SqliteError);
  EXPECT_EQ(database_.runNative("SELECT count(*) FROM OFPR"), "2");
  allowEverything(db());
  EXPECT_EQ(database_.runNative("CREATE TABLE X (a)"), "");
}

TEST_F(SqliteGuard, RefusesASecondStatementParametersAndNothing) {
  EXPECT_EQ(guardRefusal(db(), "SELECT 1; SELECT 2"), "one statement per call; more text follows");
  EXPECT_EQ(guardRefusal(db(), "SELECT 1;"), "");
  EXPECT_EQ(guardRefusal(db(), "SELECT ?"), "the statement has open parameters");
  EXPECT_EQ(guardRefusal(db(), "SELECT 1 WHERE 1 = @x"), "the statement has open parameters");
  EXPECT_EQ(guardRefusal(db(), " "), "the text holds no statement");
}

TEST_F(SqliteGuard, TakesAnUnknownNameInDoubleQuotesAsAnError) {
  EXPECT_EQ(guardRefusal(db(), R"(SELECT "nosuch" FROM OFPR)"), "no such column: nosuch");
}

TEST_F(SqliteGuard, GivesTheClockThatWasHandedIn) {
  EXPECT_EQ(database_.runNative("SELECT qx_now()"), "2024-02-15 13:45:10");
}

TEST_F(SqliteGuard, HasTheSystemClockByDefault) {
  setUpConnection(db(), {});
  const std::string now = database_.runNative("SELECT qx_now() = qx_date(qx_now())");
  EXPECT_EQ(now, "1");
}

TEST_F(SqliteGuard, ReadsDatesOfBothFormsAndRefusesOthers) {
  EXPECT_EQ(database_.runNative("SELECT qx_date('20240131'), qx_date('2024-01-31 08:30'), "
                                "qx_date(NULL)"),
            "2024-01-31 00:00:00|2024-01-31 08:30:00|NULL");
  try {
    database_.runNative("SELECT qx_date('31.1.2024')");
    FAIL();
  } catch (const SqliteError& error) {
    EXPECT_STREQ(error.what(), "not a date: '31.1.2024'");
  }
}

TEST_F(SqliteGuard, MapsCaseOnlyByWhatIsHandedIn) {
  setUpConnection(db(), {});
  EXPECT_THROW(runTranslated("SELECT UPPER(Name) FROM [@T]"), SqliteError);
  setUpConnection(db(), {.now = nullptr,
                         .upper = [](std::string_view) { return std::string("U"); },
                         .lower = [](std::string_view) { return std::string("L"); }});
  EXPECT_EQ(runTranslated("SELECT UPPER(Name), LOWER(Name) FROM [@T] WHERE Code = '1'"), "U|L");
}

TEST_F(SqliteGuard, LetsNoExceptionOfAClockThrough) {
  setUpConnection(db(), {.now = []() -> std::string { throw std::runtime_error("clock"); },
                         .upper = nullptr,
                         .lower = nullptr});
  EXPECT_THROW(runTranslated("SELECT getdate()"), SqliteError);
}

TEST_F(SqliteGuard, KnowsTheDeclaredTypes) {
  const SqliteCatalog catalog(db());
  EXPECT_EQ(catalog.columnType("@t", "u_date"), ColumnType::Date);
  EXPECT_EQ(catalog.columnType("@T", "U_Price"), ColumnType::Decimal);
  EXPECT_EQ(catalog.columnType("@T", "U_B"), ColumnType::Integer);
  EXPECT_EQ(catalog.columnType("@T", "Code"), ColumnType::Text);
  EXPECT_EQ(catalog.columnType("@T", "nosuch"), ColumnType::Unknown);
  EXPECT_EQ(catalog.columnType("nosuch", "Code"), ColumnType::Unknown);
}

TEST_F(SqliteGuard, ProbesTheTypesThatTheTextDoesNotTell) {
  Translator translator(Dialect::Mssql);
  const Translation translation = translator.translate(
      "SELECT MAX(U_Date), SUM(U_Price), ISNULL(U_B, 0), MAX(T0.Code), U_B * U_Price FROM [@T] T0 "
      "WHERE 1 = 0");
  const std::array<ColumnType, 5> expected = {ColumnType::Date, ColumnType::Decimal,
                                              ColumnType::Integer, ColumnType::Text,
                                              ColumnType::Decimal};
  ASSERT_EQ(translation.columns.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(probedType(db(), translation.columns[i].probe), expected.at(i)) << i;
  }
  const Translation known = Translator(Dialect::Mssql, &database_.catalog())
                                .translate("SELECT MAX(U_Date), ISNULL(U_Price, 0) FROM [@T]");
  EXPECT_EQ(known.columns[0].type, ColumnType::Date);
  EXPECT_EQ(known.columns[1].type, ColumnType::Decimal);
}

}  // namespace
}  // namespace qx::sql
