#pragma once

// The kinds of values that a column may have, and the kind of a declared type.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

/// Decimal follows Integer, as commonType() needs it.
enum class ColumnType { Unknown, Text, Integer, Decimal, Date };

/// Returns the kind of a declared type such as "nvarchar(50)", "decimal(21,6)", "datetime" or
/// "int", in any case; Unknown for any other type. A length or scale in brackets does not count.
ColumnType typeOfDeclaration(std::string_view declaration);

bool isNumber(ColumnType type);

/// Returns the kind that holds values of both: the wider of two numbers, otherwise the first kind
/// that is known.
ColumnType commonType(ColumnType a, ColumnType b);

/// The columns of the database as far as they are known. The front end asks for them to distinguish
/// dates from texts, and to refuse names that an engine would take for something else than a
/// column.
class Catalog {
 public:
  virtual ~Catalog() = default;

  /// Returns the type of a column; Unknown if the table or the column does not exist. Names are
  /// compared in any case.
  virtual ColumnType columnType(std::string_view table, std::string_view column) const = 0;

  /// True if the table exists and has no such column. Further names that an engine accepts there,
  /// such as rowid, are no columns.
  virtual bool lacksColumn(std::string_view /*table*/, std::string_view /*column*/) const {
    return false;
  }

  /// True if the database is known to have no such table and no view of that name.
  virtual bool lacksTable(std::string_view /*table*/) const { return false; }

  /// Returns the number of columns of a table; nothing if it is not known.
  virtual std::optional<std::size_t> columnCount(std::string_view /*table*/) const {
    return std::nullopt;
  }

  /// Returns a condition in the engine's SQL that is true as long as the tables are as they are
  /// known here, and that fails the statement otherwise; empty if the engine needs none.
  virtual std::string unchangedCheck(const std::vector<std::string>& /*tables*/) const {
    return {};
  }
};

}  // namespace qx::sql
