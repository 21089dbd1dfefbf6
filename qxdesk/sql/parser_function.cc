// The function calls of the parser: the plain ones by the dialect's table, and those that take
// words of their own (a type, a date part, DISTINCT, *).
#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/parser.h"

#include <utility>

namespace qx::sql {
namespace {

struct UnitWord {
  std::string_view word;
  TimeUnit unit;
};

// Singular words; a duration also takes them with an S.
constexpr UnitWord kUnits[] = {
    {"SECOND", TimeUnit::Second}, {"MINUTE", TimeUnit::Minute}, {"HOUR", TimeUnit::Hour},
    {"DAY", TimeUnit::Day},       {"WEEK", TimeUnit::Week},
};

struct TypeWord {
  std::string_view word;
  ColumnType type;
};

constexpr TypeWord kTypes[] = {
    {"CHAR", ColumnType::Text},        {"NCHAR", ColumnType::Text},
    {"VARCHAR", ColumnType::Text},     {"NVARCHAR", ColumnType::Text},
    {"INT", ColumnType::Integer},      {"INTEGER", ColumnType::Integer},
    {"SMALLINT", ColumnType::Integer}, {"BIGINT", ColumnType::Integer},
    {"DECIMAL", ColumnType::Decimal},  {"NUMERIC", ColumnType::Decimal},
    {"FLOAT", ColumnType::Decimal},    {"DOUBLE", ColumnType::Decimal},
    {"DATETIME", ColumnType::Date},    {"TIMESTAMP", ColumnType::Date},
};

bool isDateCall(const Expr& expr) {
  return expr.kind == ExprKind::Call &&
         (expr.function == Function::Now || expr.function == Function::Today ||
          expr.function == Function::AddTime || expr.function == Function::ToDate);
}

constexpr std::int64_t kCompactStyle = 112;  // YYYYMMDD
constexpr std::int64_t kIsoStyle = 120;      // YYYY-MM-DD HH:MM:SS
constexpr std::int64_t kMaxSize = 8000;

}  // namespace

// CURRENT TIMESTAMP or CURRENT_TIMESTAMP, whichever the dialect has, and alike for DATE.
ExprPtr Parser::currentMoment() {
  const bool underscore = !isWord("CURRENT");
  if (!(underscore ? traits_.currentUnderscore : traits_.currentWords)) {
    fail(here().text + " is not a word of " + std::string(traits_.name) + "; write " +
         std::string(traits_.nowText));
  }
  ExprPtr result = node(ExprKind::Call, here().at);
  const Token word = take();
  const Token what = underscore ? word : here();
  const bool date = isWord(what, "DATE") || isWord(what, "CURRENT_DATE");
  if (!underscore) {
    if (!date && !isWord("TIMESTAMP")) failExpected("TIMESTAMP or DATE");
    take();
  }
  result->function = date ? Function::Today : Function::Now;
  return result;
}

ExprPtr Parser::functionCall() {
  const Level level(*this, 3);
  const FunctionRule* rule = findFunction(dialect_, here().text);
  if (rule == nullptr && isFunctionOfAnyDialect(here().text)) {
    fail("function " + here().text + " is not one of " + std::string(traits_.name));
  }
  if (rule == nullptr) fail("function " + here().text + " is not supported");
  const Token word = take();
  expectSymbol("(");
  ExprPtr result;
  switch (rule->function) {
    case Function::Count:
      result = countCall(word.at);
      break;
    case Function::AddTime:
      result = dateAddCall(word.at);
      break;
    case Function::DaysBetween:
      result = dateDiffCall(word.at);
      break;
    case Function::Cast:
      result = castCall(word.at);
      break;
    case Function::Convert:
      result = convertCall(word.at);
      break;
    default:
      result = plainCall(word.at, *rule, word.text);
  }
  expectSymbol(")");
  return result;
}

ExprPtr Parser::countCall(Position at) {
  ExprPtr result = node(ExprKind::Call, at);
  result->function = Function::Count;
  result->star = acceptSymbol("*");
  if (result->star) return result;
  result->distinct = acceptWord("DISTINCT");
  grow(*result, value());
  return result;
}

ExprPtr Parser::plainCall(Position at, const FunctionRule& rule, std::string_view name) {
  ExprPtr result = node(ExprKind::Call, at);
  result->function = rule.function;
  while (!isSymbol(")")) {
    if (!result->args.empty()) expectSymbol(",");
    grow(*result, value());
  }
  const int given = static_cast<int>(result->args.size());
  if (given >= rule.minArguments && given <= rule.maxArguments) {
    if (rule.function != Function::ToDate) return result;
    return converted(at, {.type = ColumnType::Date, .size = {}}, std::move(result->args[0]));
  }
  const int expected = given < rule.minArguments ? rule.minArguments : rule.maxArguments;
  throw SqlError("function " + std::string(name) + " takes " + std::to_string(expected) +
                     (expected == 1 ? " argument" : " arguments") + ", not " +
                     std::to_string(given),
                 at);
}

// ---- date arithmetic

// DATEADD(day, 1, x) and ADDDATE(x, 1).
ExprPtr Parser::dateAddCall(Position at) {
  ExprPtr result = node(ExprKind::Call, at);
  result->function = Function::AddTime;
  if (dialect_ == Dialect::Kordb) {
    grow(*result, value());
    expectSymbol(",");
    grow(*result, value());
    return result;
  }
  result->unit = datePart();
  expectSymbol(",");
  ExprPtr amount = value();
  expectSymbol(",");
  grow(*result, value());
  grow(*result, std::move(amount));
  return result;
}

ExprPtr Parser::dateDiffCall(Position at) {
  ExprPtr result = node(ExprKind::Call, at);
  result->function = Function::DaysBetween;
  const Position part = here().at;
  if (datePart() != TimeUnit::Day) throw SqlError("DATEDIFF is supported for day only", part);
  expectSymbol(",");
  grow(*result, value());
  expectSymbol(",");
  grow(*result, value());
  return result;
}

TimeUnit Parser::datePart() {
  const std::optional<TimeUnit> unit = timeUnit(here());
  const bool short_ = isWord("DD") || isWord("D");
  if (!unit && !short_) failExpected("a date part (second, minute, hour, day or week)");
  take();
  return unit.value_or(TimeUnit::Day);
}

std::optional<TimeUnit> Parser::timeUnit(const Token& token) const {
  for (const UnitWord& unit : kUnits) {
    if (isWord(token, unit.word)) return unit.unit;
    const bool plural = traits_.durations && token.kind == TokenKind::Name &&
                        token.text.size() == unit.word.size() + 1 &&
                        (token.text.back() == 's' || token.text.back() == 'S');
    if (plural && sameName(std::string_view(token.text).substr(0, unit.word.size()), unit.word)) {
      return unit.unit;
    }
  }
  return std::nullopt;
}

// `left + amount DAYS`, the unit being the token here.
ExprPtr Parser::duration(const Token& op, ExprPtr left, ExprPtr amount) {
  ExprPtr result = node(ExprKind::Call, op.at);
  result->function = Function::AddTime;
  result->unit = timeUnit(take()).value();
  grow(*result, std::move(left));
  if (op.text == "-") {
    ExprPtr negative = node(ExprKind::Negate, amount->at);
    grow(*negative, std::move(amount));
    amount = std::move(negative);
  }
  grow(*result, std::move(amount));
  return result;
}

// ---- conversions

CastTarget Parser::castTarget() {
  CastTarget target;
  for (const TypeWord& type : kTypes) {
    if (isWord(type.word)) target.type = type.type;
  }
  if (target.type == ColumnType::Unknown) failExpected("a type such as nvarchar(50) or int");
  take();
  if (!acceptSymbol("(")) return target;
  std::int64_t size = count("a length");
  if (target.type == ColumnType::Decimal) size = acceptSymbol(",") ? count("a scale") : 0;
  if (size > kMaxSize) fail("a length is at most 8000");
  if (size == 0 && target.type == ColumnType::Text) fail("a length is at least 1");
  target.size = static_cast<int>(size);
  expectSymbol(")");
  return target;
}

ExprPtr Parser::castCall(Position at) {
  ExprPtr operand = value();
  expectWord("AS");
  return converted(at, castTarget(), std::move(operand));
}

// CONVERT(datetime, '20240131', 112), CONVERT(nvarchar(8), x, 112), CONVERT(int, x).
ExprPtr Parser::convertCall(Position at) {
  const CastTarget target = castTarget();
  expectSymbol(",");
  ExprPtr operand = value();
  if (!acceptSymbol(",")) return converted(at, target, std::move(operand));
  const Position styleAt = here().at;
  const std::int64_t style = count("the style 112 or 120");
  if (style != kCompactStyle && style != kIsoStyle) {
    throw SqlError("CONVERT knows the styles 112 and 120 only", styleAt);
  }
  if (target.type != ColumnType::Text) return converted(at, target, std::move(operand));
  ExprPtr formatted = node(ExprKind::Call, at);
  formatted->function = style == kCompactStyle ? Function::CompactDate : Function::IsoDate;
  grow(*formatted, std::move(operand));
  return converted(at, target, std::move(formatted));
}

// A literal that becomes a date is checked here already; what is a date stays as it is.
ExprPtr Parser::converted(Position at, const CastTarget& target, ExprPtr operand) {
  if (target.type == ColumnType::Date && operand->kind == ExprKind::Text) {
    const std::optional<std::string> date = storedDate(operand->text);
    if (!date) throw SqlError("not a date: '" + operand->text + "'", operand->at);
    operand->kind = ExprKind::Date;
    operand->text = *date;
    return operand;
  }
  if (target.type == ColumnType::Date && isDateCall(*operand)) return operand;
  ExprPtr result = node(ExprKind::Call, at);
  result->function = target.type == ColumnType::Date ? Function::ToDate : Function::Cast;
  result->target = target;
  grow(*result, std::move(operand));
  return result;
}

}  // namespace qx::sql
