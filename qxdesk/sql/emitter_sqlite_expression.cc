#include "qxdesk/sql/emitter_sqlite_expression.h"

#include <algorithm>

namespace qx::sql {
namespace {

// How tightly SQLite binds; a larger number binds tighter.
enum Strength {
  kOr = 1,
  kAnd,
  kNot,
  kPredicate,
  kConcat,  // stronger in SQLite, but always bracketed, so that nobody has to know
  kSum,
  kProduct,
  kSign,
  kPrimary,
};

// Longer chains of AND or OR are written as a balanced tree, since SQLite limits the depth.
constexpr std::size_t kMaxFlatChain = 100;

constexpr int kMaxOpen = 92;
// Open symbols before an argument of a function: its name, "(", DISTINCT, the arguments before,
// ",".
constexpr int kCallSymbols = 5;

bool hasSets(std::string_view pattern) { return pattern.find('[') != std::string_view::npos; }

int strengthOf(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Or:
      return kOr;
    case ExprKind::And:
      return kAnd;
    case ExprKind::Not:
      return kNot;
    case ExprKind::Compare:
    case ExprKind::In:
    case ExprKind::Between:
    case ExprKind::IsNull:
    case ExprKind::Like:
      return expr.negated && expr.kind == ExprKind::Like ? kNot : kPredicate;
    case ExprKind::Concat:
      return kConcat;
    case ExprKind::Plus:
    case ExprKind::Arithmetic:
      return expr.text == "+" || expr.text == "-" ? kSum : kProduct;
    case ExprKind::Negate:
      return kSign;
    default:
      return kPrimary;
  }
}

std::string_view unitText(TimeUnit unit) {
  switch (unit) {
    case TimeUnit::Second:
      return " seconds";
    case TimeUnit::Minute:
      return " minutes";
    case TimeUnit::Hour:
      return " hours";
    default:
      return " days";
  }
}

// A whole number with its sign, as a date modifier takes it; empty for anything else.
std::string signedWhole(const Expr& expr) {
  const bool negative = expr.kind == ExprKind::Negate;
  const Expr& number = negative ? *expr.args[0] : expr;
  const bool whole = number.kind == ExprKind::Number && number.text.size() <= 9 &&
                     number.text.find_first_not_of("0123456789") == std::string::npos;
  return whole ? (negative ? "-" : "+") + number.text : std::string();
}

std::string_view functionText(Function function) {
  switch (function) {
    case Function::Max:
      return "max";
    case Function::Min:
      return "min";
    case Function::Sum:
      return "sum";
    case Function::Avg:
      return "avg";
    case Function::Coalesce:
      return "coalesce";
    case Function::Now:
      return "qx_now";
    case Function::ToDate:
      return "qx_date";
    case Function::Length:
      return "length";
    case Function::Substring:
      return "substr";
    case Function::Upper:
      return "qx_upper";
    case Function::Lower:
      return "qx_lower";
    case Function::TrimLeft:
      return "ltrim";
    case Function::TrimRight:
      return "rtrim";
    case Function::Replace:
      return "replace";
    case Function::Abs:
      return "abs";
    default:
      return "round";
  }
}

}  // namespace

void SqliteExpressionEmitter::name(std::string_view name) { quoted(name, '"'); }

void SqliteExpressionEmitter::quoted(std::string_view text, char quote) {
  out_ += quote;
  for (const char c : text) {
    if (c == quote) out_ += quote;
    out_ += c;
  }
  out_ += quote;
}

void SqliteExpressionEmitter::separate(std::size_t index) {
  if (index > 0) out_ += ", ";
}

SqliteExpressionEmitter::Open::Open(SqliteExpressionEmitter& emitter, int symbols)
    : emitter_(emitter), symbols_(symbols) {
  emitter.open_ += symbols;
  if (emitter.open_ > kMaxOpen) {
    throw SqlError("the statement is nested too deeply; simplify its brackets or subqueries",
                   emitter.at_);
  }
}

// `symbols` are open before each of the values.
void SqliteExpressionEmitter::list(const std::vector<ExprPtr>& values, std::size_t first,
                                   int symbols) {
  const Open open(*this, symbols);
  for (std::size_t i = first; i < values.size(); ++i) {
    separate(i - first);
    expression(*values[i]);
  }
}

void SqliteExpressionEmitter::operand(const Expr& expr, int strength) {
  const bool brackets = strengthOf(expr) < strength;
  const Open open(*this, brackets ? 1 : 0);
  if (brackets) out_ += '(';
  expression(expr);
  if (brackets) out_ += ')';
}

