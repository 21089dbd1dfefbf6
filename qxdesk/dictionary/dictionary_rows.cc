#include "qxdesk/dictionary/dictionary_rows.h"

#include "qxdesk/dictionary/dictionary_names.h"

namespace qx::desk {

namespace {

// The columns of CUFD that make a FieldShape, in the order in which shapeOf reads them.
constexpr std::string_view kShapeColumns =
    "[AliasID], [FieldType], [FieldSubType], [FieldSize], [Mandatory], [DefaultValue]";
constexpr int kShapeColumnCount = 6;

// A column in a key: a field's name with "U_" before it, or a column of a system table.
constexpr std::size_t kMaxColumnName = kMaxFieldName + 2;

// Returns a name of the dictionary that has passed the rules.
std::string nameIn(const Statement& row, int column, std::size_t longest,
                   std::string_view dictionary) {
  const std::string_view name = row.text(column);
  checkStoredName(name, longest, dictionary);
  return std::string(name);
}

FieldShape shapeOf(const Statement& row) {
  return {nameIn(row, 0, kMaxFieldName, "CUFD"),
          static_cast<long>(row.integer(1)),
          static_cast<long>(row.integer(2)),
          static_cast<long>(row.integer(3)),
          row.text(4) == "Y",
          std::string(row.text(5))};
}

void bindField(Statement& row, const UserField& field) {
  const FieldShape& shape = field.shape;
  row.bind(1, std::string_view(field.table));
  row.bind(2, static_cast<std::int64_t>(field.index));
  row.bind(3, std::string_view(shape.name));
  row.bind(4, std::string_view(field.description));
  row.bind(5, static_cast<std::int64_t>(shape.type));
  row.bind(6, static_cast<std::int64_t>(shape.subType));
  row.bind(7, static_cast<std::int64_t>(shape.size));
  row.bind(8, static_cast<std::int64_t>(field.editSize == 0 ? shape.size : field.editSize));
  row.bind(9, std::string_view(shape.defaultValue));
  row.bind(10, std::string_view(shape.mandatory ? "Y" : "N"));
  row.bind(11, std::string_view(field.linkedTable));
}

}  // namespace

// Look-ups by name compare UPPER(...) with a name in upper case: whether "=" minds the case depends
// on the engine and its collation.
std::optional<UserTable> TableRows::find(std::string_view bareName) {
  const auto row = database_.prepare(
      "SELECT [TableName], [Description], [ObjectType] FROM [HVUTAB] WHERE UPPER([TableName]) = ?");
  row->bind(1, std::string_view(upperName(bareName)));
  if (!row->step()) return std::nullopt;
  return UserTable{nameIn(*row, 0, kMaxTableName, "HVUTAB"), std::string(row->text(1)),
                   static_cast<long>(row->integer(2))};
}

void TableRows::insert(const UserTable& table) {
  const auto row = database_.prepare(
      "INSERT INTO [HVUTAB] ([TableName], [Description], [ObjectType]) VALUES (?, ?, ?)");
  row->bind(1, std::string_view(table.name));
  row->bind(2, std::string_view(table.description));
  row->bind(3, static_cast<std::int64_t>(table.type));
  row->step();
}

void TableRows::remove(const std::string& bareName) {
  database_.execute("DELETE FROM [HVUTAB] WHERE [TableName] = " + quotedText(bareName));
}

std::optional<FieldShape> FieldRows::findShape(const std::string& table, std::string_view name) {
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     " FROM [CUFD] WHERE [TableID] = ? AND UPPER([AliasID]) = ?");
  row->bind(1, std::string_view(table));
  row->bind(2, std::string_view(upperName(name)));
  if (!row->step()) return std::nullopt;
  return shapeOf(*row);
}

std::vector<FieldShape> FieldRows::shapesOf(const std::string& table) {
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     " FROM [CUFD] WHERE [TableID] = ? ORDER BY [FieldID]");
  row->bind(1, std::string_view(table));
  std::vector<FieldShape> shapes;
  while (row->step()) shapes.push_back(shapeOf(*row));
  return shapes;
}

std::vector<ValidValue> FieldRows::validValuesOf(const std::string& table, long index) {
  const auto row = database_.prepare(
      "SELECT [FieldValue], [Description] FROM [HVUFVAL] WHERE [TableID] = ? AND [FieldID] = ? "
      "ORDER BY [ValueNo]");
  row->bind(1, std::string_view(table));
  row->bind(2, static_cast<std::int64_t>(index));
  std::vector<ValidValue> values;
  while (row->step()) values.push_back({std::string(row->text(0)), std::string(row->text(1))});
  return values;
}

