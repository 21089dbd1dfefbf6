#include "qxdesk/dictionary/dictionary_tables.h"

#include "qxdesk/dictionary/dictionary_names.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxdesk/engines/atomic_change.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxframework/host/company.h"

namespace qx::desk {

namespace {

constexpr std::size_t kMaxTableNameDb2 = 9;
constexpr long kLastTableType = 4;  // 0 is a plain table, 1 to 4 are master data and documents

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

std::optional<UserTable> DictionaryTables::find(std::string_view name) {
  return TableRows(database_).find(bareTableName(name));
}

void DictionaryTables::add(const UserTable& given) {
  UserTable table = given;
  table.name = bareTableName(given.name);
  checkTable(table, serverType_);
  AtomicChange change(database_);
  // Within the change, since only one process at a time is past its start.
  if (find(table.name)) {
    throw CompanyError(kAlreadyExists, Text::TableExists, userTableName(table.name));
  }
  const TableLayout layout = userTable(table.name, table.type);
  database_.tables().create(database_, layout, layout.name);
  TableRows(database_).insert(table);
  change.commit();
}

void DictionaryTables::remove(std::string_view name) {
  AtomicChange change(database_);
  const std::optional<UserTable> table = find(name);
  if (!table) throw CompanyError(kNotFound, Text::TableMissing, name);
  const std::string real = userTableName(table->name);
  // The indexes of its keys go with the table.
  database_.alterTable("DROP TABLE " + bracketed(real));
  TableRows(database_).remove(table->name);
  FieldRows(database_).removeAllOf(real);
  KeyRows(database_).removeAllOf(real);
  change.commit();
}

}  // namespace qx::desk
