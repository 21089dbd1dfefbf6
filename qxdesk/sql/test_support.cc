#include "qxdesk/sql/test_support.h"

#include <sqlite3.h>

#include <stdexcept>

namespace qx::sql::test {
namespace {

// The host declares its columns so; the rows are those the expectations speak of.
constexpr const char* kSchema = R"(
  CREATE TABLE "@QXEXTDBVERSION" (Code nvarchar(50) PRIMARY KEY, Name nvarchar(50),
    U_ExtID nvarchar(5), U_Version nvarchar(15), U_EFNum nvarchar(10), U_Status nvarchar(20),
    U_Rdate datetime CHECK (U_Rdate IS NULL OR
      (typeof(U_Rdate) = 'text' AND U_Rdate IS datetime(U_Rdate, '+0 days'))));
  INSERT INTO "@QXEXTDBVERSION" VALUES
    ('00000000', '00000000', 'QX', '9.20.00.00', NULL, 'Installed', '2024-01-01 00:00:00'),
    ('00000001', '00000001', 'QX', '9.20.00.01', '07', 'Upgrading', '2024-01-31 00:00:00'),
    ('000000FF', '000000FF', 'ZZ', '1.0', '00', 'Installed', NULL);
  CREATE TABLE "@QXEXTDBV" AS SELECT * FROM "@QXEXTDBVERSION";
  CREATE TABLE VTG1 (Code nvarchar(8), Rate decimal(21,6), EffecDate datetime);
  INSERT INTO VTG1 VALUES ('A1', 15, '2020-01-01 00:00:00'), ('A1', 16.5, '2024-02-15 00:00:00'),
    ('A1', 19, '2024-02-16 00:00:00'), ('A2', NULL, '2024-01-01 00:00:00');
  CREATE TABLE OFPR (Category nvarchar(10), SubNum smallint, F_RefDate datetime,
    T_RefDate datetime);
  INSERT INTO OFPR VALUES ('2024', 1, '2024-01-01 00:00:00', '2024-01-31 00:00:00'),
    ('2024', 2, '2024-02-01 00:00:00', '2024-02-29 00:00:00');
  CREATE TABLE CUFD (TableID nvarchar(20), FieldID int, AliasID nvarchar(20));
  INSERT INTO CUFD VALUES ('@T', 0, 'A'), ('@T', 1, 'X'), ('OITM', 2, 'X');
  CREATE TABLE "@T" (Code nvarchar(50), Name nvarchar(50), U_A nvarchar(50), U_B int,
    U_Price decimal(21,6), U_Date datetime);
  INSERT INTO "@T" VALUES
    ('1', 'one', 'x', 10, 12.5, '2024-01-31 00:00:00'),
    ('2', 'two', 'y', 20, 100, '2024-02-01 08:30:00'),
    ('3', 'three', 'y', NULL, NULL, NULL),
    ('4', 'four', 'y', 5, 0.5, '2023-12-31 00:00:00'),
    ('5', 'five', NULL, 7, 3, '2024-01-31 00:00:00');
  CREATE TABLE "@L" (Code nvarchar(50), U_T nvarchar(50), U_Text nvarchar(50));
  INSERT INTO "@L" VALUES ('1', '1', 'first'), ('2', '2', 'second'), ('3', '9', 'stray');
)";

}  // namespace

std::string translated(Dialect dialect, std::string_view text) {
  return Translator(dialect).translate(text).text;
}

std::string refusal(Dialect dialect, std::string_view text) {
  try {
    Translator(dialect).translate(text);
    return {};
  } catch (const SqlError& error) {
    return error.what();
  }
}

CompanyDatabase::CompanyDatabase(Dialect dialect)
    : db_([] {
        sqlite3* db = nullptr;
        if (sqlite3_open(":memory:", &db) != SQLITE_OK) throw std::runtime_error("no database");
        return db;
      }()),
      catalog_(db_),
      translator_(dialect, &catalog_) {
  setUpConnection(db_, {.now = [] { return std::string("2024-02-15 13:45:10"); },
                        .upper = nullptr,
                        .lower = nullptr});
  if (sqlite3_exec(db_, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(db_));
  }
}

CompanyDatabase::~CompanyDatabase() { sqlite3_close(db_); }

std::string CompanyDatabase::run(std::string_view text) {
  const Translation translation = translator_.translate(text);
  if (translation.kind == StatementKind::SetRowCount) return {};
  return rows(prepareGuarded(db_, translation.text));
}

std::string CompanyDatabase::runNative(std::string_view text) {
  sqlite3_stmt* raw = nullptr;
  const int result = sqlite3_prepare_v2(db_, std::string(text).c_str(), -1, &raw, nullptr);
  if (result != SQLITE_OK) throw SqliteError(result, sqlite3_errmsg(db_));
  return rows(SqliteStatement(raw));
}

std::string CompanyDatabase::rows(SqliteStatement statement) {
  std::string text;
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) {
    if (!text.empty()) text += '/';
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      if (i > 0) text += '|';
      const unsigned char* cell = sqlite3_column_text(statement.get(), i);
      text += cell == nullptr ? "NULL" : reinterpret_cast<const char*>(cell);
    }
  }
  if (result != SQLITE_DONE) throw SqliteError(result, sqlite3_errmsg(db_));
  return text;
}

}  // namespace qx::sql::test
