#include "qxdesk/dictionary/dictionary_keys.h"

#include "qxdesk/dictionary/dictionary_layouts.h"
#include "qxdesk/dictionary/dictionary_names.h"
#include "qxdesk/engines/atomic_change.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"

#include <algorithm>

namespace qx::desk {

namespace {

// Index names share one space in the whole database, so the table's name is part of them.
std::string indexName(std::string_view table, std::string_view key) {
  return "KEY " + std::string(table) + " " + std::string(key);
}

void checkKeyName(const UserKey& key) {
  if (key.name.empty()) throw CompanyError(kInvalidValue, Text::KeyNameEmpty, key.table);
  checkName(key.name);
  if (key.name.size() > kMaxKeyName) {
    throw CompanyError(kInvalidValue, Text::KeyNameTooLong, key.name, std::to_string(kMaxKeyName));
  }
}

}  // namespace

std::optional<UserKey> DictionaryKeys::find(std::string_view table, long index) {
  const std::optional<std::string> real = DictionaryLayouts(database_).resolve(table);
  if (!real) return std::nullopt;
  return KeyRows(database_).find(*real, index);
}

void DictionaryKeys::add(UserKey key) {
  AtomicChange change(database_);
  key.table = DictionaryLayouts(database_).need(key.table);
  check(key);
  makeIndex(key);
  KeyRows(database_).insert(key);
  change.commit();
}

// Replaces the aliases in the key by the real columns.
void DictionaryKeys::check(UserKey& key) {
  // The name first: the messages that follow quote it.
  checkKeyName(key);
  if (KeyRows(database_).findId(key.table, key.name)) {
    throw CompanyError(kAlreadyExists, Text::KeyExists, key.name, key.table);
  }
  if (key.columns.empty()) {
    throw CompanyError(kInvalidValue, Text::KeyWithoutColumns, key.name, key.table);
  }
  for (auto column = key.columns.begin(); column != key.columns.end(); ++column) {
    *column = realColumn(key.table, *column);
    // Two aliases may lead to the same column, so the real ones are compared.
    if (std::find(key.columns.begin(), column, *column) != column) {
      throw CompanyError(kInvalidValue, Text::KeyColumnTwice, key.name, *column);
    }
  }
}

std::string DictionaryKeys::realColumn(const std::string& table, const std::string& alias) {
  if (const auto shape = FieldRows(database_).findShape(table, alias)) {
    return columnName(shape->name);
  }
  for (const ColumnLayout& column : DictionaryLayouts(database_).layoutOf(table).columns) {
    if (sameName(column.name, alias)) return column.name;
  }
  throw CompanyError(kNotFound, Text::KeyColumnMissing, alias, table);
}

void DictionaryKeys::makeIndex(const UserKey& key) {
  std::string sql = key.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
  sql += bracketed(indexName(key.table, key.name)) + " ON " + bracketed(key.table) + " (" +
         columnList(key.columns) + ")";
  try {
    database_.execute(sql);
  } catch (const DatabaseError& error) {
    // Rows that are already equal are the author's mistake and no failure of the database.
    if (error.fault() != Fault::Unique) throw;
    throw CompanyError(kInvalidValue, Text::KeyNotUnique, key.name, key.table);
  }
}

void DictionaryKeys::remove(std::string_view table, std::string_view name) {
  AtomicChange change(database_);
  const std::string real = DictionaryLayouts(database_).need(table);
  const std::optional<long> id = KeyRows(database_).findId(real, name);
  if (!id) throw CompanyError(kNotFound, Text::KeyMissing, name, real);
  database_.tables().dropIndex(database_, indexName(real, name));
  KeyRows(database_).remove(real, *id);
  change.commit();
}

void DictionaryKeys::remakeIndexes(const std::string& table) {
  KeyRows rows(database_);
  for (long i = 0; const std::optional<UserKey> key = rows.find(table, i); ++i) makeIndex(*key);
}

}  // namespace qx::desk
