#include "qxdesk/engines/database.h"

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

StoredValue Statement::value(int column) const {
  StoredValue value;
  value.storage = storage(column);
  if (value.storage == Storage::Integer) value.integer = integer(column);
  if (value.storage == Storage::Real) value.real = real(column);
  if (value.storage == Storage::Text) value.text = text(column);
  return value;
}

void Database::execute(std::string_view sql) {
  const std::unique_ptr<Statement> statement = prepare(sql);
  while (statement->step()) {
  }
}

std::int64_t Database::queryInteger(std::string_view sql) {
  const std::unique_ptr<Statement> statement = prepare(sql);
  return statement->step() ? statement->integer(0) : 0;
}

std::string Database::queryText(std::string_view sql) {
  const std::unique_ptr<Statement> statement = prepare(sql);
  return statement->step() ? std::string(statement->text(0)) : std::string();
}

void Database::setSavepoint() { execute("SAVEPOINT qx_change"); }

void Database::rollBackToSavepoint() {
  execute("ROLLBACK TO SAVEPOINT qx_change");
  releaseSavepoint();
}

void Database::releaseSavepoint() { execute("RELEASE SAVEPOINT qx_change"); }

AtomicChange::AtomicChange(Database& database)
    : database_(database), nested_(database.inTransaction()) {
  if (nested_) {
    database_.setSavepoint();
  } else {
    database_.begin();
  }
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
  if (nested_ && rollsBack(&Database::rollBackToSavepoint)) return;
  // Half of the change must not be committed with the rest, so the rest goes, too.
  rollsBack(&Database::rollback);
}

// A failure is not told: the one that led here is on its way to the caller.
bool AtomicChange::rollsBack(void (Database::*how)()) noexcept {
  try {
    if (database_.inTransaction()) (database_.*how)();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void AtomicChange::commit() {
  if (nested_) {
    database_.releaseSavepoint();
  } else {
    database_.commit();
  }
  done_ = true;
}

std::string bracketed(std::string_view name) { return "[" + std::string(name) + "]"; }

std::string quotedText(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') result += c;
    result += c;
  }
  return result + "'";
}

}  // namespace qx::desk
