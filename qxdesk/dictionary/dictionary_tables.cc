#include "qxdesk/dictionary/dictionary.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/company.h"

#include <algorithm>

namespace qx::desk {

namespace {

constexpr std::size_t kMaxTableName = 19;
constexpr std::size_t kMaxTableNameDb2 = 9;
constexpr std::size_t kMaxDescription = 30;
constexpr long kLastTableType = 4;

std::string_view withoutAt(std::string_view name) {
  if (!name.empty() && name.front() == '@') name.remove_prefix(1);
  return name;
}

void checkTable(const UserTable& table, long serverType) {
  if (table.name.empty()) throw CompanyError(kInvalidValue, Text::TableNameEmpty);
  const std::size_t longest = serverType == kDb2 ? kMaxTableNameDb2 : kMaxTableName;
  checkName(table.name);
  if (table.name.size() > longest) {
    throw CompanyError(kInvalidValue, Text::TableNameTooLong, table.name, std::to_string(longest));
  }
  checkDescription(table.description);
  if (table.type < 0 || table.type > kLastTableType) {
    throw CompanyError(kInvalidValue, Text::UnknownTableType, std::to_string(table.type));
  }
}

}  // namespace

void checkName(std::string_view name) {
  const bool good = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  });
  if (!good) throw CompanyError(kInvalidValue, Text::NameCharacters, name);
}

void checkDescription(const std::string& text) {
  if (toUtf16(text).size() <= kMaxDescription) return;
  throw CompanyError(kInvalidValue, Text::DescriptionTooLong, text,
                     std::to_string(kMaxDescription));
}

std::optional<UserTable> Dictionary::findTable(std::string_view name) {
  const auto row = database_.prepare(
      "SELECT [TableName], [Description], [ObjectType] FROM [HVUTAB] WHERE UPPER([TableName]) = ?");
  row->bind(1, std::string_view(upperName(withoutAt(name))));
  if (!row->step()) return std::nullopt;
  return UserTable{std::string(row->text(0)), std::string(row->text(1)),
                   static_cast<long>(row->integer(2))};
}

void Dictionary::addTable(const UserTable& given) {
  UserTable table = given;
  table.name = withoutAt(given.name);
  checkTable(table, serverType_);
  AtomicChange change(database_);
  if (findTable(table.name)) {
    throw CompanyError(kAlreadyExists, Text::TableExists, userTableName(table.name));
  }
  const TableLayout layout = userTable(table.name, table.type);
  database_.tables().create(database_, layout, layout.name);
  const auto row = database_.prepare(
      "INSERT INTO [HVUTAB] ([TableName], [Description], [ObjectType]) VALUES (?, ?, ?)");
  row->bind(1, std::string_view(table.name));
  row->bind(2, std::string_view(table.description));
  row->bind(3, static_cast<std::int64_t>(table.type));
  row->step();
  change.commit();
}

void Dictionary::removeTable(std::string_view name) {
  AtomicChange change(database_);
  const std::optional<UserTable> table = findTable(name);
  if (!table) throw CompanyError(kNotFound, Text::TableMissing, name);
  const std::string real = userTableName(table->name);
  database_.execute("DROP TABLE " + bracketed(real));
  database_.execute("DELETE FROM [HVUTAB] WHERE [TableName] = " + quotedText(table->name));
  for (const char* dictionary : {"CUFD", "HVUFVAL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) +
                      " WHERE [TableID] = " + quotedText(real));
  }
  for (const char* dictionary : {"HVUKEY", "HVUKCOL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) +
                      " WHERE [TableName] = " + quotedText(real));
  }
  change.commit();
}

std::optional<std::string> Dictionary::resolveTable(std::string_view name) {
  if (const std::optional<UserTable> table = findTable(name)) return userTableName(table->name);
  if (const TableLayout* table = findSystemTable(name)) return table->name;
  return std::nullopt;
}

std::string Dictionary::needTable(std::string_view name) {
  std::optional<std::string> table = resolveTable(name);
  if (!table) throw CompanyError(kNotFound, Text::TableMissing, name);
  return *std::move(table);
}

TableLayout Dictionary::layoutOf(const std::string& table) {
  TableLayout layout;
  if (const TableLayout* known = findSystemTable(table)) {
    layout = *known;
  } else {
    const std::optional<UserTable> user = findTable(table);
    layout = userTable(user->name, user->type);
  }
  for (const FieldShape& shape : shapesOf(table)) layout.columns.push_back(columnOf(shape));
  return layout;
}

std::optional<TableLayout> Dictionary::storedLayout(std::string_view table) {
  if (const TableLayout* known = findSystemTable(table)) return layoutOf(known->name);
  if (!table.starts_with('@')) return std::nullopt;
  const std::optional<UserTable> user = findTable(table);
  if (!user) return std::nullopt;
  return layoutOf(userTableName(user->name));
}

bool Dictionary::hasRows(const std::string& table) {
  // HVCOMP has one row; every engine takes this form.
  return database_.queryInteger("SELECT COUNT(*) FROM [HVCOMP] WHERE EXISTS (SELECT 1 FROM " +
                                bracketed(table) + ")") != 0;
}

}  // namespace qx::desk
