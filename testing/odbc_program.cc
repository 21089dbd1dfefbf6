#include "testing/odbc_program.h"

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <stdexcept>

namespace qx::test {

namespace {

SQLCHAR* chars(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

void check(SQLRETURN result, SQLSMALLINT kind, SQLHANDLE handle) {
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return;
  std::array<SQLCHAR, 6> state{};
  std::array<SQLCHAR, 1024> text{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(kind, handle, 1, state.data(), &native, text.data(),
                static_cast<SQLSMALLINT>(text.size()), &length);
  throw std::runtime_error(std::string(reinterpret_cast<char*>(state.data())) + ": " +
                           reinterpret_cast<char*>(text.data()));
}

}  // namespace

struct OdbcProgram::Handles {
  ~Handles() {
    if (connected) SQLDisconnect(connection);
    if (connection != nullptr) SQLFreeHandle(SQL_HANDLE_DBC, connection);
    if (environment != nullptr) SQLFreeHandle(SQL_HANDLE_ENV, environment);
  }
  SQLHENV environment = nullptr;
  SQLHDBC connection = nullptr;
  bool connected = false;
};

OdbcProgram::OdbcProgram(const std::string& connection) : handles_(std::make_unique<Handles>()) {
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handles_->environment);
  SQLSetEnvAttr(handles_->environment, SQL_ATTR_ODBC_VERSION,
                reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, handles_->environment, &handles_->connection);
  check(SQLDriverConnect(handles_->connection, nullptr, chars(connection), SQL_NTS, nullptr, 0,
                         nullptr, SQL_DRIVER_NOPROMPT),
        SQL_HANDLE_DBC, handles_->connection);
  handles_->connected = true;
}

OdbcProgram::~OdbcProgram() = default;

void OdbcProgram::run(const std::string& sql) { ask(sql); }

std::string OdbcProgram::ask(const std::string& sql) {
  SQLHSTMT raw = nullptr;
  check(SQLAllocHandle(SQL_HANDLE_STMT, handles_->connection, &raw), SQL_HANDLE_DBC,
        handles_->connection);
  const auto release = [](void* handle) { SQLFreeHandle(SQL_HANDLE_STMT, handle); };
  const std::unique_ptr<void, decltype(release)> statement(raw, release);
  check(SQLExecDirect(raw, chars(sql), SQL_NTS), SQL_HANDLE_STMT, raw);
  SQLSMALLINT columns = 0;
  check(SQLNumResultCols(raw, &columns), SQL_HANDLE_STMT, raw);
  if (columns == 0) return {};
  const SQLRETURN row = SQLFetch(raw);
  check(row, SQL_HANDLE_STMT, raw);
  if (row == SQL_NO_DATA) return {};
  std::array<char, 8192> text{};
  SQLLEN length = 0;
  check(SQLGetData(raw, 1, SQL_C_CHAR, text.data(), text.size(), &length), SQL_HANDLE_STMT, raw);
  return length == SQL_NULL_DATA ? std::string() : std::string(text.data());
}

}  // namespace qx::test
