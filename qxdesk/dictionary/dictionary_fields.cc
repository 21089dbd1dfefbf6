#include "qxdesk/dictionary/dictionary.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxframework/automation/text.h"

#include <algorithm>

namespace qx::desk {

namespace {

constexpr std::size_t kMaxFieldName = 50;

// The columns of CUFD that make a FieldShape, in the order in which shapeOf reads them.
constexpr std::string_view kShapeColumns =
    "[AliasID], [FieldType], [FieldSubType], [FieldSize], [Mandatory], [DefaultValue]";
constexpr int kShapeColumnCount = 6;

FieldShape shapeOf(const Statement& row) {
  return {std::string(row.text(0)),
          static_cast<long>(row.integer(1)),
          static_cast<long>(row.integer(2)),
          static_cast<long>(row.integer(3)),
          row.text(4) == "Y",
          std::string(row.text(5))};
}

void checkFieldName(const UserField& field, const std::string& table) {
  const std::string& name = field.shape.name;
  if (name.empty()) throw CompanyError(kInvalidValue, Text::FieldNameEmpty, table);
  checkName(name);
  if (name.size() > kMaxFieldName) {
    throw CompanyError(kInvalidValue, Text::FieldNameTooLong, name, std::to_string(kMaxFieldName));
  }
}

void checkValidValues(const UserField& field) {
  const std::vector<ValidValue>& values = field.validValues;
  for (auto value = values.begin(); value != values.end(); ++value) {
    const bool twice = std::any_of(values.begin(), value, [&](const ValidValue& earlier) {
      return earlier.value == value->value;
    });
    if (twice) {
      throw CompanyError(kInvalidValue, Text::ValidValueTwice, field.shape.name, value->value);
    }
    const bool fits = field.shape.type != kAlphaField ||
                      toUtf16(value->value).size() <= static_cast<std::size_t>(field.shape.size);
    if (!fits) {
      throw CompanyError(kInvalidValue, Text::ValidValueTooLong, field.shape.name, value->value);
    }
  }
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

void checkUpdate(const UserField& field, const UserField& present) {
  const FieldShape& now = present.shape;
  const FieldShape& next = field.shape;
  if (next.type != now.type || next.subType != now.subType || !sameName(next.name, now.name)) {
    throw CompanyError(kInvalidValue, Text::TypeChanged, now.name);
  }
  if (next.size < now.size) {
    throw CompanyError(kInvalidValue, Text::SizeShrinks, now.name, std::to_string(now.size));
  }
}

}  // namespace

bool Dictionary::fieldExists(const std::string& table, std::string_view name) {
  return findShape(table, name).has_value();
}

std::optional<FieldShape> Dictionary::findShape(const std::string& table, std::string_view name) {
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     " FROM [CUFD] WHERE [TableID] = ? AND UPPER([AliasID]) = ?");
  row->bind(1, std::string_view(table));
  row->bind(2, std::string_view(upperName(name)));
  if (!row->step()) return std::nullopt;
  return shapeOf(*row);
}

std::vector<FieldShape> Dictionary::shapesOf(const std::string& table) {
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     " FROM [CUFD] WHERE [TableID] = ? ORDER BY [FieldID]");
  row->bind(1, std::string_view(table));
  std::vector<FieldShape> shapes;
  while (row->step()) shapes.push_back(shapeOf(*row));
  return shapes;
}

std::vector<ValidValue> Dictionary::validValuesOf(const std::string& table, long index) {
  const auto row = database_.prepare(
      "SELECT [FieldValue], [Description] FROM [HVUFVAL] WHERE [TableID] = ? AND [FieldID] = ? "
      "ORDER BY [ValueNo]");
  row->bind(1, std::string_view(table));
  row->bind(2, static_cast<std::int64_t>(index));
  std::vector<ValidValue> values;
  while (row->step()) values.push_back({std::string(row->text(0)), std::string(row->text(1))});
  return values;
}

