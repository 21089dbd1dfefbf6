#include "qxdesk/engines/engine_tables.h"

#include "qxdesk/engines/database.h"

#include <algorithm>
#include <stdexcept>

namespace qx::desk {

namespace {

std::vector<std::string> namesOf(const TableLayout& table) {
  std::vector<std::string> names;
  for (const ColumnLayout& column : table.columns) names.push_back(column.name);
  return names;
}

void copyRows(Database& database, const TableLayout& table, std::string_view from,
              std::string_view to) {
  const std::string columns = columnList(namesOf(table));
  database.execute("INSERT INTO " + bracketed(to) + " (" + columns + ") SELECT " + columns +
                   " FROM " + bracketed(from));
}

}  // namespace

long EngineTables::version(Database& database) const {
  return static_cast<long>(
      database.queryInteger("SELECT [Version] FROM " + bracketed(kVersionTable)));
}

void EngineTables::setVersion(Database& database, long version) const {
  // DELETE and INSERT, because UPDATE would do nothing to a table that is still empty.
  if (!exists(database, kVersionTable)) {
    create(database, {std::string(kVersionTable), {integerColumn("Version")}, {}}, kVersionTable);
  }
  database.execute("DELETE FROM " + bracketed(kVersionTable));
  database.execute("INSERT INTO " + bracketed(kVersionTable) + " ([Version]) VALUES (" +
                   std::to_string(version) + ")");
}

void EngineTables::create(Database& database, const TableLayout& table,
                          std::string_view name) const {
  std::string sql = "CREATE TABLE " + bracketed(name) + " (";
  for (const ColumnLayout& column : table.columns) {
    if (&column != &table.columns.front()) sql += ", ";
    sql += bracketed(column.name) + " " + declaration(column);
  }
  if (!table.primaryKey.empty()) sql += ", PRIMARY KEY (" + columnList(table.primaryKey) + ")";
  database.execute(sql + ")");
}

void EngineTables::addColumn(Database& database, const TableLayout& table,
                             const ColumnLayout& column) const {
  database.alterTable("ALTER TABLE " + bracketed(table.name) + " ADD COLUMN " +
                      bracketed(column.name) + " " + declaration(column));
}

EngineTables::Keys EngineTables::changeColumn(Database& database, const TableLayout& table,
                                              const ColumnLayout&) const {
  moveRows(database, table);
  // The indexes were dropped with the old table.
  return Keys::Lost;
}

void EngineTables::dropIndex(Database& database, std::string_view index) const {
  database.execute("DROP INDEX " + bracketed(index));
}

void EngineTables::moveRows(Database& database, const TableLayout& table) const {
  // Copied back and forth, because engines spell the renaming of a table differently.
  const std::string aside = "qx_old_" + table.name;
  create(database, table, aside);
  copyRows(database, table, table.name, aside);
  database.execute("DROP TABLE " + bracketed(table.name));
  create(database, table, table.name);
  copyRows(database, table, aside, table.name);
  database.execute("DROP TABLE " + bracketed(aside));
}

const ColumnLayout& columnNamed(const TableLayout& table, std::string_view name) {
  const auto found =
      std::find_if(table.columns.begin(), table.columns.end(),
                   [&](const ColumnLayout& column) { return sameName(column.name, name); });
  if (found == table.columns.end()) throw std::out_of_range("no column " + std::string(name));
  return *found;
}

std::string defaultClause(const ColumnLayout& column, std::string_view now) {
  const ColumnDefault& value = column.byDefault;
  switch (value.kind) {
    case ColumnDefault::Kind::None:
      return {};
    case ColumnDefault::Kind::Number:
      return " DEFAULT " + value.value;
    case ColumnDefault::Kind::CurrentTime:
      return " DEFAULT " + std::string(now);
    default:
      return " DEFAULT " + quotedText(value.value);
  }
}

std::string columnList(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    if (!list.empty()) list += ", ";
    list += bracketed(name);
  }
  return list;
}

}  // namespace qx::desk
