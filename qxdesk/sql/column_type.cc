#include "qxdesk/sql/column_type.h"

#include "qxdesk/sql/dialect.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

// The types by which this system declares columns, and those of tables that others have made. A
// type that is not listed is unknown rather than guessed: its values are then never converted.
constexpr std::pair<std::string_view, ColumnType> kDeclarations[] = {
    {"char", ColumnType::Text},       {"nchar", ColumnType::Text},
    {"character", ColumnType::Text},  {"varchar", ColumnType::Text},
    {"nvarchar", ColumnType::Text},   {"text", ColumnType::Text},
    {"ntext", ColumnType::Text},      {"int", ColumnType::Integer},
    {"integer", ColumnType::Integer}, {"smallint", ColumnType::Integer},
    {"bigint", ColumnType::Integer},  {"tinyint", ColumnType::Integer},
    {"decimal", ColumnType::Decimal}, {"numeric", ColumnType::Decimal},
    {"float", ColumnType::Decimal},   {"real", ColumnType::Decimal},
    {"double", ColumnType::Decimal},  {"datetime", ColumnType::Date},
    {"date", ColumnType::Date},       {"timestamp", ColumnType::Date},
};

}  // namespace

bool isNumber(ColumnType type) {
  return type == ColumnType::Integer || type == ColumnType::Decimal;
}

ColumnType typeOfDeclaration(std::string_view declaration) {
  const std::string_view word = declaration.substr(0, declaration.find_first_of(" ("));
  for (const auto& [name, type] : kDeclarations) {
    if (sameName(name, word)) return type;
  }
  return ColumnType::Unknown;
}

ColumnType commonType(ColumnType a, ColumnType b) {
  if (a == ColumnType::Unknown) return b;
  if (isNumber(a) && isNumber(b)) return std::max(a, b);
  // Values of other kinds have been brought to one by bringTogether(), where they meet.
  return a;
}

}  // namespace qx::sql
