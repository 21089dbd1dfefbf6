#pragma once

// The columns of an ODBC result: what they hold, where a batch of their cells is put, and how one
// cell is read.

#include "qxdesk/engines/database.h"

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qx::desk {

class OdbcConnection;

/// One cell in the form that all engines share.
struct OdbcCell {
  Storage storage = Storage::Null;
  std::int64_t integer = 0;
  double real = 0;
  std::string text;
};

class OdbcColumn {
 public:
  /// Asks the statement about its column `number`, from 1.
  OdbcColumn(OdbcConnection& connection, SQLHSTMT statement, SQLUSMALLINT number);

  const std::string& name() const { return name_; }
  sql::ColumnType type() const { return type_; }
  /// Whether every cell fits its place, whatever it holds.
  bool alwaysFits() const { return form_ != Form::Text; }

  /// Makes room for `rows` cells and binds it.
  void bind(std::size_t rows);
  /// The cell of a row of the batch. False when it is longer than its place.
  bool read(std::size_t row, OdbcCell& cell) const;
  /// Reads the cell of the row on which the statement stands, whatever its length.
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
  std::size_t units_ = 0;  // of a text's place, without the end; 0 if the length is not known

  std::vector<SQLLEN> lengths_;
  std::vector<SQLBIGINT> integers_;
  std::vector<double> reals_;
  std::vector<char> numbers_;
  std::vector<SQL_TIMESTAMP_STRUCT> dates_;
  std::vector<char16_t> wideTexts_;
  std::vector<char> texts_;
};

}  // namespace qx::desk
