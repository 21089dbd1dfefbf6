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

// Returns the range whose elements have exactly this type; null for other types.
const char* rangeOf(std::int64_t type) {
  switch (type) {
    case 20:
      return "int8range";
    case 23:
      return "int4range";
    case 1082:
      return "daterange";
    case 1114:
      return "tsrange";
    case 1184:
      return "tstzrange";
    case 1700:
      return "numrange";
    default:
      return nullptr;
  }
}

// Returns a condition over a null that is true if its expression has the type, and that otherwise
// fails the analysis where that is possible: a range takes no value of another type than its
// elements', and a length of characters only texts have.
std::string hasType(const std::string& null, std::int64_t type) {
  if (typeOf(type) == sql::ColumnType::Text) return "char_length(" + null + ") IS NULL";
  if (const char* range = rangeOf(type)) {
    return "(CAST(NULL AS " + std::string(range) + ") @> " + null + ") IS NULL";
  }
  return "pg_typeof(" + null + ") = CAST(" + std::to_string(type) + " AS oid)";
}

// Returns a condition that is true like `condition` and fails the statement instead of being false.
// The words of the failure depend on the table, so that the server does not compute them ahead.
std::string passOrFail(const std::string& condition, const std::string& table) {
  return "(CASE WHEN " + condition + " THEN true ELSE CAST('" + std::string(kTablesChangedWords) +
         "' || COALESCE(CAST(" + regclass(table) + " AS text), '') AS boolean) END)";
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

// An empty row as JSON has the names in their order. A table with a domain is checked as a whole.
std::string PostgresCatalog::orderCheck(const std::vector<std::string>& tables) const {
  std::string check;
  for (const std::string& name : tables) {
    const Table& table = tableOf(name);
    if (table.columns.empty() || table.hasDomain) continue;
    std::string names;
    for (const Column& column : table.inOrder) {
      names += (names.empty() ? "" : ",") + column.jsonName + ":null";
    }
    check += " AND " + passOrFail("CAST(row_to_json(" + emptyRow(table) +
                                      ") AS text) = " + quotedText("{" + names + "}"),
                                  lowerName(name));
  }
  return check;
}

// A row of nulls has no value that a type with conditions of its own accepts.
std::string PostgresCatalog::checkOf(const std::string& name, const Table& table) {
  return table.hasDomain ? checkOfCatalogRows(name, table) : checkOfRowType(name, table);
}

std::string PostgresCatalog::emptyRow(const Table& table) {
  std::string nulls;
  for (std::size_t i = 0; i < table.inOrder.size(); ++i) nulls += i == 0 ? "NULL" : ", NULL";
  return "CAST(ROW(" + nulls + ") AS " + table.rowType + ")";
}

// The server analyses a prepared statement anew after a change of a table in it. So expressions
// over the table's row type show the columns as they are, without a look into the catalogue, which
// would take longer than most statements: a row of another number of columns, or without one of the
// names, fails the analysis, and so does a column of another type. All of this the server computes
// when it plans the statement, and leaves it out when it runs it.
std::string PostgresCatalog::checkOfRowType(const std::string& name, const Table& table) {
  std::string condition = "CAST(" + quotedText(quotedName(name)) + " AS regclass) = CAST(" +
                          std::to_string(table.number) + " AS oid) AND (" + emptyRow(table) + ")." +
                          table.inOrder[0].name + " IS NULL";
  for (const Column& column : table.inOrder) {
    condition +=
        " AND " + hasType("(CAST(NULL AS " + table.rowType + "))." + column.name, column.type);
  }
  return passOrFail(condition, name);
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
    table.inOrder.push_back({quotedName(column), std::string(row->text(5)), row->integer(1)});
    table.rowType = std::string(row->text(6)) + "." + quotedName(name);
    if (row->integer(7) != 0) table.hasDomain = true;
  }
  return table;
}

}  // namespace qx::desk
