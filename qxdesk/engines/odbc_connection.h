#pragma once

// One connection to an ODBC source: its handles, its transaction, and the meaning of its failures.
// Once the connection is lost it stays lost, and the transaction with it.
//
// Texts travel as UTF-16. For a driver without wide texts the driver manager would convert them and
// drop every character that the narrow character set lacks; such a driver gets UTF-8.

#include "qxdesk/engines/database.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

class OdbcConnection {
 public:
  /// Connects; throws DatabaseError, also if the source does not answer within `timeoutSeconds`.
  OdbcConnection(std::string_view connection, int timeoutSeconds);
  ~OdbcConnection();
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;

  void begin();
  void commit();
  /// Succeeds also if the connection is lost, since the transaction ended with it; later calls
  /// report the loss.
  void rollback();
  bool inTransaction() const { return inTransaction_; }
  const std::optional<DatabaseError>& lost() const { return lost_; }
  /// Throws DatabaseError if the connection is lost, also if no statement has failed yet.
  void needAlive();

  /// Returns the driver's own list of all its options. It contains the password.
  const std::string& completed() const { return completed_; }

  /// The time that a statement may run, if the driver supports a limit; 0 is no limit.
  int statementTimeoutSeconds() const { return statementTimeoutSeconds_; }
  void setStatementTimeoutSeconds(int seconds) { statementTimeoutSeconds_ = seconds; }

  /// True if texts travel as UTF-16, false for UTF-8.
  bool isWide() const { return wide_; }

  /// True if the driver can return more than the first result of a statement.
  bool hasMoreResults() const { return moreResults_; }

  /// Return a text or a number of SQLGetInfo; empty or 0 if the driver does not know it.
  std::string info(unsigned short which) const;
  unsigned infoNumber(unsigned short which) const;

  /// Returns a new statement handle; the caller releases it with SQLFreeHandle.
  void* newStatement();
  /// Call SQLPrepare and SQLExecDirect and return their result.
  short prepare(void* statement, std::string& sql) const;
  short execute(void* statement, std::string& sql) const;
  /// Throws the DatabaseError of a statement handle's diagnostic record.
  [[noreturn]] void failStatement(void* statement);

 private:
  struct Handles;

  void connect(std::string_view connection, int timeoutSeconds);
  void setAutocommit(bool on);
  void endTransaction(short how);
  [[noreturn]] void failConnection();
  [[noreturn]] void fail(short kind, void* handle);
  void noteFailure(const DatabaseError& error);
  bool isDead() const;
  bool passesWideTexts() const;
  bool has(unsigned short function) const;

  std::unique_ptr<Handles> handles_;
  std::string completed_;
  int statementTimeoutSeconds_ = 0;
  bool wide_ = true;
  bool moreResults_ = true;
  bool inTransaction_ = false;
  std::optional<DatabaseError> lost_;
};

}  // namespace qx::desk
