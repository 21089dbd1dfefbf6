#include "qxdesk/company/result_columns.h"

#include "qxdesk/dictionary/dictionary.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

using Told = std::vector<sql::OutputColumn>;

// What the statement tells counts for more than what the engine does: a server tells numbers wider
// than they are meant, a file tells of a UNION its first part only.
sql::ColumnType resultType(Database& database, const Statement& statement, int column,
                           const sql::OutputColumn* told) {
  const bool isTold = told != nullptr && told->type != sql::ColumnType::Unknown;
  if (isTold) return told->type;
  const sql::ColumnType declared = statement.declaredType(column);
  const bool canProbe = told != nullptr && !told->probe.empty();
  return declared == sql::ColumnType::Unknown && canProbe ? database.probe(told->probe) : declared;
}

// The columns of a table, when they stand in the result from `first` on.
bool addTable(Database& database, const Statement& statement, const std::string& table, Told& all) {
  const std::optional<TableLayout> layout = Dictionary(database, 0).storedLayout(table);
  if (!layout) return false;
  for (const ColumnLayout& column : layout->columns) {
    const int place = static_cast<int>(all.size());
    if (place >= statement.columnCount() || !sameName(statement.columnName(place), column.name)) {
      return false;
    }
    all.push_back({.name = column.name});
  }
  return true;
}

// Every column of the result; nothing when a table is not the dictionary's.
Told spelledOut(Database& database, const Statement& statement, const Told& outline) {
  Told all;
  for (const sql::OutputColumn& column : outline) {
    if (column.starTable.empty()) {
      all.push_back(column);
    } else if (!addTable(database, statement, column.starTable, all)) {
      return {};
    }
  }
  return all;
}

}  // namespace

std::vector<RowColumn> resultColumns(Database& database, const Statement& statement,
                                     const sql::Translation& translation) {
  const int count = statement.columnCount();
  Told told = translation.columns;
  // The embedded engine keeps names as they were written.
  if (told.empty() && database.route() == Route::ToPostgres) {
    told = spelledOut(database, statement, translation.outline);
  }
  const bool known = told.size() == static_cast<std::size_t>(count);
  std::vector<RowColumn> columns;
  for (int i = 0; i < count; ++i) {
    const sql::OutputColumn* output = known ? &told[static_cast<std::size_t>(i)] : nullptr;
    columns.push_back({toUtf16(output != nullptr ? output->name : statement.columnName(i)),
                       resultType(database, statement, i, output)});
  }
  return columns;
}

}  // namespace qx::desk