// An operand with so many symbols of its expression open before it.
void SqliteExpressionEmitter::nested(int symbols, const Expr& expr, int strength) {
  const Open open(*this, symbols);
  operand(expr, strength);
}

void SqliteExpressionEmitter::expression(const Expr& expr) {
  at_ = expr.at;
  switch (expr.kind) {
    case ExprKind::Number:
      out_ += expr.text;
      break;
    case ExprKind::Text:
    case ExprKind::Date:
      quoted(expr.text, '\'');
      break;
    case ExprKind::Null:
      out_ += "NULL";
      break;
    case ExprKind::Column:
      column(expr);
      break;
    case ExprKind::Negate:
      out_ += '-';
      nested(1, *expr.args[0], kPrimary);
      break;
    case ExprKind::Plus:
    case ExprKind::Arithmetic:
      binary(expr, expr.text, strengthOf(expr), strengthOf(expr) + 1);
      break;
    case ExprKind::Concat:
      binary(expr, "||", kPrimary, kPrimary);
      break;
    case ExprKind::Case:
      caseOf(expr);
      break;
    case ExprKind::Call:
      call(expr);
      break;
    case ExprKind::Subquery:
      subselect(*expr.select);
      break;
    default:
      condition(expr);
  }
}

void SqliteExpressionEmitter::condition(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Compare:
      binary(expr, expr.text, kConcat, kConcat);
      break;
    case ExprKind::And:
    case ExprKind::Or:
      chain(expr, 0, expr.args.size());
      break;
    case ExprKind::Not:
      out_ += "NOT ";
      nested(1, *expr.args[0], kPredicate);
      break;
    case ExprKind::Like:
      like(expr);
      break;
    case ExprKind::In:
      in(expr);
      break;
    case ExprKind::Between:
      operand(*expr.args[0], kConcat);
      out_ += expr.negated ? " NOT BETWEEN " : " BETWEEN ";
      nested(2, *expr.args[1], kConcat);
      out_ += " AND ";
      nested(4, *expr.args[2], kConcat);
      break;
    case ExprKind::IsNull:
      operand(*expr.args[0], kConcat);
      out_ += expr.negated ? " IS NOT NULL" : " IS NULL";
      break;
    default:
      out_ += "EXISTS ";
      subselect(*expr.select);
  }
}

void SqliteExpressionEmitter::column(const Expr& expr) {
  if (!expr.qualifier.empty()) {
    name(expr.qualifier);
    out_ += '.';
  }
  name(expr.text);
}

void SqliteExpressionEmitter::binary(const Expr& expr, std::string_view op, int left, int right) {
  operand(*expr.args[0], left);
  out_ += ' ';
  out_ += op;
  out_ += ' ';
  nested(2, *expr.args[1], right);
}

void SqliteExpressionEmitter::chain(const Expr& expr, std::size_t from, std::size_t to) {
  const bool conjunction = expr.kind == ExprKind::And;
  const std::string_view word = conjunction ? " AND " : " OR ";
  if (to - from > kMaxFlatChain) {
    const std::size_t middle = from + (to - from) / 2;
    const Open open(*this, 3);
    out_ += '(';
    chain(expr, from, middle);
    out_ += ')';
    out_ += word;
    out_ += '(';
    chain(expr, middle, to);
    out_ += ')';
    return;
  }
  for (std::size_t i = from; i < to; ++i) {
    if (i > from) out_ += word;
    nested(i > from ? 2 : 0, *expr.args[i], conjunction ? kNot : kAnd);
  }
}

// SQLite's LIKE knows no sets such as [a-z]: patterns that hold one, or that may, go to a function
// of our own.
void SqliteExpressionEmitter::like(const Expr& expr) {
  const Expr& pattern = *expr.args[1];
  const bool escape = expr.args.size() > 2;
  const bool sets = traits_.likeSets && (pattern.kind != ExprKind::Text || hasSets(pattern.text));
  if (sets) {
    const Open open(*this, 1);
    plainCall(expr.negated ? "NOT qx_like" : "qx_like", expr);
    return;
  }
  operand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT LIKE " : " LIKE ";
  nested(2, pattern, kPrimary);
  if (!escape) return;
  out_ += " ESCAPE ";
  expression(*expr.args[2]);
}

