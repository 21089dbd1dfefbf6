#include "qxdesk/engines/table_layout.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::desk {

namespace {

std::string mapped(std::string_view name, char (*map)(char)) {
  std::string result(name);
  std::transform(result.begin(), result.end(), result.begin(), map);
  return result;
}

ColumnLayout columnOfKind(std::string_view name, ColumnKind kind, long size = 0) {
  return {std::string(name), kind, size, false, {}};
}

}  // namespace

ColumnLayout textColumn(std::string_view name, long size) {
  return columnOfKind(name, ColumnKind::Text, size);
}

ColumnLayout memoColumn(std::string_view name) { return columnOfKind(name, ColumnKind::Memo); }

ColumnLayout integerColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::Integer);
}

ColumnLayout smallIntegerColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::SmallInteger);
}

ColumnLayout decimalColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::Decimal);
}

ColumnLayout dateColumn(std::string_view name) { return columnOfKind(name, ColumnKind::Date); }

ColumnLayout notNull(ColumnLayout column) {
  column.mandatory = true;
  return column;
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return toLowerAscii(x) == toLowerAscii(y); });
}

std::string upperName(std::string_view name) { return mapped(name, toUpperAscii<char>); }
std::string lowerName(std::string_view name) { return mapped(name, toLowerAscii<char>); }

}  // namespace qx::desk
