#include "qxdesk/engines/sqlite_tables.h"

#include "qxdesk/engines/database.h"

namespace qx::desk {

namespace {

// The engine does not enforce declared types; a failed check is reported by its name, so the name
// says what the column takes. Nulls are let through explicitly, since typeof(NULL) is 'null'.
std::string check(std::string_view name, std::string_view promise, const std::string& condition) {
  return " CONSTRAINT " + bracketed(std::string(name) + ": " + std::string(promise)) + " CHECK (" +
         bracketed(name) + " IS NULL OR " + condition + ")";
}

std::string wholeNumberCheck(std::string_view name) {
  return check(name, "a whole number", "typeof(" + bracketed(name) + ") = 'integer'");
}

std::string textType(const ColumnLayout& column) {
  const std::string limit = std::to_string(column.size);
  return "nvarchar(" + limit + ")" +
         check(column.name, "at most " + limit + " characters",
               "length(" + bracketed(column.name) + ") <= " + limit);
}

// Without '+0 days' the engine accepts 2024-02-31. IS and not "=": datetime() of a text that is no
// date is null, and a check whose result is null passes.
std::string dateType(const ColumnLayout& column) {
  const std::string name = bracketed(column.name);
  return "datetime" + check(column.name, "a date of the form YYYY-MM-DD HH:MM:SS",
                            name + " IS datetime(" + name + ", '+0 days')");
}

// The engine reads a number beyond the largest double as infinite, in statements of any program.
std::string decimalType(const ColumnLayout& column) {
  const std::string name = bracketed(column.name);
  return "decimal(21,6)" +
         check(column.name, "a number",
               "typeof(" + name + ") IN ('integer', 'real') AND abs(" + name + ") < 9e999");
}

std::string typeOf(const ColumnLayout& column) {
  switch (column.kind) {
    case ColumnKind::Memo:
      return "ntext";
    case ColumnKind::Integer:
      return "int" + wholeNumberCheck(column.name);
    case ColumnKind::SmallInteger:
      return "smallint" + wholeNumberCheck(column.name);
    case ColumnKind::Decimal:
      return decimalType(column);
    case ColumnKind::Date:
      return dateType(column);
    default:
      return textType(column);
  }
}

std::vector<std::string> texts(Database& database, std::string_view sql, std::string_view value) {
  const auto row = database.prepare(sql);
  row->bind(1, value);
  std::vector<std::string> values;
  while (row->step()) values.emplace_back(row->text(0));
  return values;
}

// The engine cannot change a column. The rows move to a new table of the new layout, which then
// takes the old one's name and indexes. New columns take their defaults. ORDER BY rowid keeps the
// order in which queries without ORDER BY return the rows.
void rebuild(const EngineTables& tables, Database& database, const TableLayout& table) {
  const std::vector<std::string> indexes =
      texts(database,
            "SELECT sql FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL AND "
            "tbl_name = ? COLLATE NOCASE ORDER BY rowid",
            table.name);
  const std::string columns =
      columnList(texts(database, "SELECT name FROM pragma_table_info(?) ORDER BY cid", table.name));
  const std::string fresh = "qx_new_" + table.name;
  tables.create(database, table, fresh);
  database.execute("INSERT INTO " + bracketed(fresh) + " (" + columns + ") SELECT " + columns +
                   " FROM " + bracketed(table.name) + " ORDER BY rowid");
  database.execute("DROP TABLE " + bracketed(table.name));
  database.execute("ALTER TABLE " + bracketed(fresh) + " RENAME TO " + bracketed(table.name));
  for (const std::string& sql : indexes) database.execute(sql);
}

class SqliteTables final : public EngineTables {
 public:
  // The engine has the schema in memory, so that nothing is prepared to look a table up.
  bool exists(Database& database, std::string_view table) const override {
    return !database.catalog().lacksTable(table);
  }
  bool any(Database& database) const override {
    return database.queryInteger("SELECT 1 FROM sqlite_master LIMIT 1") > 0;
  }
  // The file's header has a place for the version.
  long version(Database& database) const override {
    return static_cast<long>(database.queryInteger("PRAGMA user_version"));
  }
  void setVersion(Database& database, long version) const override {
    database.execute("PRAGMA user_version = " + std::to_string(version));
  }
  // BEGIN IMMEDIATE already locks the file against other writers.
  void lock(Database&) const override {}

  void addColumn(Database& database, const TableLayout& table,
                 const ColumnLayout& column) const override {
    // ALTER TABLE ADD COLUMN refuses a default that is not a constant.
    if (column.byDefault.kind == ColumnDefault::Kind::CurrentTime) {
      rebuild(*this, database, table);
    } else {
      EngineTables::addColumn(database, table, column);
    }
  }
  Keys changeColumn(Database& database, const TableLayout& table,
                    const ColumnLayout&) const override {
    rebuild(*this, database, table);
    return Keys::Kept;
  }
  void dropIndex(Database& database, std::string_view index) const override {
    database.execute("DROP INDEX IF EXISTS " + bracketed(index));
  }

  std::string declaration(const ColumnLayout& column) const override {
    return typeOf(column) + (column.mandatory ? " NOT NULL" : "") +
           defaultClause(column, "(datetime('now', 'localtime'))");
  }
  std::string caselessKey(std::string_view column) const override {
    return bracketed(column) + " COLLATE NOCASE";
  }
};

}  // namespace

const EngineTables& sqliteTables() {
  static const SqliteTables tables;
  return tables;
}

}  // namespace qx::desk
