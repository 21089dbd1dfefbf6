// What the tests of this folder share: a company-like database in memory, and short ways to
// translate, to run and to read results as text.
#pragma once

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/translator.h"

#include <string>
#include <string_view>

struct sqlite3;

namespace qx::sql::test {

// Text of one statement on a new translator without a catalogue.
std::string translated(Dialect dialect, std::string_view text);

// The message of the refusal; empty when the text was accepted.
std::string refusal(Dialect dialect, std::string_view text);

// An open database in memory with the tables of the statements below, its clock standing at
// 2024-02-15 13:45:10.
class CompanyDatabase {
 public:
  explicit CompanyDatabase(Dialect dialect);
  ~CompanyDatabase();
  CompanyDatabase(const CompanyDatabase&) = delete;
  CompanyDatabase& operator=(const CompanyDatabase&) = delete;

  // Translates and runs. The rows as text, cells by "|", rows by "/", NULL as "NULL".
  std::string run(std::string_view text);
  // Runs SQLite text as it stands, without the guard.
  std::string runNative(std::string_view text);
  // Translates without running.
  Translation translate(std::string_view text) { return translator_.translate(text); }
  sqlite3* db() { return db_; }

 private:
  std::string rows(SqliteStatement statement);

  sqlite3* db_ = nullptr;
  SqliteCatalog catalog_;
  Translator translator_;
};

}  // namespace qx::sql::test
