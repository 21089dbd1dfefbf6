#include "qxdesk/engines/atomic_change.h"

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

AtomicChange::AtomicChange(Database& database)
    : database_(database), nested_(database.inTransaction()) {
  if (nested_) {
    database_.setSavepoint();
  } else {
    database_.beginChangeOfTables();
  }
  // The destructor does not run if the constructor throws.
  try {
    database_.tables().lock(database_);
  } catch (...) {
    rollBack();
    throw;
  }
}

AtomicChange::~AtomicChange() {
  if (!done_) rollBack();
}

void AtomicChange::rollBack() noexcept {
  database_.tableChanged();
  if (nested_ && rollsBack(&Database::rollBackToSavepoint)) return;
  // Half of the change must not be committed with the rest, so the rest goes, too.
  rollsBack(&Database::rollback);
}

// Swallows the failure: the one that led here is already on its way to the caller.
bool AtomicChange::rollsBack(void (Database::*how)()) noexcept {
  try {
    // The engine may have ended the transaction by itself; then nothing is left to roll back.
    if (database_.inTransaction()) (database_.*how)();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void AtomicChange::commit() {
  database_.tableChanged();
  if (nested_) {
    database_.releaseSavepoint();
  } else {
    database_.commit();
  }
  done_ = true;
}

}  // namespace qx::desk
