// An ODBC driver for tests that plays engines which are not installed. Its connection string names
// what the engine lacks, and each statement names its own result:
//
//   ROW text      a result of one row with one text column
//   NOTHING       a result without columns, as of a change
//   FAIL state    a failure
//   LOG           the earlier statements of this connection, as one row; also the ends of
//                 transactions and the levels of isolation that were set
//   TIMEOUT       the time limit of this statement in seconds
//   a;b           one result after the other
//
// Any other statement counts as a change. Those that begin with a word of the option `Refuse` fail.

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Failure {
  std::string state;
  std::string words;
};

struct Connection {
  std::string options;
  SQLULEN loginTimeout = 0;
  std::string log;
  std::optional<Failure> failure;
};

struct Result {
  std::optional<std::string> row;
  std::optional<Failure> failure;
};

struct Statement {
  Connection* connection = nullptr;
  std::vector<Result> results;
  std::size_t at = 0;
  bool fetched = false;
  SQLULEN timeout = 0;
  SQLULEN* rowsFetched = nullptr;
  std::optional<Failure> failure;
};

Connection& connectionOf(SQLHDBC handle) { return *static_cast<Connection*>(handle); }
Statement& statementOf(SQLHSTMT handle) { return *static_cast<Statement*>(handle); }

std::string textOf(const SQLCHAR* text, SQLINTEGER length) {
  const auto* chars = reinterpret_cast<const char*>(text);
  return length < 0 ? std::string(chars) : std::string(chars, static_cast<std::size_t>(length));
}

std::string optionOf(const Connection& connection, const std::string& name) {
  const std::string key = name + "=";
  const std::size_t at = connection.options.find(key);
  if (at == std::string::npos) return {};
  const std::size_t begin = at + key.size();
  return connection.options.substr(begin, connection.options.find(';', begin) - begin);
}

template <class Thing>
SQLRETURN fail(Thing& thing, const std::string& state, const std::string& words) {
  thing.failure = Failure{state, words};
  return SQL_ERROR;
}

/// Returns the refused word with which a statement begins, if any.
std::optional<std::string> refusedWord(const Connection& connection, const std::string& sql) {
  std::string words = optionOf(connection, "Refuse");
  while (!words.empty()) {
    const std::string word = words.substr(0, words.find(','));
    if (sql.starts_with(word)) return word;
    words.erase(0, word.size() + 1);
  }
  return std::nullopt;
}

Result resultOf(const Statement& statement, const std::string& sql) {
  const Connection& connection = *statement.connection;
  if (sql.starts_with("ROW ")) return {sql.substr(4), {}};
  if (sql == "LOG") return {connection.log, {}};
  if (sql == "TIMEOUT") return {std::to_string(statement.timeout), {}};
  if (sql.starts_with("FAIL ")) return {{}, Failure{sql.substr(5), "as the statement says"}};
  if (const auto word = refusedWord(connection, sql))
    return {{}, Failure{"42000", "syntax error near " + *word}};
  return {};
}

SQLRETURN enter(Statement& statement) {
  statement.fetched = false;
  const Result& result = statement.results[statement.at];
  if (!result.failure) return SQL_SUCCESS;
  return fail(statement, result.failure->state, result.failure->words);
}

SQLRETURN noRows(SQLHSTMT handle) {
  Statement& statement = statementOf(handle);
  statement.results = {Result{"", {}}};
  statement.at = 0;
  statement.fetched = true;
  return SQL_SUCCESS;
}

