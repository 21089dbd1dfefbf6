#pragma once

// The columns of an ODBC result: the type of each, the memory for a batch of its cells, and the
// reading of one cell.

#include "qxdesk/engines/database.h"

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qx::desk {

class OdbcConnection;

/// One cell; only the member that `storage` names is set.
struct OdbcCell {
  Storage storage = Storage::Null;
  std::int64_t integer = 0;
  double real = 0;
  std::string text;
  CivilTime date{};
};

class OdbcColumn {
 public:
  /// Describes column `number` of the statement, counted from 1. Throws DatabaseError.
  OdbcColumn(OdbcConnection& connection, SQLHSTMT statement, SQLUSMALLINT number);

  const std::string& name() const { return name_; }
  sql::ColumnType type() const { return type_; }
  /// True if every possible value fits the place for a cell.
  bool alwaysFits() const { return form_ != Form::Text; }

  /// Makes places for `rows` cells and binds them. Throws DatabaseError.
  void bind(std::size_t rows);
  /// Reads the cell in a row of the batch; returns false if it is longer than its place.
  bool read(std::size_t row, OdbcCell& cell) const;
  /// Reads the cell of the statement's current row at any length. Throws DatabaseError.
  void fetch(OdbcCell& cell);

 private:
  enum class Form { Integer, Real, Number, Date, Text };

  void describe();
  void chooseForm(SQLSMALLINT sqlType, SQLULEN size);
  template <class Unit>
  void fetchText(SQLSMALLINT cType, OdbcCell& cell);
  template <class Unit>
  bool readText(const std::vector<Unit>& cells, std::size_t row, OdbcCell& cell) const;
  template <class Value>
  bool fetchValue(SQLSMALLINT cType, Value& value);
  SQLRETURN getData(SQLSMALLINT cType, void* place, std::size_t bytes, SQLLEN& length);

  OdbcConnection& connection_;
  SQLHSTMT statement_;
  SQLUSMALLINT number_;
  std::string name_;
  sql::ColumnType type_ = sql::ColumnType::Unknown;
  Form form_ = Form::Text;
  std::size_t units_ = 0;  // length of a text's place without the terminator; 0 if unknown

  std::vector<SQLLEN> lengths_;
  std::vector<SQLBIGINT> integers_;
  std::vector<double> reals_;
  std::vector<char> numbers_;
  std::vector<SQL_TIMESTAMP_STRUCT> dates_;
  std::vector<char16_t> wideTexts_;
  std::vector<char> texts_;
};

}  // namespace qx::desk
