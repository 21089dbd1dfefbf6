#include "bench/walk_peers.h"
#include "qxframework/automation/ole_date_time.h"

#include <sqlite3.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace qx::bench {
namespace {

enum class Kind { Text, Integer, Decimal, Date };

struct Column {
  CComBSTR name;
  Kind kind;
};

// Once per walk: the declared types do not change from row to row.
std::vector<Column> columnsOf(sqlite3_stmt* statement) {
  std::vector<Column> columns;
  for (int i = 0; i < sqlite3_column_count(statement); ++i) {
    const std::string_view declared = sqlite3_column_decltype(statement, i);
    const Kind kind = declared == "INT"                  ? Kind::Integer
                      : declared.starts_with("decimal")  ? Kind::Decimal
                      : declared.starts_with("datetime") ? Kind::Date
                                                         : Kind::Text;
    columns.push_back({static_cast<const OLECHAR*>(sqlite3_column_name16(statement, i)), kind});
  }
  return columns;
}

// The text has the form YYYY-MM-DD HH:MM:SS.
DATE dateOf(const char* text) {
  const auto number = [text](int at, int length) {
    int value = 0;
    std::from_chars(text + at, text + at + length, value);
    return value;
  };
  return *dateFromCivil(
      {number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)});
}

CComVariant textOf(sqlite3_stmt* statement, int column) {
  const void* text = sqlite3_column_text16(statement, column);
  // After the text, as SQLite requires: fetching it may convert it and change its length.
  const int bytes = sqlite3_column_bytes16(statement, column);
  return CComVariant(std::u16string_view(static_cast<const OLECHAR*>(text),
                                         static_cast<std::size_t>(bytes) / sizeof(OLECHAR)));
}

CComVariant cellOf(sqlite3_stmt* statement, int column, Kind kind) {
  switch (kind) {
    case Kind::Integer:
      return CComVariant(sqlite3_column_int(statement, column));
    case Kind::Decimal:
      return CComVariant(sqlite3_column_double(statement, column));
    case Kind::Date:
      return CComVariant(
          dateOf(reinterpret_cast<const char*>(sqlite3_column_text(statement, column))), VT_DATE);
    default:
      return textOf(statement, column);
  }
}

struct Database {
  explicit Database(const std::string& file) {
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
        SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(db));
    }
  }
  ~Database() { sqlite3_close_v2(db); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  sqlite3_stmt* prepare(const char* sql) const {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(db));
    return statement;
  }
  sqlite3* db = nullptr;
};

std::vector<std::string> codes(const Database& database, int rows, bool keysFirst) {
  std::vector<std::string> all;
  if (keysFirst) {
    sqlite3_stmt* statement = database.prepare("SELECT \"Code\" FROM \"@FEW\"");
    while (sqlite3_step(statement) == SQLITE_ROW)
      all.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    sqlite3_finalize(statement);
    return all;
  }
  for (int i = 0; i < rows; ++i) {
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), "%08X", static_cast<unsigned>(numberAt(i, rows)));
    all.emplace_back(code.data());
  }
  return all;
}

}  // namespace

long readOneByOne(const std::string& file, int rows, bool keysFirst) {
  const Database database(file);
  sqlite3_stmt* statement = database.prepare(
      "SELECT \"Code\", \"Name\", \"U_Count\", \"U_Price\", \"U_Share\", \"U_From\", "
      "\"U_Until\", \"U_Note\" FROM \"@FEW\" WHERE \"Code\" = ?");
  const std::vector<Column> columns = columnsOf(statement);
  Persistence::TyFieldValues values;
  for (const Column& column : columns) values.Add(column.name, CComVariant());
  long sum = 0;
  for (const std::string& code : codes(database, rows, keysFirst)) {
    sqlite3_bind_text(statement, 1, code.data(), static_cast<int>(code.size()), SQLITE_STATIC);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      int index = 0;
      for (const Column& column : columns) {
        values.SetValueAt(index, cellOf(statement, index, column.kind));
        ++index;
      }
      sum += small(values);
    }
    sqlite3_reset(statement);
  }
  sqlite3_finalize(statement);
  return sum;
}

long walkSqlite(const std::string& file, const std::string& sql) {
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
          SQLITE_OK ||
      sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(db));
  }
  const std::vector<Column> columns = columnsOf(statement);
  // One map for all rows, as in the framework's walk, so the names are copied only once.
  Persistence::TyFieldValues values;
  for (const Column& column : columns) values.Add(column.name, CComVariant());
  long sum = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    int index = 0;
    for (const Column& column : columns) {
      values.SetValueAt(index, cellOf(statement, index, column.kind));
      ++index;
    }
    sum += small(values);
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return sum;
}

}  // namespace qx::bench
