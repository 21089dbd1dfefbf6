#include "qxdesk/sql/emitter_expression.h"

#include "qxdesk/sql/numbers.h"
#include "qxdesk/sql/token_cursor.h"
#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::sql {
namespace {

// SQLite limits the depth of an expression to 1000, and in a flat chain of AND or OR each operand
// adds one. Longer chains are written as a balanced tree.
constexpr std::size_t kMaxFlatChain = 100;

}  // namespace

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
    case Function::IsNull:
      return "coalesce";
    case Function::Length:
      return "length";
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

bool isShortWhole(const Expr& expr) {
  return expr.kind == ExprKind::Number && expr.text.size() <= 9 &&
         expr.text.find_first_not_of("0123456789") == std::string::npos;
}

int ExpressionEmitter::strengthOf(const Expr& expr) {
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
      // SQLite's text may be NOT qx_like(...), which binds like any NOT.
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

// PostgreSQL would fold an unquoted name by itself. Names are quoted so that no keyword and no odd
// character has a meaning, and folded here so that case does not count all the same.
void ExpressionEmitter::name(std::string_view name) {
  const std::size_t from = out_.size();
  quoted(name, '"');
  if (!engine_.foldsNames) return;
  for (std::size_t i = from; i < out_.size(); ++i) out_[i] = toLowerAscii(out_[i]);
}

// Doubling the quote is enough: SQLite knows no other escape, and kPostgresSettings makes a
// backslash a plain character.
void ExpressionEmitter::quoted(std::string_view text, char quote) {
  out_ += quote;
  for (const char c : text) {
    if (c == quote) out_ += quote;
    out_ += c;
  }
  out_ += quote;
}

void ExpressionEmitter::separate(std::size_t index) {
  if (index > 0) out_ += ", ";
}

ExpressionEmitter::OpenSymbols::OpenSymbols(ExpressionEmitter& emitter, int symbols)
    : emitter_(emitter), symbols_(symbols) {
  emitter.open_ += symbols;
  if (emitter.open_ > emitter.engine_.maxOpenSymbols) {
    throw SqlError("the statement is nested too deeply; simplify its brackets or subqueries",
                   emitter.at_);
  }
}

void ExpressionEmitter::list(const std::vector<ExprPtr>& values, std::size_t first, int symbols) {
  const OpenSymbols open(*this, symbols);
  for (std::size_t i = first; i < values.size(); ++i) {
    separate(i - first);
    expression(*values[i]);
  }
}

void ExpressionEmitter::operand(const Expr& expr, int strength) {
  bracketed(strengthOf(expr) < strength, [&] { expression(expr); });
}

void ExpressionEmitter::nested(int symbols, const Expr& expr, int strength) {
  const OpenSymbols open(*this, symbols);
  operand(expr, strength);
}

void ExpressionEmitter::expression(const Expr& expr) {
  at_ = expr.at;
  if (isBound(expr) && expr.literal >= 0) {
    const bool negative = expr.kind == ExprKind::Negate;
    return boundValue({.literal = expr.literal, .negative = negative, .type = expr.type});
  }
  switch (expr.kind) {
    case ExprKind::Number:
      number(expr);
      break;
    case ExprKind::Text:
      quoted(expr.text, '\'');
      break;
    case ExprKind::Date:
      date(expr);
      break;
    case ExprKind::Null:
      null(expr);
      break;
    case ExprKind::Column:
      column(expr);
      break;
    case ExprKind::Negate:
      negate(expr);
      break;
    case ExprKind::Plus:
    case ExprKind::Arithmetic:
      arithmetic(expr);
      break;
    case ExprKind::Concat:
      concat(expr);
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

void ExpressionEmitter::boundValue(const BoundValue& value) {
  placeholder(value.type);
  boundValues_.push_back(value);
  boundValues_.back().at = out_.rfind('?');
}

// SQLite reads a number beyond the largest double as infinity and PostgreSQL as a numeric, so the
// same statement would mean two things.
void ExpressionEmitter::number(const Expr& expr) {
  if (!nearestDouble(expr.text))
    throw SqlError("the number is out of range: " + valueExcerpt(expr.text), expr.at);
  out_ += expr.text;
}

void ExpressionEmitter::date(const Expr& expr) { quoted(expr.text, '\''); }

void ExpressionEmitter::null(const Expr& /*expr*/) { out_ += "NULL"; }

// A sign before a sign goes into brackets: -- would begin a comment.
void ExpressionEmitter::negate(const Expr& expr) {
  out_ += '-';
  nested(1, *expr.args[0], kPrimary);
}

// The right operand needs brackets already at equal strength: a - (b - c).
void ExpressionEmitter::arithmetic(const Expr& expr) {
  binary(expr, expr.text, strengthOf(expr), strengthOf(expr) + 1);
}

// || binds tighter than * in SQLite and looser than + in PostgreSQL, so that no operand but a
// primary one may go without brackets.
void ExpressionEmitter::concat(const Expr& expr) {
  textOperand(*expr.args[0], kPrimary);
  out_ += " || ";
  const OpenSymbols open(*this, 2);
  textOperand(*expr.args[1], kPrimary);
}

void ExpressionEmitter::condition(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Compare:
      // kConcat puts a comparison within a comparison into brackets; without them PostgreSQL
      // refuses it.
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

void ExpressionEmitter::column(const Expr& expr) {
  if (!expr.qualifier.empty()) {
    name(expr.qualifier);
    out_ += '.';
  }
  name(expr.text);
}

void ExpressionEmitter::binary(const Expr& expr, std::string_view op, int left, int right) {
  operand(*expr.args[0], left);
  out_ += ' ';
  out_ += op;
  out_ += ' ';
  nested(2, *expr.args[1], right);
}

void ExpressionEmitter::chain(const Expr& expr, std::size_t from, std::size_t to) {
  const bool conjunction = expr.kind == ExprKind::And;
  const std::string_view word = conjunction ? " AND " : " OR ";
  if (to - from > kMaxFlatChain) {
    const std::size_t middle = from + (to - from) / 2;
    const OpenSymbols open(*this, 3);
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

void ExpressionEmitter::in(const Expr& expr) {
  operand(*expr.args[0], kConcat);
  out_ += expr.negated ? " NOT IN " : " IN ";
  if (expr.select) {
    const OpenSymbols open(*this, 2);
    subselect(*expr.select);
    return;
  }
  out_ += '(';
  list(expr.args, 1, 5);
  out_ += ')';
}

// The counts are those of SQLite's grammar, which keeps the pairs so far as one symbol: CASE, the
// operand, the pairs, WHEN, a condition, THEN.
void ExpressionEmitter::caseOf(const Expr& expr) {
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

// The row count of the connection does not limit a subquery, only the rows that a statement
// returns.
void ExpressionEmitter::subselect(const Select& select) {
  const OpenSymbols open(*this, 1);
  out_ += '(';
  selectBody(select, std::nullopt);
  out_ += ')';
}

// ---- functions

void ExpressionEmitter::plainCall(std::string_view function, const Expr& expr) {
  out_ += function;
  out_ += '(';
  list(expr.args, 0, kCallSymbols);
  out_ += ')';
}

void ExpressionEmitter::textCall(std::string_view function, const Expr& expr) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += function;
  out_ += '(';
  for (std::size_t i = 0; i < expr.args.size(); ++i) {
    separate(i);
    textOperand(*expr.args[i], 0);
  }
  out_ += ')';
}

void ExpressionEmitter::substringCall(std::string_view function, const Expr& expr) {
  const OpenSymbols open(*this, kCallSymbols);
  out_ += function;
  textOperand(*expr.args[0], 0);
  for (std::size_t i = 1; i < expr.args.size(); ++i) {
    out_ += ", ";
    position(*expr.args[i]);
  }
  out_ += ')';
}

void ExpressionEmitter::wrapped(std::string_view before, const Expr& argument,
                                std::string_view after) {
  const auto brackets = static_cast<int>(std::count(before.begin(), before.end(), '('));
  const OpenSymbols open(*this, kCallSymbols * std::max(brackets, 1));
  out_ += before;
  expression(argument);
  out_ += after;
}

void ExpressionEmitter::call(const Expr& expr) {
  switch (expr.function) {
    case Function::Count:
      return count(expr);
    case Function::Length:
    case Function::TrimLeft:
    case Function::TrimRight:
    case Function::Replace:
      return textCall(functionText(expr.function), expr);
    case Function::Cast:
      return cast(expr);
    case Function::LengthNoTail:
      // The dialects' LEN passes over blanks at the end, which length() counts on both engines.
      textCall("length(rtrim", expr);
      out_ += ')';
      return;
    default:
      return plainCall(functionText(expr.function), expr);
  }
}

void ExpressionEmitter::count(const Expr& expr) {
  if (expr.star) {
    out_ += "count(*)";
    return;
  }
  wrapped(expr.distinct ? "count(DISTINCT " : "count(", *expr.args[0], ")");
}

// Rounding to the scale is a call of its own, because SQLite ignores the scale of a CAST.
void ExpressionEmitter::cast(const Expr& expr) {
  const Expr& argument = *expr.args[0];
  const std::optional<int> size = expr.target.size;
  switch (expr.target.type) {
    case ColumnType::Text:
      return castToText(argument, size);
    case ColumnType::Integer:
      return castToWhole(argument);
    default:
      if (!size) return castToDecimal(argument);
      const OpenSymbols open(*this, kCallSymbols);
      out_ += "round(";
      castToDecimal(argument);
      out_ += ", " + std::to_string(*size) + ")";
  }
}

bool ExpressionEmitter::mayHaveSets(const Expr& pattern) const {
  const bool literal = pattern.kind == ExprKind::Text;
  return dialect_.likeSets && (!literal || pattern.text.find('[') != std::string::npos);
}

}  // namespace qx::sql
