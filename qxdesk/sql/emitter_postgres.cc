#include "qxdesk/sql/emitter_postgres.h"

#include "qxdesk/sql/postgres_pattern.h"

namespace qx::sql {
namespace {

// Arguments of a regexp_replace that puts words before a text of another form than a date, so that
// the CAST around it fails. The engine's own CAST also accepts words such as 'now', and forms that
// depend on its settings. A text of the right form matches nothing and stays as it is.
constexpr std::string_view kNoDate =
    R"(, '^(?! *\d{4}(-\d\d-\d\d|\d{4})([ T]([01]\d|2[0-3]):[0-5]\d(:[0-5]\d(\.\d*)?)?)? *$)', )"
    R"('not a date: ')";

// The same for numbers: the engine's own CAST also accepts words such as 'NaN', and tabs around a
// number.
constexpr std::string_view kNoNumber =
    R"(, '^(?! *[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)? *$)', 'not a number: ') )"
    "AS numeric)";

// Arguments that let only whole numbers through, and take a blank text for 0.
constexpr std::string_view kBlankIsZero = R"(, '^ *$', '0'))";
constexpr std::string_view kNoWhole = R"(, '^(?! *[+-]?[0-9]+ *$)', 'not a whole number: ') )"
                                      "AS bigint)";

// Replaces the zero before a day or an hour of one digit by a blank. A year has four digits, so
// that it never matches.
constexpr std::string_view kBlankPadding = R"(, ' 0(\d[ :])', '  \1', 'g')";

// Cuts a fraction of a second. The engine would keep it, and would round 23:59:59.9999999 up to the
// next day.
constexpr std::string_view kNoFraction = R"(, '(:\d\d)\.\d* *$', '\1')";

// Makes a date outside of the years 1 to 9999 fail without a second copy of its expression. The
// engine's dates reach from the first Julian day to the year 294276. The first step moves
// 9999-12-31 to the last possible day, the second moves 0001-01-01 to the first one, and the third
// moves back, so that a date within the years comes out unchanged and any other one overflows.
constexpr std::string_view kWithinYears =
    " + interval '103830043 days' - interval '105551469 days' + interval '1721426 days'";

// statement_timestamp() and not now(), which would stand still during a transaction.
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

// Returns true for an expression that is a bigint in the engine's text already. A quotient is as
// wide as its operands, so it does not count.
bool isWide(const Expr& expr) {
  if (expr.kind == ExprKind::Arithmetic) return expr.text != "/" && expr.text != "%";
  if (expr.kind == ExprKind::Negate) return expr.args[0]->kind != ExprKind::Number;
  return expr.kind == ExprKind::Call &&
         (expr.function == Function::Count || expr.function == Function::AvgWhole ||
          expr.function == Function::Cast || expr.function == Function::Sum);
}

// Returns true for a literal that may be a numeric in the engine because of its length alone. A
// CAST makes it a bigint or fails, as a whole number beyond 64 bits has to.
bool isLong(const Expr& expr) {
  constexpr std::size_t kSurelyFits = 18;
  const Expr& number = expr.kind == ExprKind::Negate ? *expr.args[0] : expr;
  return number.kind == ExprKind::Number && number.text.size() > kSurelyFits;
}

// A zero has no digit above 0 before its exponent.
bool isNonZeroNumber(const Expr& expr) {
  return expr.kind == ExprKind::Number &&
         expr.text.find_first_of("123456789") < expr.text.find_first_of("eE");
}

}  // namespace

// Uses the engine's own form, unless a row count of the connection may cut the ties: the engine
// takes no second limit.
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

void PostgresEmitter::timestamp(std::string_view text) {
  out_ += "timestamp ";
  quoted(text, '\'');
}

void PostgresEmitter::date(const Expr& expr) { timestamp(expr.text); }

// A number or date gets the type that it has as a literal. A text has none there either; its place
// gives it one.
void PostgresEmitter::placeholder(ColumnType type) {
  switch (type) {
    case ColumnType::Integer:
      out_ += "CAST(? AS bigint)";
      return;
    case ColumnType::Decimal:
      out_ += "CAST(? AS numeric)";
      return;
    case ColumnType::Date:
      out_ += "CAST(? AS timestamp)";
      return;
    default:
      StatementEmitter::placeholder(type);
  }
}

// A NULL without a type becomes a text in a UNION or a derived table, and a text does not meet the
// numbers or dates of the other parts.
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

// The engine negates a 32-bit column in 32 bits, which fails for the lowest value.
void PostgresEmitter::negate(const Expr& expr) {
  const Expr& value = *expr.args[0];
  const bool fits = value.kind == ExprKind::Number || (isWide(value) && !isLong(value));
  if (expr.type != ColumnType::Integer || fits) return StatementEmitter::negate(expr);
  out_ += '-';
  const OpenSymbols open(*this, 1);
  wrapped("CAST(", value, " AS bigint)");
}

// The engine computes with 32-bit columns and literals in 32 bits; a wide left operand makes the
// result 64 bits wide, as on SQLite. A quotient is no larger than its left operand and needs no
// width. A division by zero fails in the engine and is NULL on SQLite, hence NULLIF.
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
  if (!mayHaveSets(pattern)) return plainLike(expr);
  textOperand(*expr.args[0], kPrimary);
  out_ += expr.negated ? " !~ " : " ~ ";
  const OpenSymbols open(*this, 2);
  if (pattern.kind == ExprKind::Text) {
    quoted(postgresRegex(pattern.text, escape == nullptr ? "" : escape->text), '\'');
  } else {
    patternWithSets(pattern, escape);
  }
}

