#include "qxdesk/engines/odbc_columns.h"

#include "qxdesk/engines/odbc_connection.h"
#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/numbers.h"
#include "qxframework/automation/text.h"

#include <sqlucode.h>

#include <algorithm>
#include <array>

namespace qx::desk {

namespace {

// The bytes of a place for a number; one with more digits is fetched again, as long texts are.
constexpr std::size_t kNumberBytes = 128;
// The units of a place for a text of unknown or great length; longer texts are fetched again.
constexpr std::size_t kCommonUnits = 255;

// A server may send hundreds of digits.
std::string shortened(std::string_view digits) {
  constexpr std::size_t kShown = 40;
  if (digits.size() <= kShown) return std::string(digits);
  return std::string(digits.substr(0, kShown)) + "\u2026";
}

// Not std::from_chars or strtod alone: "NaN" and "Infinity" are numbers to them and to PostgreSQL,
// but not to the host.
double realOf(std::string_view digits) {
  const bool negative = digits.starts_with('-');
  const std::string_view number = digits.substr(negative ? 1 : 0);
  if (sql::spellsNumber(number)) {
    if (const std::optional<double> value = sql::nearestDouble(number)) {
      return negative ? -*value : *value;
    }
  }
  throw DatabaseError(Fault::OutOfRange, "not a number of this machine: " + shortened(digits));
}

void setNumber(OdbcCell& cell, std::string_view digits) {
  cell.real = realOf(digits);
  cell.storage = Storage::Real;
}

void setDate(OdbcCell& cell, const SQL_TIMESTAMP_STRUCT& date) {
  cell.storage = Storage::Date;
  cell.date = {date.year, date.month, date.day, date.hour, date.minute, date.second};
}

void setText(OdbcCell& cell, std::u16string_view text) {
  cell.storage = Storage::Text;
  cell.text.clear();
  // Most texts are ASCII; copying them unit by unit is far cheaper than a conversion.
  const bool ascii = std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
  if (!ascii) {
    cell.text = toUtf8(text);
    return;
  }
  cell.text.resize(text.size());
  std::transform(text.begin(), text.end(), cell.text.begin(),
                 [](char16_t c) { return static_cast<char>(c); });
}

void setText(OdbcCell& cell, std::string_view utf8) {
  cell.storage = Storage::Text;
  cell.text = utf8;
}

}  // namespace

OdbcColumn::OdbcColumn(OdbcConnection& connection, SQLHSTMT statement, SQLUSMALLINT number)
    : connection_(connection), statement_(statement), number_(number) {
  describe();
}

void OdbcColumn::describe() {
  std::array<char16_t, 512> wide{};
  std::array<SQLCHAR, 1024> narrow{};
  SQLSMALLINT length = 0;
  SQLSMALLINT sqlType = 0;
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
  SQLSMALLINT nullable = 0;
  const SQLRETURN result =
      connection_.isWide()
          ? SQLDescribeColW(statement_, number_, reinterpret_cast<SQLWCHAR*>(wide.data()),
                            static_cast<SQLSMALLINT>(wide.size()), &length, &sqlType, &size,
                            &digits, &nullable)
          : SQLDescribeCol(statement_, number_, narrow.data(),
                           static_cast<SQLSMALLINT>(narrow.size()), &length, &sqlType, &size,
                           &digits, &nullable);
  if (!SQL_SUCCEEDED(result)) connection_.failStatement(statement_);
  name_ = connection_.isWide() ? toUtf8(wide.data()) : reinterpret_cast<const char*>(narrow.data());
  chooseForm(sqlType, size);
}

void OdbcColumn::chooseForm(SQLSMALLINT sqlType, SQLULEN size) {
  switch (sqlType) {
    case SQL_BIT:
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
      form_ = Form::Integer;
      type_ = sql::ColumnType::Integer;
      return;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
      form_ = Form::Real;
      type_ = sql::ColumnType::Decimal;
      return;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      // Fetched as digits and converted here, so that the result is the nearest double and the
      // locale has no say in it.
      form_ = Form::Number;
      type_ = sql::ColumnType::Decimal;
      return;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
      form_ = Form::Date;
      type_ = sql::ColumnType::Date;
      return;
    default:
      form_ = Form::Text;
      type_ = sql::ColumnType::Text;
      // The size counts characters: a character takes up to 2 units of UTF-16 or 4 of UTF-8.
      if (size > 0 && size <= kCommonUnits) units_ = size * (connection_.isWide() ? 2 : 4);
  }
}

void OdbcColumn::bind(std::size_t rows) {
  // SQLBindCol keeps these addresses, so none of the vectors may grow until the next bind().
  lengths_.assign(rows, SQL_NULL_DATA);
  SQLSMALLINT cType = SQL_C_SBIGINT;
  void* place = nullptr;
  std::size_t width = 0;
  const auto use = [&](SQLSMALLINT type, auto& cells, std::size_t perRow) {
    cells.assign(rows * perRow, {});
    cType = type;
    place = cells.data();
    width = perRow * sizeof cells[0];
  };
  if (form_ == Form::Integer) use(SQL_C_SBIGINT, integers_, 1);
  if (form_ == Form::Real) use(SQL_C_DOUBLE, reals_, 1);
  if (form_ == Form::Number) use(SQL_C_CHAR, numbers_, kNumberBytes);
  if (form_ == Form::Date) use(SQL_C_TYPE_TIMESTAMP, dates_, 1);
  if (form_ == Form::Text) {
    if (units_ == 0) units_ = kCommonUnits;
    if (connection_.isWide()) {
      use(SQL_C_WCHAR, wideTexts_, units_ + 1);
    } else {
      use(SQL_C_CHAR, texts_, units_ + 1);
    }
  }
  const SQLRETURN result =
      SQLBindCol(statement_, number_, cType, place, static_cast<SQLLEN>(width), lengths_.data());
  if (!SQL_SUCCEEDED(result)) connection_.failStatement(statement_);
}

bool OdbcColumn::read(std::size_t row, OdbcCell& cell) const {
  const SQLLEN length = lengths_[row];
  cell.storage = Storage::Null;
  if (length == SQL_NULL_DATA) return true;
  switch (form_) {
    case Form::Integer:
      cell.storage = Storage::Integer;
      cell.integer = integers_[row];
      break;
    case Form::Real:
      cell.storage = Storage::Real;
      cell.real = reals_[row];
      break;
    case Form::Number:
      // A negative length is SQL_NO_TOTAL: the driver does not know how much it cut off.
      if (length < 0 || length >= static_cast<SQLLEN>(kNumberBytes)) return false;
      setNumber(cell, {&numbers_[row * kNumberBytes], static_cast<std::size_t>(length)});
      break;
    case Form::Date:
      setDate(cell, dates_[row]);
      break;
    case Form::Text:
      return connection_.isWide() ? readText(wideTexts_, row, cell) : readText(texts_, row, cell);
  }
  return true;
}

template <class Unit>
bool OdbcColumn::readText(const std::vector<Unit>& cells, std::size_t row, OdbcCell& cell) const {
  const SQLLEN length = lengths_[row];
  if (length < 0 || length > static_cast<SQLLEN>(units_ * sizeof(Unit))) return false;
  setText(cell, std::basic_string_view<Unit>(&cells[row * (units_ + 1)],
                                             static_cast<std::size_t>(length) / sizeof(Unit)));
  return true;
}

void OdbcColumn::fetch(OdbcCell& cell) {
  cell.storage = Storage::Null;
  switch (form_) {
    case Form::Integer: {
      SQLBIGINT value = 0;
      if (!fetchValue(SQL_C_SBIGINT, value)) return;
      cell.storage = Storage::Integer;
      cell.integer = value;
      break;
    }
    case Form::Real:
      if (fetchValue(SQL_C_DOUBLE, cell.real)) cell.storage = Storage::Real;
      break;
    case Form::Number:
      fetchText<char>(SQL_C_CHAR, cell);
      if (cell.storage == Storage::Text) setNumber(cell, cell.text);
      break;
    case Form::Date: {
      SQL_TIMESTAMP_STRUCT date{};
      if (fetchValue(SQL_C_TYPE_TIMESTAMP, date)) setDate(cell, date);
      break;
    }
    case Form::Text:
      if (connection_.isWide()) {
        fetchText<char16_t>(SQL_C_WCHAR, cell);
      } else {
        fetchText<char>(SQL_C_CHAR, cell);
      }
      break;
  }
}

// Reads the text in pieces. The driver ends each piece with a terminator, for which one unit of the
// piece is lost.
template <class Unit>
void OdbcColumn::fetchText(SQLSMALLINT cType, OdbcCell& cell) {
  std::basic_string<Unit> text;
  std::basic_string<Unit> piece(kCommonUnits + 1, Unit{});
  for (;;) {
    SQLLEN length = 0;
    const SQLRETURN result = getData(cType, piece.data(), piece.size() * sizeof(Unit), length);
    if (result == SQL_NO_DATA) break;
    if (length == SQL_NULL_DATA) return;
    // `length` is what was left before this call, not what this call delivered.
    const std::size_t room = piece.size() - 1;
    const std::size_t rest =
        length == SQL_NO_TOTAL ? room + 1 : static_cast<std::size_t>(length) / sizeof(Unit);
    text.append(piece, 0, std::min(rest, room));
    if (rest <= room) break;
    if (length != SQL_NO_TOTAL) piece.resize(rest - room + 1);
  }
  setText(cell, std::basic_string_view<Unit>(text));
}

template <class Value>
bool OdbcColumn::fetchValue(SQLSMALLINT cType, Value& value) {
  SQLLEN length = 0;
  getData(cType, &value, sizeof value, length);
  return length != SQL_NULL_DATA;
}

SQLRETURN OdbcColumn::getData(SQLSMALLINT cType, void* place, std::size_t bytes, SQLLEN& length) {
  const SQLRETURN result =
      SQLGetData(statement_, number_, cType, place, static_cast<SQLLEN>(bytes), &length);
  if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA) connection_.failStatement(statement_);
  return result;
}

}  // namespace qx::desk
