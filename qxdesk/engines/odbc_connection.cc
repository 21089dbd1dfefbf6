#include "qxdesk/engines/odbc_connection.h"

#include "qxdesk/engines/odbc_error.h"
#include "qxframework/automation/text.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <array>
#include <utility>
#include <vector>

namespace qx::desk {

namespace {

// Ample: a driver that is given little room cuts its list of options short without a warning.
constexpr std::size_t kCompletedUnits = 16 * 1024;

SQLPOINTER number(SQLULEN value) { return reinterpret_cast<SQLPOINTER>(value); }

struct StatementHandle {
  ~StatementHandle() { SQLFreeHandle(SQL_HANDLE_STMT, statement); }
  SQLHSTMT statement;
};

}  // namespace

struct OdbcConnection::Handles {
  ~Handles() {
    if (connected) SQLDisconnect(connection);
    if (connection != nullptr) SQLFreeHandle(SQL_HANDLE_DBC, connection);
    if (environment != nullptr) SQLFreeHandle(SQL_HANDLE_ENV, environment);
  }

  SQLHENV environment = nullptr;
  SQLHDBC connection = nullptr;
  bool connected = false;
};

OdbcConnection::OdbcConnection(std::string_view connection, int timeoutSeconds)
    : handles_(std::make_unique<Handles>()) {
  connect(connection, timeoutSeconds);
}

OdbcConnection::~OdbcConnection() {
  const CallLock lock = lockCalls();
  // SQLDisconnect refuses to close a connection with an open transaction.
  if (inTransaction_) SQLEndTran(SQL_HANDLE_DBC, handles_->connection, SQL_ROLLBACK);
}

void OdbcConnection::connect(std::string_view connection, int timeoutSeconds) {
  Handles& handles = *handles_;
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handles.environment)) ||
      !SQL_SUCCEEDED(
          SQLSetEnvAttr(handles.environment, SQL_ATTR_ODBC_VERSION, number(SQL_OV_ODBC3), 0)) ||
      !SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, handles.environment, &handles.connection))) {
    throw DatabaseError(Fault::NoDriver, "the ODBC driver manager does not start");
  }
  // Its result does not matter: a driver without this attribute connects all the same.
  SQLSetConnectAttrW(handles.connection, SQL_ATTR_LOGIN_TIMEOUT,
                     number(static_cast<SQLULEN>(timeoutSeconds)), 0);
  std::u16string text = toUtf16(connection);
  std::vector<char16_t> completed(kCompletedUnits);
  SQLSMALLINT length = 0;
  const SQLRETURN result =
      SQLDriverConnectW(handles.connection, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()),
                        SQL_NTS, reinterpret_cast<SQLWCHAR*>(completed.data()),
                        static_cast<SQLSMALLINT>(completed.size()), &length, SQL_DRIVER_NOPROMPT);
  if (!SQL_SUCCEEDED(result)) {
    // Wide, since the driver's abilities are unknown before a connection exists.
    const OdbcDiagnosis diagnosis = diagnose(SQL_HANDLE_DBC, handles.connection, true);
    throw DatabaseError(faultOfConnect(diagnosis), diagnosis.message);
  }
  handles.connected = true;
  completed.back() = 0;  // a driver may fill the buffer without a terminator
  completed_ = toUtf8(completed.data());
  wide_ = passesWideTexts();
  moreResults_ = has(SQL_API_SQLMORERESULTS);
}

bool OdbcConnection::has(unsigned short function) const {
  SQLUSMALLINT there = SQL_FALSE;
  return SQL_SUCCEEDED(SQLGetFunctions(handles_->connection, function, &there)) &&
         there == SQL_TRUE;
}

// SQLNativeSql returns a statement as the driver would send it. If characters beyond the narrow
// character set come back changed, the driver has no wide texts. A driver without the function is
// given the benefit of the doubt.
bool OdbcConnection::passesWideTexts() const {
  std::u16string sql = u"SELECT '\u00E4\u4E2D\U0001F600'";
  std::array<char16_t, 64> back{};
  SQLINTEGER length = 0;
  const SQLRETURN result =
      SQLNativeSqlW(handles_->connection, reinterpret_cast<SQLWCHAR*>(sql.data()),
                    static_cast<SQLINTEGER>(sql.size()), reinterpret_cast<SQLWCHAR*>(back.data()),
                    static_cast<SQLINTEGER>(back.size()), &length);
  return !SQL_SUCCEEDED(result) || std::u16string_view(back.data()) == sql;
}

