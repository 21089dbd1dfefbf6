#include "qxdesk/dictionary/dictionary.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"

#include <algorithm>

namespace qx::desk {

namespace {

constexpr std::size_t kMaxKeyName = 10;

// Index names are one space for the whole database.
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

std::optional<long> Dictionary::findKeyId(const std::string& table, std::string_view name) {
  const auto row = database_.prepare(
      "SELECT [KeyNo] FROM [HVUKEY] WHERE [TableName] = ? AND UPPER([KeyName]) = ?");
  row->bind(1, std::string_view(table));
  row->bind(2, std::string_view(upperName(name)));
  if (!row->step()) return std::nullopt;
  return static_cast<long>(row->integer(0));
}

std::vector<std::string> Dictionary::keyColumns(const std::string& table, long id) {
  const auto row = database_.prepare(
      "SELECT [ColumnAlias] FROM [HVUKCOL] WHERE [TableName] = ? AND [KeyNo] = ? "
      "ORDER BY [ColumnNo]");
  row->bind(1, std::string_view(table));
  row->bind(2, static_cast<std::int64_t>(id));
  std::vector<std::string> columns;
  while (row->step()) columns.emplace_back(row->text(0));
  return columns;
}

std::optional<UserKey> Dictionary::findKey(std::string_view table, long index) {
  const std::optional<std::string> real = resolveTable(table);
  if (!real || index < 0) return std::nullopt;
  const auto row = database_.prepare(
      "SELECT [KeyNo], [KeyName], [IsUnique] FROM [HVUKEY] WHERE [TableName] = ? ORDER BY [KeyNo]");
  row->bind(1, std::string_view(*real));
  for (long i = 0; i <= index; ++i) {
    if (!row->step()) return std::nullopt;
  }
  return UserKey{*real, std::string(row->text(1)), row->text(2) == "Y",
                 keyColumns(*real, static_cast<long>(row->integer(0)))};
}

void Dictionary::addKey(UserKey key) {
  AtomicChange change(database_);
  key.table = needTable(key.table);
  checkKey(key);
  makeIndex(key);
  insertKeyRows(key);
  change.commit();
}

// Leaves the real columns in the key.
void Dictionary::checkKey(UserKey& key) {
  checkKeyName(key);
  if (findKeyId(key.table, key.name)) {
    throw CompanyError(kAlreadyExists, Text::KeyExists, key.name, key.table);
  }
  if (key.columns.empty()) {
    throw CompanyError(kInvalidValue, Text::KeyWithoutColumns, key.name, key.table);
  }
  for (auto column = key.columns.begin(); column != key.columns.end(); ++column) {
    *column = keyColumn(key.table, *column);
    if (std::find(key.columns.begin(), column, *column) != column) {
      throw CompanyError(kInvalidValue, Text::KeyColumnTwice, key.name, *column);
    }
  }
}

std::string Dictionary::keyColumn(const std::string& table, const std::string& alias) {
  if (const auto shape = findShape(table, alias)) return columnName(shape->name);
  for (const ColumnLayout& column : layoutOf(table).columns) {
    if (sameName(column.name, alias)) return column.name;
  }
  throw CompanyError(kNotFound, Text::KeyColumnMissing, alias, table);
}

void Dictionary::makeIndex(const UserKey& key) {
  std::string sql = key.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
  sql += bracketed(indexName(key.table, key.name)) + " ON " + bracketed(key.table) + " (" +
         columnList(key.columns) + ")";
  try {
    database_.execute(sql);
  } catch (const DatabaseError& error) {
    if (error.fault() != Fault::Unique) throw;
    throw CompanyError(kInvalidValue, Text::KeyNotUnique, key.name, key.table);
  }
}

void Dictionary::insertKeyRows(const UserKey& key) {
  const std::int64_t id = database_.queryInteger(
      "SELECT COALESCE(MAX([KeyNo]) + 1, 0) FROM [HVUKEY] WHERE [TableName] = " +
      quotedText(key.table));
  const auto row = database_.prepare(
      "INSERT INTO [HVUKEY] ([TableName], [KeyNo], [KeyName], [IsUnique]) VALUES (?, ?, ?, ?)");
  row->bind(1, std::string_view(key.table));
  row->bind(2, id);
  row->bind(3, std::string_view(key.name));
  row->bind(4, std::string_view(key.unique ? "Y" : "N"));
  row->step();
  std::int64_t number = 0;
  for (const std::string& column : key.columns) {
    const auto element = database_.prepare(
        "INSERT INTO [HVUKCOL] ([TableName], [KeyNo], [ColumnNo], [ColumnAlias]) "
        "VALUES (?, ?, ?, ?)");
    element->bind(1, std::string_view(key.table));
    element->bind(2, id);
    element->bind(3, number++);
    element->bind(4, std::string_view(column));
    element->step();
  }
}

void Dictionary::removeKey(std::string_view table, std::string_view name) {
  AtomicChange change(database_);
  const std::string real = needTable(table);
  const std::optional<long> id = findKeyId(real, name);
  if (!id) throw CompanyError(kNotFound, Text::KeyMissing, name, real);
  database_.tables().dropIndex(database_, indexName(real, name));
  for (const char* dictionary : {"HVUKEY", "HVUKCOL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) + " WHERE [TableName] = " +
                      quotedText(real) + " AND [KeyNo] = " + std::to_string(*id));
  }
  change.commit();
}

}  // namespace qx::desk
