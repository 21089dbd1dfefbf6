#pragma once

// How tables of a company look in the embedded engine. Declared types are those of the host's
// database, from which the types of result columns are told; what such a type promises (length of
// a text, form of a date) stands in a named check beside it, so that the engine's refusal names
// the column.

#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

struct ColumnLayout {
  std::string name;
  /// Type and constraints.
  std::string declaration;
};

struct TableLayout {
  std::string name;
  std::vector<ColumnLayout> columns;
  /// Comma-separated; may be empty.
  std::string primaryKey;
};

ColumnLayout textColumn(std::string_view name, long size);
ColumnLayout memoColumn(std::string_view name);
ColumnLayout integerColumn(std::string_view name);
ColumnLayout smallIntegerColumn(std::string_view name);
ColumnLayout decimalColumn(std::string_view name);
ColumnLayout dateColumn(std::string_view name);
/// The same column that takes no null.
ColumnLayout notNull(ColumnLayout column);

/// `CREATE TABLE` under `name`, which may differ from the layout's own.
std::string createTableSql(const TableLayout& layout, std::string_view name);

/// The dictionary, the settings and the few business tables that every company has.
const std::vector<TableLayout>& systemTables();
/// Null when there is no system table of that name, in any case.
const TableLayout* findSystemTable(std::string_view name);
/// "@" and the name.
std::string userTableName(std::string_view name);
/// The columns of a new user table of that type; `name` without "@".
TableLayout userTable(std::string_view name, long type);

/// Equality without case for names of tables, fields and keys, which are ASCII.
bool sameName(std::string_view a, std::string_view b);

}  // namespace qx::desk
