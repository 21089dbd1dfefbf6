#pragma once

// Savepoints of an engine about which nothing is known. Engines spell them differently or have
// none, so each spelling is tried until the engine accepts one.

#include "qxdesk/engines/database.h"

#include <cstddef>
#include <optional>

namespace qx::desk {

class OdbcConnection;

class PlainSavepoints {
 public:
  /// Both must outlive this object.
  PlainSavepoints(Database& database, const OdbcConnection& connection)
      : database_(database), connection_(connection) {}

  /// Throws DatabaseError with NoSavepoints if the engine has none, or if it ends the transaction
  /// when a table changes.
  void set();
  /// Valid after set(); rollBack() also releases the savepoint.
  void rollBack();
  void release();

 private:
  void find();

  Database& database_;
  const OdbcConnection& connection_;
  std::optional<std::size_t> spelling_;  // index of the one that the engine accepted
  std::optional<DatabaseError> none_;    // set once all were refused
};

}  // namespace qx::desk
