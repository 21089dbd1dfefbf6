#include "qxdesk/engines/row_store.h"

#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace qx::desk {

namespace {

// Add-ons read whole numbers as VT_I4; one that does not fit becomes a double.
CComVariant integerValue(std::int64_t value) {
  const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                    value <= std::numeric_limits<std::int32_t>::max();
  return fits ? CComVariant(static_cast<long>(value)) : CComVariant(static_cast<double>(value));
}

// Writes each byte as a unit; returns false if one is not ASCII. It does not stop early: without a
// branch in the loop the compiler uses vector instructions.
bool widen(std::string_view ascii, BSTR out) {
  unsigned char seen = 0;
  for (std::size_t i = 0; i < ascii.size(); ++i) {
    const auto byte = static_cast<unsigned char>(ascii[i]);
    seen |= byte;
    out[i] = byte;
  }
  return seen < 0x80;
}

// Most texts are ASCII. They are widened straight into the new string; only the others pay for a
// conversion and a second allocation.
CComVariant textValue(std::string_view utf8) {
  CComVariant value;
  value.bstrVal = SysAllocStringLen(nullptr, static_cast<UINT>(utf8.size()));
  if (value.bstrVal == nullptr) raiseError(E_OUTOFMEMORY);
  value.vt = VT_BSTR;
  if (!widen(utf8, value.bstrVal)) return CComVariant(std::u16string_view(toUtf16(utf8)));
  return value;
}

template <class Number>
CComVariant numberText(Number number) {
  std::array<char, 40> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return textValue({text.data(), static_cast<std::size_t>(end - text.data())});
}

// A text that is no number is returned unchanged: a table that another program made may hold any
// value in any column.
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
  // An engine may return the sum of whole numbers in a wider type.
  const bool whole = type == sql::ColumnType::Integer && value == std::trunc(value) &&
                     std::abs(value) <= std::numeric_limits<std::int32_t>::max();
  return whole ? CComVariant(static_cast<long>(value)) : CComVariant(value);
}

// A text in a column of dates is not a date; appendText() has already tried.
CComVariant fromText(std::string_view text, sql::ColumnType type) {
  const bool number = type == sql::ColumnType::Integer || type == sql::ColumnType::Decimal;
  return number ? numberOfText(text, type) : textValue(text);
}

// Some engines continue to calculate with infinite values, where others refuse.
double finite(double value) {
  if (std::isfinite(value)) return value;
  throw DatabaseError(Fault::OutOfRange, "not a finite number");
}

}  // namespace

// The length precedes the text, so that a cell needs the address only. memcpy, because a place is
// not aligned.
const char* TextBlocks::keep(std::string_view text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  char* const place = take(sizeof length + text.size());
  std::memcpy(place, &length, sizeof length);
  std::copy(text.begin(), text.end(), place + sizeof length);
  return place;
}

std::string_view TextBlocks::textAt(const char* place) {
  std::uint32_t length = 0;
  std::memcpy(&length, place, sizeof length);
  return {place + sizeof length, length};
}

char* TextBlocks::take(std::size_t size) {
  constexpr std::size_t kLargestBlock = 64 * 1024;
  if (size > room_) {
    // The rest of the old block stays unused.
    room_ = std::max(nextBlock_, size);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(room_));
    bytes_ += room_;
    free_ = blocks_.back().get();
    nextBlock_ = std::min(2 * nextBlock_, kLargestBlock);
  }
  room_ -= size;
  return std::exchange(free_, free_ + size);
}

void RowStore::append(const Statement& statement) {
  for (std::size_t column = 0; column < columnCount(); ++column) {
    const StoredValue value = statement.value(static_cast<int>(column));
    switch (value.storage) {
      case Storage::Null:
        appendNull();
        break;
      case Storage::Integer:
        appendInteger(value.integer);
        break;
      case Storage::Real:
        appendReal(value.real);
        break;
      case Storage::Text:
        appendText(column, value.text);
        break;
      case Storage::Date:
        appendDate(column, value.date);
        break;
    }
  }
}

RowStore::Cell& RowStore::newCell(Kind kind) {
  // A new block is not initialised, since each cell is written before it is read.
  const std::size_t place = cellCount_ % Block::kCells;
  if (place == 0) blocks_.push_back(std::make_unique_for_overwrite<Block>());
  ++cellCount_;
  Block& block = *blocks_.back();
  block.kinds[place] = kind;
  return block.cells[place];
}

void RowStore::appendNull() { newCell(Kind::Null); }

void RowStore::appendInteger(std::int64_t value) { newCell(Kind::Integer).integer = value; }

void RowStore::appendReal(double value) { newCell(Kind::Real).real = finite(value); }

void RowStore::appendText(std::string_view utf8) { appendText(cellCount_ % columnCount(), utf8); }

void RowStore::appendText(std::size_t column, std::string_view utf8) {
  if ((*columns_)[column].type == sql::ColumnType::Date) {
    // Read once here instead of at every look at the cell, and without keeping the text.
    if (const std::optional<DATE> date = sql::dateOfStored(utf8)) {
      newCell(Kind::Date).real = *date;
      return;
    }
  }
  // Before newCell: if memory runs out here, no cell without a text remains.
  const char* const place = texts_.keep(utf8);
  newCell(Kind::Text).text = place;
}

void RowStore::appendDate(std::size_t column, const CivilTime& time) {
  if ((*columns_)[column].type == sql::ColumnType::Date) {
    if (const std::optional<DATE> date = dateFromCivil(time)) {
      newCell(Kind::Date).real = *date;
      return;
    }
  }
  std::string text;
  sql::assignStored(text, time);
  appendText(column, text);
}

std::size_t RowStore::find(std::u16string_view name) const {
  std::size_t column = 0;
  while (column < columnCount() && !equalsIgnoreCase(this->name(column), name)) ++column;
  return column;
}

CComVariant RowStore::value(std::size_t row, std::size_t column) const {
  const std::size_t index = row * columnCount() + column;
  const Block& block = *blocks_[index / Block::kCells];
  const Cell& cell = block.cells[index % Block::kCells];
  const sql::ColumnType type = (*columns_)[column].type;
  switch (block.kinds[index % Block::kCells]) {
    case Kind::Integer:
      return fromInteger(cell.integer, type);
    case Kind::Real:
      return fromReal(cell.real, type);
    case Kind::Text:
      return fromText(TextBlocks::textAt(cell.text), type);
    case Kind::Date:
      return CComVariant(cell.real, VT_DATE);
    default:
      return emptyValue(column);
  }
}

CComVariant RowStore::emptyValue(std::size_t column) const {
  switch ((*columns_)[column].type) {
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

}  // namespace qx::desk
