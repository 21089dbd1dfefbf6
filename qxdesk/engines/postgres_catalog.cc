#include "qxdesk/engines/postgres_catalog.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/odbc_error.h"
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

// Returns the number of a table as the server finds it by its folded name. to_regclass returns null
// for an unknown table, so that the answer is empty and not a failure. The name is quoted so that
// the server does not parse it.
std::string regclass(const std::string& table) {
  return "to_regclass(" + quotedText("\"" + doubled(table) + "\"") + ")";
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

// A change of a column writes its row anew, and a table that was made anew has another number. The
// count makes the CAST depend on the rows, so that the server does not compute it ahead.
std::string PostgresCatalog::unchangedCheck(const std::vector<std::string>& tables) const {
  std::string check;
  for (const std::string& name : tables) {
    const Table& table = tableOf(name);
    if (table.columns.empty()) continue;
    if (!check.empty()) check += " AND ";
    check += "(SELECT CASE WHEN min(age(xmin)) = age(CAST('" + table.newest +
             "' AS xid)) THEN true ELSE CAST('" + std::string(kTablesChangedWords) +
             "' || count(*) AS boolean) END FROM pg_catalog.pg_attribute WHERE attrelid = " +
             std::to_string(table.number) +
             " AND attnum > 0 AND attrelid = " + regclass(lowerName(name)) + ")";
  }
  return check;
}

const PostgresCatalog::Table& PostgresCatalog::tableOf(std::string_view table) const {
  const std::string folded = lowerName(table);
  auto found = tables_.find(folded);
  if (found == tables_.end()) found = tables_.emplace(folded, read(folded)).first;
  return found->second;
}

// The rows about dropped columns count for the newest one only.
PostgresCatalog::Table PostgresCatalog::read(const std::string& name) const {
  const auto row = database_.prepare(
      "SELECT attname, CAST(atttypid AS bigint), CAST(attrelid AS bigint), CAST(xmin AS text), "
      "CASE WHEN attisdropped THEN 0 ELSE 1 END FROM pg_attribute "
      "WHERE attnum > 0 AND attrelid = " +
      regclass(name) + " ORDER BY age(xmin)");
  Table table;
  while (row->step()) {
    if (table.newest.empty()) table.newest = row->text(3);
    table.number = row->integer(2);
    if (row->integer(4) == 0) continue;
    table.columns[std::string(row->text(0))] = typeOf(row->integer(1));
  }
  return table;
}

}  // namespace qx::desk
