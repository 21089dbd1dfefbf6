#pragma once

// The layout of a table, independent of the engine. An engine's own types and checks come from
// qxdesk/engines/engine_tables.h.

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
/// Returns the same column as one that refuses nulls.
ColumnLayout notNull(ColumnLayout column);

/// True if two names of tables, fields or keys, which are ASCII, are equal without regard to case.
bool sameName(std::string_view a, std::string_view b);
/// Return the name with its ASCII letters in upper or in lower case.
std::string upperName(std::string_view name);
std::string lowerName(std::string_view name);

}  // namespace qx::desk
