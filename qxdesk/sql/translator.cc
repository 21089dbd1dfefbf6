#include "qxdesk/sql/translator.h"

#include "qxdesk/sql/bound_values.h"
#include "qxdesk/sql/column_order.h"
#include "qxdesk/sql/emitter_postgres.h"
#include "qxdesk/sql/emitter_sqlite.h"
#include "qxdesk/sql/lexer.h"
#include "qxdesk/sql/parser.h"
#include "qxdesk/sql/resolver.h"

#include <algorithm>
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

// Numbers the tokens of the shape's literals.
void nameLiterals(std::vector<Token>& tokens, std::string_view utf8, const StatementShape& shape) {
  std::size_t next = 0;
  for (Token& token : tokens) {
    if (next == shape.literals.size()) return;
    const auto at = static_cast<std::size_t>(token.source.data() - utf8.data());
    if (token.source.empty() || at != shape.literals[next].at) continue;
    token.literal = static_cast<int>(next++);
  }
}

/// The tables that a statement uses.
struct UsedTables {
  std::vector<std::string> names;
  bool inOrder = false;  // it depends on the order of their columns
};

void addTables(const Select& select, UsedTables& tables);

void addTablesBelow(const Expr& expr, UsedTables& tables) {
  if (expr.select) addTables(*expr.select, tables);
  for (const ExprPtr& arg : expr.args) addTablesBelow(*arg, tables);
}

void addTablesBelow(const ExprPtr& expr, UsedTables& tables) {
  if (expr) addTablesBelow(*expr, tables);
}

void addTables(const SelectCore& core, UsedTables& tables) {
  for (const SelectItem& item : core.items) {
    if (!item.value) tables.inOrder = true;
    addTablesBelow(item.value, tables);
  }
  for (const Source& source : core.from) {
    if (source.derived) {
      addTables(*source.derived, tables);
    } else {
      tables.names.push_back(source.table);
    }
    addTablesBelow(source.on, tables);
  }
  addTablesBelow(core.where, tables);
  for (const ExprPtr& key : core.groupBy) addTablesBelow(key, tables);
  addTablesBelow(core.having, tables);
}

void addTables(const Select& select, UsedTables& tables) {
  for (const CommonTable& table : select.with) addTables(*table.select, tables);
  for (const SelectCore& core : select.cores) addTables(core, tables);
  for (const OrderKey& key : select.orderBy) addTablesBelow(key.value, tables);
}

// Returns all tables that a statement reads or changes, each once. Those of common
// tables may be among them; a real table of such a name then counts, too.
UsedTables tablesOf(const Statement& statement) {
  UsedTables tables;
  tables.inOrder = statement.kind == StatementKind::Insert && statement.columns.empty();
  if (!statement.table.empty()) tables.names.push_back(statement.table);
  if (statement.select) addTables(*statement.select, tables);
  addTablesBelow(statement.where, tables);
  for (const TargetColumn& column : statement.columns) addTablesBelow(column.value, tables);
  for (const std::vector<ExprPtr>& row : statement.rows) {
    for (const ExprPtr& value : row) addTablesBelow(value, tables);
  }
  std::vector<std::string>& names = tables.names;
  std::sort(names.begin(), names.end(), NameLess{});
  names.erase(std::unique(names.begin(), names.end(), sameName), names.end());
  return tables;
}

std::string checkOf(const Catalog& catalog, const UsedTables& tables) {
  std::string check = catalog.unchangedCheck(tables.names);
  const auto* const order = dynamic_cast<const ColumnOrderCatalog*>(&catalog);
  if (tables.inOrder && order != nullptr) check += order->orderCheck(tables.names);
  return check;
}

bool isHighestCode(const SelectCore& core) {
  if (core.distinct || core.limit || core.items.size() != 1 || !core.items[0].value) return false;
  const Expr& value = *core.items[0].value;
  return value.kind == ExprKind::Call && value.function == Function::Max && !value.distinct &&
         value.args.size() == 1 && value.args[0]->kind == ExprKind::Column &&
         sameName(value.args[0]->text, "Code");
}

