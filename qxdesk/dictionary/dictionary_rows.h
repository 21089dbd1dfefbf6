#pragma once

// The rows in which the dictionary keeps its tables, fields and keys: HVUTAB; CUFD and HVUFVAL;
// HVUKEY and HVUKCOL. These classes read and write rows; what a change means for the tables
// themselves is the business of DictionaryTables, DictionaryFields and DictionaryKeys.
//
// Other programs can write these rows, too, and the names in them become parts of statements. So
// a name that the company would not have written is refused with CompanyError when it is read.
//
// A `table` here is the real name: "@" and the name for a user table, the plain name for a system
// table; only HVUTAB keeps its names without "@". All operations throw DatabaseError.

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
  std::string table;  // as the caller named it; the real name in a field that was found
  long index = 0;     // from 0 within the table
  FieldShape shape;
  std::string description;
  long editSize = 0;  // 0 means the size of the field
  std::string linkedTable;
  std::vector<ValidValue> validValues;
};

struct UserKey {
  std::string table;
  std::string name;
  bool unique = false;
  std::vector<std::string> columns;  // field aliases with or without "U_", or columns of the table
};

class TableRows {
 public:
  explicit TableRows(Database& database) : database_(database) {}

  /// Finds a table by its name in any case, without "@".
  std::optional<UserTable> find(std::string_view bareName);
  void insert(const UserTable& table);
  /// Takes the name as it is stored.
  void remove(const std::string& bareName);

 private:
  Database& database_;
};

class FieldRows {
 public:
  explicit FieldRows(Database& database) : database_(database) {}

  std::optional<UserField> find(const std::string& table, long index);
  /// Finds a field by its name in any case, without "U_".
  std::optional<FieldShape> findShape(const std::string& table, std::string_view name);
  /// Returns the shapes of all fields in the order of their making.
  std::vector<FieldShape> shapesOf(const std::string& table);
  /// Returns the index that the next field of the table gets.
  long nextIndex(const std::string& table);
  /// Inserts the field with its valid values under its own index.
  void insert(const UserField& field);
  void remove(const std::string& table, long index);
  void removeAllOf(const std::string& table);

 private:
  std::vector<ValidValue> validValuesOf(const std::string& table, long index);
  void insertValidValues(const UserField& field);

  Database& database_;
};

class KeyRows {
 public:
  explicit KeyRows(Database& database) : database_(database) {}

  /// Returns key number `index` of the table in the order of their making, or nothing.
  std::optional<UserKey> find(const std::string& table, long index);
  /// Returns the number under which a key's rows are kept; it may have gaps. The name is taken in
  /// any case.
  std::optional<long> findId(const std::string& table, std::string_view name);
  void insert(const UserKey& key);
  void remove(const std::string& table, long id);
  void removeAllOf(const std::string& table);

 private:
  std::vector<std::string> columnsOf(const std::string& table, long id);

  Database& database_;
};

}  // namespace qx::desk
