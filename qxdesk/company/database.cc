#include "qxdesk/company/database.h"

namespace qx::desk {

namespace {

std::string quoted(std::string_view text, char quote) {
  std::string result(1, quote);
  for (const char c : text) {
    if (c == quote) result += quote;
    result += c;
  }
  return result + quote;
}

}  // namespace

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

AtomicChange::AtomicChange(Database& database)
    : database_(database), nested_(database.inTransaction()) {
  // Writing from the start: a change that begins by reading could not wait for another writer.
  database_.execute(nested_ ? "SAVEPOINT qx_change" : "BEGIN IMMEDIATE");
}

AtomicChange::~AtomicChange() {
  if (done_ || !database_.inTransaction()) return;
  try {
    if (nested_) {
      database_.execute("ROLLBACK TO qx_change");
      database_.execute("RELEASE qx_change");
    } else {
      database_.execute("ROLLBACK");
    }
  } catch (const std::exception&) {
    // The first failure is on its way to the caller; the engine rolls back when it closes.
  }
}

void AtomicChange::commit() {
  database_.execute(nested_ ? "RELEASE qx_change" : "COMMIT");
  done_ = true;
}

std::string quotedName(std::string_view text) { return quoted(text, '"'); }
std::string quotedText(std::string_view text) { return quoted(text, '\''); }

}  // namespace qx::desk