// The engine's LIKE has the backslash as escape character unless ESCAPE '' switches it off, and it
// fails if an escape character ends the pattern. The escapes of a literal pattern are resolved
// here.
void PostgresEmitter::plainLike(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  textOperand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT LIKE " : " LIKE ";
  const OpenSymbols open(*this, 2);
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
  const OpenSymbols open(*this, 2 * kCallSymbols);
  textOperand(pattern, 0);
  out_ += query.after;
}

// ---- values of another type where a text, a date or a whole number is required

// The text has the form that SQLite's qx_text has: decimals without trailing zeros and with the 15
// digits that are certain in a double. A CAST from double precision to numeric rounds to 15 digits.
void PostgresEmitter::textOperand(const Expr& expr, int strength) {
  switch (expr.type) {
    case ColumnType::Integer:
      return wrapped("CAST(", expr, " AS text)");
    case ColumnType::Decimal:
      return wrapped("CAST(trim_scale(CAST(CAST(", expr,
                     " AS double precision) AS numeric)) AS text)");
    case ColumnType::Date:
      if (dialect_.monthNames) return monthDate(expr);
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
      return now(expr);
    case Function::Today:
      return today(expr);
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
    case Function::Sum:
      // The engine's sum of 64-bit numbers is a numeric; the cast fails beyond 64 bits.
      if (expr.type != ColumnType::Integer) return StatementEmitter::call(expr);
      return wrapped("CAST(sum(", *expr.args[0], ") AS bigint)");
    case Function::AvgWhole:
      return wrapped("CAST(trunc(avg(", *expr.args[0], ")) AS bigint)");
    case Function::Substring:
      return substringCall("substr(", expr);
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

// The collation "C" maps ASCII letters only, so the call has an ICU collation. The result gets "C"
// back, since it may be compared or ordered.
void PostgresEmitter::caseCall(std::string_view function, const Expr& expr) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += function;
  textOperand(*expr.args[0], kPrimary);
  out_ += R"( COLLATE "und-x-icu") COLLATE "C")";
}

// Writes a value of any size as a 32-bit integer: the fraction is cut, and the limits are far
// beyond any text. least() and greatest() pass over NULL and would return a limit for it, so NULL
// is 0.5 on its way through them, which no whole number equals.
void PostgresEmitter::position(const Expr& expr) {
  if (isShortWhole(expr)) return expression(expr);
  wrapped("CAST(NULLIF(least(greatest(coalesce(trunc(CAST(", expr,
          " AS numeric)), 0.5), -1000000000), 1000000000), 0.5) AS integer)");
}

// The engine's round() of a double takes no count of digits.
void PostgresEmitter::round(const Expr& expr) {
  if (expr.type == ColumnType::Integer) return operand(*expr.args[0], kPrimary);
  wrapped("round(CAST(", *expr.args[0], " AS numeric), ");
  const OpenSymbols open(*this, kCallSymbols);
  wholeOperand(*expr.args[1]);
  out_ += ')';
}

// ---- dates

const std::string& PostgresEmitter::currentTime() {
  if (currentTime_.empty()) currentTime_ = now_();
  return currentTime_;
}

void PostgresEmitter::now(const Expr& expr) {
  if (!now_) {
    out_ += kServerNow;
  } else if (isBound(expr)) {
    boundValue({.source = BoundValue::Source::Now, .type = ColumnType::Date});
  } else {
    noteFixedTime();
    timestamp(currentTime());
  }
}

void PostgresEmitter::today(const Expr& expr) {
  if (now_ && isBound(expr)) {
    return boundValue({.source = BoundValue::Source::Today, .type = ColumnType::Date});
  }
  if (now_) {
    noteFixedTime();
    return timestamp(currentTime().substr(0, 10) + " 00:00:00");
  }
  out_ += "date_trunc('day', CAST(statement_timestamp() AS timestamp))";
}

void PostgresEmitter::toDate(const Expr& argument) {
  if (argument.type == ColumnType::Date) return dateOperand(argument, kPrimary);
  const OpenSymbols open(*this, 3 * kCallSymbols);
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
  const OpenSymbols open(*this, kCallSymbols);
  out_ += "to_char(";
  dateOperand(argument, 0);
  out_ += ", '";
  out_ += format;
  out_ += "')";
}

void PostgresEmitter::monthDate(const Expr& argument) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += "regexp_replace(";
  formatted(argument, "Mon DD YYYY HH12:MIAM");
  out_ += kBlankPadding;
  out_ += ')';
}

