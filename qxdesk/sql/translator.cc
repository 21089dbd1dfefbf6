#include "qxdesk/sql/translator.h"

#include "qxdesk/sql/emitter_postgres.h"
#include "qxdesk/sql/emitter_sqlite.h"
#include "qxdesk/sql/lexer.h"
#include "qxdesk/sql/parser.h"
#include "qxdesk/sql/resolver.h"

#include <memory>

namespace qx::sql {
namespace {

std::unique_ptr<StatementEmitter> makeEmitter(const DialectTraits& dialect, const Target& target) {
  if (target.engine == Engine::Postgres) {
    return std::make_unique<PostgresEmitter>(dialect, target.now);
  }
  return std::make_unique<SqliteEmitter>(dialect);
}

// SQLite reports the declared type of a plain column only, not of MAX(column) or CASE. If the
// catalog does not know the type either, a query of the bare columns finds it.
std::string probeOf(const ListedColumn& column, const Select& select, const DialectTraits& dialect,
                    const Target& target) {
  if (!traitsOf(target.engine).probes) return {};
  if (column.output.type != ColumnType::Unknown || column.value == nullptr) return {};
  const std::vector<const Expr*> deciding = decidingColumns(*column.value);
  return deciding.empty() ? std::string() : makeEmitter(dialect, target)->probe(select, deciding);
}

void describeColumns(Translation& translation, const Select& select, const DialectTraits& dialect,
                     const Target& target) {
  bool complete = true;
  std::vector<OutputColumn> columns;
  for (ListedColumn& column : listedColumns(select)) {
    complete = complete && column.output.starTable.empty();
    column.output.probe = probeOf(column, select, dialect, target);
    columns.push_back(std::move(column.output));
  }
  (complete ? translation.columns : translation.outline) = std::move(columns);
}

}  // namespace

Translation Translator::translate(std::string_view utf8) {
  const DialectTraits& dialect = traitsOf(dialect_);
  Statement statement = Parser(dialect_, traitsOf(target_.engine), lex(utf8)).parse();
  Resolver(dialect, catalog_).resolve(statement);
  Translation translation;
  translation.kind = statement.kind;
  if (statement.kind == StatementKind::SetRowCount) {
    rowLimit_ = std::nullopt;
    if (statement.rowCount > 0) rowLimit_ = statement.rowCount;
    return translation;
  }
  translation.text = makeEmitter(dialect, target_)->statement(statement, rowLimit_);
  if (statement.kind == StatementKind::Select) {
    describeColumns(translation, *statement.select, dialect, target_);
  }
  return translation;
}

}  // namespace qx::sql
