#include "qxdesk/engines/plain_tables.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/odbc_columns.h"
#include "qxdesk/engines/odbc_connection.h"

#include <sqlucode.h>

#include <algorithm>
#include <initializer_list>

namespace qx::desk {

namespace {

// A handle for questions that the driver answers itself, such as its types.
class DriverQuestion {
 public:
  explicit DriverQuestion(OdbcConnection& connection)
      : connection_(connection), statement_(connection.newStatement()) {}
  ~DriverQuestion() { SQLFreeHandle(SQL_HANDLE_STMT, statement_); }
  DriverQuestion(const DriverQuestion&) = delete;
  DriverQuestion& operator=(const DriverQuestion&) = delete;

  SQLHSTMT handle() const { return statement_; }

  /// Returns the texts of some columns row by row; `columns` must ascend, since some drivers read
  /// the cells of a row in order only.
  std::vector<std::vector<std::string>> answer(SQLRETURN asked,
                                               std::initializer_list<SQLUSMALLINT> columns) {
    std::vector<std::vector<std::string>> rows;
    if (!SQL_SUCCEEDED(asked)) connection_.failStatement(statement_);
    while (SQL_SUCCEEDED(SQLFetch(statement_))) {
      std::vector<std::string>& row = rows.emplace_back();
      for (const SQLUSMALLINT column : columns) row.push_back(text(column));
    }
    // SQLFetch may report a lost connection as the end of the rows.
    connection_.needAlive();
    return rows;
  }

 private:
  std::string text(SQLUSMALLINT column) {
    OdbcCell cell;
    OdbcColumn(connection_, statement_, column).fetch(cell);
    return cell.text;
  }

  OdbcConnection& connection_;
  SQLHSTMT statement_;
};

struct Offer {
  SQLSMALLINT type;
  std::string_view parameters = {};  // follow the name; "%" is the length
};

struct Wish {
  ColumnKind kind;
  std::vector<Offer> types;
  std::string_view standard;  // for a driver that reports none of them
};

// The types that suit each kind of column, the best first.
const std::vector<Wish>& wishes() {
  static const std::vector<Wish> all{
      {ColumnKind::Text, {{SQL_WVARCHAR, "(%)"}, {SQL_VARCHAR, "(%)"}}, "VARCHAR(%)"},
      {ColumnKind::Memo, {{SQL_WLONGVARCHAR}, {SQL_LONGVARCHAR}}, "CLOB"},
      {ColumnKind::Integer, {{SQL_INTEGER}}, "INTEGER"},
      {ColumnKind::SmallInteger, {{SQL_SMALLINT}, {SQL_INTEGER}}, "SMALLINT"},
      {ColumnKind::Decimal,
       {{SQL_DECIMAL, "(21,6)"}, {SQL_NUMERIC, "(21,6)"}, {SQL_DOUBLE}, {SQL_FLOAT}},
       "DECIMAL(21,6)"},
      {ColumnKind::Date, {{SQL_TYPE_TIMESTAMP}, {SQL_TIMESTAMP}}, "TIMESTAMP"},
  };
  return all;
}

std::string typeFor(OdbcConnection& connection, const Wish& wish) {
  for (const Offer& offer : wish.types) {
    DriverQuestion question(connection);
    const auto rows = question.answer(SQLGetTypeInfoW(question.handle(), offer.type), {1});
    if (!rows.empty()) return rows.front().front() + std::string(offer.parameters);
  }
  return std::string(wish.standard);
}

}  // namespace

PlainTables::PlainTables(OdbcConnection& connection) : connection_(connection) {
  for (const Wish& wish : wishes()) types_[wish.kind] = typeFor(connection, wish);
}

bool PlainTables::exists(Database&, std::string_view table) const {
  const std::vector<std::string> names = tableNames();
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return sameName(name, table); });
}

bool PlainTables::any(Database&) const { return !tableNames().empty(); }

// Reads all names and compares them here: a pattern for SQLTables would take "_" for any character,
// and the driver's idea of case is unknown.
std::vector<std::string> PlainTables::tableNames() const {
  DriverQuestion question(connection_);
  std::u16string kind = u"TABLE";
  const SQLRETURN asked =
      SQLTablesW(question.handle(), nullptr, 0, nullptr, 0, nullptr, 0,
                 reinterpret_cast<SQLWCHAR*>(kind.data()), static_cast<SQLSMALLINT>(kind.size()));
  std::vector<std::string> names;
  for (std::vector<std::string>& row : question.answer(asked, {3})) {
    names.push_back(std::move(row.front()));
  }
  return names;
}

void PlainTables::addColumn(Database& database, const TableLayout& table,
                            const ColumnLayout& column) const {
  database.execute("ALTER TABLE " + bracketed(table.name) + " ADD " + bracketed(column.name) + " " +
                   declaration(column));
}

std::string PlainTables::typeOf(const ColumnLayout& column) const {
  std::string type = types_.at(column.kind);
  const std::size_t length = type.find('%');
  if (length != std::string::npos) type.replace(length, 1, std::to_string(column.size));
  return type;
}

// The default precedes NOT NULL, as in the standard.
std::string PlainTables::declaration(const ColumnLayout& column) const {
  return typeOf(column) + defaultClause(column, "CURRENT_TIMESTAMP") +
         (column.mandatory ? " NOT NULL" : "");
}

std::string PlainTables::caselessKey(std::string_view column) const { return bracketed(column); }

}  // namespace qx::desk
