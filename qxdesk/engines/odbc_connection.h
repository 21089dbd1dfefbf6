#pragma once

// One connection to an ODBC source: its handles, its transaction, and the meaning of its failures.
// Once the connection is lost it stays lost, and the transaction with it.
//
// Texts travel as UTF-16. For a driver without wide texts the driver manager would convert them and
// drop every character that the narrow character set lacks; such a driver gets UTF-8.
//
// One thread at a time works with a connection, and all of its members are that thread's. Another
// thread may use runAside() between the calls of the first one: each call of the driver is made
// under the lock of the calls.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/memory_watch.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qx::desk {

class OdbcConnection {
 public:
  /// Connects; throws DatabaseError, also if the source does not answer within `timeoutSeconds`.
  OdbcConnection(std::string_view connection, int timeoutSeconds);
  ~OdbcConnection();
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;

  using CallLock = std::unique_lock<std::recursive_mutex>;
  /// Keeps other threads from the driver's calls as long as the result lives.
  CallLock lockCalls() const { return CallLock(calls_); }
  /// The same, but owns nothing if another thread makes a call.
  CallLock tryLockCalls() const { return {calls_, std::try_to_lock}; }
  /// Runs a statement without a result that counts, also from another thread. A failure is left to
  /// the next call, which meets it as well if the connection is lost.
  void runAside(std::string_view sql) const noexcept;

  /// Begins a transaction. `opening` is a statement that the engine takes only before all others
  /// of a transaction; it runs in one turn with the first of them. Empty is none.
  void begin(std::string_view opening = {});
  /// Begins a transaction in which a row that was read cannot be changed by others, if the driver
  /// offers that for this engine.
  void beginRepeatable();
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

  /// Watches the memory of this process from now on, while the driver runs a statement.
  void watchMemory(std::size_t most) { memory_ = std::make_unique<MemoryWatch>(most); }
  /// Returns null if nothing is watched.
  MemoryWatch* memoryWatch() const { return memory_.get(); }

  /// True if texts travel as UTF-16, false for UTF-8.
  bool isWide() const { return wide_; }

  /// True if the driver can return more than the first result of a statement.
  bool hasMoreResults() const { return moreResults_; }

  /// Return a text or a number of SQLGetInfo; empty or 0 if the driver does not know it.
  std::string info(unsigned short which) const;
  unsigned infoNumber(unsigned short which) const;

  /// Returns a new statement handle; the caller releases it with SQLFreeHandle.
  void* newStatement();
  /// Call SQLPrepare and SQLExecDirect and return their result. A transaction whose first
  /// statement is prepared is opened in a turn of its own.
  short prepare(void* statement, std::string& sql);
  short execute(void* statement, std::string& sql);
  /// Throws the DatabaseError of a statement handle's diagnostic record.
  [[noreturn]] void failStatement(void* statement, std::string_view sql = {});

  /// Asks who holds the lock for which a statement waited in vain.
  using LockInquiry = std::function<std::optional<LockHolder>(std::string_view sql)>;
  /// Sets the inquiry that runs after each failure with Fault::Locked. It may use this connection.
  void setLockInquiry(LockInquiry inquiry) { lockInquiry_ = std::move(inquiry); }
  /// Sets what is called before each statement runs. It must not throw, and may use runAside().
  void setBeforeStatement(std::function<void()> before) { beforeStatement_ = std::move(before); }
  /// To be called before a statement runs.
  void statementBegins() const {
    if (beforeStatement_) beforeStatement_();
  }
  /// Runs what begin() was given, if no statement of the transaction has taken it along yet. To be
  /// called before a prepared statement runs.
  void openPending() {
    if (!opening_.empty()) openTransaction();
  }

 private:
  struct Handles;

  void connect(std::string_view connection, int timeoutSeconds);
  void setAutocommit(bool on);
  void endTransaction(short how);
  [[noreturn]] void failConnection();
  DatabaseError failureOf(short kind, void* handle);
  std::optional<LockHolder> askForHolder(std::string_view sql);
  void noteFailure(const DatabaseError& error);
  short send(void* statement, std::string& sql) const;
  void openTransaction();
  void restoreIsolation();
  bool isDead() const;
  bool passesWideTexts() const;
  bool has(unsigned short function) const;

  std::unique_ptr<Handles> handles_;
  std::string completed_;
  int statementTimeoutSeconds_ = 0;
  bool wide_ = true;
  bool moreResults_ = true;
  bool inTransaction_ = false;
  std::string opening_;  // not run yet in the open transaction
  LockInquiry lockInquiry_;
  std::function<void()> beforeStatement_;
  mutable std::recursive_mutex calls_;
  unsigned long usualIsolation_ = 0;  // in a transaction with another one
  std::optional<DatabaseError> lost_;
  std::unique_ptr<MemoryWatch> memory_;
};

}  // namespace qx::desk
