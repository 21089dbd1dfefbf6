// What a SQLite connection needs to run translated statements, and the second line of defence
// behind the translator: texts are prepared so that they can do nothing but read and change rows,
// in one statement, without open parameters.
#pragma once

#include "qxdesk/sql/column_type.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace qx::sql {

struct SqliteError : std::runtime_error {
  SqliteError(int resultCode, const std::string& message)
      : std::runtime_error(message), code(resultCode) {}
  int code;  // SQLite's extended result code
};

// Extended result codes of our own, for values that a function does not take. SQLite has none of
// its own beneath this one.
constexpr int kBadDateCode = 25 | (1 << 8);
constexpr int kOutOfRangeCode = 25 | (2 << 8);

// The world outside that statements can ask for.
struct GuardSettings {
  // Local time as "YYYY-MM-DD HH:MM:SS". Default: the system's clock.
  std::function<std::string()> now;
  // Case mapping of UTF-8. Without one, UPPER or LOWER fail when they run.
  std::function<std::string(std::string_view)> upper;
  std::function<std::string(std::string_view)> lower;
};

// Registers the functions that translated texts use, among them a LIKE that minds the case, and
// makes an unknown name in double quotes an error. Raises SqliteError. Once for each connection.
void setUpConnection(sqlite3* db, GuardSettings settings);

// From now on the connection prepares only statements that read and change rows, outside of
// SQLite's own tables, and call functions the translator uses; until allowEverything().
void allowRowsOnly(sqlite3* db);
void allowEverything(sqlite3* db);

struct StatementCloser {
  void operator()(sqlite3_stmt* statement) const;
};
using SqliteStatement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

// Prepares one translated text under allowRowsOnly(), which ends with the call. Raises SqliteError
// when SQLite refuses it, when text is left over or when it has parameters.
SqliteStatement prepareGuarded(sqlite3* db, std::string_view text);

// The common type of the columns of a probe (OutputColumn::probe), by their declarations.
ColumnType probedType(sqlite3* db, std::string_view probe);

// The declared types of the connection's own tables.
class SqliteCatalog : public Catalog {
 public:
  explicit SqliteCatalog(sqlite3* db) : db_(db) {}
  ColumnType columnType(std::string_view table, std::string_view column) const override;
  bool lacksColumn(std::string_view table, std::string_view column) const override;

 private:
  sqlite3* db_;
};

}  // namespace qx::sql
