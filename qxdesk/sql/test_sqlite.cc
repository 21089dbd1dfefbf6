#include "qxdesk/sql/test_sqlite.h"

#include "qxdesk/sql/test_schema.h"
#include "qxframework/automation/text.h"

#include <sqlite3.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace qx::sql::test {
namespace {

std::string upperCase(std::string_view text) { return toUtf8(toUpper(toUtf16(text))); }
std::string lowerCase(std::string_view text) { return toUtf8(toLower(toUtf16(text))); }

std::string cell(sqlite3_stmt* statement, int column) {
  if (sqlite3_column_type(statement, column) == SQLITE_FLOAT) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.15g", sqlite3_column_double(statement, column));
    return std::string_view(text.data()) == "-0" ? "0" : text.data();
  }
  const unsigned char* text = sqlite3_column_text(statement, column);
  return text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
}

}  // namespace

void SqliteConnection::Closer::operator()(sqlite3* db) const { sqlite3_close(db); }

SqliteConnection::SqliteConnection() : catalog_(nullptr) {
  sqlite3* db = nullptr;
  if (sqlite3_open(":memory:", &db) != SQLITE_OK) throw std::runtime_error("no database");
  db_.reset(db);
  catalog_ = SqliteCatalog(db);
  setUpConnection(
      db, {.now = [] { return std::string(kClock); }, .upper = upperCase, .lower = lowerCase})
      .provide();
  for (const std::string_view script : {kTables, kRows}) {
    if (sqlite3_exec(db, std::string(script).c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(db));
    }
  }
}

std::string SqliteConnection::run(std::string_view sql) {
  SqliteStatement statement = prepareGuarded(db_.get(), sql);
  try {
    return rows(std::move(statement));
  } catch (const SqliteError& error) {
    throw ValueFault(error.code, error.what());
  }
}

std::string SqliteConnection::runNative(std::string_view sql) {
  sqlite3_stmt* raw = nullptr;
  const int result = sqlite3_prepare_v2(db_.get(), std::string(sql).c_str(), -1, &raw, nullptr);
  if (result != SQLITE_OK) throw SqliteError(result, sqlite3_errmsg(db_.get()));
  return rows(SqliteStatement(raw));
}

std::string SqliteConnection::rows(SqliteStatement statement) {
  std::string text;
  bool first = true;
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) {
    if (!first) text += '/';
    first = false;
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      if (i > 0) text += '|';
      text += cell(statement.get(), i);
    }
  }
  if (result != SQLITE_DONE) {
    throw SqliteError(sqlite3_extended_errcode(db_.get()), sqlite3_errmsg(db_.get()));
  }
  return text;
}

std::unique_ptr<Connection> connectToSqlite() { return std::make_unique<SqliteConnection>(); }

}  // namespace qx::sql::test
