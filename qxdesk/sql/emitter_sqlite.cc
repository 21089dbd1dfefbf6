#include "qxdesk/sql/emitter_sqlite.h"

#include "qxdesk/sql/numbers.h"

namespace qx::sql {
namespace {

bool hasSets(std::string_view pattern) { return pattern.find('[') != std::string_view::npos; }

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

// Open before the first argument of a function: its name, "(", DISTINCT.
constexpr int kFirstArgumentSymbols = 3;

// A sign before a number is a part of it.
bool isWholeArithmetic(const Expr& expr) {
  if (expr.type != ColumnType::Integer) return false;
  return expr.kind == ExprKind::Arithmetic ||
         (expr.kind == ExprKind::Negate && expr.args[0]->kind != ExprKind::Number);
}

}  // namespace

// SQLite's LIKE knows no sets such as [a-z]: patterns that hold one, or that may, go to a function
// of our own.
void SqliteEmitter::like(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  const bool escape = expr.args.size() > 2;
  const bool sets = traits_.likeSets && (pattern.kind != ExprKind::Text || hasSets(pattern.text));
  if (sets) {
    const Open open(*this, 1);
    textCall(expr.negated ? "NOT qx_like" : "qx_like", expr);
    return;
  }
  textOperand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT LIKE " : " LIKE ";
  const Open open(*this, 2);
  textOperand(pattern, kPrimary);
  if (!escape) return;
  out_ += " ESCAPE ";
  expression(*expr.args[2]);
}

// SQLite by itself takes some numbers for a double next to theirs.
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

// A result that 64 bits do not hold becomes a decimal in SQLite, and so does what is made of it:
// one look at the last result tells.
void SqliteEmitter::checked(const Expr& expr) {
  const Open open(*this, kFirstArgumentSymbols);
  out_ += "qx_whole(";
  unchecked(expr);
  out_ += ')';
}

void SqliteEmitter::unchecked(const Expr& expr) {
  if (expr.kind == ExprKind::Negate) {
    out_ += '-';
    const Open open(*this, 1);
    return uncheckedOperand(*expr.args[0], kPrimary);
  }
  const int strength = strengthOf(expr);
  uncheckedOperand(*expr.args[0], strength);
  out_ += ' ' + expr.text + ' ';
  const Open open(*this, 2);
  uncheckedOperand(*expr.args[1], strength + 1);
}

void SqliteEmitter::uncheckedOperand(const Expr& expr, int strength) {
  if (!isWholeArithmetic(expr)) return operand(expr, strength);
  const bool brackets = strengthOf(expr) < strength;
  const Open open(*this, brackets ? 1 : 0);
  if (brackets) out_ += '(';
  unchecked(expr);
  if (brackets) out_ += ')';
}

// SQLite by itself would write whole decimals with or without a fraction, as it keeps them.
void SqliteEmitter::textOperand(const Expr& expr, int strength) {
  if (expr.type == ColumnType::Decimal) return wrapped("qx_text(", expr, ")");
  operand(expr, strength);
}

void SqliteEmitter::call(const Expr& expr) {
  switch (expr.function) {
    case Function::Now:
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
    case Function::Cast:
      return cast(expr);
    case Function::Sum:
      return sum(expr);
    case Function::Abs:
      if (expr.type != ColumnType::Integer) return StatementEmitter::call(expr);
      return plainCall("qx_abs", expr);
    case Function::AvgWhole:
      return wrapped("CAST(avg(", *expr.args[0], ") AS INTEGER)");
    case Function::Round:
      // A whole number is round, but would come out as a decimal.
      if (expr.type == ColumnType::Integer) return operand(*expr.args[0], kPrimary);
      return StatementEmitter::call(expr);
    case Function::Substring:
      return substring(expr);
    case Function::Upper:
      return textCall("qx_upper", expr);
    case Function::Lower:
      return textCall("qx_lower", expr);
    default:
      return StatementEmitter::call(expr);
  }
}

// SQLite by itself adds decimals that it keeps as whole numbers within 64 bits, and fails on more
// without telling why.
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
  wrapped("CAST(julianday(date(", *expr.args[1], ")) - ");
  const Open open(*this, 4);
  wrapped("julianday(date(", *expr.args[0], ")) AS INTEGER)");
}

// SQLite's own function would yield NULL, silently, for a date beyond the last or the first one.
void SqliteEmitter::addTime(const Expr& expr) {
  out_ += "qx_add_time(";
  list(expr.args, 0, kCallSymbols);
  out_ += ", ";
  out_ += secondsText(expr.unit);
  out_ += ')';
}

void SqliteEmitter::cast(const Expr& expr) {
  const Expr& argument = *expr.args[0];
  const std::optional<int> size = expr.target.size;
  switch (expr.target.type) {
    case ColumnType::Text:
      return castToText(argument, size);
    case ColumnType::Integer:
      if (argument.type == ColumnType::Integer) return wrapped("CAST(", argument, " AS INTEGER)");
      return wrapped("qx_cut(", argument, ")");
    default:
      if (!size) return asReal(argument);
      const Open open(*this, kCallSymbols);
      out_ += "round(";
      asReal(argument);
      out_ += ", " + std::to_string(*size) + ")";
  }
}

void SqliteEmitter::castToText(const Expr& argument, std::optional<int> size) {
  const bool decimal = argument.type == ColumnType::Decimal;
  const std::string_view end = decimal ? ")" : " AS TEXT)";
  if (!size) return wrapped(decimal ? "qx_text(" : "CAST(", argument, end);
  wrapped(decimal ? "substr(qx_text(" : "substr(CAST(", argument, end);
  out_ += ", 1, " + std::to_string(*size) + ")";
}

// SQLite by itself would take the number at the front of a text, or 0.
void SqliteEmitter::asReal(const Expr& argument) {
  const bool text = argument.type == ColumnType::Text;
  wrapped(text ? "CAST(qx_number(" : "CAST(", argument, text ? ") AS REAL)" : " AS REAL)");
}

void SqliteEmitter::datePart(const Expr& expr, std::string_view format) {
  const Open open(*this, kCallSymbols);
  out_ += "CAST(strftime('";
  out_ += format;
  wrapped("', ", *expr.args[0], ") AS INTEGER)");
}

// SQLite's own function counts from the end where the start is negative, and backwards where the
// length is.
void SqliteEmitter::substring(const Expr& expr) {
  bool plain = isShortWhole(*expr.args[1]) && expr.args[1]->text != "0";
  if (expr.args.size() > 2) plain = plain && isShortWhole(*expr.args[2]);
  const Open open(*this, kCallSymbols);
  out_ += plain ? "substr(" : "qx_substring(";
  textOperand(*expr.args[0], 0);
  for (std::size_t i = 1; i < expr.args.size(); ++i) {
    out_ += ", ";
    expression(*expr.args[i]);
  }
  out_ += ')';
}

}  // namespace qx::sql
