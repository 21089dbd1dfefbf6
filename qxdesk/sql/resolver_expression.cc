#include "qxdesk/sql/resolver_expression.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/numbers.h"
#include "qxdesk/sql/output_columns.h"
#include "qxframework/automation/ascii.h"

#include <utility>

namespace qx::sql {
namespace {

// The type of a choice between values. A column counts more than a literal, so that ISNULL(Rate, 0)
// has the type of Rate; but a literal with a fraction makes a decimal of whole numbers, since it
// may be the result. If one column is unknown the choice is, too, and the type is asked of the
// database (decidingColumns).
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

std::vector<ExprPtr*> argumentsOf(Expr& expr) {
  std::vector<ExprPtr*> arguments;
  for (ExprPtr& argument : expr.args) arguments.push_back(&argument);
  return arguments;
}

// Returns the positions of the results of a CASE among its arguments.
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
    // The type of this part is known whatever its columns are; only the others decide.
    if (expr.type != ColumnType::Unknown) return;
    for (const ExprPtr& arg : expr.args) collectColumns(*arg, columns);
  }
}

// A NULL beside a number becomes a number, and so does one beside another NULL if the operator
// takes nothing else: PostgreSQL refuses an operator between two values without a type. A + that
// may join is not among them, and a division of two NULLs is refused.
void typeNullsOf(Expr& arithmetic) {
  Expr& left = *arithmetic.args[0];
  Expr& right = *arithmetic.args[1];
  const bool nulls = left.kind == ExprKind::Null && right.kind == ExprKind::Null;
  if (nulls && arithmetic.text != "/" && arithmetic.text != "%") left.type = ColumnType::Integer;
  if (isNumber(right.type)) typeNull(left, right.type);
  if (isNumber(left.type)) typeNull(right, left.type);
}

// True for the types that take precedence over a text.
bool isRanked(ColumnType type) { return isNumber(type) || type == ColumnType::Date; }

// True for a date plus or minus a number, which is that many days later or earlier.
bool movesDate(const Expr& expr) {
  return (expr.text == "+" || expr.text == "-") && expr.args[0]->type == ColumnType::Date &&
         expr.args[1]->type != ColumnType::Date;
}

// SQLite would compute with the year, as the number at the front of the stored text.
void refuseDates(const Expr& arithmetic) {
  if (arithmetic.args[0]->type != ColumnType::Date &&
      arithmetic.args[1]->type != ColumnType::Date) {
    return;
  }
  throw SqlError("dates cannot be used with " + arithmetic.text + " here; use a date function",
                 arithmetic.at);
}