void PostgresEmitter::addTime(const Expr& expr) {
  const Expr& amount = *expr.args[1];
  const OpenSymbols open(*this, kCallSymbols);
  out_ += '(';
  dateOperand(*expr.args[0], kSum);
  out_ += " + ";
  if (amount.type == ColumnType::Integer) {
    nested(2, amount, kProduct);
  } else {
    // A fraction of a count does not count, but the engine multiplies an interval by it.
    wrapped("trunc(CAST(", amount, " AS numeric))");
  }
  out_ += " * interval '1 ";
  out_ += unitText(expr.unit);
  out_ += '\'';
  out_ += kWithinYears;
  out_ += ')';
}

void PostgresEmitter::daysBetween(const Expr& expr) {
  const OpenSymbols open(*this, 2 * kCallSymbols);
  out_ += "(CAST(";
  dateOperand(*expr.args[1], 0);
  out_ += " AS date) - CAST(";
  dateOperand(*expr.args[0], 0);
  out_ += " AS date))";
}

void PostgresEmitter::datePart(const Expr& expr, std::string_view part) {
  const OpenSymbols open(*this, 2 * kCallSymbols);
  out_ += "CAST(extract(";
  out_ += part;
  out_ += " FROM ";
  dateOperand(*expr.args[0], 0);
  out_ += ") AS integer)";
}

// ---- casts

// A literal text was checked when it was translated.
void PostgresEmitter::castToDecimal(const Expr& argument) {
  const bool checked = argument.type == ColumnType::Text && argument.kind != ExprKind::Text;
  if (!checked) return wrapped("CAST(", argument, " AS numeric)");
  wrapped("CAST(regexp_replace(", argument, kNoNumber);
}

void PostgresEmitter::castToText(const Expr& argument, std::optional<int> size) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += "CAST(";
  textOperand(argument, 0);
  out_ += size ? " AS varchar(" + std::to_string(*size) + "))" : " AS text)";
}

// The engine's own cast to bigint rounds; the dialects cut.
void PostgresEmitter::castToWhole(const Expr& argument) {
  if (argument.type == ColumnType::Integer) return wrapped("CAST(", argument, " AS bigint)");
  if (argument.type == ColumnType::Text && dialect_.wholeTexts) return textToWhole(argument);
  const OpenSymbols open(*this, 2 * kCallSymbols);
  out_ += "CAST(trunc(";
  castToDecimal(argument);
  out_ += ") AS bigint)";
}

void PostgresEmitter::textToWhole(const Expr& argument) {
  if (argument.kind == ExprKind::Text) return wrapped("CAST(", argument, " AS bigint)");
  wrapped("CAST(regexp_replace(regexp_replace(", argument, kBlankIsZero);
  out_ += kNoWhole;
}

}  // namespace qx::sql
