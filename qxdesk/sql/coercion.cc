#include "qxdesk/sql/coercion.h"

#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/numbers.h"
#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/token_cursor.h"
#include "qxframework/automation/ascii.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qx::sql {
namespace {

ExprPtr makeNode(ExprKind kind, Position at, ColumnType type) {
  auto node = std::make_unique<Expr>();
  node->kind = kind;
  node->at = at;
  node->type = type;
  return node;
}

ExprPtr makeCall(Function function, ExprPtr operand) {
  ExprPtr call = makeNode(ExprKind::Call, operand->at, ColumnType::Unknown);
  call->function = function;
  call->height = operand->height + 1;
  call->args.push_back(std::move(operand));
  return call;
}

// Returns the number of digits from `from` on.
std::size_t digitsAt(std::string_view text, std::size_t from) {
  std::size_t end = from;
  while (end < text.size() && isDigit(text[end])) ++end;
  return end - from;
}

// Returns the length of the number without a sign that starts the text; 0 if none does. Written out
// here because every library function accepts more: hexadecimal digits, "inf", a locale's point.
std::size_t numberLength(std::string_view text) {
  const std::size_t whole = digitsAt(text, 0);
  std::size_t end = whole;
  std::size_t fraction = 0;
  if (end < text.size() && text[end] == '.') {
    fraction = digitsAt(text, end + 1);
    end += 1 + fraction;
  }
  if (whole + fraction == 0) return 0;
  if (end == text.size() || (text[end] != 'e' && text[end] != 'E')) return end;
  std::size_t exponent = end + 1;
  if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
  const std::size_t digits = digitsAt(text, exponent);
  return digits == 0 ? end : exponent + digits;
}

std::string_view withoutSign(std::string_view text) {
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  return text;
}

// Returns the literal that a text spells, which must be a number. A sign becomes a node of its own,
// as the parser would make it.
ExprPtr spelledNumber(std::string_view text, Position at) {
  const std::string_view number = trimmed(text);
  const std::string_view rest = withoutSign(number);
  const bool whole = isWholeNumber(rest);
  ExprPtr literal =
      makeNode(ExprKind::Number, at, whole ? ColumnType::Integer : ColumnType::Decimal);
  literal->text = rest;
  if (number.front() != '-') return literal;
  ExprPtr result = makeNode(ExprKind::Negate, at, literal->type);
  result->height = 2;
  result->args.push_back(std::move(literal));
  return result;
}

// Returns a number literal as text. A whole number loses its leading zeros: a column that holds '7'
// equals 007 in every dialect.
std::string spelling(const Expr& number) {
  if (number.kind == ExprKind::Negate) return "-" + spelling(*number.args[0]);
  if (!isWholeNumber(number.text)) return number.text;
  const std::size_t first = number.text.find_first_not_of('0');
  return first == std::string::npos ? "0" : number.text.substr(first);
}

// True for a number literal with one sign at most. -(-5) is a literal too, but its digits and signs
// are no text for it.
bool isSpelled(const Expr& expr) {
  if (expr.kind == ExprKind::Negate) return expr.args[0]->kind == ExprKind::Number;
  return expr.kind == ExprKind::Number;
}

void spell(ExprPtr& number) {
  ExprPtr text = makeNode(ExprKind::Text, number->at, ColumnType::Text);
  text->text = spelling(*number);
  number = std::move(text);
}

// Returns the type that a text takes beside a number of `type`.
ColumnType numberBeside(const DialectTraits& dialect, ColumnType type) {
  return dialect.wholeTexts ? type : ColumnType::Decimal;
}

// Makes a number of a literal text. Returns false if it spells none, or none of `type`. A blank
// text is the whole number 0 in the dialects that take whole numbers only.
bool readLiteral(ColumnType type, ExprPtr& text) {
  const bool whole = type == ColumnType::Integer;
  const bool blank = whole && trimmed(text->text).empty();
  if (!blank && !(whole ? spellsWholeNumber(text->text) : spellsNumber(text->text))) return false;
  text = spelledNumber(blank ? "0" : text->text, text->at);
  return true;
}

[[noreturn]] void failDateMeetsNumber(const Expr& number) {
  // The number of a date counts from a day that differs between the dialects.
  throw SqlError("a number meets a date here; write the date as '20240131', or use a date function",
                 number.at);
}

// The names that wrap() gives to a column without one and to the derived table. No statement of an
// add-on has them by chance.
constexpr std::string_view kWrappedColumn = "qx value";
constexpr std::string_view kWrappedRows = "qx rows";

// Makes a SELECT of one column the derived table of a new SELECT, which lists that column. A
// conversion in the new list does not touch the order within the derived table, which may decide
// the rows of a TOP. It also lets PostgreSQL sort a DISTINCT list by the column as it was.
void wrap(Select& rows) {
  SelectItem& inner = rows.cores.front().items.front();
  const bool named = inner.alias || inner.value->kind == ExprKind::Column;
  if (!named) inner.alias = kWrappedColumn;
  ExprPtr value = makeNode(ExprKind::Column, inner.at, unitedType(rows, 0));
  value->text = inner.alias ? *inner.alias : inner.value->text;
  SelectCore outer;
  outer.at = rows.cores.front().at;
  outer.items.emplace_back();
  outer.items.back().value = std::move(value);
  outer.items.back().at = inner.at;
  outer.from.emplace_back();
  outer.from.back().alias = kWrappedRows;
  outer.from.back().derived = std::make_unique<Select>(std::move(rows));
  rows = Select{};
  rows.cores.push_back(std::move(outer));
}

// Converts the texts in the only column of a subquery. The type of a * is unknown, so it is never a
// text.
template <typename Convert>
void convertRows(Select& rows, Convert convert) {
  if (!rows.orderBy.empty()) wrap(rows);
  for (SelectCore& core : rows.cores) {
    ExprPtr& value = core.items.front().value;
    if (value && value->type == ColumnType::Text) convert(value);
  }
}

[[noreturn]] void failAssignment(std::string_view column, std::string_view takes,
                                 const std::string& value, Position at) {
  throw SqlError(
      "the column " + std::string(column) + " takes " + std::string(takes) + ", not " + value, at);
}

void assignToNumber(const DialectTraits& dialect, std::string_view column, ColumnType type,
                    ExprPtr& value) {
  if (value->type == ColumnType::Date) failAssignment(column, "a number", "a date", value->at);
  if (value->kind == ExprKind::Text && !readLiteral(numberBeside(dialect, type), value)) {
    const bool whole = type == ColumnType::Integer && spellsNumber(value->text);
    failAssignment(column, whole ? "a whole number" : "a number", "'" + value->text + "'",
                   value->at);
  }
  // SQLite would store the fraction in a column of whole numbers, PostgreSQL would round it; the
  // dialects cut it, as their casts do.
  const bool cut = type == ColumnType::Integer && value->type == ColumnType::Decimal;
  if (cut || value->type == ColumnType::Text) castTo(type, value);
}

void assignToDate(std::string_view column, ExprPtr& value) {
  constexpr std::string_view kForms = "a date, such as '20240131' or '2024-01-31 10:59:00'";
  // The number of a date counts from a day that differs between the dialects.
  if (isNumber(value->type)) {
    const std::string number = isSpelled(*value) ? "the number " + spelling(*value) : "a number";
    failAssignment(column, kForms, number, value->at);
  }
  if (value->type != ColumnType::Text) return;
  if (value->kind == ExprKind::Text && !storedDate(value->text)) {
    failAssignment(column, kForms, "'" + value->text + "'", value->at);
  }
  toDate(value);
}

// The engines' own conversions differ: SQLite writes a decimal as it keeps it, with or without a
// fraction, and PostgreSQL with its trailing zeros.
void assignToText(ExprPtr& value) {
  if (isNumber(value->type) && isSpelled(*value)) {
    spell(value);
  } else if (isNumber(value->type) || value->type == ColumnType::Date) {
    castTo(ColumnType::Text, value);
  }
}

}  // namespace