// Returns the table T of a SELECT MAX(Code) FROM @T without any other part, otherwise empty.
std::string drawnTable(const Select& select) {
  if (!select.with.empty() || select.cores.size() != 1) return {};
  const SelectCore& core = select.cores.front();
  const bool bare = !core.where && core.groupBy.empty() && !core.having && core.from.size() == 1;
  if (!bare || !isHighestCode(core) || !core.from[0].table.starts_with('@')) return {};
  return core.from[0].table;
}

}  // namespace

Statement Translator::parse(std::string_view utf8, const StatementShape* shape) const {
  std::vector<Token> tokens = lex(utf8);
  if (shape != nullptr) nameLiterals(tokens, utf8, *shape);
  Statement statement = Parser(dialect_, traitsOf(target_.engine), std::move(tokens)).parse();
  Resolver(traitsOf(dialect_), catalog_).resolve(statement);
  if (shape != nullptr) chooseBoundValues(statement, catalog_);
  return statement;
}

// SET ROWCOUNT runs nothing; later statements have the limit in their texts.
bool Translator::setsRowLimit(const Statement& statement) {
  if (statement.kind != StatementKind::SetRowCount) return false;
  rowLimit_ = std::nullopt;
  if (statement.rowCount > 0) rowLimit_ = statement.rowCount;
  return true;
}

// What the company knows of its tables is true only as long as nothing else writes it: the name of
// a table that was never made would end up in the statement that removes it.
void Translator::needChangeable(const Statement& statement) const {
  if (statement.table.empty()) return;
  for (const std::string& table : target_.readOnlyTables) {
    if (!sameName(table, statement.table)) continue;
    throw ProtectedTable("the table " + table +
                             " is kept by the company and can only be read; change it through the "
                             "objects for tables, fields and keys",
                         table, false, statement.tableAt);
  }
  if (sameName(target_.oneRowTable, statement.table)) needRowKept(statement);
}

void Translator::needRowKept(const Statement& statement) const {
  const auto refuse = [&](Position at) {
    throw ProtectedTable("the table " + target_.oneRowTable +
                             " has one row, which can be changed except for its column Code",
                         target_.oneRowTable, true, at);
  };
  if (statement.kind != StatementKind::Update) refuse(statement.tableAt);
  for (const TargetColumn& column : statement.columns) {
    if (sameName(column.name, "Code")) refuse(column.at);
  }
}

Translation Translator::translate(std::string_view utf8) { return translate(utf8, nullptr, false); }

Translation Translator::translateForUse(std::string_view utf8, const StatementShape* shape) {
  return translate(utf8, shape, catalog_ != nullptr);
}

Translation Translator::translate(std::string_view utf8, const StatementShape* shape, bool checks) {
  const DialectTraits& dialect = traitsOf(dialect_);
  const Statement statement = parse(utf8, shape);
  Translation translation;
  translation.kind = statement.kind;
  if (setsRowLimit(statement)) return translation;
  needChangeable(statement);
  const std::unique_ptr<StatementEmitter> emitter = makeEmitter(dialect, target_);
  if (shape != nullptr) emitter->bindValues();
  if (checks) emitter->setCheck(checkOf(*catalog_, tablesOf(statement)));
  translation.text = emitter->statement(statement, rowLimit_);
  translation.parameters = emitter->boundValues();
  translation.checked = emitter->isChecked();
  translation.repeatable = shape != nullptr && translation.checked && !emitter->hasFixedTime();
  if (statement.kind == StatementKind::Insert) translation.insertsInto = statement.table;
  if (statement.kind == StatementKind::Select) {
    translation.drawsFrom = drawnTable(*statement.select);
    describeColumns(translation, *statement.select, dialect, target_);
  }
  return translation;
}

}  // namespace qx::sql
