#include "qxdesk/dictionary/dictionary_layouts.h"

#include "qxdesk/dictionary/dictionary_names.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxdesk/engines/company_error.h"

namespace qx::desk {

std::optional<std::string> DictionaryLayouts::resolve(std::string_view name) {
  // The user table first: its name may be the same as that of a system table.
  if (const auto table = TableRows(database_).find(bareTableName(name))) {
    return userTableName(table->name);
  }
  if (const TableLayout* table = findSystemTable(name)) return table->name;
  return std::nullopt;
}

std::string DictionaryLayouts::need(std::string_view name) {
  std::optional<std::string> table = resolve(name);
  if (!table) throw CompanyError(kNotFound, Text::TableMissing, name);
  return *std::move(table);
}

TableLayout DictionaryLayouts::layoutOf(const std::string& table) {
  TableLayout layout;
  if (const TableLayout* known = findSystemTable(table)) {
    layout = *known;
  } else {
    const std::optional<UserTable> user = TableRows(database_).find(bareTableName(table));
    layout = userTable(user.value().name, user->type);
  }
  for (const FieldShape& shape : FieldRows(database_).shapesOf(table)) {
    layout.columns.push_back(columnOf(shape));
  }
  return layout;
}

std::optional<TableLayout> DictionaryLayouts::storedLayout(std::string_view table) {
  if (const TableLayout* known = findSystemTable(table)) return layoutOf(known->name);
  // In a statement a bare name can only be a system table or a table of another program.
  if (!table.starts_with('@')) return std::nullopt;
  const std::optional<UserTable> user = TableRows(database_).find(bareTableName(table));
  if (!user) return std::nullopt;
  return layoutOf(userTableName(user->name));
}

}  // namespace qx::desk