void toAddTime(Expr& expr) {
  typeNull(*expr.args[1], ColumnType::Integer);
  if (expr.text == "-") {
    auto negative = std::make_unique<Expr>();
    negative->kind = ExprKind::Negate;
    negative->at = expr.args[1]->at;
    negative->type = expr.args[1]->type;
    negative->args.push_back(std::move(expr.args[1]));
    expr.args[1] = std::move(negative);
  }
  expr.kind = ExprKind::Call;
  expr.function = Function::AddTime;
  expr.unit = TimeUnit::Day;
  expr.type = ColumnType::Date;
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

// SQLite keeps the whole values of a decimal column as whole numbers and cuts their division: 7 / 2
// would be 3 or 3.5 depending on the row. So the types have to be known, and for decimals the left
// side is cast, which makes the division one of decimals in either engine.
void resolveDivision(Expr& expr) {
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  expr.type = ColumnType::Integer;
  if (left == ColumnType::Integer && right == ColumnType::Integer) return;
  const bool known = left != ColumnType::Unknown && right != ColumnType::Unknown;
  if (!known) {
    throw SqlError(
        "it is not clear whether " + expr.text + " takes whole numbers; CAST both sides to a type",
        expr.at);
  }
  if (expr.text == "%") throw SqlError("% takes whole numbers; CAST both sides to int", expr.at);
  expr.type = ColumnType::Decimal;
  castTo(ColumnType::Decimal, expr.args[0]);
}

// Checks the arguments that have to be numbers. Of a text SQLite would take the number at its
// front, while PostgreSQL has no such function.
void resolveNumbers(Expr& expr) {
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
      // Only a literal shows that it is not negative. PostgreSQL rounds before the point then,
      // which SQLite does not.
      throw SqlError("ROUND takes a whole number of digits, 0 or more", expr.args[1]->at);
    case Function::AddTime:
      // Unlike elsewhere a text that is no literal is converted, as DATEADD does by itself.
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

}  // namespace

void ExpressionResolver::resolve(Expr& expr) const {
  switch (expr.kind) {
    case ExprKind::Number:
      expr.type = isWholeNumber(expr.text) ? ColumnType::Integer : ColumnType::Decimal;
      break;
    case ExprKind::Text:
    case ExprKind::Concat:
      expr.type = ColumnType::Text;
      break;
    case ExprKind::Date:
      expr.type = ColumnType::Date;
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
    case ExprKind::Subquery:
      resolveSubquery(expr);
      break;
    case ExprKind::Compare:
    case ExprKind::In:
    case ExprKind::Between:
      resolveMeeting(expr);
      break;
    default:
      break;
  }
}

void ExpressionResolver::refuseStar(const SelectItem& item) const {
  if (item.value || !hasCatalog_) return;
  throw SqlError("* does not show the types that are needed here; name the columns", item.at);
}

void ExpressionResolver::resolveSubquery(Expr& expr) const {
  const SelectItem& item = expr.select->cores.front().items.front();
  refuseStar(item);
  if (item.value) expr.type = unitedType(*expr.select, 0);
}

void ExpressionResolver::resolvePlus(Expr& expr) const {
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  const bool text = left == ColumnType::Text || right == ColumnType::Text;
  const bool other = isRanked(left) || isRanked(right);
  if (text && !other) {
    expr.kind = ExprKind::Concat;
    expr.type = ColumnType::Text;
    return;
  }
  // One known side that is no text suffices: these dialects convert the other side to it, even from
  // a text.
  if (left == ColumnType::Unknown && right == ColumnType::Unknown) {
    throw SqlError(
        "it is not clear whether + adds numbers or joins texts; "
        "CAST one side to a type",
        expr.at);
  }
  expr.kind = ExprKind::Arithmetic;
  resolveArithmetic(expr);
}

// Converts a text to the number beside it, as the dialects do that also join by +.
void ExpressionResolver::bringOperandsTogether(Expr& arithmetic) const {
  if (!traits_.plusJoinsText) return;
  const bool plus = arithmetic.text == "+";
  const bool moves = plus || arithmetic.text == "-";
  for (std::size_t i = 0; i < 2; ++i) {
    ExprPtr& text = arithmetic.args[i];
    const ColumnType other = arithmetic.args[1 - i]->type;
    if (text->type != ColumnType::Text) continue;
    if (other == ColumnType::Date && moves) {
      throw SqlError("a text meets a date at the " + arithmetic.text +
                         "; CONVERT the date to a text, or CAST the text to a number of days",
                     arithmetic.at);
    }
    if (!isNumber(other)) continue;
    toNumber(traits_, other, text,
             plus ? "; + adds beside a number, CAST the number to a text to join" : "");
  }
}

void ExpressionResolver::resolveArithmetic(Expr& expr) const {
  bringOperandsTogether(expr);
  for (ExprPtr& arg : expr.args) {
    if (arg->type != ColumnType::Text) continue;
    // A dialect that joins by + has taken the text for a number, or the + for a join.
    if (expr.text == "+") {
      throw SqlError("+ does not join texts in " + std::string(traits_.name) + "; write ||",
                     expr.at);
    }
    requireNumber(arg, expr.text);
  }
  typeNullsOf(expr);
  if (movesDate(expr)) return toAddTime(expr);
  refuseDates(expr);
  if (expr.text == "/" || expr.text == "%") return resolveDivision(expr);
  const ColumnType left = expr.args[0]->type;
  const ColumnType right = expr.args[1]->type;
  const bool decimal = left == ColumnType::Decimal || right == ColumnType::Decimal;
  if (decimal) {
    expr.type = ColumnType::Decimal;
  } else if (left == ColumnType::Integer && right == ColumnType::Integer) {
    expr.type = ColumnType::Integer;
  }
}

// Returns the type of a choice after bringing its values to one type. The types are read
// afterwards, since a literal may have become another one.
ColumnType ExpressionResolver::resolveChoice(const std::vector<ExprPtr*>& values) const {
  bringTogether(traits_, values);
  std::vector<const Expr*> choices;
  for (const ExprPtr* value : values) choices.push_back(value->get());
  return choiceType(choices);
}

void ExpressionResolver::resolveCase(Expr& expr) const {
  std::vector<ExprPtr*> results;
  for (const std::size_t i : caseResults(expr)) results.push_back(&expr.args[i]);
  expr.type = resolveChoice(results);
  if (!expr.hasOperand) return;
  // CASE x WHEN y compares x with every y as by =.
  std::vector<ExprPtr*> compared = {&expr.args[0]};
  const std::size_t end = expr.args.size() - (expr.hasElse ? 1 : 0);
  for (std::size_t i = 1; i < end; i += 2) compared.push_back(&expr.args[i]);
  bringTogether(traits_, compared);
}

// Unlike in a COALESCE the first value alone decides, unless it is a NULL or its type is unknown.
void ExpressionResolver::resolveIsNull(Expr& expr) const {
  const ColumnType first = expr.args[0]->type;
  if (first == ColumnType::Unknown) {
    expr.type = resolveChoice(argumentsOf(expr));
    return;
  }
  follow(traits_, first, expr.args[1]);
  expr.type = first;
}

void ExpressionResolver::resolveCast(Expr& expr) const {
  Expr& value = *expr.args[0];
  expr.type = expr.target.type;
  // Everything can be written as a text.
  if (expr.target.type == ColumnType::Text) return;
  if (value.type == ColumnType::Date) {
    throw SqlError("a date cannot be CAST to a number; use a date function", expr.at);
  }
  // A literal is refused here, with its place. Any other text fails when the statement runs.
  if (value.kind != ExprKind::Text) return;
  const bool whole = traits_.wholeTexts && expr.target.type == ColumnType::Integer;
  if (whole && trimmed(value.text).empty()) value.text = "0";
  if (whole ? spellsWholeNumber(value.text) : spellsNumber(value.text)) return;
  throw SqlError(notTheNumber(value.text), value.at);
}

void ExpressionResolver::resolveCall(Expr& expr) const {
  if (expr.function == Function::Coalesce) {
    expr.type = resolveChoice(argumentsOf(expr));
    return;
  }
  if (expr.function == Function::IsNull) return resolveIsNull(expr);
  if (expr.function == Function::Cast) return resolveCast(expr);
  if (takesDate(expr.function)) requireDate(expr.args[0]);
  if (expr.function == Function::DaysBetween) requireDate(expr.args[1]);
  resolveNumbers(expr);
  // Neither engine has an average that is a whole number.
  if (expr.function == Function::Avg && traits_.wholeAverage &&
      expr.args[0]->type == ColumnType::Integer) {
    expr.type = ColumnType::Integer;
    expr.function = Function::AvgWhole;
    return;
  }
  expr.type = typeOfFunction(expr.function);
  if (expr.type == ColumnType::Unknown && !expr.args.empty()) expr.type = expr.args[0]->type;
}

void ExpressionResolver::resolveMeeting(Expr& expr) const {
  bringTogether(traits_, argumentsOf(expr));
  if (!expr.select) return;
  refuseStar(expr.select->cores.front().items.front());
  bringToRows(traits_, expr.args[0], *expr.select);
}

std::vector<const Expr*> decidingColumns(const Expr& expr) {
  std::vector<const Expr*> columns;
  // The engine knows the declared type of a plain column of its result.
  if (expr.kind != ExprKind::Column) collectColumns(expr, columns);
  return columns;
}

}  // namespace qx::sql
