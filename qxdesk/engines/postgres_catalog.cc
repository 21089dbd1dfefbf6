#include "qxdesk/engines/postgres_catalog.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/engine_names.h"
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

// Returns the number of a table as the server finds it by its folded name. to_regclass returns null
// for an unknown table, so that the answer is empty and not a failure. The name is quoted so that
// the server does not parse it.
std::string regclass(const std::string& table) {
  return "to_regclass(" + quotedText(quotedName(table)) + ")";
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

std::string PostgresCatalog::unchangedCheck(const std::vector<std::string>& tables) const {
  std::string check;
  for (const std::string& name : tables) {
    const Table& table = tableOf(name);
    if (table.columns.empty()) continue;
    if (!check.empty()) check += " AND ";
    check += checkOf(lowerName(name), table);
  }
  return check;
}

// A row of nulls has no value that a type with conditions of its own accepts.
std::string PostgresCatalog::checkOf(const std::string& name, const Table& table) {
  return table.hasDomain ? checkOfCatalogRows(name, table) : checkOfRowType(name, table);
}

// The server analyses a prepared statement anew after a change of a table in it. So expressions
// over the table's row type show the columns as they are, without a look into the catalogue, which
// would take longer than most statements: an empty row as JSON has the names in their order, and a
// row of another number of columns, or without one of the names, fails the analysis.
//
// The words of the failure depend on the table, so that the server does not compute them ahead.
std::string PostgresCatalog::checkOfRowType(const std::string& name, const Table& table) {
  std::string nulls;
  std::string names;
  std::string types;
  for (const Column& column : table.inOrder) {
    nulls += (nulls.empty() ? "NULL" : ", NULL");
    names += (names.empty() ? "" : ",") + column.jsonName + ":null";
    types += " AND pg_typeof((CAST(NULL AS " + table.rowType + "))." + column.name + ") = CAST(" +
             column.type + " AS oid)";
  }
  return "(CASE WHEN " + regclass(name) + " = CAST(" + std::to_string(table.number) +
         " AS oid) AND CAST(row_to_json(CAST(ROW(" + nulls + ") AS " + table.rowType +
         ")) AS text) = " + quotedText("{" + names + "}") + types + " THEN true ELSE CAST('" +
         std::string(kTablesChangedWords) + "' || COALESCE(CAST(" + regclass(name) +
         " AS text), '') AS boolean) END)";
}

// A change of a column writes its row anew, and a table that was made anew has another number. The
// count makes the CAST depend on the rows, so that the server does not compute it ahead.
std::string PostgresCatalog::checkOfCatalogRows(const std::string& name, const Table& table) {
  return "(SELECT CASE WHEN min(age(xmin)) = age(CAST('" + table.newest +
         "' AS xid)) THEN true ELSE CAST('" + std::string(kTablesChangedWords) +
         "' || count(*) AS boolean) END FROM pg_catalog.pg_attribute WHERE attrelid = " +
         std::to_string(table.number) + " AND attnum > 0 AND attrelid = " + regclass(name) + ")";
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
      "CASE WHEN attisdropped THEN 0 ELSE 1 END, CAST(to_json(CAST(attname AS text)) AS text), "
      "(SELECT CAST(CAST(relnamespace AS regnamespace) AS text) FROM pg_class WHERE oid = "
      "attrelid), (SELECT count(*) FROM pg_type WHERE oid = atttypid AND typtype = 'd'), "
      "(SELECT min(age(newer.xmin)) FROM pg_attribute newer WHERE newer.attrelid = "
      "pg_attribute.attrelid AND newer.attnum > 0) - age(xmin) "
      "FROM pg_attribute WHERE attnum > 0 AND attrelid = " +
      regclass(name) + " ORDER BY attnum");
  Table table;
  while (row->step()) {
    if (row->integer(8) == 0) table.newest = row->text(3);
    table.number = row->integer(2);
    if (row->integer(4) == 0) continue;
    const std::string column(row->text(0));
    table.columns[column] = typeOf(row->integer(1));
    table.inOrder.push_back(
        {quotedName(column), std::string(row->text(5)), std::to_string(row->integer(1))});
    table.rowType = std::string(row->text(6)) + "." + quotedName(name);
    if (row->integer(7) != 0) table.hasDomain = true;
  }
  return table;
}

}  // namespace qx::desk