// The additional columns follow those of the shape, so that shapeOf() reads this row as well.
std::optional<UserField> FieldRows::find(const std::string& table, long index) {
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     ", [Description], [EditSize], [LinkedTable] FROM [CUFD] WHERE "
                                     "[TableID] = ? AND [FieldID] = ?");
  row->bind(1, std::string_view(table));
  row->bind(2, static_cast<std::int64_t>(index));
  if (!row->step()) return std::nullopt;
  UserField field;
  field.table = table;
  field.index = index;
  field.shape = shapeOf(*row);
  field.description = row->text(kShapeColumnCount);
  field.editSize = static_cast<long>(row->integer(kShapeColumnCount + 1));
  field.linkedTable = row->text(kShapeColumnCount + 2);
  field.validValues = validValuesOf(table, index);
  return field;
}

long FieldRows::nextIndex(const std::string& table) {
  return static_cast<long>(database_.queryInteger(
      "SELECT COALESCE(MAX([FieldID]) + 1, 0) FROM [CUFD] WHERE [TableID] = " + quotedText(table)));
}

void FieldRows::insert(const UserField& field) {
  const auto row = database_.prepare(
      "INSERT INTO [CUFD] ([TableID], [FieldID], [AliasID], [Description], [FieldType], "
      "[FieldSubType], [FieldSize], [EditSize], [DefaultValue], [Mandatory], [LinkedTable]) "
      "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  bindField(*row, field);
  row->step();
  insertValidValues(field);
}

void FieldRows::insertValidValues(const UserField& field) {
  std::int64_t number = 0;
  for (const ValidValue& value : field.validValues) {
    const auto row = database_.prepare(
        "INSERT INTO [HVUFVAL] ([TableID], [FieldID], [ValueNo], [FieldValue], [Description]) "
        "VALUES (?, ?, ?, ?, ?)");
    row->bind(1, std::string_view(field.table));
    row->bind(2, static_cast<std::int64_t>(field.index));
    row->bind(3, number++);
    row->bind(4, std::string_view(value.value));
    row->bind(5, std::string_view(value.description));
    row->step();
  }
}

void FieldRows::remove(const std::string& table, long index) {
  const std::string place =
      " WHERE [TableID] = " + quotedText(table) + " AND [FieldID] = " + std::to_string(index);
  database_.execute("DELETE FROM [CUFD]" + place);
  database_.execute("DELETE FROM [HVUFVAL]" + place);
}

void FieldRows::removeAllOf(const std::string& table) {
  for (const char* dictionary : {"CUFD", "HVUFVAL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) +
                      " WHERE [TableID] = " + quotedText(table));
  }
}

std::optional<long> KeyRows::findId(const std::string& table, std::string_view name) {
  const auto row = database_.prepare(
      "SELECT [KeyNo], [KeyName] FROM [HVUKEY] WHERE [TableName] = ? AND UPPER([KeyName]) = ?");
  row->bind(1, std::string_view(table));
  row->bind(2, std::string_view(upperName(name)));
  if (!row->step()) return std::nullopt;
  nameIn(*row, 1, kMaxKeyName, "HVUKEY");
  return static_cast<long>(row->integer(0));
}

std::vector<std::string> KeyRows::columnsOf(const std::string& table, long id) {
  const auto row = database_.prepare(
      "SELECT [ColumnAlias] FROM [HVUKCOL] WHERE [TableName] = ? AND [KeyNo] = ? "
      "ORDER BY [ColumnNo]");
  row->bind(1, std::string_view(table));
  row->bind(2, static_cast<std::int64_t>(id));
  std::vector<std::string> columns;
  while (row->step()) columns.push_back(nameIn(*row, 0, kMaxColumnName, "HVUKCOL"));
  return columns;
}

std::optional<UserKey> KeyRows::find(const std::string& table, long index) {
  if (index < 0) return std::nullopt;
  const auto row = database_.prepare(
      "SELECT [KeyNo], [KeyName], [IsUnique] FROM [HVUKEY] WHERE [TableName] = ? ORDER BY [KeyNo]");
  row->bind(1, std::string_view(table));
  // Add-ons count keys without gaps; the stored numbers have some where keys were removed.
  for (long i = 0; i <= index; ++i) {
    if (!row->step()) return std::nullopt;
  }
  return UserKey{table, nameIn(*row, 1, kMaxKeyName, "HVUKEY"), row->text(2) == "Y",
                 columnsOf(table, static_cast<long>(row->integer(0)))};
}

void KeyRows::insert(const UserKey& key) {
  // Above the highest number and not in a gap: keys are counted in the order of their making.
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

void KeyRows::remove(const std::string& table, long id) {
  for (const char* dictionary : {"HVUKEY", "HVUKCOL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) + " WHERE [TableName] = " +
                      quotedText(table) + " AND [KeyNo] = " + std::to_string(id));
  }
}

void KeyRows::removeAllOf(const std::string& table) {
  for (const char* dictionary : {"HVUKEY", "HVUKCOL"}) {
    database_.execute("DELETE FROM " + bracketed(dictionary) +
                      " WHERE [TableName] = " + quotedText(table));
  }
}

}  // namespace qx::desk