std::optional<UserField> Dictionary::findField(std::string_view table, long index) {
  const std::optional<std::string> real = resolveTable(table);
  if (!real) return std::nullopt;
  const auto row = database_.prepare("SELECT " + std::string(kShapeColumns) +
                                     ", [Description], [EditSize], [LinkedTable] FROM [CUFD] WHERE "
                                     "[TableID] = ? AND [FieldID] = ?");
  row->bind(1, std::string_view(*real));
  row->bind(2, static_cast<std::int64_t>(index));
  if (!row->step()) return std::nullopt;
  UserField field;
  field.table = *real;
  field.index = index;
  field.shape = shapeOf(*row);
  field.description = row->text(kShapeColumnCount);
  field.editSize = static_cast<long>(row->integer(kShapeColumnCount + 1));
  field.linkedTable = row->text(kShapeColumnCount + 2);
  field.validValues = validValuesOf(*real, index);
  return field;
}

void Dictionary::addField(UserField field) {
  AtomicChange change(database_);
  field.table = needTable(field.table);
  checkFieldName(field, field.table);
  checkDescription(field.description);
  checkShape(field.shape);
  checkValidValues(field);
  if (fieldExists(field.table, field.shape.name)) {
    throw CompanyError(kAlreadyExists, Text::FieldExists, field.shape.name, field.table);
  }
  field.index = static_cast<long>(database_.queryInteger(
      "SELECT COALESCE(MAX([FieldID]) + 1, 0) FROM [CUFD] WHERE [TableID] = " +
      quotedText(field.table)));
  addColumn(field.table, field.shape);
  insertFieldRow(field);
  insertValidValues(field);
  change.commit();
}

void Dictionary::addColumn(const std::string& table, const FieldShape& shape) {
  const bool rows = hasRows(table);
  if (rows && shape.mandatory && shape.defaultValue.empty()) {
    throw CompanyError(kInvalidValue, Text::MandatoryNeedsDefault, shape.name, table);
  }
  TableLayout layout = layoutOf(table);
  const ColumnLayout column = columnOf(shape);
  layout.columns.push_back(column);
  database_.tables().addColumn(database_, layout, column);
}

void Dictionary::insertFieldRow(const UserField& field) {
  const auto row = database_.prepare(
      "INSERT INTO [CUFD] ([TableID], [FieldID], [AliasID], [Description], [FieldType], "
      "[FieldSubType], [FieldSize], [EditSize], [DefaultValue], [Mandatory], [LinkedTable]) "
      "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  bindField(*row, field);
  row->step();
}

void Dictionary::insertValidValues(const UserField& field) {
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

void Dictionary::updateField(const UserField& given) {
  AtomicChange change(database_);
  const std::optional<UserField> present = findField(given.table, given.index);
  if (!present) throw CompanyError(kNotFound, Text::FieldMissing, given.shape.name, given.table);
  UserField field = given;
  field.table = present->table;
  checkUpdate(field, *present);
  checkShape(field.shape);
  checkDescription(field.description);
  checkValidValues(field);
  const std::string place = " WHERE [TableID] = " + quotedText(field.table) +
                            " AND [FieldID] = " + std::to_string(field.index);
  database_.execute("DELETE FROM [CUFD]" + place);
  database_.execute("DELETE FROM [HVUFVAL]" + place);
  insertFieldRow(field);
  insertValidValues(field);
  changeColumn(field.table, columnOf(present->shape), columnOf(field.shape));
  change.commit();
}

void Dictionary::changeColumn(const std::string& table, const ColumnLayout& before,
                              const ColumnLayout& after) {
  if (after == before) return;
  const auto keys = database_.tables().changeColumn(database_, layoutOf(table), before);
  if (keys == EngineTables::Keys::Kept) return;
  for (long i = 0; const std::optional<UserKey> key = findKey(table, i); ++i) makeIndex(*key);
}

}  // namespace qx::desk
