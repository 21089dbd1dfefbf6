#include "qxdesk/engines/postgres_tables.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/engine_names.h"
#include "qxdesk/engines/postgres_locks.h"

namespace qx::desk {

namespace {

constexpr std::size_t kMaxName = 63;  // bytes; the server cuts longer names with a notice
constexpr std::string_view kNow = "localtimestamp(0)";

// Names of tables and columns are folded. Names of checks appear in messages, so they are quoted
// and keep their case.
std::string checkName(const ColumnLayout& column, std::string_view promise) {
  std::string name = column.name + ": " + std::string(promise);
  name.resize(std::min(name.size(), kMaxName));
  return quotedName(name);
}

std::string check(const ColumnLayout& column, std::string_view promise,
                  const std::string& condition) {
  return " CONSTRAINT " + checkName(column, promise) + " CHECK (" + condition + ")";
}

std::string promiseOf(const ColumnLayout& column) {
  switch (column.kind) {
    case ColumnKind::Text:
      return "at most " + std::to_string(column.size) + " characters";
    case ColumnKind::Decimal:
      return "a number";
    case ColumnKind::Date:
      return "a date of the form YYYY-MM-DD HH:MM:SS";
    default:
      return {};
  }
}

// Checks instead of limited types: varchar(n) cuts off blanks silently and does not name the column
// in its refusal, and numeric(p,s) rounds. A decimal must read as a double, so it is neither
// infinite nor NaN.
std::string checkOf(const ColumnLayout& column) {
  const std::string name = bracketed(column.name);
  switch (column.kind) {
    case ColumnKind::Text:
      return check(column, promiseOf(column),
                   "char_length(" + name + ") <= " + std::to_string(column.size));
    case ColumnKind::Decimal:
      return check(column, promiseOf(column),
                   name + " BETWEEN -1.7976931348623157e308 AND 1.7976931348623157e308");
    case ColumnKind::Date:
      return check(column, promiseOf(column),
                   name + " BETWEEN '0001-01-01' AND '9999-12-31 23:59:59'");
    default:
      return {};
  }
}

// COLLATE "C" compares texts byte by byte, as the embedded engine does.
std::string typeOf(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::Memo:
      return "text COLLATE \"C\"";
    case ColumnKind::Integer:
    case ColumnKind::SmallInteger:
      return "bigint";
    case ColumnKind::Decimal:
      return "numeric";
    case ColumnKind::Date:
      return "timestamp(0)";
    default:
      return "varchar COLLATE \"C\"";
  }
}

// to_regclass parses its argument as SQL, so the name is quoted within the literal.
std::string tableId(std::string_view table) {
  return "to_regclass(" + quotedText(quotedName(lowerName(table))) + ")";
}

class PostgresTables final : public EngineTables {
 public:
  bool exists(Database& database, std::string_view table) const override {
    return database.queryInteger("SELECT COUNT(*) FROM pg_class WHERE oid = " + tableId(table)) > 0;
  }
  bool any(Database& database) const override {
    return database.queryInteger(
               "SELECT COUNT(*) FROM pg_class WHERE relkind IN ('r', 'p', 'v', 'm', 'f') AND "
               "relnamespace = (SELECT oid FROM pg_namespace WHERE nspname = current_schema())") >
           0;
  }
  void lock(Database& database) const override { lockChangeOfTables(database); }
  Keys changeColumn(Database& database, const TableLayout& table,
                    const ColumnLayout& before) const override;
  void dropIndex(Database& database, std::string_view index) const override {
    database.execute("DROP INDEX IF EXISTS " + bracketed(index));
  }
  std::string declaration(const ColumnLayout& column) const override {
    return typeOf(column.kind) + checkOf(column) + (column.mandatory ? " NOT NULL" : "") +
           defaultClause(column, kNow);
  }
  std::string caselessKey(std::string_view column) const override {
    return "UPPER(" + bracketed(column) + ")";
  }
};

// The type and the name of a column never change, only its check, its default and its obligation.
EngineTables::Keys PostgresTables::changeColumn(Database& database, const TableLayout& table,
                                                const ColumnLayout& before) const {
  const ColumnLayout& now = columnNamed(table, before.name);
  const std::string alter = "ALTER TABLE " + bracketed(table.name) + " ";
  const std::string column = alter + "ALTER COLUMN " + bracketed(now.name) + " ";
  if (checkOf(now) != checkOf(before)) {
    database.alterTable(alter + "DROP CONSTRAINT " + checkName(before, promiseOf(before)));
    database.alterTable(alter + "ADD" + checkOf(now));
  }
  const std::string byDefault = defaultClause(now, kNow);
  database.alterTable(column + (byDefault.empty() ? "DROP DEFAULT" : "SET" + byDefault));
  database.alterTable(column + (now.mandatory ? "SET NOT NULL" : "DROP NOT NULL"));
  return Keys::Kept;
}

}  // namespace

const EngineTables& postgresTables() {
  static const PostgresTables tables;
  return tables;
}

}  // namespace qx::desk
