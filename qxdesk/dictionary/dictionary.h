#pragma once

// The company's dictionary and the tables that it describes: a change alters both, or neither.
// Tables are named as add-ons name them: a user table with or without its "@"; where a bare name
// stands for a user table and a system table, the user table is meant. Names compare without case.
//
// All operations raise CompanyError for what the caller can mend, and DatabaseError.

#include "qxdesk/dictionary/field_type.h"
#include "qxdesk/engines/database.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

struct UserTable {
  std::string name;  // without "@"
  std::string description;
  long type = 0;
};

struct ValidValue {
  std::string value;
  std::string description;
};

struct UserField {
  std::string table;  // as given, or the dictionary's name of a field that was found
  long index = 0;     // from 0 within the table
  FieldShape shape;
  std::string description;
  long editSize = 0;  // 0 stands for the size
  std::string linkedTable;
  std::vector<ValidValue> validValues;
};

struct UserKey {
  std::string table;
  std::string name;
  bool unique = false;
  std::vector<std::string> columns;  // field aliases with or without "U_", or columns of the table
};

class Dictionary {
 public:
  /// `serverType` decides how long names may be.
  Dictionary(Database& database, long serverType) : database_(database), serverType_(serverType) {}

  std::optional<UserTable> findTable(std::string_view name);
  void addTable(const UserTable& table);
  /// With its fields, keys and rows.
  void removeTable(std::string_view name);

  std::optional<UserField> findField(std::string_view table, long index);
  void addField(UserField field);
  /// Changes the description, sizes, default and obligation of a field that was found. The size of
  /// a text can only grow.
  void updateField(const UserField& field);

  /// The key that is number `index` among the table's keys, in the order of their making.
  std::optional<UserKey> findKey(std::string_view table, long index);
  void addKey(UserKey key);
  void removeKey(std::string_view table, std::string_view name);

  /// The columns of a table under its real name, in the order of their making; nothing when the
  /// dictionary does not know it.
  std::optional<TableLayout> storedLayout(std::string_view table);
  /// The real name of a table; nothing when there is none.
  std::optional<std::string> resolveTable(std::string_view name);

 private:
  std::string needTable(std::string_view name);
  TableLayout layoutOf(const std::string& table);
  bool hasRows(const std::string& table);
  void changeColumn(const std::string& table, const ColumnLayout& before,
                    const ColumnLayout& after);

  bool fieldExists(const std::string& table, std::string_view name);
  std::optional<FieldShape> findShape(const std::string& table, std::string_view name);
  std::vector<FieldShape> shapesOf(const std::string& table);
  std::vector<ValidValue> validValuesOf(const std::string& table, long index);
  void addColumn(const std::string& table, const FieldShape& shape);
  void insertFieldRow(const UserField& field);
  void insertValidValues(const UserField& field);

  std::optional<long> findKeyId(const std::string& table, std::string_view name);
  std::vector<std::string> keyColumns(const std::string& table, long id);
  std::string keyColumn(const std::string& table, const std::string& alias);
  void checkKey(UserKey& key);
  void makeIndex(const UserKey& key);
  void insertKeyRows(const UserKey& key);

  Database& database_;
  long serverType_;
};

/// Letters A to Z, digits and underscores. Raises CompanyError.
void checkName(std::string_view name);
/// Raises CompanyError when `text` has more than 30 UTF-16 units.
void checkDescription(const std::string& text);

}  // namespace qx::desk
