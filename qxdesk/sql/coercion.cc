#include "qxdesk/sql/coercion.h"

#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/numbers.h"
#include "qxdesk/sql/output_columns.h"
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

// Returns the literal that a text spells; null if it spells no number. A sign becomes a node of its
// own, as the parser would make it.
ExprPtr spelledNumber(const Expr& text) {
  if (!spellsNumber(text.text)) return nullptr;
  const std::string_view number = trimmed(text.text);
  const std::string_view rest = withoutSign(number);
  const bool whole = isWholeNumber(rest);
  ExprPtr literal =
      makeNode(ExprKind::Number, text.at, whole ? ColumnType::Integer : ColumnType::Decimal);
  literal->text = rest;
  if (number.front() != '-') return literal;
  ExprPtr result = makeNode(ExprKind::Negate, text.at, literal->type);
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

bool isSpelledWhole(const Expr& expr) {
  return isSpelled(expr) && expr.type == ColumnType::Integer;
}

void spell(ExprPtr& number) {
  ExprPtr text = makeNode(ExprKind::Text, number->at, ColumnType::Text);
  text->text = spelling(*number);
  number = std::move(text);
}

void toNumber(ExprPtr& text) {
  ExprPtr number = spelledNumber(*text);
  if (!number) throw SqlError("not a number: '" + text->text + "'", text->at);
  text = std::move(number);
}

[[noreturn]] void failMixed(const std::vector<ExprPtr*>& values, std::string_view kind) {
  const auto number = std::find_if(values.begin(), values.end(),
                                   [](const ExprPtr* value) { return isNumber((*value)->type); });
  throw SqlError("a number meets a " + std::string(kind) + " here; CAST one of them",
                 (**number)->at);
}

// Returns whether the literals have to follow the texts; otherwise they follow the numbers. A value
// that is no literal decides, since it cannot change. Between literals numbers decide, unless one
// of them is to be chosen and a text spells no number: COALESCE(5, 'none') has to be a text.
bool textsDecide(const std::vector<ExprPtr*>& values, Meeting meeting) {
  bool text = false;
  bool number = false;
  bool spelled = true;
  for (const ExprPtr* pointer : values) {
    const Expr& value = **pointer;
    // -(-5) counts as no literal here, see isSpelled().
    const bool isText = value.type == ColumnType::Text;
    text = text || (isText && value.kind != ExprKind::Text);
    number = number || (isNumber(value.type) && !isSpelled(value));
    spelled = spelled && (!isText || (value.kind == ExprKind::Text && spelledNumber(value)));
  }
  if (text && number) failMixed(values, "text");
  return text || (!number && meeting == Meeting::Choice && !spelled);
}

void followTexts(const std::vector<ExprPtr*>& values, Meeting meeting) {
  for (ExprPtr* value : values) {
    if (!isNumber((*value)->type)) continue;
    // A decimal has several spellings, 1.5 and 1.50, of which a text holds only one. Order by text
    // is not order by number.
    if (!isSpelledWhole(**value) || meeting == Meeting::Ordered) failMixed(values, "text");
    spell(*value);
  }
}

void bringNumbersTogether(const std::vector<ExprPtr*>& values, Meeting meeting) {
  if (textsDecide(values, meeting)) return followTexts(values, meeting);
  for (ExprPtr* value : values) {
    if ((*value)->type == ColumnType::Text) toNumber(*value);
  }
}

void assignToNumber(std::string_view column, ColumnType type, ExprPtr& value) {
  if (value->kind == ExprKind::Text) {
    ExprPtr number = spelledNumber(*value);
    if (!number) {
      throw SqlError(
          "the column " + std::string(column) + " takes a number, not '" + value->text + "'",
          value->at);
    }
    value = std::move(number);
  }
  // SQLite would store the fraction in a column of whole numbers, PostgreSQL would round it; the
  // dialects cut it, as their casts do.
  const bool cut = type == ColumnType::Integer && value->type == ColumnType::Decimal;
  if (cut || value->type == ColumnType::Text) castTo(type, value);
}

// Converts the only column of a subquery. The type of a * is unknown, so it is never a text.
void rowsToDates(Select& rows) {
  for (SelectCore& core : rows.cores) {
    ExprPtr& value = core.items.front().value;
    if (value && value->type == ColumnType::Text) toDate(value);
  }
}

// The engines' own conversions differ: SQLite writes a decimal as it keeps it, with or without a
// fraction, and PostgreSQL with its trailing zeros.
void assignToText(ExprPtr& value) {
  if (!isNumber(value->type)) return;
  if (isSpelled(*value)) {
    spell(value);
  } else {
    castTo(ColumnType::Text, value);
  }
}

}  // namespace

