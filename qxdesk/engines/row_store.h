#pragma once

// All rows of one query in compact form: a cell takes 9 bytes, texts follow each other in blocks.
// Nothing moves while rows are appended, so many rows cost no more than their own memory. A cell
// becomes a tagged value only when it is asked for.
//
// A column has one kind of value, also for its nulls: add-ons read a null as the empty value of the
// kind, which is empty text, 0, or the date 0.0.

#include "qxdesk/engines/database.h"
#include "qxdesk/sql/column_type.h"
#include "qxframework/automation/civil_time.h"
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

/// Shared, since the rows of a statement that runs again have the same columns.
using RowColumns = std::shared_ptr<const std::vector<RowColumn>>;

/// Keeps texts, each in one piece, for as long as it lives.
class TextBlocks {
 public:
  /// Copies a text and returns its place, for textAt().
  const char* keep(std::string_view text);
  static std::string_view textAt(const char* place);
  /// Returns the memory that it has taken.
  std::size_t bytes() const { return bytes_; }

 private:
  char* take(std::size_t size);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  // the rest of the last block
  std::size_t room_ = 0;
  std::size_t nextBlock_ = 512;
  std::size_t bytes_ = 0;
};

class RowStore {
 public:
  RowStore() = default;
  explicit RowStore(std::vector<RowColumn> columns)
      : RowStore(std::make_shared<const std::vector<RowColumn>>(std::move(columns))) {}
  explicit RowStore(RowColumns columns) : columns_(std::move(columns)) {}

  /// Appends the current row of `statement`, which has as many columns.
  void append(const Statement& statement);
  /// Append one cell; a row is complete once every column has its cell.
  void appendNull();
  void appendInteger(std::int64_t value);
  /// Throws DatabaseError with OutOfRange for a number that is not finite.
  void appendReal(double value);
  void appendText(std::string_view utf8);

  /// Returns the memory that the rows take.
  std::size_t bytes() const { return blocks_.size() * sizeof(Block) + texts_.bytes(); }
  std::size_t rowCount() const { return columnCount() == 0 ? 0 : cellCount_ / columnCount(); }
  std::size_t columnCount() const { return columns_ == nullptr ? 0 : columns_->size(); }
  const std::u16string& name(std::size_t column) const { return (*columns_)[column].name; }
  /// Returns the first column of that name, in any case, or columnCount() if there is none.
  std::size_t find(std::u16string_view name) const;
  /// Returns the cell in the type of its column, if the stored value can be read so.
  CComVariant value(std::size_t row, std::size_t column) const;
  /// Returns the value as which a null of the column reads.
  CComVariant emptyValue(std::size_t column) const;

 private:
  enum class Kind : std::uint8_t { Null, Integer, Real, Text, Date };
  union Cell {
    std::int64_t integer;
    double real;  // also of a date
    const char* text;
  };
  struct Block {
    static constexpr std::size_t kCells = 64;  // small enough for the allocator to keep
    Cell cells[kCells];
    Kind kinds[kCells];
  };

  void appendText(std::size_t column, std::string_view utf8);
  void appendDate(std::size_t column, const CivilTime& time);
  Cell& newCell(Kind kind);

  RowColumns columns_;  // may be null: no columns
  std::vector<std::unique_ptr<Block>> blocks_;
  std::size_t cellCount_ = 0;
  TextBlocks texts_;
};

}  // namespace qx::desk
