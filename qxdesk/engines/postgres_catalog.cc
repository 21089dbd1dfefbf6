#include "qxdesk/engines/postgres_catalog.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/table_layout.h"

namespace qx::desk {

namespace {

// The numbers of built-in types never change, unlike their names, which have synonyms.
sql::ColumnType typeOf(std::int64_t oid) {
  switch (oid) {
    case 20:  // int8
    case 21:  // int2
    case 23:  // int4
      return sql::ColumnType::Integer;
    case 700:   // float4
    case 701:   // float8
    case 1700:  // numeric
      return sql::ColumnType::Decimal;
    case 1082:  // date
    case 1114:  // timestamp
    case 1184:  // timestamptz
      return sql::ColumnType::Date;
    case 25:    // text
    case 1042:  // bpchar
    case 1043:  // varchar
      return sql::ColumnType::Text;
    default:
      return sql::ColumnType::Unknown;
  }
}

std::string doubled(const std::string& name) {
  std::string result;
  for (const char c : name) {
    if (c == '"') result += c;
    result += c;
  }
  return result;
}

}  // namespace

sql::ColumnType PostgresCatalog::columnType(std::string_view table, std::string_view column) const {
  const Columns& columns = columnsOf(table);
  const auto type = columns.find(lowerName(column));
  return type == columns.end() ? sql::ColumnType::Unknown : type->second;
}

bool PostgresCatalog::lacksColumn(std::string_view table, std::string_view column) const {
  const Columns& columns = columnsOf(table);
  return !columns.empty() && columns.find(lowerName(column)) == columns.end();
}

bool PostgresCatalog::lacksTable(std::string_view table) const { return columnsOf(table).empty(); }

std::optional<std::size_t> PostgresCatalog::columnCount(std::string_view table) const {
  return columnsOf(table).size();
}

const PostgresCatalog::Columns& PostgresCatalog::columnsOf(std::string_view table) const {
  const std::string folded = lowerName(table);
  auto found = tables_.find(folded);
  if (found == tables_.end()) found = tables_.emplace(folded, read(folded)).first;
  return found->second;
}

// to_regclass returns null for an unknown table, so that the answer is empty and not a failure.
// The name is folded already, and quoted so that the server does not parse it.
PostgresCatalog::Columns PostgresCatalog::read(const std::string& table) const {
  const auto row = database_.prepare(
      "SELECT attname, CAST(atttypid AS bigint) FROM pg_attribute "
      "WHERE attrelid = to_regclass(" +
      quotedText("\"" + doubled(table) + "\"") + ") AND attnum > 0 AND NOT attisdropped");
  Columns columns;
  while (row->step()) columns[std::string(row->text(0))] = typeOf(row->integer(1));
  return columns;
}

}  // namespace qx::desk
