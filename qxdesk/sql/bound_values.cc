#include "qxdesk/sql/bound_values.h"

#include <algorithm>

namespace qx::sql {
namespace {

void chooseInSelect(Select& select);
void chooseInCondition(Expr& expr);

bool isMoment(const Expr& expr) {
  return expr.kind == ExprKind::Call &&
         (expr.function == Function::Now || expr.function == Function::Today);
}

// A moment has one type wherever it is.
void chooseMoments(Expr& expr) {
  expr.bound = expr.bound || isMoment(expr);
  for (ExprPtr& arg : expr.args) chooseMoments(*arg);
}

// A sign before a number is part of the value.
void choose(Expr& value) {
  if (value.kind == ExprKind::Negate && value.args[0]->kind == ExprKind::Number) {
    value.literal = value.args[0]->literal;
  }
  const bool literal = value.kind == ExprKind::Number || value.kind == ExprKind::Text ||
                       value.kind == ExprKind::Date || value.kind == ExprKind::Negate;
  value.bound = literal && value.literal >= 0 && value.type != ColumnType::Unknown;
}

// Literals that meet each other only have no type that an engine could give to parameters.
bool isTyped(const Expr& expr) {
  if (expr.type == ColumnType::Unknown) return false;
  if (expr.kind == ExprKind::Negate) return isTyped(*expr.args[0]);
  return expr.kind != ExprKind::Number && expr.kind != ExprKind::Text &&
         expr.kind != ExprKind::Date && expr.kind != ExprKind::Null;
}

void chooseBeside(Expr& expr) {
  if (std::none_of(expr.args.begin(), expr.args.end(),
                   [](const ExprPtr& arg) { return isTyped(*arg); })) {
    return;
  }
  for (ExprPtr& arg : expr.args) choose(*arg);
}

void chooseInPattern(Expr& like) {
  Expr& pattern = *like.args[1];
  const bool plain = like.args.size() == 2 && pattern.kind == ExprKind::Text &&
                     pattern.text.find('[') == std::string::npos;
  if (plain && isTyped(*like.args[0])) choose(pattern);
}

// The SELECTs anywhere below a value have conditions of their own.
void chooseInSelects(Expr& expr) {
  if (expr.select) chooseInSelect(*expr.select);
  for (ExprPtr& arg : expr.args) chooseInSelects(*arg);
}

void chooseInCondition(Expr& expr) {
  switch (expr.kind) {
    case ExprKind::And:
    case ExprKind::Or:
    case ExprKind::Not:
      for (ExprPtr& arg : expr.args) chooseInCondition(*arg);
      return;
    case ExprKind::Compare:
    case ExprKind::In:
    case ExprKind::Between:
      chooseBeside(expr);
      break;
    case ExprKind::Like:
      chooseInPattern(expr);
      break;
    default:
      break;
  }
  chooseMoments(expr);
  chooseInSelects(expr);
}

// PostgreSQL compares the expressions of a list with those of its groups and its order, so that
// nothing in these may become a parameter.
void chooseInSelect(Select& select) {
  for (CommonTable& table : select.with) chooseInSelect(*table.select);
  for (SelectCore& core : select.cores) {
    for (Source& source : core.from) {
      if (source.derived) chooseInSelect(*source.derived);
      if (source.on) chooseInCondition(*source.on);
    }
    if (core.where) chooseInCondition(*core.where);
  }
}

}  // namespace

void chooseBoundValues(Statement& statement, const Catalog* catalog) {
  const auto assigned = [&](std::size_t column, Expr& value) {
    chooseMoments(value);
    chooseInSelects(value);
    const std::string& name = statement.columns[column].name;
    const bool known =
        catalog != nullptr && catalog->columnType(statement.table, name) != ColumnType::Unknown;
    if (known) choose(value);
  };
  for (std::vector<ExprPtr>& row : statement.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) assigned(i, *row[i]);
  }
  if (statement.kind == StatementKind::Update) {
    for (std::size_t i = 0; i < statement.columns.size(); ++i) {
      assigned(i, *statement.columns[i].value);
    }
  }
  if (statement.where) chooseInCondition(*statement.where);
  if (statement.select) chooseInSelect(*statement.select);
}

}  // namespace qx::sql