void OdbcConnection::begin(std::string_view opening) {
  const CallLock lock = lockCalls();
  needAlive();
  setAutocommit(false);
  inTransaction_ = true;
  opening_ = opening;
}

// The attribute can be changed outside of a transaction only. The levels are numbers that grow with
// their strictness.
void OdbcConnection::beginRepeatable() {
  const CallLock lock = lockCalls();
  needAlive();
  constexpr SQLUINTEGER kWanted = SQL_TXN_REPEATABLE_READ;
  SQLUINTEGER usual = kWanted;
  const bool offered =
      (infoNumber(SQL_TXN_ISOLATION_OPTION) & kWanted) != 0 &&
      SQL_SUCCEEDED(SQLGetConnectAttrW(handles_->connection, SQL_ATTR_TXN_ISOLATION, &usual,
                                       sizeof usual, nullptr));
  if (offered && usual < kWanted &&
      SQL_SUCCEEDED(
          SQLSetConnectAttrW(handles_->connection, SQL_ATTR_TXN_ISOLATION, number(kWanted), 0))) {
    usualIsolation_ = usual;
  }
  begin();
}

void OdbcConnection::restoreIsolation() {
  if (usualIsolation_ == 0) return;
  SQLSetConnectAttrW(handles_->connection, SQL_ATTR_TXN_ISOLATION,
                     number(std::exchange(usualIsolation_, 0)), 0);
}

void OdbcConnection::commit() {
  const CallLock lock = lockCalls();
  needAlive();
  try {
    endTransaction(SQL_COMMIT);
  } catch (const DatabaseError& error) {
    if (error.fault() != Fault::ConnectionLost) throw;
    // The server may have committed before the answer was lost.
    throw DatabaseError(Fault::CommitUnknown, error.what());
  }
}

void OdbcConnection::rollback() {
  const CallLock lock = lockCalls();
  if (lost_) return;
  try {
    endTransaction(SQL_ROLLBACK);
  } catch (const DatabaseError& error) {
    // The server rolls back what a lost connection leaves open.
    if (error.fault() != Fault::ConnectionLost) throw;
  }
}

void OdbcConnection::endTransaction(short how) {
  if (!SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, handles_->connection, how))) failConnection();
  inTransaction_ = false;
  opening_.clear();
  setAutocommit(true);
  restoreIsolation();
}

void OdbcConnection::setAutocommit(bool on) {
  const SQLRETURN result =
      SQLSetConnectAttrW(handles_->connection, SQL_ATTR_AUTOCOMMIT,
                         number(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0);
  if (!SQL_SUCCEEDED(result)) failConnection();
}

// The driver is asked, since a connection may be lost without any call having failed: some drivers
// report the loss as the end of the rows.
void OdbcConnection::needAlive() {
  const CallLock lock = lockCalls();
  if (!lost_ && isDead()) {
    lost_ = DatabaseError(Fault::ConnectionLost, "the server is gone");
    inTransaction_ = false;
  }
  if (lost_) throw *lost_;
}

bool OdbcConnection::isDead() const {
  SQLUINTEGER dead = SQL_CD_FALSE;
  const SQLRETURN result = SQLGetConnectAttrW(handles_->connection, SQL_ATTR_CONNECTION_DEAD, &dead,
                                              sizeof dead, nullptr);
  return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

std::string OdbcConnection::info(unsigned short which) const {
  const CallLock lock = lockCalls();
  std::array<char16_t, 256> text{};
  SQLSMALLINT bytes = 0;
  const SQLRETURN result = SQLGetInfoW(handles_->connection, which, text.data(),
                                       static_cast<SQLSMALLINT>(sizeof text), &bytes);
  if (!SQL_SUCCEEDED(result)) return {};
  return toUtf8(std::u16string_view(text.data()));
}

unsigned OdbcConnection::infoNumber(unsigned short which) const {
  const CallLock lock = lockCalls();
  SQLUINTEGER value = 0;
  const SQLRETURN result = SQLGetInfoW(handles_->connection, which, &value, sizeof value, nullptr);
  return SQL_SUCCEEDED(result) ? value : 0;
}

void* OdbcConnection::newStatement() {
  const CallLock lock = lockCalls();
  if (lost_) throw *lost_;
  SQLHSTMT statement = nullptr;
  const SQLRETURN result = SQLAllocHandle(SQL_HANDLE_STMT, handles_->connection, &statement);
  if (!SQL_SUCCEEDED(result)) failConnection();
  return statement;
}

short OdbcConnection::prepare(void* statement, std::string& sql) {
  const CallLock lock = lockCalls();
  openPending();
  if (!wide_) {
    return SQLPrepare(statement, reinterpret_cast<SQLCHAR*>(sql.data()),
                      static_cast<SQLINTEGER>(sql.size()));
  }
  std::u16string text = toUtf16(sql);
  return SQLPrepareW(statement, reinterpret_cast<SQLWCHAR*>(text.data()),
                     static_cast<SQLINTEGER>(text.size()));
}

short OdbcConnection::execute(void* statement, std::string& sql) {
  const CallLock lock = lockCalls();
  if (opening_.empty()) return send(statement, sql);
  std::string both = opening_ + "; " + sql;
  const SQLRETURN result = send(statement, both);
  // After a failure of the first statement the driver begins the transaction anew.
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) opening_.clear();
  return result;
}

short OdbcConnection::send(void* statement, std::string& sql) const {
  if (!wide_) {
    return SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(sql.data()),
                         static_cast<SQLINTEGER>(sql.size()));
  }
  std::u16string text = toUtf16(sql);
  return SQLExecDirectW(statement, reinterpret_cast<SQLWCHAR*>(text.data()),
                        static_cast<SQLINTEGER>(text.size()));
}

