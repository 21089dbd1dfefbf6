#include "qxdesk/sql/emitter_postgres.h"

#include "qxdesk/sql/postgres_pattern.h"

namespace qx::sql {
namespace {

// A text that is no date becomes one that no cast takes, since the engine would also accept words
// such as 'now', and forms that depend on its settings.
constexpr std::string_view kNoDate =
    R"(, '^(?! *\d{4}(-\d\d-\d\d|\d{4})([ T]([01]\d|2[0-3]):[0-5]\d(:[0-5]\d(\.\d*)?)?)? *$)', )"
    R"('not a date: ')";

// The same for numbers, beside which the engine accepts words such as 'NaN', and tabs around them.
constexpr std::string_view kNoNumber =
    R"(, '^(?! *[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)? *$)', 'not a number: ') )"
    "AS numeric)";

// The engine would round a fraction of a second, which may be another day.
constexpr std::string_view kNoFraction = R"(, '(:\d\d)\.\d* *$', '\1')";

// The engine's dates end in the year 294276 and begin on the first Julian day, where it fails. A
// date on its way there and back fails with years beyond 9999 or before 1, and comes back unchanged
// otherwise.
constexpr std::string_view kWithinYears =
    " + interval '103830043 days' - interval '105551469 days' + interval '1721426 days'";

constexpr std::string_view kServerNow =
    "date_trunc('second', CAST(statement_timestamp() AS timestamp))";

std::string_view unitText(TimeUnit unit) {
  switch (unit) {
    case TimeUnit::Second:
      return "second";
    case TimeUnit::Minute:
      return "minute";
    case TimeUnit::Hour:
      return "hour";
    case TimeUnit::Week:
      return "week";
    default:
      return "day";
  }
}

// Sums and products of whole numbers are 64 bits wide in either engine; so is what is made of them.
bool isWide(const Expr& expr) {
  if (expr.kind == ExprKind::Arithmetic) return expr.text != "/" && expr.text != "%";
  if (expr.kind == ExprKind::Negate) return expr.args[0]->kind != ExprKind::Number;
  return expr.kind == ExprKind::Call &&
         (expr.function == Function::Count || expr.function == Function::AvgWhole ||
          expr.function == Function::Cast || expr.function == Function::Sum);
}

// A literal that is a decimal in the engine by its length alone.
bool isLong(const Expr& expr) {
  constexpr std::size_t kSurelyFits = 18;
  const Expr& number = expr.kind == ExprKind::Negate ? *expr.args[0] : expr;
  return number.kind == ExprKind::Number && number.text.size() > kSurelyFits;
}

bool isNonZeroNumber(const Expr& expr) {
  return expr.kind == ExprKind::Number &&
         expr.text.find_first_of("123456789") < expr.text.find_first_of("eE");
}

}  // namespace

// The engine's own form, unless the row count of the connection may cut the ties.
void PostgresEmitter::limitWithTies(const Select& select, std::int64_t count,
                                    std::optional<std::int64_t> rowLimit) {
  if (!rowLimit) {
    out_ += " FETCH FIRST " + std::to_string(count) + " ROWS WITH TIES";
  } else if (*rowLimit <= count) {
    plainLimit(*rowLimit);
  } else {
    StatementEmitter::limitWithTies(select, count, rowLimit);
  }
}

// ---- operators

void PostgresEmitter::date(const Expr& expr) {
  out_ += "timestamp ";
  quoted(expr.text, '\'');
}

// Where values of a type stand for it, NULL without one would be a text.
void PostgresEmitter::null(const Expr& expr) {
  switch (expr.type) {
    case ColumnType::Text:
      out_ += "CAST(NULL AS text)";
      return;
    case ColumnType::Integer:
      out_ += "CAST(NULL AS bigint)";
      return;
    case ColumnType::Decimal:
      out_ += "CAST(NULL AS numeric)";
      return;
    case ColumnType::Date:
      out_ += "CAST(NULL AS timestamp)";
      return;
    default:
      StatementEmitter::null(expr);
  }
}

void PostgresEmitter::negate(const Expr& expr) {
  const Expr& value = *expr.args[0];
  const bool fits = value.kind == ExprKind::Number || (isWide(value) && !isLong(value));
  if (expr.type != ColumnType::Integer || fits) return StatementEmitter::negate(expr);
  out_ += '-';
  const Open open(*this, 1);
  wrapped("CAST(", value, " AS bigint)");
}

// Division by zero yields NULL, as in the other engine.
void PostgresEmitter::arithmetic(const Expr& expr) {
  const int strength = strengthOf(expr);
  const Expr& left = *expr.args[0];
  const Expr& right = *expr.args[1];
  const bool whole = expr.type == ColumnType::Integer;
  const bool division = expr.text == "/" || expr.text == "%";
  if (whole && (isLong(left) || (!division && !isWide(left)))) {
    wrapped("CAST(", left, " AS bigint)");
  } else {
    operand(left, strength);
  }
  out_ += ' ' + expr.text + ' ';
  if (whole && isLong(right)) {
    wrapped("CAST(", right, " AS bigint)");
  } else if (division && !isNonZeroNumber(right)) {
    wrapped("NULLIF(", right, ", 0)");
  } else {
    nested(2, right, strength + 1);
  }
}

// ---- patterns

void PostgresEmitter::like(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  const Expr* escape = expr.args.size() > 2 ? expr.args[2].get() : nullptr;
  const bool literal = pattern.kind == ExprKind::Text;
  const bool sets = traits_.likeSets && (!literal || pattern.text.find('[') != std::string::npos);
  if (!sets) return plainLike(expr);
  textOperand(*expr.args[0], kPrimary);
  out_ += expr.negated ? " !~ " : " ~ ";
  const Open open(*this, 2);
  if (literal) {
    quoted(postgresRegex(pattern.text, escape == nullptr ? "" : escape->text), '\'');
  } else {
    patternWithSets(pattern, escape);
  }
}

// The engine has an escape character unless it is told otherwise, and takes none at the end.
void PostgresEmitter::plainLike(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  textOperand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT LIKE " : " LIKE ";
  const Open open(*this, 2);
  if (expr.args.size() < 3) {
    textOperand(pattern, kPrimary);
    out_ += " ESCAPE ''";
  } else if (pattern.kind == ExprKind::Text) {
    quoted(escapedByBackslash(pattern.text, expr.args[2]->text), '\'');
    out_ += R"( ESCAPE '\')";
  } else {
    textOperand(pattern, kPrimary);
    out_ += " ESCAPE ";
    expression(*expr.args[2]);
  }
}

void PostgresEmitter::patternWithSets(const Expr& pattern, const Expr* escape) {
  const PatternQuery query = postgresPatternQuery(escape == nullptr ? "" : escape->text);
  out_ += query.before;
  const Open open(*this, 2 * kCallSymbols);
  textOperand(pattern, 0);
  out_ += query.after;
}

// ---- values of another type where a text, a date or a whole number is meant

// A text as the other engine makes it of a value: decimals without trailing zeros, and to the 15
// digits that a double has for certain, to which the engine rounds on the way back from one.
void PostgresEmitter::textOperand(const Expr& expr, int strength) {
  switch (expr.type) {
    case ColumnType::Integer:
      return wrapped("CAST(", expr, " AS text)");
    case ColumnType::Decimal:
      return wrapped("CAST(trim_scale(CAST(CAST(", expr,
                     " AS double precision) AS numeric)) AS text)");
    case ColumnType::Date:
      if (expr.kind == ExprKind::Date) return quoted(expr.text, '\'');
      return formatted(expr, "YYYY-MM-DD HH24:MI:SS");
    default:
      return operand(expr, strength);
  }
}

void PostgresEmitter::dateOperand(const Expr& expr, int strength) {
  if (expr.type == ColumnType::Date) return operand(expr, strength);
  wrapped("CAST(", expr, " AS timestamp)");
}

void PostgresEmitter::wholeOperand(const Expr& expr) {
  if (isShortWhole(expr)) return expression(expr);
  wrapped("CAST(", expr, " AS integer)");
}

// ---- functions

void PostgresEmitter::call(const Expr& expr) {
  switch (expr.function) {
    case Function::Now:
      return now();
    case Function::Today:
      return today();
    case Function::ToDate:
      return toDate(*expr.args[0]);
    case Function::CompactDate:
      return formatted(*expr.args[0], "YYYYMMDD");
    case Function::IsoDate:
      return formatted(*expr.args[0], "YYYY-MM-DD HH24:MI:SS");
    case Function::AddTime:
      return addTime(expr);
    case Function::DaysBetween:
      return daysBetween(expr);
    case Function::Year:
      return datePart(expr, "year");
    case Function::Month:
      return datePart(expr, "month");
    case Function::Day:
      return datePart(expr, "day");
    case Function::Cast:
      return cast(expr);
    case Function::Sum:
      if (expr.type != ColumnType::Integer) return StatementEmitter::call(expr);
      return wrapped("CAST(sum(", *expr.args[0], ") AS bigint)");
    case Function::AvgWhole:
      return wrapped("CAST(trunc(avg(", *expr.args[0], ")) AS bigint)");
    case Function::Substring:
      return substring(expr);
    case Function::Upper:
      return caseCall("upper(", expr);
    case Function::Lower:
      return caseCall("lower(", expr);
    case Function::Round:
      return round(expr);
    default:
      return StatementEmitter::call(expr);
  }
}

// The mapping of all letters, which the collation "C" does not know.
void PostgresEmitter::caseCall(std::string_view function, const Expr& expr) {
  const Open open(*this, kCallSymbols);
  out_ += function;
  textOperand(*expr.args[0], kPrimary);
  out_ += R"( COLLATE "und-x-icu") COLLATE "C")";
}

void PostgresEmitter::substring(const Expr& expr) {
  const Open open(*this, kCallSymbols);
  out_ += "substr(";
  textOperand(*expr.args[0], 0);
  for (std::size_t i = 1; i < expr.args.size(); ++i) {
    out_ += ", ";
    position(*expr.args[i]);
  }
  out_ += ')';
}

// Cut to a whole number and to what the engine takes, far beyond any text. Half a one stands for
// NULL on its way, which the functions that choose the lower and the higher value pass over.
void PostgresEmitter::position(const Expr& expr) {
  if (isShortWhole(expr)) return expression(expr);
  wrapped("CAST(NULLIF(least(greatest(coalesce(trunc(CAST(", expr,
          " AS numeric)), 0.5), -1000000000), 1000000000), 0.5) AS integer)");
}

void PostgresEmitter::round(const Expr& expr) {
  if (expr.type == ColumnType::Integer) return operand(*expr.args[0], kPrimary);
  wrapped("round(CAST(", *expr.args[0], " AS numeric), ");
  const Open open(*this, kCallSymbols);
  wholeOperand(*expr.args[1]);
  out_ += ')';
}

// ---- dates

const std::string& PostgresEmitter::told() {
  if (told_.empty()) told_ = now_();
  return told_;
}

void PostgresEmitter::now() {
  if (!now_) {
    out_ += kServerNow;
    return;
  }
  out_ += "timestamp ";
  quoted(told(), '\'');
}

void PostgresEmitter::today() {
  if (!now_) {
    out_ += "date_trunc('day', CAST(statement_timestamp() AS timestamp))";
    return;
  }
  out_ += "timestamp ";
  quoted(told().substr(0, 10) + " 00:00:00", '\'');
}

void PostgresEmitter::toDate(const Expr& argument) {
  if (argument.type == ColumnType::Date) return dateOperand(argument, kPrimary);
  const Open open(*this, 3 * kCallSymbols);
  out_ += "CAST(regexp_replace(regexp_replace(";
  if (argument.type == ColumnType::Unknown) {
    wrapped("CAST(", argument, " AS text)");
  } else {
    textOperand(argument, 0);
  }
  out_ += kNoDate;
  out_ += ')';
  out_ += kNoFraction;
  out_ += ") AS timestamp)";
}

void PostgresEmitter::formatted(const Expr& argument, std::string_view format) {
  const Open open(*this, kCallSymbols);
  out_ += "to_char(";
  dateOperand(argument, 0);
  out_ += ", '";
  out_ += format;
  out_ += "')";
}

void PostgresEmitter::addTime(const Expr& expr) {
  const Expr& amount = *expr.args[1];
  const Open open(*this, kCallSymbols);
  out_ += '(';
  dateOperand(*expr.args[0], kSum);
  out_ += " + ";
  if (amount.type == ColumnType::Integer) {
    nested(2, amount, kProduct);
  } else {
    wrapped("trunc(CAST(", amount, " AS numeric))");
  }
  out_ += " * interval '1 ";
  out_ += unitText(expr.unit);
  out_ += '\'';
  out_ += kWithinYears;
  out_ += ')';
}

void PostgresEmitter::daysBetween(const Expr& expr) {
  const Open open(*this, 2 * kCallSymbols);
  out_ += "(CAST(";
  dateOperand(*expr.args[1], 0);
  out_ += " AS date) - CAST(";
  dateOperand(*expr.args[0], 0);
  out_ += " AS date))";
}

void PostgresEmitter::datePart(const Expr& expr, std::string_view part) {
  const Open open(*this, 2 * kCallSymbols);
  out_ += "CAST(extract(";
  out_ += part;
  out_ += " FROM ";
  dateOperand(*expr.args[0], 0);
  out_ += ") AS integer)";
}

// ---- casts

void PostgresEmitter::cast(const Expr& expr) {
  const Expr& argument = *expr.args[0];
  switch (expr.target.type) {
    case ColumnType::Text:
      return castToText(argument, expr.target.size);
    case ColumnType::Integer:
      return castToWhole(argument);
    default:
      if (!expr.target.size) return asNumeric(argument);
      const Open open(*this, kCallSymbols);
      out_ += "round(";
      asNumeric(argument);
      out_ += ", " + std::to_string(*expr.target.size) + ")";
  }
}

void PostgresEmitter::asNumeric(const Expr& argument) {
  const bool checked = argument.type == ColumnType::Text && argument.kind != ExprKind::Text;
  if (!checked) return wrapped("CAST(", argument, " AS numeric)");
  wrapped("CAST(regexp_replace(", argument, kNoNumber);
}

void PostgresEmitter::castToText(const Expr& argument, std::optional<int> size) {
  const Open open(*this, kCallSymbols);
  out_ += "CAST(";
  textOperand(argument, 0);
  out_ += size ? " AS varchar(" + std::to_string(*size) + "))" : " AS text)";
}

// The engine would round.
void PostgresEmitter::castToWhole(const Expr& argument) {
  if (argument.type == ColumnType::Integer) return wrapped("CAST(", argument, " AS bigint)");
  const Open open(*this, 2 * kCallSymbols);
  out_ += "CAST(trunc(";
  asNumeric(argument);
  out_ += ") AS bigint)";
}

}  // namespace qx::sql
