#pragma once

// The rows of one query, all of them, in compact form: a cell is 9 bytes, texts lie behind each
// other in blocks. What is there never moves while rows are appended, so that many rows cost no
// more than their own room. A cell becomes a tagged value only when it is asked for.
//
// A column has one kind of value, also for its nulls, because add-ons read a null as the empty
// value of the kind: text as empty text, numbers as 0, dates as the date 0.0.

#include "qxdesk/engines/database.h"
#include "qxdesk/sql/column_type.h"
#include "qxframework/automation/variant.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

struct RowColumn {
  std::u16string name;
  sql::ColumnType type = sql::ColumnType::Unknown;
};

/// Keeps texts, each in one piece, for as long as it lives.
class TextBlocks {
 public:
  /// Where the copy stands, for textAt.
  const char* keep(std::string_view text);
  static std::string_view textAt(const char* place);

 private:
  char* take(std::size_t size);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  // the rest of the last block
  std::size_t room_ = 0;
  std::size_t nextBlock_ = 512;
};

class RowStore {
 public:
  RowStore() = default;
  explicit RowStore(std::vector<RowColumn> columns) : columns_(std::move(columns)) {}

  /// Appends the current row of `statement`, which has as many columns.
  void append(const Statement& statement);
  /// Append one cell; a row is complete when every column has got its cell.
  void appendNull();
  void appendInteger(std::int64_t value);
  /// Raises DatabaseError with OutOfRange for what is not finite.
  void appendReal(double value);
  void appendText(std::string_view utf8);

  std::size_t rowCount() const { return columns_.empty() ? 0 : cellCount_ / columns_.size(); }
  std::size_t columnCount() const { return columns_.size(); }
  const std::u16string& name(std::size_t column) const { return columns_[column].name; }
  /// The first column of that name, in any case; columnCount() when there is none.
  std::size_t find(std::u16string_view name) const;
  CComVariant value(std::size_t row, std::size_t column) const;
  /// What a null of the column reads as.
  CComVariant emptyValue(std::size_t column) const;

 private:
  enum class Kind : std::uint8_t { Null, Integer, Real, Text, Date };
  union Cell {
    std::int64_t integer;
    double real;  // also of a date
    const char* text;
  };
  struct Block {
    static constexpr std::size_t kCells = 256;
    Cell cells[kCells];
    Kind kinds[kCells];
  };

  void appendText(std::size_t column, std::string_view utf8);
  Cell& newCell(Kind kind);

  std::vector<RowColumn> columns_;
  std::vector<std::unique_ptr<Block>> blocks_;
  std::size_t cellCount_ = 0;
  TextBlocks texts_;
};

/// The date of the stored form "YYYY-MM-DD HH:MM:SS", also without the time; nothing for any other
/// text.
std::optional<DATE> dateOfStored(std::string_view text);
/// The stored form of a date.
std::optional<std::string> storedOfDate(DATE date);

}  // namespace qx::desk
