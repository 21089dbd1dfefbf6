#include "qxdesk/sql/emitter_sqlite.h"

#include "qxdesk/sql/numbers.h"

namespace qx::sql {
namespace {

std::string_view secondsText(TimeUnit unit) {
  switch (unit) {
    case TimeUnit::Second:
      return "1";
    case TimeUnit::Minute:
      return "60";
    case TimeUnit::Hour:
      return "3600";
    case TimeUnit::Week:
      return "604800";
    default:
      return "86400";
  }
}

// Symbols that are open before the first argument of a function: its name, "(", DISTINCT.
constexpr int kFirstArgumentSymbols = 3;

// A sign before a literal is part of the number: -5 is not arithmetic that could overflow.
bool isWholeArithmetic(const Expr& expr) {
  if (expr.type != ColumnType::Integer) return false;
  return expr.kind == ExprKind::Arithmetic ||
         (expr.kind == ExprKind::Negate && expr.args[0]->kind != ExprKind::Number);
}

}  // namespace

// SQLite's LIKE knows no sets such as [a-z]. A pattern that has one or may have one goes to a
// function of our own.
void SqliteEmitter::like(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  if (mayHaveSets(pattern)) {
    const OpenSymbols open(*this, 1);
    textCall(expr.negated ? "NOT qx_like" : "qx_like", expr);
    return;
  }
  textOperand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT LIKE " : " LIKE ";
  const OpenSymbols open(*this, 2);
  textOperand(pattern, kPrimary);
  if (expr.args.size() < 3) return;
  out_ += " ESCAPE ";
  expression(*expr.args[2]);
}

// SQLite reads some numbers as a double next to the nearest one. Those are written as a text
// that qx_number reads to the last digit.
void SqliteEmitter::number(const Expr& expr) {
  const bool exact = readsExactly(expr.text);
  if (!exact) out_ += "qx_number('";
  StatementEmitter::number(expr);
  if (!exact) out_ += "')";
}

void SqliteEmitter::negate(const Expr& expr) {
  if (!isWholeArithmetic(expr)) return StatementEmitter::negate(expr);
  checked(expr);
}

void SqliteEmitter::arithmetic(const Expr& expr) {
  if (!isWholeArithmetic(expr)) return StatementEmitter::arithmetic(expr);
  checked(expr);
}

// A result that exceeds 64 bits silently becomes a decimal in SQLite, and every further result of
// it is a decimal, too. So one check of the final result finds any overflow on the way.
void SqliteEmitter::checked(const Expr& expr) {
  const OpenSymbols open(*this, kFirstArgumentSymbols);
  out_ += "qx_whole(";
  unchecked(expr);
  out_ += ')';
}

void SqliteEmitter::unchecked(const Expr& expr) {
  if (expr.kind == ExprKind::Negate) {
    out_ += '-';
    const OpenSymbols open(*this, 1);
    return uncheckedOperand(*expr.args[0], kPrimary);
  }
  const int strength = strengthOf(expr);
  uncheckedOperand(*expr.args[0], strength);
  out_ += ' ' + expr.text + ' ';
  const OpenSymbols open(*this, 2);
  uncheckedOperand(*expr.args[1], strength + 1);
}

void SqliteEmitter::uncheckedOperand(const Expr& expr, int strength) {
  if (!isWholeArithmetic(expr)) return operand(expr, strength);
  bracketed(strengthOf(expr) < strength, [&] { unchecked(expr); });
}

// SQLite writes a whole decimal as 100 or 100.0, depending on the storage class in which a row
// happens to keep it; qx_text has one form. A date is kept as a text, but not always in the form
// that it has as one.
std::string_view SqliteEmitter::textFunction(const Expr& expr) const {
  if (expr.type == ColumnType::Decimal) return "qx_text(";
  return expr.type == ColumnType::Date && dialect_.monthNames ? "qx_month_date(" : "";
}

void SqliteEmitter::textOperand(const Expr& expr, int strength) {
  const std::string_view function = textFunction(expr);
  if (!function.empty()) return wrapped(function, expr, ")");
  operand(expr, strength);
}

void SqliteEmitter::call(const Expr& expr) {
  switch (expr.function) {
    case Function::Now:
      // SQLite's CURRENT_TIMESTAMP is UTC; qx_now is local time, from the given clock.
      out_ += "qx_now()";
      return;
    case Function::Today:
      out_ += "datetime(qx_now(), 'start of day')";
      return;
    case Function::ToDate:
      return plainCall("qx_date", expr);
    case Function::AddTime:
      return addTime(expr);
    case Function::DaysBetween:
      return daysBetween(expr);
    case Function::CompactDate:
      return wrapped("strftime('%Y%m%d', ", *expr.args[0], ")");
    case Function::IsoDate:
      return wrapped("datetime(", *expr.args[0], ")");
    case Function::Year:
      return datePart(expr, "%Y");
    case Function::Month:
      return datePart(expr, "%m");
    case Function::Day:
      return datePart(expr, "%d");
    case Function::Sum:
      return sum(expr);
    case Function::Abs:
      if (expr.type != ColumnType::Integer) return StatementEmitter::call(expr);
      return plainCall("qx_abs", expr);
    // SQLite's avg() is always a decimal; the cast cuts the fraction.
    case Function::AvgWhole:
      return wrapped("CAST(avg(", *expr.args[0], ") AS INTEGER)");
    case Function::Round:
      // A whole number is round already, and SQLite's round() would make it a decimal.
      if (expr.type == ColumnType::Integer) return operand(*expr.args[0], kPrimary);
      return StatementEmitter::call(expr);
    case Function::Substring:
      return substring(expr);
    // SQLite's own upper() and lower() map ASCII letters only.
    case Function::Upper:
      return textCall("qx_upper", expr);
    case Function::Lower:
      return textCall("qx_lower", expr);
    default:
      return StatementEmitter::call(expr);
  }
}

// SQLite keeps a decimal such as 100.0 as a whole number. Its own sum() of such rows is limited to
// 64 bits and then fails with a bare "integer overflow", so decimals are added as doubles, and
// whole numbers by qx_sum, whose error has a code.
void SqliteEmitter::sum(const Expr& expr) {
  switch (expr.type) {
    case ColumnType::Integer:
      return plainCall("qx_sum", expr);
    case ColumnType::Decimal:
      return wrapped("sum(CAST(", *expr.args[0], " AS REAL))");
    default:
      return StatementEmitter::call(expr);
  }
}

void SqliteEmitter::daysBetween(const Expr& expr) {
  // date() drops the time of day, so the difference counts midnights and not periods of 24 hours.
  wrapped("CAST(julianday(date(", *expr.args[1], ")) - ");
  const OpenSymbols open(*this, 4);
  wrapped("julianday(date(", *expr.args[0], ")) AS INTEGER)");
}

// SQLite's own datetime() silently returns NULL for a date after the year 9999; qx_add_time fails.
void SqliteEmitter::addTime(const Expr& expr) {
  out_ += "qx_add_time(";
  list(expr.args, 0, kCallSymbols);
  out_ += ", ";
  out_ += secondsText(expr.unit);
  out_ += ')';
}

// SQLite's CAST turns a text that is no number into 0 and a decimal beyond 64 bits into the nearest
// end of the range; qx_cut refuses both.
void SqliteEmitter::castToWhole(const Expr& argument) {
  if (argument.type == ColumnType::Integer) return wrapped("CAST(", argument, " AS INTEGER)");
  const bool wholeText = dialect_.wholeTexts && argument.type == ColumnType::Text;
  wrapped(wholeText ? "qx_whole_text(" : "qx_cut(", argument, ")");
}

// SQLite ignores a length within CAST AS, hence substr().
void SqliteEmitter::castToText(const Expr& argument, std::optional<int> size) {
  const std::string_view function = textFunction(argument);
  const std::string before(function.empty() ? "CAST(" : function);
  const std::string_view end = function.empty() ? " AS TEXT)" : ")";
  if (!size) return wrapped(before, argument, end);
  wrapped("substr(" + before, argument, end);
  out_ += ", 1, " + std::to_string(*size) + ")";
}

// SQLite's CAST takes the number at the start of a text, or 0; qx_number takes the whole text or
// refuses it.
void SqliteEmitter::castToDecimal(const Expr& argument) {
  const bool text = argument.type == ColumnType::Text;
  wrapped(text ? "CAST(qx_number(" : "CAST(", argument, text ? ") AS REAL)" : " AS REAL)");
}

void SqliteEmitter::datePart(const Expr& expr, std::string_view format) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += "CAST(strftime('";
  out_ += format;
  wrapped("', ", *expr.args[0], ") AS INTEGER)");
}

// SQLite's own substr() counts a negative start from the end of the text and a negative length
// backwards. Literals that are surely positive need no check.
void SqliteEmitter::substring(const Expr& expr) {
  bool plain = isShortWhole(*expr.args[1]) && expr.args[1]->text != "0";
  if (expr.args.size() > 2) plain = plain && isShortWhole(*expr.args[2]);
  substringCall(plain ? "substr(" : "qx_substring(", expr);
}

}  // namespace qx::sql
