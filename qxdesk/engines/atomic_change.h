#pragma once

// One change of the company's tables, made of several statements: all or nothing, alone or within
// an open transaction. Processes make such changes one after the other.

#include "qxdesk/engines/database.h"

namespace qx::desk {

class AtomicChange {
 public:
  /// Begins a transaction, or sets a savepoint in the open one, and takes the engine's lock.
  /// Throws DatabaseError.
  explicit AtomicChange(Database& database);
  /// Rolls the change back unless it was committed. If the engine cannot roll back a part of the
  /// open transaction, all of that transaction is rolled back.
  ~AtomicChange();
  AtomicChange(const AtomicChange&) = delete;
  AtomicChange& operator=(const AtomicChange&) = delete;
  /// Keeps the change, within an open transaction until that one ends. Throws DatabaseError.
  void commit();

 private:
  void rollBack() noexcept;
  bool rollsBack(void (Database::*how)()) noexcept;

  Database& database_;
  bool nested_;
  bool done_ = false;
};

}  // namespace qx::desk
