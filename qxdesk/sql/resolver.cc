#include "qxdesk/sql/resolver.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/output_columns.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

// The type of a choice between values: a column wins over a literal, so that ISNULL(Rate, 0) has
// the type of Rate; but a number with a fraction makes a decimal of whole ones. Unknown as soon as
// one of the columns is unknown.
ColumnType choiceType(const std::vector<const Expr*>& choices) {
  ColumnType ofColumns = ColumnType::Unknown;
  ColumnType ofLiterals = ColumnType::Unknown;
  bool anyColumn = false;
  for (const Expr* choice : choices) {
    if (isLiteral(*choice)) {
      ofLiterals = commonType(ofLiterals, choice->type);
      continue;
    }
    if (choice->type == ColumnType::Unknown) return ColumnType::Unknown;
    anyColumn = true;
    ofColumns = commonType(ofColumns, choice->type);
  }
  if (!anyColumn) return ofLiterals;
  const bool numbers = isNumber(ofColumns) && isNumber(ofLiterals);
  return numbers ? commonType(ofColumns, ofLiterals) : ofColumns;
}

// Positions of the results of a CASE among its args.
std::vector<std::size_t> caseResults(const Expr& expr) {
  std::vector<std::size_t> positions;
  const std::size_t first = expr.hasOperand ? 2 : 1;
  const std::size_t end = expr.args.size() - (expr.hasElse ? 1 : 0);
  for (std::size_t i = first; i < end; i += 2) positions.push_back(i);
  if (expr.hasElse) positions.push_back(expr.args.size() - 1);
  return positions;
}

void collectColumns(const Expr& expr, std::vector<const Expr*>& columns) {
  if (expr.kind == ExprKind::Column) {
    columns.push_back(&expr);
  } else if (expr.kind == ExprKind::Case) {
    for (const std::size_t i : caseResults(expr)) collectColumns(*expr.args[i], columns);
  } else if (expr.kind == ExprKind::Call || expr.kind == ExprKind::Arithmetic ||
             expr.kind == ExprKind::Negate) {
    if (expr.type != ColumnType::Unknown) return;
    for (const ExprPtr& arg : expr.args) collectColumns(*arg, columns);
  }
}

// NULL beside a number is one; so is NULL beside NULL where nothing but numbers can stand.
void typeNullsOf(Expr& arithmetic) {
  Expr& left = *arithmetic.args[0];
  Expr& right = *arithmetic.args[1];
  const bool nulls = left.kind == ExprKind::Null && right.kind == ExprKind::Null;
  if (nulls && (arithmetic.text == "*" || arithmetic.text == "-")) left.type = ColumnType::Integer;
  if (isNumber(right.type)) typeNull(left, right.type);
  if (isNumber(left.type)) typeNull(right, left.type);
}

bool takesDate(Function function) {
  switch (function) {
    case Function::CompactDate:
    case Function::IsoDate:
    case Function::AddTime:
    case Function::DaysBetween:
    case Function::Year:
    case Function::Month:
    case Function::Day:
      return true;
    default:
      return false;
  }
}

ColumnType typeOfFunction(Function function) {
  switch (function) {
    case Function::Now:
    case Function::Today:
    case Function::ToDate:
    case Function::AddTime:
      return ColumnType::Date;
    case Function::Count:
    case Function::DaysBetween:
    case Function::Year:
    case Function::Month:
    case Function::Day:
    case Function::Length:
    case Function::LengthNoTail:
      return ColumnType::Integer;
    case Function::Avg:
      return ColumnType::Decimal;
    case Function::CompactDate:
    case Function::IsoDate:
    case Function::Substring:
    case Function::Upper:
    case Function::Lower:
    case Function::TrimLeft:
    case Function::TrimRight:
    case Function::Replace:
      return ColumnType::Text;
    default:
      return ColumnType::Unknown;  // that of the argument
  }
}

}  // namespace

