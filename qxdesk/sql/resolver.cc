#include "qxdesk/sql/resolver.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/output_columns.h"

#include <algorithm>
#include <map>
#include <string>

namespace qx::sql {

void Resolver::resolve(Statement& statement) {
  // The values of an INSERT see no columns of its table, as there is no row yet.
  if (statement.kind != StatementKind::Insert) columns_.setTarget(statement.table);
  columns_.checkTarget(statement);
  if (statement.select) resolveSelect(*statement.select);
  if (statement.kind == StatementKind::Insert) resolveInsert(statement);
  if (statement.kind == StatementKind::Update) resolveUpdate(statement);
  if (statement.where) resolveExpr(*statement.where);
}

void Resolver::resolveSelect(Select& select) {
  for (CommonTable& table : select.with) {
    // Added after its own SELECT: a common table does not see itself.
    resolveSelect(*table.select);
    columns_.addCommonTable(table);
  }
  for (SelectCore& core : select.cores) resolveCore(core);
  if (select.cores.size() > 1) bringPartsTogether(select);
  // An order sees the tables of the first part only. The engines refuse other columns in the order
  // of a UNION anyway.
  const ColumnLookup::Scope scope(columns_, select.cores.front());
  std::vector<Expr*> keys;
  for (OrderKey& key : select.orderBy) keys.push_back(key.value.get());
  resolveKeys(keys, select.cores.front());
}

void Resolver::resolveCore(SelectCore& core) {
  // A derived table sees what is around this SELECT, but not the tables beside it.
  for (Source& source : core.from) {
    if (source.derived) resolveSelect(*source.derived);
  }
  const ColumnLookup::Scope scope(columns_, core);
  for (Source& source : core.from) {
    if (source.on) resolveExpr(*source.on);
  }
  for (SelectItem& item : core.items) {
    if (item.value) resolveExpr(*item.value);
  }
  if (core.where) resolveExpr(*core.where);
  // After the list, whose names and types the keys may take.
  std::vector<Expr*> keys;
  for (ExprPtr& key : core.groupBy) keys.push_back(key.get());
  resolveKeys(keys, core);
  if (core.having) resolveExpr(*core.having);
}

// A key that is a single name may be one of the list. Such a name is no column and must not be
// sought among the tables, where it would be refused. Within an expression a name means a column,
// in the engines too.
void Resolver::resolveKeys(const std::vector<Expr*>& keys, const SelectCore& core) {
  std::map<std::string_view, ColumnType, NameLess> list;
  for (const SelectItem& item : core.items) {
    if (!item.value || keys.empty()) continue;
    if (const std::string* name = nameOf(item)) list.emplace(*name, item.value->type);
  }
  for (Expr* key : keys) {
    const bool plain = key->kind == ExprKind::Column && key->qualifier.empty();
    const auto named = plain ? list.find(key->text) : list.end();
    if (named == list.end()) {
      resolveExpr(*key);
    } else {
      key->type = named->second;
    }
  }
}

void Resolver::resolveExpr(Expr& expr) {
  if (expr.select) resolveSelect(*expr.select);
  for (ExprPtr& arg : expr.args) resolveExpr(*arg);
  if (expr.kind == ExprKind::Column) {
    expr.type = columns_.typeOf(expr);
  } else {
    expressions_.resolve(expr);
  }
}

// Goes over the columns of the result, up to the first * of any part: from there on it is unknown
// which values share a column. Parts of different lengths are left to the engine, which refuses
// them.
void Resolver::bringPartsTogether(Select& select) const {
  for (std::size_t i = 0;; ++i) {
    std::vector<ExprPtr*> values;
    for (SelectCore& core : select.cores) {
      if (i >= core.items.size()) return;
      if (!core.items[i].value) return expressions_.refuseStar(core.items[i]);
      values.push_back(&core.items[i].value);
    }
    bringTogether(values, Meeting::Choice);
    // PostgreSQL matches the parts two by two: without a type, the NULLs of the first two would
    // make a column of texts, and a number in the third part would be refused.
    for (ExprPtr* value : values) typeNull(**value, unitedType(select, i));
  }
}

// ---- values that are stored

void Resolver::resolveInsert(Statement& statement) {
  for (std::vector<ExprPtr>& row : statement.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      resolveExpr(*row[i]);
      assign(statement.table, statement.columns[i].name, row[i]);
    }
  }
  if (statement.select) assignSelect(statement);
}

void Resolver::assignSelect(const Statement& statement) {
  for (SelectCore& core : statement.select->cores) {
    const std::size_t count = std::min(core.items.size(), statement.columns.size());
    for (std::size_t i = 0; i < count; ++i) {
      SelectItem& item = core.items[i];
      if (!item.value) return expressions_.refuseStar(item);
      const std::string& column = statement.columns[i].name;
      assign(statement.table, column, item.value);
      // PostgreSQL gives a NULL in VALUES the type of its column, but takes one in a list for a
      // text as soon as DISTINCT or UNION compares it.
      typeNull(*item.value, columns_.typeIn(statement.table, column));
    }
  }
}

void Resolver::resolveUpdate(Statement& statement) {
  for (TargetColumn& column : statement.columns) {
    resolveExpr(*column.value);
    assign(statement.table, column.name, column.value);
  }
}

void Resolver::assign(std::string_view table, std::string_view column, ExprPtr& value) const {
  assignTo(column, columns_.typeIn(table, column), value);
}

}  // namespace qx::sql
