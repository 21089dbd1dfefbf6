#pragma once

// The locks of a PostgreSQL server as the company uses and reports them.
//
// Programs that make tables take an advisory lock of the database: one change of them until its
// end, and a program that checks many tables for as long as that takes. It is one lock for both, so
// that a check is also safe against programs that only make the changes.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// Takes the lock for one change of tables, until the end of the transaction. Throws DatabaseError,
/// with Conflict if others have changed tables since the transaction has seen its rows.
void lockChangeOfTables(Database& database);

class PostgresLocks {
 public:
  /// `database` must outlive this object.
  PostgresLocks(Database& database, const CompanyEnvironment& environment)
      : database_(database), environment_(environment) {}

  /// See Database. All throw DatabaseError.
  bool lockTables(std::chrono::milliseconds most);
  void unlockTables();
  std::optional<LockHolder> tablesHolder();
  void alterTable(std::string_view sql);

  /// Returns who probably holds what a statement waited for in vain: of the other sessions that may
  /// change one of its tables, the one with the oldest transaction.
  std::optional<LockHolder> holderFor(std::string_view sql);

 private:
  bool tryLock(std::chrono::milliseconds most);
  /// Returns true if this session has the lock.
  bool hasTables();
  std::string withTimeout(std::chrono::milliseconds most, std::string_view sql) const;
  std::optional<LockHolder> firstHolder(std::string_view sql);

  Database& database_;
  CompanyEnvironment environment_;
};

}  // namespace qx::desk
