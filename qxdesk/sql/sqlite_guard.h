#pragma once

// Prepares a SQLite connection for translated statements, and is the second line of defence after
// the translator: a text can do nothing but read and change rows, in one statement, without open
// parameters.

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

/// Extended result codes of our own, for values that a function refuses. They extend SQLITE_RANGE,
/// for which SQLite defines no extended codes.
constexpr int kBadDateCode = 25 | (1 << 8);
constexpr int kOutOfRangeCode = 25 | (2 << 8);
constexpr int kBadNumberCode = 25 | (3 << 8);

/// What statements can ask of the outside world.
struct GuardSettings {
  // Returns local time as "YYYY-MM-DD HH:MM:SS". If empty, the system's clock is used.
  std::function<std::string()> now;
  // Map the case of UTF-8. If one is empty, the UPPER or LOWER of a statement fails when it runs.
  std::function<std::string(std::string_view)> upper;
  std::function<std::string(std::string_view)> lower;
  // Asked in the middle of a long function call; true stops the statement. May be empty.
  std::function<bool()> stop = {};
};

/// The functions of a connection that translated texts call. A case-sensitive LIKE is there at
/// once. The others, nearly twenty, take longer to register than a statement to run, and the
/// statements of an add-on's start call none of them.
class FunctionsOnDemand {
 public:
  /// Throws SqliteError.
  FunctionsOnDemand(sqlite3* db, GuardSettings settings);
  /// Registers the other functions if `text` may be the first one to call one of them. Throws
  /// SqliteError.
  void provideFor(std::string_view text);
  /// Registers the other functions. Throws SqliteError.
  void provide();

 private:
  sqlite3* db_;
  GuardSettings settings_;
  bool provided_ = false;
};

/// Installs the authorizer of RowsOnly and makes an unknown name in double quotes an error. What
/// the file itself brings is not trusted: its triggers do not run, and its views and checks call
/// harmless functions only. Runs once for each connection, and returns its functions. Throws
/// SqliteError.
[[nodiscard]] FunctionsOnDemand setUpConnection(sqlite3* db, GuardSettings settings);

/// While it lives, statements that this thread prepares on the connection can only read and change
/// rows of tables other than SQLite's own, and call only the functions the translator uses. The
/// connection must have been set up.
class RowsOnly {
 public:
  explicit RowsOnly(sqlite3* db);
  ~RowsOnly();
  RowsOnly(const RowsOnly&) = delete;
  RowsOnly& operator=(const RowsOnly&) = delete;

 private:
  sqlite3* before_;
};

struct StatementCloser {
  void operator()(sqlite3_stmt* statement) const;
};
using SqliteStatement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

/// Prepares one translated text under RowsOnly. Throws SqliteError if SQLite refuses the text, if a
/// second statement follows or if it has parameters.
SqliteStatement prepareGuarded(sqlite3* db, std::string_view text);

/// Prepares a text with `parameters` parameters that is run many times. If a table has changed
/// since then, its first step fails before anything has run, and sqlite3_reset() returns
/// SQLITE_SCHEMA; the code of every other failure is that of sqlite3_reset(), too. Throws like
/// prepareGuarded().
SqliteStatement prepareRepeated(sqlite3* db, std::string_view text, int parameters);

/// Returns the common type of the columns of a probe (OutputColumn::probe), by their declarations.
ColumnType probedType(sqlite3* db, std::string_view probe);

/// The declared types of the connection's own tables.
class SqliteCatalog : public Catalog {
 public:
  explicit SqliteCatalog(sqlite3* db) : db_(db) {}
  ColumnType columnType(std::string_view table, std::string_view column) const override;
  bool lacksColumn(std::string_view table, std::string_view column) const override;
  bool lacksTable(std::string_view table) const override;
  std::optional<std::size_t> columnCount(std::string_view table) const override;

 private:
  sqlite3* db_;
};

}  // namespace qx::sql