void Resolver::resolve(Statement& statement) {
  if (statement.kind != StatementKind::Insert) targetTable_ = statement.table;
  checkTarget(statement);
  if (statement.select) resolveSelect(*statement.select);
  if (statement.kind == StatementKind::Insert) resolveInsert(statement);
  if (statement.kind == StatementKind::Update) resolveUpdate(statement);
  if (statement.where) resolveExpr(*statement.where);
}

void Resolver::resolveSelect(Select& select) {
  for (CommonTable& table : select.with) {
    resolveSelect(*table.select);
    commonTables_.push_back(&table);
  }
  for (SelectCore& core : select.cores) resolveCore(core);
  if (select.cores.size() > 1) bringPartsTogether(select);
  scopes_.push_back(&select.cores.front());
  std::vector<Expr*> keys;
  for (OrderKey& key : select.orderBy) keys.push_back(key.value.get());
  resolveKeys(keys, select.cores.front());
  scopes_.pop_back();
}

// The values that the parts of a UNION yield for one column, up to the first * of each.
void Resolver::bringPartsTogether(Select& select) const {
  for (std::size_t i = 0;; ++i) {
    std::vector<ExprPtr*> values;
    for (SelectCore& core : select.cores) {
      if (i >= core.items.size()) return;
      if (!core.items[i].value) return refuseStar(core.items[i]);
      values.push_back(&core.items[i].value);
    }
    bringTogether(values, Meeting::Choice);
    for (ExprPtr* value : values) typeNull(**value, unitedType(select, i));
  }
}

// A * where types are needed, which it does not tell. Without a catalog nothing does.
void Resolver::refuseStar(const SelectItem& item) const {
  if (item.value || catalog_ == nullptr) return;
  throw SqlError("* does not tell the types that are needed here; name the columns", item.at);
}

void Resolver::resolveCore(SelectCore& core) {
  for (Source& source : core.from) {
    if (source.derived) resolveSelect(*source.derived);
  }
  scopes_.push_back(&core);
  for (Source& source : core.from) {
    if (source.on) resolveExpr(*source.on);
  }
  for (SelectItem& item : core.items) {
    if (item.value) resolveExpr(*item.value);
  }
  if (core.where) resolveExpr(*core.where);
  std::vector<Expr*> keys;
  for (ExprPtr& key : core.groupBy) keys.push_back(key.get());
  resolveKeys(keys, core);
  if (core.having) resolveExpr(*core.having);
  scopes_.pop_back();
}

void Resolver::resolveInsert(Statement& statement) {
  for (std::vector<ExprPtr>& row : statement.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      resolveExpr(*row[i]);
      assignTo(statement.table, statement.columns[i].name, row[i]);
    }
  }
  if (statement.select) coerceSelectItems(statement);
}

void Resolver::coerceSelectItems(const Statement& statement) {
  for (SelectCore& core : statement.select->cores) {
    const std::size_t count = std::min(core.items.size(), statement.columns.size());
    for (std::size_t i = 0; i < count; ++i) {
      SelectItem& item = core.items[i];
      if (!item.value) return refuseStar(item);
      assignTo(statement.table, statement.columns[i].name, item.value);
      typeNull(*item.value, findInTable(statement.table, statement.columns[i].name).type);
    }
  }
}

void Resolver::assignTo(std::string_view table, std::string_view column, ExprPtr& value) const {
  sql::assignTo(column, findInTable(table, column).type, value);
}

void Resolver::resolveUpdate(Statement& statement) {
  for (TargetColumn& column : statement.columns) {
    resolveExpr(*column.value);
    assignTo(statement.table, column.name, column.value);
  }
}

// ---- expressions