void OdbcConnection::openTransaction() {
  const StatementHandle own{newStatement()};
  if (!SQL_SUCCEEDED(send(own.statement, opening_))) failStatement(own.statement);
  opening_.clear();
}

// Touches none of the members that belong to the connection's own thread.
void OdbcConnection::runAside(std::string_view sql) const noexcept {
  const CallLock lock = lockCalls();
  SQLHSTMT statement = nullptr;
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, handles_->connection, &statement))) return;
  const StatementHandle own{statement};
  std::string text(sql);
  send(own.statement, text);
}

void OdbcConnection::failStatement(void* statement, std::string_view sql) {
  const CallLock lock = lockCalls();
  const DatabaseError error = failureOf(SQL_HANDLE_STMT, statement);
  if (error.fault() != Fault::Locked || lockInquiry_ == nullptr) throw error;
  throw DatabaseError(error.fault(), error.what(), askForHolder(sql));
}

// The answer is a help for the user: a failure to get it must not hide the first one, and it must
// leave the transaction as it is.
std::optional<LockHolder> OdbcConnection::askForHolder(std::string_view sql) {
  // Taken out, so that no inquiry leads to another one.
  const LockInquiry inquiry = std::exchange(lockInquiry_, nullptr);
  const std::string opening = std::exchange(opening_, {});
  std::optional<LockHolder> holder;
  try {
    holder = inquiry(sql);
  } catch (const DatabaseError&) {
  }
  lockInquiry_ = inquiry;
  // Nothing else has run in the transaction yet. Without this it would see the rows as they were
  // at the time of the inquiry.
  if (!opening.empty() && inTransaction_) {
    SQLEndTran(SQL_HANDLE_DBC, handles_->connection, SQL_ROLLBACK);
    opening_ = opening;
  }
  return holder;
}

void OdbcConnection::failConnection() { throw failureOf(SQL_HANDLE_DBC, handles_->connection); }

DatabaseError OdbcConnection::failureOf(short kind, void* handle) {
  const OdbcDiagnosis diagnosis = diagnose(kind, handle, wide_);
  // Drivers report a broken connection under many states, so the connection itself is asked first.
  DatabaseError error(isDead() ? Fault::ConnectionLost : faultOfStatement(diagnosis),
                      diagnosis.message);
  noteFailure(error);
  return error;
}

void OdbcConnection::noteFailure(const DatabaseError& error) {
  if (error.fault() == Fault::ConnectionLost) {
    lost_ = error;
    inTransaction_ = false;
  }
  const bool over = error.fault() == Fault::Conflict || error.fault() == Fault::Deadlock ||
                    error.fault() == Fault::RolledBack || error.fault() == Fault::Aborted;
  if (over && inTransaction_) {
    // Some engines have ended it already; others wait for ROLLBACK and refuse everything else.
    inTransaction_ = false;
    opening_.clear();
    SQLEndTran(SQL_HANDLE_DBC, handles_->connection, SQL_ROLLBACK);
    SQLSetConnectAttrW(handles_->connection, SQL_ATTR_AUTOCOMMIT, number(SQL_AUTOCOMMIT_ON), 0);
    restoreIsolation();
  }
}

}  // namespace qx::desk