bool spellsNumber(std::string_view text) {
  const std::string_view rest = withoutSign(trimmed(text));
  return !rest.empty() && numberLength(rest) == rest.size();
}

bool spellsWholeNumber(std::string_view text) {
  const std::string_view rest = withoutSign(trimmed(text));
  return !rest.empty() && isWholeNumber(rest);
}

std::string notTheNumber(std::string_view text) {
  return (spellsNumber(text) ? "not a whole number: '" : "not a number: '") + valueExcerpt(text) +
         "'";
}

bool isLiteral(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Number:
    case ExprKind::Text:
    case ExprKind::Date:
    case ExprKind::Null:
      return true;
    case ExprKind::Negate:
      return isLiteral(*expr.args[0]);
    default:
      return false;
  }
}

void typeNull(Expr& value, ColumnType type) {
  // The first type stays: it is that of the innermost place.
  if (value.kind == ExprKind::Null && value.type == ColumnType::Unknown) value.type = type;
}

void castTo(ColumnType type, ExprPtr& value) {
  value = makeCall(Function::Cast, std::move(value));
  value->target.type = type;
  value->type = type;
}

// SQLite compares dates as texts. Both sides must have the stored form, or '20240131' would come
// after '2024-02-01 00:00:00'.
void toDate(ExprPtr& value) {
  if (value->kind == ExprKind::Text) {
    const std::optional<std::string> date = storedDate(value->text);
    if (!date) throw SqlError("not a date: '" + valueExcerpt(value->text) + "'", value->at);
    value->kind = ExprKind::Date;
    value->text = *date;
  } else {
    value = makeCall(Function::ToDate, std::move(value));
  }
  value->type = ColumnType::Date;
}