void Resolver::resolveExpr(Expr& expr) {
  if (expr.select) resolveSelect(*expr.select);
  for (ExprPtr& arg : expr.args) resolveExpr(*arg);
  switch (expr.kind) {
    case ExprKind::Number: {
      const bool whole = expr.text.find_first_not_of("0123456789") == std::string::npos;
      expr.type = whole ? ColumnType::Integer : ColumnType::Decimal;
      break;
    }
    case ExprKind::Text:
    case ExprKind::Concat:
      expr.type = ColumnType::Text;
      break;
    case ExprKind::Date:
      expr.type = ColumnType::Date;
      break;
    case ExprKind::Column:
      expr.type = columnType(expr);
      break;
    case ExprKind::Negate:
      requireNumber(expr.args[0], "-");
      expr.type = expr.args[0]->type;
      break;
    case ExprKind::Plus:
      resolvePlus(expr);
      break;
    case ExprKind::Arithmetic:
      resolveArithmetic(expr);
      break;
    case ExprKind::Case:
      resolveCase(expr);
      break;
    case ExprKind::Call:
      resolveCall(expr);
      break;
    case ExprKind::Subquery: {
      const SelectItem& item = expr.select->cores.front().items.front();
      refuseStar(item);
      if (item.value) expr.type = unitedType(*expr.select, 0);
      break;
    }
    default:
      resolveCompare(expr);
  }
}

void Resolver::resolvePlus(Expr& expr) {
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  if (left == ColumnType::Text || right == ColumnType::Text) {
    expr.kind = ExprKind::Concat;
    expr.type = ColumnType::Text;
    return;
  }
  if (left == ColumnType::Unknown && right == ColumnType::Unknown) {
    throw SqlError(
        "it cannot be told whether + adds numbers or joins texts; "
        "CAST one side to a type",
        expr.at);
  }
  expr.kind = ExprKind::Arithmetic;
  resolveArithmetic(expr);
}

// A date plus or minus a number is that many days later or earlier.
void Resolver::resolveArithmetic(Expr& expr) {
  if (expr.text != "+") {
    for (ExprPtr& arg : expr.args) {
      if (arg->type == ColumnType::Text) requireNumber(arg, expr.text);
    }
  }
  typeNullsOf(expr);
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  const bool days = expr.text == "+" || expr.text == "-";
  if (days && left == ColumnType::Date && right != ColumnType::Date) {
    if (expr.text == "-") {
      auto negative = std::make_unique<Expr>();
      negative->kind = ExprKind::Negate;
      negative->at = expr.args[1]->at;
      negative->type = right;
      negative->args.push_back(std::move(expr.args[1]));
      expr.args[1] = std::move(negative);
    }
    expr.kind = ExprKind::Call;
    expr.function = Function::AddTime;
    expr.unit = TimeUnit::Day;
    expr.type = ColumnType::Date;
    return;
  }
  if (left == ColumnType::Date || right == ColumnType::Date) {
    throw SqlError("dates cannot be used with " + expr.text + " here; use a date function",
                   expr.at);
  }
  if (expr.text == "+" && (left == ColumnType::Text || right == ColumnType::Text)) {
    throw SqlError("+ does not join texts in " + std::string(traits_.name) + "; write ||", expr.at);
  }
  if (expr.text == "/" || expr.text == "%") return resolveDivision(expr);
  const bool decimal = left == ColumnType::Decimal || right == ColumnType::Decimal;
  if (decimal) {
    expr.type = ColumnType::Decimal;
  } else if (left == ColumnType::Integer && right == ColumnType::Integer) {
    expr.type = ColumnType::Integer;
  }
}

// A decimal column may hold its whole values as whole numbers, whose division the database would
// cut: so the types have to be known, and the division of decimals is told to be one.
void Resolver::resolveDivision(Expr& expr) {
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  expr.type = ColumnType::Integer;
  if (left == ColumnType::Integer && right == ColumnType::Integer) return;
  const bool known = left != ColumnType::Unknown && right != ColumnType::Unknown;
  if (!known) {
    throw SqlError("it cannot be told whether " + expr.text +
                       " takes whole numbers; CAST both sides to a type",
                   expr.at);
  }
  if (expr.text == "%") throw SqlError("% takes whole numbers; CAST both sides to int", expr.at);
  expr.type = ColumnType::Decimal;
  castTo(ColumnType::Decimal, expr.args[0]);
}