bool spellsNumber(std::string_view text) {
  const std::string_view rest = withoutSign(trimmed(text));
  return !rest.empty() && numberLength(rest) == rest.size();
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
    if (!date) throw SqlError("not a date: '" + value->text + "'", value->at);
    value->kind = ExprKind::Date;
    value->text = *date;
  } else {
    value = makeCall(Function::ToDate, std::move(value));
  }
  value->type = ColumnType::Date;
}

void bringTogether(const std::vector<ExprPtr*>& values, Meeting meeting) {
  const auto any = [&values](auto is) {
    return std::any_of(values.begin(), values.end(),
                       [&is](const ExprPtr* value) { return is((*value)->type); });
  };
  const bool numbers = any(isNumber);
  const bool texts = any([](ColumnType type) { return type == ColumnType::Text; });
  if (any([](ColumnType type) { return type == ColumnType::Date; })) {
    // The number of a date counts from a day that differs between the dialects.
    if (numbers) failMixed(values, "date");
    for (ExprPtr* value : values) {
      if ((*value)->type == ColumnType::Text) toDate(*value);
    }
  } else if (numbers && texts) {
    bringNumbersTogether(values, meeting);
  }
}

void bringToRows(ExprPtr& value, Select& rows) {
  if (!rows.cores.front().items.front().value) return;
  const ColumnType other = unitedType(rows, 0);
  if (value->type == ColumnType::Unknown || other == ColumnType::Unknown) return;
  // No literal follows the others, unlike in bringTogether(): only the common type of the rows is
  // known here, not which of them are literals.
  if (isNumber(value->type) != isNumber(other)) {
    const ColumnType kind = isNumber(value->type) ? other : value->type;
    throw SqlError(std::string("a number meets a ") + (kind == ColumnType::Date ? "date" : "text") +
                       " here; CAST one of them",
                   value->at);
  }
  if (value->type == ColumnType::Text && other == ColumnType::Date) toDate(value);
  if (value->type == ColumnType::Date && other == ColumnType::Text) rowsToDates(rows);
}

void assignTo(std::string_view column, ColumnType type, ExprPtr& value) {
  if (type == ColumnType::Date && value->type == ColumnType::Text) toDate(value);
  if (isNumber(type)) assignToNumber(column, type, value);
  if (type == ColumnType::Text) assignToText(value);
}

void requireNumber(ExprPtr& value, std::string_view what) {
  // PostgreSQL refuses SUM of a NULL without a type.
  typeNull(*value, ColumnType::Decimal);
  if (value->type == ColumnType::Date) {
    throw SqlError(std::string(what) + " takes numbers, not dates", value->at);
  }
  if (value->type != ColumnType::Text) return;
  if (value->kind == ExprKind::Text) return toNumber(value);
  throw SqlError(std::string(what) + " takes numbers; CAST the text to one", value->at);
}

void requireDate(ExprPtr& value) {
  if (isNumber(value->type)) {
    throw SqlError("a date is expected here, not a number", value->at);
  }
  if (value->type == ColumnType::Text) toDate(value);
}

}  // namespace qx::sql
