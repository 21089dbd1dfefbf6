#pragma once

// How the tables of a company look, whatever the engine: an engine's own types and checks come
// in by engines/engine_tables.h.

#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

enum class ColumnKind { Text, Memo, Integer, SmallInteger, Decimal, Date };

/// The value of a column that an insert leaves out.
struct ColumnDefault {
  enum class Kind { None, Text, Number, Date, CurrentTime };
  Kind kind = Kind::None;
  std::string value;  // of a date in its stored form, YYYY-MM-DD HH:MM:SS
  friend bool operator==(const ColumnDefault&, const ColumnDefault&) = default;
};

struct ColumnLayout {
  std::string name;
  ColumnKind kind = ColumnKind::Text;
  long size = 0;  // of a text, in characters
  bool mandatory = false;
  ColumnDefault byDefault;
  friend bool operator==(const ColumnLayout&, const ColumnLayout&) = default;
};

struct TableLayout {
  std::string name;
  std::vector<ColumnLayout> columns;
  std::vector<std::string> primaryKey;  // may be empty
};

ColumnLayout textColumn(std::string_view name, long size);
ColumnLayout memoColumn(std::string_view name);
ColumnLayout integerColumn(std::string_view name);
ColumnLayout smallIntegerColumn(std::string_view name);
ColumnLayout decimalColumn(std::string_view name);
ColumnLayout dateColumn(std::string_view name);
/// The same column that takes no null.
ColumnLayout notNull(ColumnLayout column);

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
/// ASCII letters in upper or lower case.
std::string upperName(std::string_view name);
std::string lowerName(std::string_view name);

}  // namespace qx::desk
