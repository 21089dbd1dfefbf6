#pragma once

// One connection to an ODBC source: its handles, its transaction, and what its failures mean. Once
// the connection is lost it stays lost, and the transaction with it.
//
// Texts travel as UTF-16. A driver that knows no wide texts would get them by way of the driver
// manager, which drops what its narrow character set does not have; such a driver gets UTF-8.

#include "qxdesk/engines/database.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

class OdbcConnection {
 public:
  /// Raises DatabaseError when the source does not answer within `timeoutSeconds`.
  OdbcConnection(std::string_view connection, int timeoutSeconds);
  ~OdbcConnection();
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;

  void begin();
  void commit();
  /// Of what went with the connection, too; later calls tell that it is lost.
  void rollback();
  bool inTransaction() const { return inTransaction_; }
  const std::optional<DatabaseError>& lost() const { return lost_; }
  /// Raises when the connection is lost, also when nobody has noticed yet.
  void needAlive();

  /// The driver's own account of how it is connected: all of its options. Holds the password.
  const std::string& completed() const { return completed_; }

  /// How long a statement may run, where the driver takes that; 0 for ever.
  int statementTimeoutSeconds() const { return statementTimeoutSeconds_; }
  void setStatementTimeoutSeconds(int seconds) { statementTimeoutSeconds_ = seconds; }

  /// Whether texts are UTF-16 on their way, else UTF-8.
  bool isWide() const { return wide_; }

  /// Whether the driver tells of more than the first result of a statement.
  bool hasMoreResults() const { return moreResults_; }

  /// Texts and numbers of SQLGetInfo.
  std::string info(unsigned short which) const;
  unsigned infoNumber(unsigned short which) const;

  /// A new statement handle; the caller releases it by SQLFreeHandle.
  void* newStatement();
  /// SQLPrepare and SQLExecDirect.
  short prepare(void* statement, std::string& sql) const;
  short execute(void* statement, std::string& sql) const;
  /// Raises the DatabaseError that the handle of a statement tells of.
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
