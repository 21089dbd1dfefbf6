// The kinds of values that a result column may have, and how a declared type of a column maps to
// them.
#pragma once

#include <string_view>

namespace qx::sql {

enum class ColumnType { Unknown, Text, Integer, Decimal, Date };

// Kind of a declared type such as "nvarchar(50)", "decimal(21,6)", "datetime", "int";
// Unknown for anything else. Case does not matter, nor what stands in brackets.
ColumnType typeOfDeclaration(std::string_view declaration);

bool isNumber(ColumnType type);

// The kind that holds values of both: the wider of two numbers, else the first known one.
ColumnType commonType(ColumnType a, ColumnType b);

// What is known of the columns of the database. The front end asks it to tell dates from texts, and
// columns from what engines take for one in ways of their own.
class Catalog {
 public:
  virtual ~Catalog() = default;

  // Unknown for a table or column that does not exist. Names compare case-insensitively.
  virtual ColumnType columnType(std::string_view table, std::string_view column) const = 0;

  // True when the table is there and has no such column. What an engine lets be named besides, such
  // as the place of a row, is none.
  virtual bool lacksColumn(std::string_view /*table*/, std::string_view /*column*/) const {
    return false;
  }
};

}  // namespace qx::sql