void toNumber(const DialectTraits& dialect, ColumnType type, ExprPtr& text, std::string_view hint) {
  const ColumnType target = numberBeside(dialect, type);
  if (text->kind != ExprKind::Text) return castTo(target, text);
  if (readLiteral(target, text)) return;
  throw SqlError(notTheNumber(text->text) + std::string(hint), text->at);
}

void bringTogether(const DialectTraits& dialect, const std::vector<ExprPtr*>& values) {
  ColumnType numbers = ColumnType::Unknown;
  const Expr* number = nullptr;
  bool dates = false;
  for (const ExprPtr* value : values) {
    const ColumnType type = (*value)->type;
    dates = dates || type == ColumnType::Date;
    if (!isNumber(type)) continue;
    numbers = commonType(numbers, type);
    if (number == nullptr) number = value->get();
  }
  if (dates && number != nullptr) failDateMeetsNumber(*number);
  if (!dates && number == nullptr) return;
  for (ExprPtr* value : values) {
    if ((*value)->type != ColumnType::Text) continue;
    if (dates) {
      toDate(*value);
    } else {
      toNumber(dialect, numbers, *value);
    }
  }
}

void bringToRows(const DialectTraits& dialect, ExprPtr& value, Select& rows) {
  if (!rows.cores.front().items.front().value) return;
  const ColumnType own = value->type;
  const ColumnType other = unitedType(rows, 0);
  // PostgreSQL takes the rows of SELECT NULL for texts.
  for (SelectCore& core : rows.cores) {
    if (core.items.front().value) typeNull(*core.items.front().value, own);
  }
  const bool date = own == ColumnType::Date || other == ColumnType::Date;
  if (date && (isNumber(own) || isNumber(other))) failDateMeetsNumber(*value);
  if (own == ColumnType::Text && date) {
    toDate(value);
  } else if (own == ColumnType::Text && isNumber(other)) {
    toNumber(dialect, other, value);
  } else if (other == ColumnType::Text && date) {
    convertRows(rows, toDate);
  } else if (other == ColumnType::Text && isNumber(own)) {
    convertRows(rows, [&](ExprPtr& text) { toNumber(dialect, own, text); });
  }
}

void follow(const DialectTraits& dialect, ColumnType type, ExprPtr& value) {
  const bool date = type == ColumnType::Date;
  if (date && isNumber(value->type)) failDateMeetsNumber(*value);
  if (isNumber(type) && value->type == ColumnType::Date) failDateMeetsNumber(*value);
  if (date && value->type == ColumnType::Text) toDate(value);
  if (isNumber(type) && value->type == ColumnType::Text) toNumber(dialect, type, value);
  if (type == ColumnType::Integer && value->type == ColumnType::Decimal) castTo(type, value);
  if (type == ColumnType::Text) assignToText(value);
}

void assignTo(const DialectTraits& dialect, std::string_view column, ColumnType type,
              ExprPtr& value) {
  if (type == ColumnType::Date) assignToDate(column, value);
  if (isNumber(type)) assignToNumber(dialect, column, type, value);
  if (type == ColumnType::Text) assignToText(value);
}

void requireNumber(ExprPtr& value, std::string_view what) {
  // PostgreSQL refuses SUM of a NULL without a type.
  typeNull(*value, ColumnType::Decimal);
  if (value->type == ColumnType::Date) {
    throw SqlError(std::string(what) + " takes numbers, not dates", value->at);
  }
  if (value->type != ColumnType::Text) return;
  if (value->kind == ExprKind::Text) {
    if (readLiteral(ColumnType::Decimal, value)) return;
    throw SqlError(notTheNumber(value->text), value->at);
  }
  throw SqlError(std::string(what) + " takes numbers; CAST the text to one", value->at);
}

void requireDate(ExprPtr& value) {
  if (isNumber(value->type)) {
    throw SqlError("a date is expected here, not a number", value->at);
  }
  if (value->type == ColumnType::Text) toDate(value);
}

}  // namespace qx::sql
