#include "qxdesk/engines/database.h"

#include "qxdesk/sql/numbers.h"

namespace qx::desk {

StoredValue Statement::value(int column) const {
  StoredValue value;
  value.storage = storage(column);
  if (value.storage == Storage::Integer) value.integer = integer(column);
  if (value.storage == Storage::Real) value.real = real(column);
  if (value.storage == Storage::Text) value.text = text(column);
  return value;
}

void Statement::bindDecimal(int parameter, std::string_view value) {
  const bool negative = value.starts_with('-');
  const double size = sql::nearestDouble(value.substr(negative ? 1 : 0)).value_or(0);
  bind(parameter, negative ? -size : size);
}

std::unique_ptr<Statement> Database::prepareRepeated(std::string_view /*sql*/, int /*parameters*/) {
  return nullptr;
}

void Database::execute(std::string_view sql) {
  const std::unique_ptr<Statement> statement = prepare(sql);
  // A statement that returns rows has done its work only after the last one.
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
  // The rollback leaves the savepoint itself in place.
  releaseSavepoint();
}

void Database::releaseSavepoint() { execute("RELEASE SAVEPOINT qx_change"); }

std::string bracketed(std::string_view name) {
  std::string result = "[";
  for (const char c : name) {
    if (c == ']') result += c;
    result += c;
  }
  return result + "]";
}

std::string quotedText(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') result += c;
    result += c;
  }
  return result + "'";
}

}  // namespace qx::desk