void Resolver::resolveCase(Expr& expr) {
  std::vector<ExprPtr*> results;
  std::vector<const Expr*> choices;
  for (const std::size_t i : caseResults(expr)) results.push_back(&expr.args[i]);
  bringTogether(results, Meeting::Choice);
  for (const ExprPtr* result : results) choices.push_back(result->get());
  expr.type = choiceType(choices);
  if (!expr.hasOperand) return;
  std::vector<ExprPtr*> compared = {&expr.args[0]};
  const std::size_t end = expr.args.size() - (expr.hasElse ? 1 : 0);
  for (std::size_t i = 1; i < end; i += 2) compared.push_back(&expr.args[i]);
  bringTogether(compared, Meeting::Equal);
}

void Resolver::resolveCall(Expr& expr) {
  if (expr.function == Function::Coalesce) {
    std::vector<ExprPtr*> values;
    std::vector<const Expr*> choices;
    for (ExprPtr& arg : expr.args) values.push_back(&arg);
    bringTogether(values, Meeting::Choice);
    for (const ExprPtr& arg : expr.args) choices.push_back(arg.get());
    expr.type = choiceType(choices);
    return;
  }
  if (expr.function == Function::Cast) return resolveCast(expr);
  if (takesDate(expr.function)) requireDate(expr.args[0]);
  if (expr.function == Function::DaysBetween) requireDate(expr.args[1]);
  resolveNumbers(expr);
  if (expr.function == Function::Avg && traits_.wholeAverage &&
      expr.args[0]->type == ColumnType::Integer) {
    expr.type = ColumnType::Integer;
    expr.function = Function::AvgWhole;
    return;
  }
  expr.type = typeOfFunction(expr.function);
  if (expr.type == ColumnType::Unknown && !expr.args.empty()) expr.type = expr.args[0]->type;
}

void Resolver::resolveCast(Expr& expr) {
  const Expr& value = *expr.args[0];
  expr.type = expr.target.type;
  if (expr.target.type == ColumnType::Text) return;
  if (value.type == ColumnType::Date) {
    throw SqlError("a date cannot be CAST to a number; use a date function", expr.at);
  }
  if (value.kind == ExprKind::Text && !spellsNumber(value.text)) {
    throw SqlError("not a number: '" + value.text + "'", value.at);
  }
}

// The arguments that have to be numbers.
void Resolver::resolveNumbers(Expr& expr) {
  switch (expr.function) {
    case Function::Sum:
      return requireNumber(expr.args[0], "SUM");
    case Function::Avg:
      return requireNumber(expr.args[0], "AVG");
    case Function::Abs:
      return requireNumber(expr.args[0], "ABS");
    case Function::Round:
      requireNumber(expr.args[0], "ROUND");
      if (expr.args[1]->kind == ExprKind::Number && expr.args[1]->type == ColumnType::Integer) {
        return;
      }
      throw SqlError("ROUND takes a whole number of digits, 0 or more", expr.args[1]->at);
    case Function::AddTime:
      if (expr.args[1]->type == ColumnType::Text && expr.args[1]->kind != ExprKind::Text) {
        return castTo(ColumnType::Integer, expr.args[1]);
      }
      return requireNumber(expr.args[1], "a date");
    case Function::Substring:
      for (std::size_t i = 1; i < expr.args.size(); ++i) requireNumber(expr.args[i], "SUBSTRING");
      return;
    default:
      return;
  }
}

void Resolver::resolveCompare(Expr& expr) {
  if (expr.kind != ExprKind::Compare && expr.kind != ExprKind::In &&
      expr.kind != ExprKind::Between) {
    return;
  }
  std::vector<ExprPtr*> values;
  for (ExprPtr& arg : expr.args) values.push_back(&arg);
  const bool equal = expr.kind == ExprKind::In || expr.text == "=" || expr.text == "<>";
  bringTogether(values, equal ? Meeting::Equal : Meeting::Ordered);
  if (!expr.select) return;
  refuseStar(expr.select->cores.front().items.front());
  bringToRows(expr.args[0], *expr.select);
}

std::vector<const Expr*> decidingColumns(const Expr& expr) {
  std::vector<const Expr*> columns;
  if (expr.kind != ExprKind::Column) collectColumns(expr, columns);
  return columns;
}

}  // namespace qx::sql