void SqliteExpressionEmitter::in(const Expr& expr) {
  operand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT IN " : " IN ";
  if (expr.select) {
    const Open open(*this, 2);
    subselect(*expr.select);
    return;
  }
  out_ += '(';
  list(expr.args, 1, 5);
  out_ += ')';
}

void SqliteExpressionEmitter::caseOf(const Expr& expr) {
  out_ += "CASE";
  std::size_t next = 0;
  if (expr.hasOperand) {
    out_ += ' ';
    nested(1, *expr.args[next++], 0);
  }
  const std::size_t end = expr.args.size() - (expr.hasElse ? 1 : 0);
  for (; next < end; next += 2) {
    out_ += " WHEN ";
    nested(4, *expr.args[next], 0);
    out_ += " THEN ";
    nested(6, *expr.args[next + 1], 0);
  }
  if (expr.hasElse) {
    out_ += " ELSE ";
    nested(4, *expr.args.back(), 0);
  }
  out_ += " END";
}

void SqliteExpressionEmitter::subselect(const Select& select) {
  const Open open(*this, 1);
  out_ += '(';
  selectBody(select, std::nullopt);
  out_ += ')';
}

// ---- functions

void SqliteExpressionEmitter::plainCall(std::string_view function, const Expr& expr) {
  out_ += function;
  out_ += '(';
  list(expr.args, 0, kCallSymbols);
  out_ += ')';
}

void SqliteExpressionEmitter::wrapped(std::string_view before, const Expr& argument,
                                      std::string_view after) {
  const auto brackets = static_cast<int>(std::count(before.begin(), before.end(), '('));
  const Open open(*this, kCallSymbols * std::max(brackets, 1));
  out_ += before;
  expression(argument);
  out_ += after;
}

void SqliteExpressionEmitter::call(const Expr& expr) {
  switch (expr.function) {
    case Function::Count:
      return count(expr);
    case Function::Today:
      out_ += "datetime(qx_now(), 'start of day')";
      return;
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
    case Function::AvgWhole:
      return wrapped("CAST(avg(", *expr.args[0], ") AS INTEGER)");
    case Function::LengthNoTail:
      return wrapped("length(rtrim(", *expr.args[0], "))");
    default:
      return plainCall(functionText(expr.function), expr);
  }
}

void SqliteExpressionEmitter::count(const Expr& expr) {
  if (expr.star) {
    out_ += "count(*)";
    return;
  }
  wrapped(expr.distinct ? "count(DISTINCT " : "count(", *expr.args[0], ")");
}

void SqliteExpressionEmitter::daysBetween(const Expr& expr) {
  wrapped("CAST(julianday(date(", *expr.args[1], ")) - ");
  const Open open(*this, 4);
  wrapped("julianday(date(", *expr.args[0], ")) AS INTEGER)");
}

void SqliteExpressionEmitter::addTime(const Expr& expr) {
  wrapped("datetime(", *expr.args[0], ", ");
  const std::string amount = signedWhole(*expr.args[1]);
  const std::string unit(unitText(expr.unit));
  if (!amount.empty() && expr.unit != TimeUnit::Week) {
    out_ += "'" + amount + unit + "')";
    return;
  }
  const Open open(*this, kCallSymbols);
  const bool weeks = expr.unit == TimeUnit::Week;
  wrapped(weeks ? "(CAST(" : "CAST(", *expr.args[1], weeks ? " AS INTEGER) * 7)" : " AS INTEGER)");
  out_ += " || '" + unit + "')";
}

void SqliteExpressionEmitter::cast(const Expr& expr) {
  const Expr& argument = *expr.args[0];
  const std::optional<int> size = expr.target.size;
  switch (expr.target.type) {
    case ColumnType::Text:
      if (!size) return wrapped("CAST(", argument, " AS TEXT)");
      return wrapped("substr(CAST(", argument, " AS TEXT), 1, " + std::to_string(*size) + ")");
    case ColumnType::Integer:
      return wrapped("CAST(", argument, " AS INTEGER)");
    default:
      if (!size) return wrapped("CAST(", argument, " AS REAL)");
      return wrapped("round(CAST(", argument, " AS REAL), " + std::to_string(*size) + ")");
  }
}

void SqliteExpressionEmitter::datePart(const Expr& expr, std::string_view format) {
  const Open open(*this, kCallSymbols);
  out_ += "CAST(strftime('";
  out_ += format;
  wrapped("', ", *expr.args[0], ") AS INTEGER)");
}

}  // namespace qx::sql
