#include "qxdesk/sql/parser_function.h"

#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/token_cursor.h"

#include <utility>

namespace qx::sql {
namespace {

struct UnitWord {
  std::string_view word;
  TimeUnit unit;
};

// Months and years are left out: engines differ in what a month after January 31 is.
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

// True if the value is a date already, so that a conversion to a date would only repeat it.
bool isDateCall(const Expr& expr) {
  return expr.kind == ExprKind::Call &&
         (expr.function == Function::Now || expr.function == Function::Today ||
          expr.function == Function::AddTime || expr.function == Function::ToDate);
}

constexpr int kCallWeight = 3;
constexpr std::int64_t kCompactStyle = 112;  // YYYYMMDD
constexpr std::int64_t kIsoStyle = 120;      // YYYY-MM-DD HH:MM:SS
constexpr std::int64_t kMaxSize = 8000;

// Converts `operand` to the target type. A literal that is to be a date becomes one here: the
// engine would find out only when the statement runs, or not at all where it never reaches the row.
ExprPtr converted(Position at, const CastTarget& target, ExprPtr operand) {
  if (target.type == ColumnType::Date && operand->kind == ExprKind::Text) {
    const std::optional<std::string> date = storedDate(operand->text);
    if (!date) throw SqlError("not a date: '" + valueExcerpt(operand->text) + "'", operand->at);
    operand->kind = ExprKind::Date;
    operand->text = *date;
    return operand;
  }
  if (target.type == ColumnType::Date && isDateCall(*operand)) return operand;
  ExprPtr result = makeExpr(ExprKind::Call, at);
  result->function = target.type == ColumnType::Date ? Function::ToDate : Function::Cast;
  result->target = target;
  addArgument(*result, std::move(operand));
  return result;
}

}  // namespace

bool FunctionParser::isMomentNext() const {
  return tokens_.isWord("CURRENT") || tokens_.isWord("CURRENT_TIMESTAMP") ||
         tokens_.isWord("CURRENT_DATE");
}

ExprPtr FunctionParser::moment() {
  const DialectTraits& traits = context_.traits;
  const Token& word = tokens_.here();
  const bool twoWords = tokens_.isWord("CURRENT");
  if (!(twoWords ? traits.currentWords : traits.currentUnderscore)) {
    tokens_.fail(word.text + " is not a word of " + std::string(traits.name) + "; write " +
                 std::string(traits.nowText));
  }
  if (twoWords) tokens_.take();
  const bool date = tokens_.isWord(twoWords ? "DATE" : "CURRENT_DATE");
  if (twoWords && !date && !tokens_.isWord("TIMESTAMP")) {
    tokens_.failExpected("TIMESTAMP or DATE");
  }
  tokens_.take();
  return makeCall(date ? Function::Today : Function::Now, word.at);
}

ExprPtr FunctionParser::call() {
  const NestingLevel level(context_, kCallWeight);
  const std::string_view dialect = context_.traits.name;
  const Token& word = tokens_.here();
  const FunctionRule* rule = findFunction(context_.dialect, word.text);
  if (rule == nullptr && isFunctionOfAnyDialect(word.text)) {
    tokens_.fail("function " + valueExcerpt(word.text) + " is not one of " + std::string(dialect));
  }
  if (rule == nullptr) tokens_.fail("function " + valueExcerpt(word.text) + " is not supported");
  tokens_.take();
  tokens_.expectSymbol("(");
  ExprPtr result = arguments(word.at, *rule, word.text);
  tokens_.expectSymbol(")");
  return result;
}

ExprPtr FunctionParser::arguments(Position at, const FunctionRule& rule, std::string_view name) {
  switch (rule.function) {
    case Function::Count:
      return countCall(at);
    case Function::AddTime:
      return dateAddCall(at);
    case Function::DaysBetween:
      return dateDiffCall(at);
    case Function::Cast:
      return castCall(at);
    case Function::Convert:
      return convertCall(at);
    default:
      return plainCall(at, rule, name);
  }
}

ExprPtr FunctionParser::countCall(Position at) {
  ExprPtr result = makeCall(Function::Count, at);
  result->star = tokens_.acceptSymbol("*");
  if (result->star) return result;
  result->distinct = tokens_.acceptWord("DISTINCT");
  addArgument(*result, grammar_.value());
  return result;
}

ExprPtr FunctionParser::plainCall(Position at, const FunctionRule& rule, std::string_view name) {
  ExprPtr result = makeCall(rule.function, at);
  while (!tokens_.isSymbol(")")) {
    if (!result->args.empty()) tokens_.expectSymbol(",");
    addArgument(*result, grammar_.value());
  }
  const int given = static_cast<int>(result->args.size());
  if (given >= rule.minArguments && given <= rule.maxArguments) {
    if (rule.function != Function::ToDate) return result;
    // TIMESTAMP_ISO('20240131') is a conversion like CAST, with its check of a literal.
    return converted(at, {.type = ColumnType::Date, .size = {}}, std::move(result->args[0]));
  }
  const int expected = given < rule.minArguments ? rule.minArguments : rule.maxArguments;
  throw SqlError("function " + std::string(name) + " takes " + std::to_string(expected) +
                     (expected == 1 ? " argument" : " arguments") + ", not " +
                     std::to_string(given),
                 at);
}

// ---- date arithmetic

// DATEADD(day, 1, x), and ADDDATE(x, 1), which counts in days.
ExprPtr FunctionParser::dateAddCall(Position at) {
  ExprPtr result = makeCall(Function::AddTime, at);
  if (context_.dialect == Dialect::Kordb) {
    addArgument(*result, grammar_.value());
    tokens_.expectSymbol(",");
    addArgument(*result, grammar_.value());
    return result;
  }
  result->unit = datePart();
  tokens_.expectSymbol(",");
  // The amount precedes the date in the text and follows it in the tree.
  ExprPtr amount = grammar_.value();
  tokens_.expectSymbol(",");
  addArgument(*result, grammar_.value());
  addArgument(*result, std::move(amount));
  return result;
}

ExprPtr FunctionParser::dateDiffCall(Position at) {
  ExprPtr result = makeCall(Function::DaysBetween, at);
  dayPart();
  tokens_.expectSymbol(",");
  addArgument(*result, grammar_.value());
  tokens_.expectSymbol(",");
  addArgument(*result, grammar_.value());
  return result;
}

// The engines count the units of a difference differently: the borders between two times or the
// full units. Days between dates are the same either way.
void FunctionParser::dayPart() {
  if (tokens_.here().kind != TokenKind::Name) tokens_.failExpected("the date part day");
  if (!tokens_.isWord("DAY") && !isDayAbbreviated()) {
    tokens_.fail("DATEDIFF counts days only; write day instead of " + excerpt(tokens_.here().text));
  }
  tokens_.take();
}

bool FunctionParser::isDayAbbreviated() const {
  return tokens_.isWord("DD") || tokens_.isWord("D");
}

TimeUnit FunctionParser::datePart() {
  const std::optional<TimeUnit> unit = timeUnit(tokens_.here());
  const bool abbreviated = isDayAbbreviated();
  if (!unit && !abbreviated)
    tokens_.failExpected("a date part (second, minute, hour, day or week)");
  tokens_.take();
  return unit.value_or(TimeUnit::Day);
}

std::optional<TimeUnit> FunctionParser::timeUnit(const Token& token) const {
  for (const UnitWord& unit : kUnits) {
    if (isWord(token, unit.word)) return unit.unit;
    const bool plural = context_.traits.durations && token.kind == TokenKind::Name &&
                        token.text.size() == unit.word.size() + 1 &&
                        (token.text.back() == 's' || token.text.back() == 'S');
    if (plural && sameName(std::string_view(token.text).substr(0, unit.word.size()), unit.word)) {
      return unit.unit;
    }
  }
  return std::nullopt;
}

bool FunctionParser::isDurationUnitNext() const {
  return context_.traits.durations && timeUnit(tokens_.here());
}

ExprPtr FunctionParser::duration(const Token& op, ExprPtr left, ExprPtr amount) {
  ExprPtr result = makeCall(Function::AddTime, op.at);
  result->unit = timeUnit(tokens_.take()).value();
  addArgument(*result, std::move(left));
  if (op.text == "-") {
    ExprPtr negative = makeExpr(ExprKind::Negate, amount->at);
    addArgument(*negative, std::move(amount));
    amount = std::move(negative);
  }
  addArgument(*result, std::move(amount));
  return result;
}

// ---- conversions

ExprPtr FunctionParser::makeCall(Function function, Position at) const {
  ExprPtr result = makeExpr(ExprKind::Call, at);
  result->function = function;
  return result;
}

CastTarget FunctionParser::castTarget() {
  CastTarget target;
  for (const TypeWord& type : kTypes) {
    if (tokens_.isWord(type.word)) target.type = type.type;
  }
  if (target.type == ColumnType::Unknown)
    tokens_.failExpected("a type such as nvarchar(50) or int");
  tokens_.take();
  if (!tokens_.acceptSymbol("(")) return target;
  std::int64_t size = tokens_.expectWhole("a length");
  // Of a decimal only the scale is kept: its digits before the point are never cut.
  if (target.type == ColumnType::Decimal)
    size = tokens_.acceptSymbol(",") ? tokens_.expectWhole("a scale") : 0;
  if (size > kMaxSize) tokens_.fail("a length is at most 8000");
  if (size == 0 && target.type == ColumnType::Text) tokens_.fail("a length is at least 1");
  target.size = static_cast<int>(size);
  tokens_.expectSymbol(")");
  return target;
}

ExprPtr FunctionParser::castCall(Position at) {
  ExprPtr operand = grammar_.value();
  tokens_.expectWord("AS");
  return converted(at, castTarget(), std::move(operand));
}

// CONVERT(datetime, '20240131', 112), CONVERT(nvarchar(8), x, 112), CONVERT(int, x).
ExprPtr FunctionParser::convertCall(Position at) {
  const CastTarget target = castTarget();
  tokens_.expectSymbol(",");
  ExprPtr operand = grammar_.value();
  if (!tokens_.acceptSymbol(",")) return converted(at, target, std::move(operand));
  const Position styleAt = tokens_.here().at;
  const std::int64_t style = tokens_.expectWhole("the style 112 or 120");
  if (style != kCompactStyle && style != kIsoStyle) {
    throw SqlError("CONVERT knows the styles 112 and 120 only", styleAt);
  }
  // A style is the form of a date as text. Towards other types it changes nothing, since a text is
  // read in either form.
  if (target.type != ColumnType::Text) return converted(at, target, std::move(operand));
  ExprPtr formatted =
      makeCall(style == kCompactStyle ? Function::CompactDate : Function::IsoDate, at);
  addArgument(*formatted, std::move(operand));
  return converted(at, target, std::move(formatted));
}

}  // namespace qx::sql
