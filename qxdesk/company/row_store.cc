#include "qxdesk/company/row_store.h"

#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace qx::desk {

namespace {

CComVariant integerValue(std::int64_t value) {
  const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                    value <= std::numeric_limits<std::int32_t>::max();
  return fits ? CComVariant(static_cast<long>(value)) : CComVariant(static_cast<double>(value));
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

CComVariant textValue(std::string_view utf8) {
  if (!isAscii(utf8)) return CComVariant(std::u16string_view(toUtf16(utf8)));
  CComVariant value;
  value.bstrVal = SysAllocStringLen(nullptr, static_cast<UINT>(utf8.size()));
  if (value.bstrVal == nullptr) raiseError(E_OUTOFMEMORY);
  value.vt = VT_BSTR;
  std::copy(utf8.begin(), utf8.end(), value.bstrVal);
  return value;
}

template <class Number>
CComVariant numberText(Number number) {
  std::array<char, 40> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return textValue({text.data(), static_cast<std::size_t>(end - text.data())});
}

// The text as it stands where it is no number, as a table may hold that this component did not
// make.
CComVariant numberOfText(std::string_view text, sql::ColumnType type) {
  double real = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), real);
  if (error != std::errc() || end != text.data() + text.size()) return textValue(text);
  const bool whole = type == sql::ColumnType::Integer && real == std::trunc(real) &&
                     std::abs(real) <= std::numeric_limits<std::int32_t>::max();
  return whole ? CComVariant(static_cast<long>(real)) : CComVariant(real);
}

CComVariant fromInteger(std::int64_t value, sql::ColumnType type) {
  if (type == sql::ColumnType::Text) return numberText(value);
  if (type == sql::ColumnType::Decimal) return CComVariant(static_cast<double>(value));
  return integerValue(value);
}

CComVariant fromReal(double value, sql::ColumnType type) {
  if (type == sql::ColumnType::Text) return numberText(value);
  // An engine may give a sum of whole numbers a wider type.
  const bool whole = type == sql::ColumnType::Integer && value == std::trunc(value) &&
                     std::abs(value) <= std::numeric_limits<std::int32_t>::max();
  return whole ? CComVariant(static_cast<long>(value)) : CComVariant(value);
}

CComVariant fromText(std::string_view text, sql::ColumnType type) {
  switch (type) {
    case sql::ColumnType::Date:
      if (const std::optional<DATE> date = dateOfStored(text)) return CComVariant(*date, VT_DATE);
      return textValue(text);
    case sql::ColumnType::Integer:
    case sql::ColumnType::Decimal:
      return numberOfText(text, type);
    default:
      return textValue(text);
  }
}

std::optional<int> digits(std::string_view text, std::size_t first, std::size_t count) {
  int value = 0;
  const char* begin = text.data() + first;
  const auto [end, error] = std::from_chars(begin, begin + count, value);
  if (error != std::errc() || end != begin + count || *begin == '-') return std::nullopt;
  return value;
}

}  // namespace

void RowStore::append(const Statement& statement) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const int column = static_cast<int>(i);
    switch (statement.storage(column)) {
      case Storage::Null:
        appendNull();
        break;
      case Storage::Integer:
        appendInteger(statement.integer(column));
        break;
      case Storage::Real:
        appendReal(statement.real(column));
        break;
      case Storage::Text:
        appendText(statement.text(column));
        break;
    }
  }
}

void RowStore::appendNull() { cells_.emplace_back(); }

void RowStore::appendInteger(std::int64_t value) {
  cells_.push_back({static_cast<std::uint64_t>(value), 0, Storage::Integer});
}

void RowStore::appendReal(double value) {
  cells_.push_back({std::bit_cast<std::uint64_t>(value), 0, Storage::Real});
}

void RowStore::appendText(std::string_view utf8) {
  cells_.push_back({arena_.size(), static_cast<std::uint32_t>(utf8.size()), Storage::Text});
  arena_ += utf8;
}

std::size_t RowStore::find(std::u16string_view name) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(), [&](const RowColumn& column) {
    return equalsIgnoreCase(column.name, name);
  });
  return static_cast<std::size_t>(found - columns_.begin());
}

CComVariant RowStore::value(std::size_t row, std::size_t column) const {
  const Cell& cell = cells_[row * columns_.size() + column];
  const sql::ColumnType type = columns_[column].type;
  switch (cell.storage) {
    case Storage::Integer:
      return fromInteger(static_cast<std::int64_t>(cell.bits), type);
    case Storage::Real:
      return fromReal(std::bit_cast<double>(cell.bits), type);
    case Storage::Text:
      return fromText(textOf(cell), type);
    default:
      return emptyValue(column);
  }
}

CComVariant RowStore::emptyValue(std::size_t column) const {
  switch (columns_[column].type) {
    case sql::ColumnType::Integer:
      return CComVariant(0L);
    case sql::ColumnType::Decimal:
      return CComVariant(0.0);
    case sql::ColumnType::Date:
      return CComVariant(0.0, VT_DATE);
    default:
      return textValue({});
  }
}

std::string_view RowStore::textOf(const Cell& cell) const {
  return std::string_view(arena_).substr(static_cast<std::size_t>(cell.bits), cell.length);
}

std::optional<DATE> dateOfStored(std::string_view text) {
  constexpr std::size_t kDateLength = 10;
  constexpr std::size_t kFullLength = 19;
  if (text.size() != kFullLength && text.size() != kDateLength) return std::nullopt;
  if (text[4] != '-' || text[7] != '-') return std::nullopt;
  const bool timed = text.size() == kFullLength;
  if (timed && (text[10] != ' ' || text[13] != ':' || text[16] != ':')) return std::nullopt;
  const std::optional<int> parts[] = {
      digits(text, 0, 4),
      digits(text, 5, 2),
      digits(text, 8, 2),
      timed ? digits(text, 11, 2) : 0,
      timed ? digits(text, 14, 2) : 0,
      timed ? digits(text, 17, 2) : 0,
  };
  if (!std::all_of(std::begin(parts), std::end(parts), [](auto part) { return !!part; })) {
    return std::nullopt;
  }
  return dateFromCivil({*parts[0], *parts[1], *parts[2], *parts[3], *parts[4], *parts[5]});
}

std::optional<std::string> storedOfDate(DATE date) {
  const std::optional<CivilTime> time = civilFromDate(date);
  if (!time) return std::nullopt;
  std::array<char, 32> text{};
  const int length =
      std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time->year,
                    time->month, time->day, time->hour, time->minute, time->second);
  return std::string(text.data(), static_cast<std::size_t>(length));
}

}  // namespace qx::desk
