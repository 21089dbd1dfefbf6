#include "qxdesk/sql/sqlite_guard.h"

#include "qxdesk/sql/test_sqlite.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
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
  /// Returns the message of a translated text that fails when it runs; empty if it does not.
  std::string faultOf(std::string_view text) {
    try {
      runTranslated(text);
      return {};
    } catch (const test::ValueFault& error) {
      return error.what();
    }
  }
  sqlite3* db() { return database_.db(); }
};

TEST_F(SqliteGuard, RefusesEverythingButReadingAndChangingRows) {
  for (const std::string_view text :
       {"ATTACH 'x' AS y", "DETACH main", "PRAGMA user_version", "CREATE TABLE X (a)",
        "CREATE TEMP TABLE X (a)", "DROP TABLE OFPR", "ALTER TABLE OFPR ADD x", "BEGIN", "COMMIT",
        "SAVEPOINT s", "ANALYZE", "REINDEX", "CREATE INDEX i ON OFPR (Category)",
        "CREATE VIEW v AS SELECT 1", "SELECT * FROM pragma_table_info('OFPR')"}) {
    EXPECT_EQ(guardRefusal(db(), text), "not authorized") << text;
  }
  EXPECT_EQ(guardRefusal(db(), "SELECT load_extension('x')"),
            "not authorized to use function: load_extension");
  EXPECT_EQ(guardRefusal(db(), "SELECT random()"), "not authorized to use function: random");
  EXPECT_EQ(guardRefusal(db(), "SELECT * FROM sqlite_master"),
            "access to sqlite_master.type is prohibited");
  EXPECT_EQ(guardRefusal(db(), "DELETE FROM sqlite_master"),
            "table sqlite_master may not be modified");
  EXPECT_EQ(guardRefusal(db(), "SELECT count(*) FROM OFPR"), "");
  EXPECT_EQ(guardRefusal(db(), "UPDATE OFPR SET SubNum = 1"), "");
}

TEST_F(SqliteGuard, RefusesTheTablesThatTheEngineMakesUp) {
  // The engine makes such a table when its columns are looked up without the guard.
  EXPECT_EQ(database_.runNative("SELECT count(*) > 5 FROM pragma_table_info('dbstat')"), "1");
  for (const char* table : {"sqlite_master", "pragma_database_list", "dbstat", "DBSTAT"}) {
    const std::string refusal = guardRefusal(db(), std::string("SELECT * FROM ") + table);
    EXPECT_TRUE(refusal.starts_with("access to ") || refusal == "not authorized")
        << table << ": " << refusal;
  }
}

TEST_F(SqliteGuard, RefusesACommonTableThatNamesItself) {
  EXPECT_EQ(guardRefusal(db(),
                         "WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c) "
                         "SELECT n FROM c"),
            "not authorized");
}

TEST_F(SqliteGuard, ATriggerThatTheFileBringsDoesNotRun) {
  ASSERT_EQ(
      sqlite3_exec(db(), "CREATE TRIGGER planted AFTER UPDATE ON OFPR BEGIN DELETE FROM OFPR; END",
                   nullptr, nullptr, nullptr),
      SQLITE_OK);
  const std::string before = runTranslated("SELECT COUNT(*) FROM OFPR");
  runTranslated("UPDATE OFPR SET SubNum = 1");
  EXPECT_EQ(runTranslated("SELECT COUNT(*) FROM OFPR"), before);
  EXPECT_NE(before, "0");
}

