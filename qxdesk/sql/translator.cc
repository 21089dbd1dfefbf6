#include "qxdesk/sql/translator.h"

#include "qxdesk/sql/emitter_sqlite.h"
#include "qxdesk/sql/lexer.h"
#include "qxdesk/sql/parser.h"
#include "qxdesk/sql/resolver.h"

#include <algorithm>

namespace qx::sql {
namespace {

OutputColumn outputColumn(const Select& select, const SelectItem& item,
                          const DialectTraits& traits) {
  OutputColumn column;
  if (item.alias) {
    column.name = *item.alias;
  } else if (item.value->kind == ExprKind::Column) {
    column.name = item.value->text;
  }
  column.type = item.value->type;
  if (column.type != ColumnType::Unknown) return column;
  const std::vector<const Expr*> deciding = decidingColumns(*item.value);
  if (!deciding.empty()) column.probe = emitSqliteProbe(select, deciding, traits);
  return column;
}

std::vector<OutputColumn> outputColumns(const Select& select, const DialectTraits& traits) {
  const std::vector<SelectItem>& items = select.cores.front().items;
  std::vector<OutputColumn> columns;
  if (std::any_of(items.begin(), items.end(), [](const SelectItem& item) { return !item.value; })) {
    return columns;
  }
  for (const SelectItem& item : items) columns.push_back(outputColumn(select, item, traits));
  return columns;
}

}  // namespace

Translation Translator::translate(std::string_view utf8) {
  const DialectTraits& traits = traitsOf(dialect_);
  Statement statement = Parser(dialect_, lex(utf8)).parse();
  Resolver(traits, catalog_).resolve(statement);
  Translation translation;
  translation.kind = statement.kind;
  if (statement.kind == StatementKind::SetRowCount) {
    rowLimit_ = std::nullopt;
    if (statement.rowCount > 0) rowLimit_ = statement.rowCount;
    return translation;
  }
  translation.text = emitSqlite(statement, traits, rowLimit_);
  if (statement.kind == StatementKind::Select) {
    translation.columns = outputColumns(*statement.select, traits);
  }
  return translation;
}

}  // namespace qx::sql
