#include "qxdesk/company/result_columns.h"

#include "qxdesk/dictionary/dictionary_layouts.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

using Columns = std::vector<sql::OutputColumn>;

// The type that the statement itself shows takes precedence over the engine's: a server reports
// numbers in wider types than they are meant, and the embedded engine reports the type of the first
// part of a UNION only.
sql::ColumnType resultType(Database& database, const Statement& statement, int column,
                           const sql::OutputColumn* output) {
  const bool isKnown = output != nullptr && output->type != sql::ColumnType::Unknown;
  if (isKnown) return output->type;
  const sql::ColumnType declared = statement.declaredType(column);
  const bool canProbe = output != nullptr && !output->probe.empty();
  return declared == sql::ColumnType::Unknown && canProbe ? database.probe(output->probe)
                                                          : declared;
}

// Appends the columns of a table if the result continues with exactly these; the dictionary may be
// older than a column that another program added.
bool addTable(Database& database, const Statement& statement, const std::string& table,
              Columns& all) {
  const std::optional<TableLayout> layout = DictionaryLayouts(database).storedLayout(table);
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

// Returns every column of the result, or none if a table is not in the dictionary.
Columns spelledOut(Database& database, const Statement& statement, const Columns& outline) {
  Columns all;
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
  Columns written = translation.columns;
  // PostgreSQL returns folded names after a "*"; the embedded engine keeps them as they were
  // written.
  if (written.empty() && database.route() == Route::ToPostgres) {
    written = spelledOut(database, statement, translation.outline);
  }
  // A list of names that does not fit the result is of no use; then the engine's own names count.
  const bool known = written.size() == static_cast<std::size_t>(count);
  std::vector<RowColumn> columns;
  for (int i = 0; i < count; ++i) {
    const sql::OutputColumn* output = known ? &written[static_cast<std::size_t>(i)] : nullptr;
    columns.push_back({toUtf16(output != nullptr ? output->name : statement.columnName(i)),
                       resultType(database, statement, i, output)});
  }
  return columns;
}

}  // namespace qx::desk
