#include "qxdesk/sql/emitter_postgres.h"
#include "qxdesk/sql/test_schema.h"
#include "qxdesk/sql/test_support.h"
#include "testing/postgres_server.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <stdexcept>

namespace qx::sql::test {
namespace {

using qx::test::PostgresServer;

SQLCHAR* bytes(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

// The class of the states that report a value: out of range, no number, no date.
constexpr std::string_view kDataException = "22";

/// Owns an ODBC handle.
class Handle {
 public:
  Handle(SQLSMALLINT kind, SQLHANDLE parent) : kind_(kind) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(kind, parent, &handle_))) {
      throw std::runtime_error("no ODBC handle");
    }
  }
  ~Handle() {
    if (kind_ == SQL_HANDLE_DBC) SQLDisconnect(handle_);
    SQLFreeHandle(kind_, handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  SQLHANDLE get() const { return handle_; }

  /// Throws unless the call succeeded: ValueFault for a data exception, else std::runtime_error.
  void check(SQLRETURN result) const {
    if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return;
    std::array<SQLCHAR, 6> state{};
    std::array<SQLCHAR, 1024> message{};
    SQLINTEGER native = 0;
    SQLGetDiagRec(kind_, handle_, 1, state.data(), &native, message.data(),
                  static_cast<SQLSMALLINT>(message.size()), nullptr);
    const std::string_view code = reinterpret_cast<const char*>(state.data());
    const std::string text =
        std::string(code) + " " + reinterpret_cast<const char*>(message.data());
    if (code.starts_with(kDataException)) throw ValueFault(0, text);
    throw std::runtime_error(text);
  }

 private:
  SQLSMALLINT kind_;
  SQLHANDLE handle_ = nullptr;
};

Handle& environment() {
  static Handle handle(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
  static const SQLRETURN set = SQLSetEnvAttr(handle.get(), SQL_ATTR_ODBC_VERSION,
                                             reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  handle.check(set);
  return handle;
}

bool isNumeric(const Handle& statement, SQLUSMALLINT column) {
  SQLLEN type = 0;
  SQLColAttribute(statement.get(), column, SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &type);
  return type == SQL_NUMERIC || type == SQL_DECIMAL || type == SQL_DOUBLE || type == SQL_BIGINT;
}

std::string shortest(const std::string& number) {
  if (number.find('.') == std::string::npos) return number;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.15g", std::strtod(number.c_str(), nullptr));
  return text.data();
}

// SQLGetData returns a long cell in pieces.
std::string cell(const Handle& statement, SQLUSMALLINT column) {
  std::string text;
  std::array<char, 4096> piece{};
  SQLLEN length = 0;
  SQLRETURN result = SQL_SUCCESS_WITH_INFO;
  while (result == SQL_SUCCESS_WITH_INFO) {
    result = SQLGetData(statement.get(), column, SQL_C_CHAR, piece.data(),
                        static_cast<SQLLEN>(piece.size()), &length);
    statement.check(result);
    if (length == SQL_NULL_DATA) return "NULL";
    if (result != SQL_NO_DATA) text += piece.data();
  }
  return isNumeric(statement, column) ? shortest(text) : text;
}

/// A connection to one database of the shared server, and the catalog of its tables.
class OdbcConnection final : public Connection, public Catalog {
 public:
  explicit OdbcConnection(const std::string& database)
      : connection_(SQL_HANDLE_DBC, environment().get()) {
    const std::string where = PostgresServer::shared().connection(database);
    connection_.check(SQLDriverConnect(connection_.get(), nullptr, bytes(where), SQL_NTS, nullptr,
                                       0, nullptr, SQL_DRIVER_NOPROMPT));
    run(kPostgresSettings);
    SQLSetConnectAttr(connection_.get(), SQL_ATTR_AUTOCOMMIT,
                      reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
    const std::string columns =
        run("SELECT table_name, column_name, data_type FROM information_schema.columns WHERE "
            "table_schema = 'public'");
    for (std::size_t at = 0; at < columns.size();) {
      const std::size_t end = std::min(columns.find('/', at), columns.size());
      const std::string row = columns.substr(at, end - at);
      const std::size_t type = row.rfind('|');
      types_[row.substr(0, type)] = typeOfDeclaration(row.substr(type + 1));
      tables_.insert(row.substr(0, row.find('|')));
      at = end + 1;
    }
  }

  const Catalog& catalog() override { return *this; }

  ColumnType columnType(std::string_view table, std::string_view column) const override {
    const auto found = types_.find(storedName(Engine::Postgres, table) + "|" +
                                   storedName(Engine::Postgres, column));
    return found == types_.end() ? ColumnType::Unknown : found->second;
  }

  bool lacksColumn(std::string_view table, std::string_view column) const override {
    const std::string name = storedName(Engine::Postgres, table);
    return tables_.contains(name) &&
           !types_.contains(name + "|" + storedName(Engine::Postgres, column));
  }

  bool lacksTable(std::string_view table) const override {
    return !tables_.contains(storedName(Engine::Postgres, table));
  }

  std::optional<std::size_t> columnCount(std::string_view table) const override {
    const std::string prefix = storedName(Engine::Postgres, table) + "|";
    return static_cast<std::size_t>(
        std::count_if(types_.begin(), types_.end(),
                      [&](const auto& type) { return type.first.starts_with(prefix); }));
  }

  std::string run(std::string_view sql) override {
    const Handle statement(SQL_HANDLE_STMT, connection_.get());
    // Without it the driver would read ? and {} in a text as its own escapes.
    SQLSetStmtAttr(statement.get(), SQL_ATTR_NOSCAN, reinterpret_cast<SQLPOINTER>(SQL_NOSCAN_ON),
                   0);
    const std::string text(sql);
    statement.check(SQLExecDirect(statement.get(), bytes(text), SQL_NTS));
    SQLSMALLINT columns = 0;
    statement.check(SQLNumResultCols(statement.get(), &columns));
    std::string rows;
    bool first = true;
    while (columns > 0) {
      const SQLRETURN result = SQLFetch(statement.get());
      statement.check(result);
      if (result == SQL_NO_DATA) break;
      if (!first) rows += '/';
      first = false;
      for (SQLSMALLINT i = 1; i <= columns; ++i) {
        if (i > 1) rows += '|';
        rows += cell(statement, static_cast<SQLUSMALLINT>(i));
      }
    }
    return rows;
  }

 private:
  Handle connection_;
  std::map<std::string, ColumnType> types_;
  std::set<std::string> tables_;
};

std::string replaced(std::string text, std::string_view what, std::string_view by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
  return text;
}

std::string tablesForPostgres() {
  std::string tables = storedName(Engine::Postgres, kTables);
  tables = replaced(tables, "datetime", "timestamp");
  for (std::size_t at = 0; (at = tables.find("nvarchar(", at)) != std::string::npos;) {
    tables.erase(at, 1);
    at = tables.find(')', at) + 1;
    tables.insert(at, R"( COLLATE "C")");
  }
  return tables;
}

/// Returns the name of a new database with the tables, which each test copies. `like` follows
/// TEMPLATE in the statement that creates it.
std::string makeModel(std::string_view like) {
  PostgresServer& server = PostgresServer::shared();
  const std::string name = server.createDatabase(like);
  server.run(name, tablesForPostgres());
  server.run(name, std::string(kRows));
  return name;
}

}  // namespace

std::unique_ptr<Connection> connectToPostgres() {
  static const std::string model = makeModel("template1");
  return std::make_unique<OdbcConnection>(PostgresServer::shared().createDatabase(model));
}

std::unique_ptr<Connection> connectToForeignPostgres() {
  static const std::string model = makeModel("template0 LOCALE_PROVIDER icu ICU_LOCALE 'en-US'");
  return std::make_unique<OdbcConnection>(PostgresServer::shared().createDatabase(model));
}

}  // namespace qx::sql::test
