#include "qxdesk/sql/sqlite_guard.h"

#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/sqlite_functions.h"
#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/civil_time.h"

#include <sqlite3.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

namespace qx::sql {
namespace {

std::string systemTime() {
  std::string text;
  if (const auto now = localTime(std::time(nullptr))) assignStored(text, *now);
  return text;
}

[[noreturn]] void fail(sqlite3* db) {
  throw SqliteError(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
}

// ---- authorizer

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && sameName(text.substr(0, prefix.size()), prefix);
}

// A table-valued function such as pragma_table_info is read like a table. The others have names
// of their own; what they show is the file and the engine, and not the rows of a company.
bool isOwnTable(const char* table) {
  constexpr std::string_view kFunctions[] = {"dbstat",    "bytecode",  "tables_used",
                                             "json_each", "json_tree", "generate_series"};
  const std::string_view name = table == nullptr ? "" : table;
  return startsWith(name, "sqlite_") || startsWith(name, "pragma_") ||
         std::any_of(std::begin(kFunctions), std::end(kFunctions),
                     [name](std::string_view function) { return sameName(function, name); });
}

// The connection whose statements the authorizer restricts at this moment. Setting and removing the
// authorizer around each statement instead would expire all prepared statements of the connection.
thread_local sqlite3* rowsOnly = nullptr;

// Lists what is allowed: an action that a later version of SQLite adds is denied, and so is a
// common table that names itself, which need not end.
int authorize(void* connection, int action, const char* first, const char* second,
              const char* /*database*/, const char* /*trigger*/) {
  if (connection != rowsOnly) return SQLITE_OK;
  switch (action) {
    case SQLITE_SELECT:
      return SQLITE_OK;
    case SQLITE_READ:
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      return isOwnTable(first) ? SQLITE_DENY : SQLITE_OK;
    case SQLITE_FUNCTION:
      return second != nullptr && isAllowedFunction(second) ? SQLITE_OK : SQLITE_DENY;
    default:
      return SQLITE_DENY;
  }
}

// Returns true for the names under which SQLite returns the number of a row, unless the table has a
// column of that name.
bool namesRow(std::string_view column) {
  return sameName(column, "rowid") || sameName(column, "oid") || sameName(column, "_rowid_");
}

// Returns the number of columns that a table or view declares, of all names or of the given one.
int declaredColumns(sqlite3* db, std::string_view table, std::string_view column = {}) {
  sqlite3_stmt* raw = nullptr;
  const int result = sqlite3_prepare_v2(
      db, "SELECT count(*) FROM pragma_table_info(?1) WHERE ?2 = '' OR name = ?2 COLLATE NOCASE",
      -1, &raw, nullptr);
  const SqliteStatement statement(raw);
  if (result != SQLITE_OK) fail(db);
  int index = 0;
  for (const std::string& text : {std::string(table), std::string(column)}) {
    sqlite3_bind_text(raw, ++index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  }
  if (sqlite3_step(raw) != SQLITE_ROW) fail(db);
  return sqlite3_column_int(raw, 0);
}

bool isDeclared(sqlite3* db, std::string_view table, std::string_view column) {
  return declaredColumns(db, table, column) > 0;
}

// A trailing NUL is blank, too: SQLite stops at it and reports the rest as not used.
bool isBlank(std::string_view text) {
  return text.find_first_not_of(std::string_view(" \t\r\n\f\0", 6)) == std::string_view::npos;
}

}  // namespace

FunctionsOnDemand::FunctionsOnDemand(sqlite3* db, GuardSettings settings)
    : db_(db), settings_(std::move(settings)) {
  registerLike(db_, settings_);
}

void FunctionsOnDemand::provideFor(std::string_view text) {
  if (!provided_ && mayCallOwnFunctions(text)) provide();
}

void FunctionsOnDemand::provide() {
  registerOwnFunctions(db_, settings_);
  provided_ = true;
}

FunctionsOnDemand setUpConnection(sqlite3* db, GuardSettings settings) {
  if (!settings.now) settings.now = systemTime;
  // SQLite takes an unknown name in double quotes as a text, so a misspelt column would silently
  // become its own name.
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  // No SQL, not even an unguarded one, can then corrupt the file.
  sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  // The company makes no triggers. In a file from elsewhere one would act on the rows of an add-on.
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_set_authorizer(db, authorize, db);
  return {db, std::move(settings)};
}

// The company's own statements, which make tables, run on the same connection without it.
RowsOnly::RowsOnly(sqlite3* db) : before_(rowsOnly) { rowsOnly = db; }
RowsOnly::~RowsOnly() { rowsOnly = before_; }

void StatementCloser::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

namespace {

using Prepare = decltype(sqlite3_prepare_v2);

SqliteStatement prepareOne(sqlite3* db, std::string_view text, int parameters, Prepare prepare) {
  const RowsOnly scope(db);
  sqlite3_stmt* raw = nullptr;
  const char* tail = nullptr;
  const int result = prepare(db, text.data(), static_cast<int>(text.size()), &raw, &tail);
  SqliteStatement statement(raw);
  if (result != SQLITE_OK) fail(db);
  const auto used = static_cast<std::size_t>(tail - text.data());
  // SQLite prepares a blank text and a comment to no statement, without an error.
  if (!statement) throw SqliteError(SQLITE_ERROR, "the text holds no statement");
  if (!isBlank(text.substr(used))) {
    throw SqliteError(SQLITE_ERROR, "one statement per call; more text follows");
  }
  // An unbound parameter is NULL, so a condition on it would silently find no row.
  if (sqlite3_bind_parameter_count(statement.get()) != parameters) {
    throw SqliteError(SQLITE_ERROR, "the statement has open parameters");
  }
  return statement;
}

}  // namespace

SqliteStatement prepareGuarded(sqlite3* db, std::string_view text) {
  return prepareOne(db, text, 0, sqlite3_prepare_v2);
}

// By the first version of the call. The second one would prepare the statement again by itself when
// a table has changed, and run a text that was translated for the table as it was.
SqliteStatement prepareRepeated(sqlite3* db, std::string_view text, int parameters) {
  return prepareOne(db, text, parameters, sqlite3_prepare);
}

ColumnType probedType(sqlite3* db, std::string_view probe) {
  const SqliteStatement statement = prepareGuarded(db, probe);
  ColumnType type = ColumnType::Unknown;
  for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
    const char* declaration = sqlite3_column_decltype(statement.get(), i);
    if (declaration != nullptr) type = commonType(type, typeOfDeclaration(declaration));
  }
  return type;
}

// sqlite3_table_column_metadata also describes rowid and its other names, as an INTEGER. No dialect
// has such a column, so they count only if the table declares them.
ColumnType SqliteCatalog::columnType(std::string_view table, std::string_view column) const {
  const char* declaration = nullptr;
  const int result = sqlite3_table_column_metadata(db_, nullptr, std::string(table).c_str(),
                                                   std::string(column).c_str(), &declaration,
                                                   nullptr, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK || declaration == nullptr) return ColumnType::Unknown;
  if (namesRow(column) && !isDeclared(db_, table, column)) return ColumnType::Unknown;
  return typeOfDeclaration(declaration);
}

// The look-up in the parsed schema is quick, but knows tables only. Views are looked for after it,
// and so are SQLite's own tables, which the guard refuses in its own words.
bool SqliteCatalog::lacksTable(std::string_view table) const {
  const int found = sqlite3_table_column_metadata(db_, nullptr, std::string(table).c_str(), nullptr,
                                                  nullptr, nullptr, nullptr, nullptr, nullptr);
  return found != SQLITE_OK && declaredColumns(db_, table) == 0;
}

std::optional<std::size_t> SqliteCatalog::columnCount(std::string_view table) const {
  return static_cast<std::size_t>(declaredColumns(db_, table));
}

bool SqliteCatalog::lacksColumn(std::string_view table, std::string_view column) const {
  const std::string name(table);
  const auto exists = [&](const char* columnOrNull) {
    return sqlite3_table_column_metadata(db_, nullptr, name.c_str(), columnOrNull, nullptr, nullptr,
                                         nullptr, nullptr, nullptr) == SQLITE_OK;
  };
  // Without a column the call asks for the table. A missing one lacks nothing: the engine reports
  // it.
  if (!exists(nullptr)) return false;
  if (!exists(std::string(column).c_str())) return true;
  return namesRow(column) && !isDeclared(db_, table, column);
}

}  // namespace qx::sql