TEST_F(SqliteGuard, ALongLikeIsStoppedWhenAsked) {
  setUpConnection(db(),
                  GuardSettings{.now = {}, .upper = {}, .lower = {}, .stop = [] { return true; }})
      .provide();
  const std::string text(100'000, 'a');
  EXPECT_EQ(faultOf("SELECT COUNT(*) FROM OFPR WHERE '" + text + "' LIKE '%_b%'"), "interrupted");
}

TEST_F(SqliteGuard, APatternOfTheRowsMayNotBeLongEither) {
  EXPECT_EQ(faultOf("SELECT COUNT(*) FROM OFPR WHERE Category LIKE REPLACE('" +
                    std::string(3000, 'a') + "', 'a', 'bb')"),
            "a LIKE pattern has at most 4000 characters");
}

TEST_F(SqliteGuard, RestrictionEndsWithThePreparation) {
  EXPECT_NE(guardRefusal(db(), "CREATE TABLE X (a)"), "");
  EXPECT_EQ(database_.runNative("CREATE TABLE X (a)"), "");
}

TEST_F(SqliteGuard, RestrictionLastsAsLongAsItsScope) {
  {
    const RowsOnly scope(db());
    try {
      database_.runNative("CREATE TABLE X (a)");
      ADD_FAILURE();
    } catch (const SqliteError& error) {
      EXPECT_STREQ(error.what(), "not authorized");
    }
    EXPECT_EQ(database_.runNative("SELECT count(*) FROM OFPR"), "2");
  }
  EXPECT_EQ(database_.runNative("CREATE TABLE X (a)"), "");
}

TEST_F(SqliteGuard, RestrictionConcernsOneConnection) {
  SqliteConnection other;
  const RowsOnly scope(db());
  EXPECT_EQ(other.runNative("CREATE TABLE X (a)"), "");
}

TEST_F(SqliteGuard, GuardingAStatementKeepsTheOthersPrepared) {
  const SqliteStatement kept =
      prepareRepeated(db(), "SELECT count(*) FROM OFPR WHERE SubNum < ?", 1);
  EXPECT_EQ(guardRefusal(db(), "SELECT 1"), "");
  // A statement that has expired fails here instead.
  EXPECT_EQ(sqlite3_step(kept.get()), SQLITE_ROW);
}

TEST_F(SqliteGuard, ARepeatedStatementFailsOnceATableHasChanged) {
  const SqliteStatement kept = prepareRepeated(db(), "DELETE FROM OFPR WHERE SubNum = ?", 1);
  database_.runNative("ALTER TABLE OFPR ADD U_New int");
  sqlite3_bind_int(kept.get(), 1, 1);
  EXPECT_EQ(sqlite3_step(kept.get()), SQLITE_ERROR);
  EXPECT_EQ(sqlite3_reset(kept.get()), SQLITE_SCHEMA);
  EXPECT_EQ(database_.runNative("SELECT count(*) FROM OFPR"), "2");
}

TEST_F(SqliteGuard, RefusesASecondStatementParametersAndABlankText) {
  EXPECT_EQ(guardRefusal(db(), "SELECT 1; SELECT 2"), "one statement per call; more text follows");
  EXPECT_EQ(guardRefusal(db(), "SELECT 1;"), "");
  EXPECT_EQ(guardRefusal(db(), "SELECT ?"), "the statement has open parameters");
  EXPECT_EQ(guardRefusal(db(), "SELECT 1 WHERE 1 = @x"), "the statement has open parameters");
  EXPECT_EQ(guardRefusal(db(), " "), "the text holds no statement");
}

TEST_F(SqliteGuard, UnknownNameInDoubleQuotesIsAnError) {
  EXPECT_EQ(guardRefusal(db(), R"(SELECT "nosuch" FROM OFPR)"), "no such column: nosuch");
}

TEST_F(SqliteGuard, ReturnsTheTimeOfTheGivenClock) {
  EXPECT_EQ(database_.runNative("SELECT qx_now()"), "2024-02-15 13:45:10");
}

TEST(FunctionsOnDemand, AreThereForTheFirstTextThatCallsOne) {
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &raw), SQLITE_OK);
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close);
  FunctionsOnDemand functions = setUpConnection(raw, {});
  const std::string like = "SELECT 'a' LIKE 'A', 'a' LIKE 'a'";
  functions.provideFor(like);
  const SqliteStatement statement = prepareGuarded(raw, like);
  ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(statement.get(), 0), 0);
  EXPECT_EQ(sqlite3_column_int(statement.get(), 1), 1);
  const std::string call = "SELECT qx_cut(1.5)";
  EXPECT_EQ(guardRefusal(raw, call), "no such function: qx_cut");
  functions.provideFor(call);
  EXPECT_EQ(guardRefusal(raw, call), "");
}

TEST_F(SqliteGuard, UsesTheSystemClockByDefault) {
  setUpConnection(db(), {}).provide();
  EXPECT_EQ(database_.runNative("SELECT qx_now() = qx_date(qx_now()), "
                                "abs(julianday(qx_now()) - julianday('now', 'localtime')) < 0.01"),
            "1|1");
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

TEST_F(SqliteGuard, MapsCaseOnlyWithAGivenMapping) {
  setUpConnection(db(), {}).provide();
  EXPECT_EQ(faultOf("SELECT UPPER(Name) FROM [@T]"),
            "no case mapping is set up for this connection");
  setUpConnection(db(), {.now = nullptr,
                         .upper = [](std::string_view) { return std::string("U"); },
                         .lower = [](std::string_view) { return std::string("L"); }})
      .provide();
  EXPECT_EQ(runTranslated("SELECT UPPER(Name), LOWER(Name) FROM [@T] WHERE Code = '1'"), "U|L");
}

TEST_F(SqliteGuard, TurnsAnExceptionOfTheClockIntoAnError) {
  setUpConnection(db(), {.now = []() -> std::string { throw std::runtime_error("clock"); },
                         .upper = nullptr,
                         .lower = nullptr})
      .provide();
  EXPECT_EQ(faultOf("SELECT getdate()"), "clock");
}

TEST_F(SqliteGuard, CatalogReturnsDeclaredTypes) {
  const SqliteCatalog catalog(db());
  EXPECT_EQ(catalog.columnType("@t", "u_date"), ColumnType::Date);
  EXPECT_EQ(catalog.columnType("@T", "U_Price"), ColumnType::Decimal);
  EXPECT_EQ(catalog.columnType("@T", "U_B"), ColumnType::Integer);
  EXPECT_EQ(catalog.columnType("@T", "Code"), ColumnType::Text);
  EXPECT_EQ(catalog.columnType("@T", "nosuch"), ColumnType::Unknown);
  EXPECT_EQ(catalog.columnType("nosuch", "Code"), ColumnType::Unknown);
}

TEST_F(SqliteGuard, ProbeFindsTypesThatTheTextDoesNotContain) {
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
  ASSERT_EQ(known.columns.size(), 2U);
  EXPECT_EQ(known.columns[0].type, ColumnType::Date);
  EXPECT_EQ(known.columns[1].type, ColumnType::Decimal);
}

}  // namespace
}  // namespace qx::sql
