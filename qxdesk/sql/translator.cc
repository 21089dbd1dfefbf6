#include "qxdesk/sql/translator.h"

#include "qxdesk/sql/emitter_postgres.h"
#include "qxdesk/sql/emitter_sqlite.h"
#include "qxdesk/sql/lexer.h"
#include "qxdesk/sql/parser.h"
#include "qxdesk/sql/resolver.h"

#include <memory>

namespace qx::sql {
namespace {

std::unique_ptr<StatementEmitter> makeEmitter(const DialectTraits& traits, const Target& target) {
  if (target.engine == Engine::Postgres) {
    return std::make_unique<PostgresEmitter>(traits, target.now);
  }
  return std::make_unique<SqliteEmitter>(traits);
}

// A type that neither the text nor the engine tells is found out by another query.
std::string probeOf(const ListedColumn& column, const Select& select, const DialectTraits& traits,
                    const Target& target) {
  if (!traitsOf(target.engine).probes) return {};
  if (column.told.type != ColumnType::Unknown || column.value == nullptr) return {};
  const std::vector<const Expr*> deciding = decidingColumns(*column.value);
  return deciding.empty() ? std::string() : makeEmitter(traits, target)->probe(select, deciding);
}

void tellColumns(Translation& translation, const Select& select, const DialectTraits& traits,
                 const Target& target) {
  bool complete = true;
  std::vector<OutputColumn> columns;
  for (ListedColumn& column : listedColumns(select)) {
    complete = complete && column.told.starTable.empty();
    column.told.probe = probeOf(column, select, traits, target);
    columns.push_back(std::move(column.told));
  }
  (complete ? translation.columns : translation.outline) = std::move(columns);
}

}  // namespace

Translation Translator::translate(std::string_view utf8) {
  const DialectTraits& traits = traitsOf(dialect_);
  Statement statement = Parser(dialect_, traitsOf(target_.engine), lex(utf8)).parse();
  Resolver(traits, catalog_).resolve(statement);
  Translation translation;
  translation.kind = statement.kind;
  if (statement.kind == StatementKind::SetRowCount) {
    rowLimit_ = std::nullopt;
    if (statement.rowCount > 0) rowLimit_ = statement.rowCount;
    return translation;
  }
  translation.text = makeEmitter(traits, target_)->statement(statement, rowLimit_);
  if (statement.kind == StatementKind::Select) {
    tellColumns(translation, *statement.select, traits, target_);
  }
  return translation;
}

}  // namespace qx::sql