SQLRETURN giveText(const std::string& text, SQLPOINTER place, SQLLEN room, SQLLEN* length) {
  if (length != nullptr) *length = static_cast<SQLLEN>(text.size());
  if (place == nullptr || room <= 0) return SQL_SUCCESS_WITH_INFO;
  const std::size_t shown = std::min(text.size(), static_cast<std::size_t>(room - 1));
  std::memcpy(place, text.data(), shown);
  static_cast<char*>(place)[shown] = 0;
  return shown == text.size() ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

SQLRETURN report(const std::optional<Failure>& failure, SQLCHAR* state, SQLCHAR* words,
                 SQLSMALLINT room, SQLSMALLINT* length) {
  if (!failure) return SQL_NO_DATA;
  giveText(failure->state, state, 6, nullptr);
  SQLLEN all = 0;
  const SQLRETURN result = giveText(failure->words, words, room, &all);
  if (length != nullptr) *length = static_cast<SQLSMALLINT>(all);
  return result;
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE from, SQLHANDLE* out) {
  if (kind == SQL_HANDLE_ENV) *out = new int;
  if (kind == SQL_HANDLE_DBC) *out = new Connection;
  if (kind == SQL_HANDLE_STMT) *out = new Statement{&connectionOf(from), {}, 0, false, 0, {}, {}};
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT kind, SQLHANDLE handle) {
  if (kind == SQL_HANDLE_ENV) delete static_cast<int*>(handle);
  if (kind == SQL_HANDLE_DBC) delete static_cast<Connection*>(handle);
  if (kind == SQL_HANDLE_STMT) delete static_cast<Statement*>(handle);
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLSetConnectAttr(SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value,
                                    SQLINTEGER) {
  Connection& connection = connectionOf(handle);
  const auto number = reinterpret_cast<SQLULEN>(value);
  if (attribute == SQL_ATTR_LOGIN_TIMEOUT) connection.loginTimeout = number;
  if (attribute == SQL_ATTR_TXN_ISOLATION) {
    connection.log += "isolation " + std::to_string(number) + "|";
  }
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetConnectAttr(SQLHDBC, SQLINTEGER attribute, SQLPOINTER place, SQLINTEGER,
                                    SQLINTEGER*) {
  if (attribute != SQL_ATTR_TXN_ISOLATION) return SQL_ERROR;
  const SQLUINTEGER level = SQL_TXN_READ_COMMITTED;
  std::memcpy(place, &level, sizeof level);
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnect(SQLHDBC handle, SQLHWND, SQLCHAR* text, SQLSMALLINT length,
                                   SQLCHAR* completed, SQLSMALLINT room, SQLSMALLINT* full,
                                   SQLUSMALLINT) {
  Connection& connection = connectionOf(handle);
  connection.options = textOf(text, length);
  if (optionOf(connection, "Server") == "silent")
    return fail(connection, "HYT00",
                "timeout of " + std::to_string(connection.loginTimeout) + " s expired");
  const std::string state = optionOf(connection, "Connect");
  if (!state.empty()) return fail(connection, state, "as the connection string says");
  SQLLEN all = 0;
  giveText(connection.options, completed, room, &all);
  if (full != nullptr) *full = static_cast<SQLSMALLINT>(all);
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDisconnect(SQLHDBC) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLGetInfo(SQLHDBC handle, SQLUSMALLINT which, SQLPOINTER place, SQLSMALLINT room,
                             SQLSMALLINT* length) {
  if (which == SQL_TXN_CAPABLE) {
    const bool all = optionOf(connectionOf(handle), "Tables") != "commit";
    const SQLUSMALLINT capable = all ? SQL_TC_ALL : SQL_TC_DDL_COMMIT;
    std::memcpy(place, &capable, sizeof capable);
    return SQL_SUCCESS;
  }
  if (which == SQL_TXN_ISOLATION_OPTION) {
    const bool offered = optionOf(connectionOf(handle), "Isolation") == "repeatable";
    const SQLUINTEGER levels = SQL_TXN_READ_COMMITTED | (offered ? SQL_TXN_REPEATABLE_READ : 0);
    std::memcpy(place, &levels, sizeof levels);
    return SQL_SUCCESS;
  }
  if (which == SQL_GETDATA_EXTENSIONS) {
    std::memset(place, 0, sizeof(SQLUINTEGER));
    return SQL_SUCCESS;
  }
  SQLLEN all = 0;
  const char* const text = which == SQL_IDENTIFIER_QUOTE_CHAR ? "\"" : "scripted";
  const SQLRETURN result = giveText(text, place, room, &all);
  if (length != nullptr) *length = static_cast<SQLSMALLINT>(all);
  return result;
}

SQLRETURN SQL_API SQLEndTran(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT how) {
  connectionOf(handle).log += how == SQL_COMMIT ? "commit|" : "rollback|";
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetStmtAttr(SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value,
                                 SQLINTEGER) {
  Statement& statement = statementOf(handle);
  const bool refused = optionOf(*statement.connection, "Attributes") == "refused";
  const bool optional = attribute == SQL_ATTR_NOSCAN || attribute == SQL_ATTR_QUERY_TIMEOUT;
  if (refused && optional) return fail(statement, "HYC00", "not implemented");
  if (attribute == SQL_ATTR_QUERY_TIMEOUT) statement.timeout = reinterpret_cast<SQLULEN>(value);
  if (attribute == SQL_ATTR_ROWS_FETCHED_PTR) statement.rowsFetched = static_cast<SQLULEN*>(value);
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLExecDirect(SQLHSTMT handle, SQLCHAR* text, SQLINTEGER length) {
  Statement& statement = statementOf(handle);
  std::string sql = textOf(text, length);
  statement.results.clear();
  statement.at = 0;
  while (!sql.empty()) {
    const std::size_t end = std::min(sql.find(';'), sql.size());
    const std::string one = sql.substr(0, end);
    statement.results.push_back(resultOf(statement, one));
    if (one != "LOG") statement.connection->log += one + "|";
    sql.erase(0, end + 1);
  }
  return enter(statement);
}

SQLRETURN SQL_API SQLMoreResults(SQLHSTMT handle) {
  Statement& statement = statementOf(handle);
  if (statement.at + 1 >= statement.results.size()) return SQL_NO_DATA;
  ++statement.at;
  return enter(statement);
}

SQLRETURN SQL_API SQLGetTypeInfo(SQLHSTMT handle, SQLSMALLINT) { return noRows(handle); }

SQLRETURN SQL_API SQLTables(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR*,
                            SQLSMALLINT, SQLCHAR*, SQLSMALLINT) {
  return noRows(handle);
}

SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT handle, SQLSMALLINT* count) {
  const Statement& statement = statementOf(handle);
  *count = statement.results[statement.at].row ? 1 : 0;
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDescribeCol(SQLHSTMT, SQLUSMALLINT, SQLCHAR* name, SQLSMALLINT room,
                                 SQLSMALLINT* length, SQLSMALLINT* type, SQLULEN* size,
                                 SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  SQLLEN all = 0;
  giveText("x", name, room, &all);
  if (length != nullptr) *length = static_cast<SQLSMALLINT>(all);
  *type = SQL_VARCHAR;
  *size = 3;
  *digits = 0;
  *nullable = SQL_NULLABLE;
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFetch(SQLHSTMT handle) {
  Statement& statement = statementOf(handle);
  if (statement.fetched) return SQL_NO_DATA;
  statement.fetched = true;
  if (statement.rowsFetched != nullptr) *statement.rowsFetched = 1;
  return SQL_SUCCESS;
}

// The driver manager asks for wide texts if the caller does. The texts of tests are ASCII, so a
// copy unit by unit converts them.
SQLRETURN SQL_API SQLGetData(SQLHSTMT handle, SQLUSMALLINT, SQLSMALLINT type, SQLPOINTER place,
                             SQLLEN room, SQLLEN* length) {
  const Statement& statement = statementOf(handle);
  const std::string& text = statement.results[statement.at].row.value();
  if (type != SQL_C_WCHAR) return giveText(text, place, room, length);
  std::u16string wide(text.begin(), text.end());
  const std::size_t bytes = wide.size() * sizeof(char16_t);
  if (bytes + sizeof(char16_t) > static_cast<std::size_t>(room)) return SQL_ERROR;
  std::memcpy(place, wide.c_str(), bytes + sizeof(char16_t));
  *length = static_cast<SQLLEN>(bytes);
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT, SQLUSMALLINT) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLGetDiagRec(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT number,
                                SQLCHAR* state, SQLINTEGER* native, SQLCHAR* words,
                                SQLSMALLINT room, SQLSMALLINT* length) {
  if (number != 1 || kind == SQL_HANDLE_ENV) return SQL_NO_DATA;
  if (native != nullptr) *native = 1;
  return kind == SQL_HANDLE_DBC ? report(connectionOf(handle).failure, state, words, room, length)
                                : report(statementOf(handle).failure, state, words, room, length);
}

// The driver manager asks for failures only if the driver exports this function, too.
SQLRETURN SQL_API SQLGetDiagField(SQLSMALLINT, SQLHANDLE, SQLSMALLINT, SQLSMALLINT, SQLPOINTER,
                                  SQLSMALLINT, SQLSMALLINT*) {
  return SQL_NO_DATA;
}

}  // extern "C"
