#pragma once

// A point in a transaction to which an engine about which nothing is known can be rolled back.
// Engines spell it differently or have none, so the spellings are tried until one is taken.

#include "qxdesk/engines/database.h"

#include <cstddef>
#include <optional>

namespace qx::desk {

class OdbcConnection;

class PlainSavepoints {
 public:
  /// Both must outlive this.
  PlainSavepoints(Database& database, const OdbcConnection& connection)
      : database_(database), connection_(connection) {}

  /// Raises NoSavepoints, also where a change of a table ends the transaction.
  void set();
  void rollBack();
  void release();

 private:
  void find();

  Database& database_;
  const OdbcConnection& connection_;
  std::optional<std::size_t> spelling_;
  std::optional<DatabaseError> none_;
};

}  // namespace qx::desk
