#include "qxdesk/dictionary/field_type.h"

#include "qxdesk/engines/company_error.h"
#include "qxdesk/sql/dates.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <charconv>

namespace qx::desk {

namespace {

[[noreturn]] void refuse(Text text, const FieldShape& shape, const std::string& detail) {
  throw CompanyError(kInvalidValue, text, shape.name, detail);
}

void checkSize(const FieldShape& shape, long largest) {
  if (shape.size < 1 || shape.size > largest) {
    refuse(Text::SizeOutOfRange, shape, std::to_string(largest));
  }
}

bool isTime(const FieldShape& shape) {
  return shape.type == kDateField && shape.subType == kTimeSubType;
}

ColumnLayout bareColumn(const FieldShape& shape) {
  const std::string name = columnName(shape.name);
  // Before the types: a time of day has the type of a date.
  if (isTime(shape)) return smallIntegerColumn(name);
  switch (shape.type) {
    case kMemoField:
      return memoColumn(name);
    case kNumericField:
      return integerColumn(name);
    case kDateField:
      return dateColumn(name);
    case kFloatField:
      return decimalColumn(name);
    default:
      return textColumn(name, shape.size);
  }
}

// A memo has no limit; the size of an alpha field counts UTF-16 units, as the host counts them.
ColumnDefault textDefault(const FieldShape& shape) {
  if (shape.type == kAlphaField &&
      toUtf16(shape.defaultValue).size() > static_cast<std::size_t>(shape.size)) {
    refuse(Text::DefaultTooLong, shape, std::to_string(shape.size));
  }
  return {ColumnDefault::Kind::Text, shape.defaultValue};
}

template <class Number>
ColumnDefault numberDefault(const FieldShape& shape) {
  const std::string_view text = trimmed(shape.defaultValue);
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  // The text becomes part of a CREATE TABLE, so nothing but one number may pass; from_chars also
  // reads "inf" and "nan".
  const bool finite = text.find_first_of("iInN") == std::string_view::npos;
  if (!whole || !finite) refuse(Text::DefaultNotNumber, shape, shape.defaultValue);
  return {ColumnDefault::Kind::Number, std::string(text)};
}

ColumnDefault dateDefault(const FieldShape& shape) {
  if (isCurrentTime(shape.defaultValue)) return {ColumnDefault::Kind::CurrentTime, {}};
  const std::optional<std::string> date = sql::storedDate(shape.defaultValue);
  if (!date) refuse(Text::DefaultNotDate, shape, shape.defaultValue);
  return {ColumnDefault::Kind::Date, *date};
}

// Reads "930", "0930" or "09:30".
ColumnDefault timeDefault(const FieldShape& shape) {
  constexpr std::size_t kMaxDigits = 4;
  std::string digits(trimmed(shape.defaultValue));
  std::erase(digits, ':');
  const bool number = !digits.empty() && digits.size() <= kMaxDigits &&
                      digits.find_first_not_of("0123456789") == std::string::npos;
  const int value = number ? std::stoi(digits) : -1;
  if (value < 0 || value / 100 > 23 || value % 100 > 59) {
    refuse(Text::DefaultNotTime, shape, shape.defaultValue);
  }
  return {ColumnDefault::Kind::Number, std::to_string(value)};
}

ColumnDefault defaultOf(const FieldShape& shape) {
  if (isTime(shape)) return timeDefault(shape);
  switch (shape.type) {
    case kNumericField:
      return numberDefault<std::int64_t>(shape);
    case kDateField:
      return dateDefault(shape);
    case kFloatField:
      return numberDefault<double>(shape);
    default:
      return textDefault(shape);
  }
}

}  // namespace

void checkShape(FieldShape& shape) {
  if (shape.type < kAlphaField || shape.type > kFloatField) {
    throw CompanyError(kInvalidValue, Text::UnknownFieldType, shape.name,
                       std::to_string(shape.type));
  }
  if (shape.type == kAlphaField) checkSize(shape, kMaxAlphaSize);
  if (shape.type == kNumericField) {
    if (shape.size == 0) shape.size = kMaxNumericSize;
    checkSize(shape, kMaxNumericSize);
  }
}

std::string columnName(std::string_view field) { return "U_" + std::string(field); }

ColumnLayout columnOf(const FieldShape& shape) {
  ColumnLayout column = bareColumn(shape);
  if (shape.mandatory) column = notNull(std::move(column));
  if (!shape.defaultValue.empty()) column.byDefault = defaultOf(shape);
  return column;
}

bool isCurrentTime(std::string_view defaultValue) {
  static constexpr std::string_view kForms[] = {"GETDATE()", "CURRENT_TIMESTAMP",
                                                "CURRENT TIMESTAMP"};
  const std::string_view text = trimmed(defaultValue);
  return std::any_of(std::begin(kForms), std::end(kForms),
                     [&](std::string_view form) { return sameName(form, text); });
}

}  // namespace qx::desk
