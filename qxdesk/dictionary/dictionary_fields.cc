#include "qxdesk/dictionary/dictionary_fields.h"

#include "qxdesk/dictionary/dictionary_keys.h"
#include "qxdesk/dictionary/dictionary_layouts.h"
#include "qxdesk/dictionary/dictionary_names.h"
#include "qxdesk/engines/atomic_change.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxframework/automation/text.h"

#include <algorithm>

namespace qx::desk {

namespace {

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

void checkUpdate(const UserField& field, const UserField& present) {
  // The rows of the table have the old type and size; only a longer text fits them all.
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

std::optional<UserField> DictionaryFields::find(std::string_view table, long index) {
  const std::optional<std::string> real = DictionaryLayouts(database_).resolve(table);
  if (!real) return std::nullopt;
  return FieldRows(database_).find(*real, index);
}

void DictionaryFields::add(UserField field) {
  AtomicChange change(database_);
  FieldRows rows(database_);
  field.table = DictionaryLayouts(database_).need(field.table);
  checkFieldName(field, field.table);
  checkDescription(field.description);
  checkShape(field.shape);
  checkValidValues(field);
  if (rows.findShape(field.table, field.shape.name)) {
    throw CompanyError(kAlreadyExists, Text::FieldExists, field.shape.name, field.table);
  }
  field.index = rows.nextIndex(field.table);
  // The column first: its layout is made of the fields that the rows name so far.
  addColumn(field.table, field.shape);
  rows.insert(field);
  change.commit();
}

bool DictionaryFields::hasRows(const std::string& table) {
  // HVCOMP has exactly one row, so the count is 1 or 0. Every engine accepts this form; SELECT
  // without FROM or a limit of rows is spelled differently by each.
  return database_.queryInteger("SELECT COUNT(*) FROM [HVCOMP] WHERE EXISTS (SELECT 1 FROM " +
                                bracketed(table) + ")") != 0;
}

void DictionaryFields::addColumn(const std::string& table, const FieldShape& shape) {
  const bool rows = hasRows(table);
  // Existing rows take the default, and without one they would break NOT NULL at once.
  if (rows && shape.mandatory && shape.defaultValue.empty()) {
    throw CompanyError(kInvalidValue, Text::MandatoryNeedsDefault, shape.name, table);
  }
  TableLayout layout = DictionaryLayouts(database_).layoutOf(table);
  const ColumnLayout column = columnOf(shape);
  layout.columns.push_back(column);
  database_.tables().addColumn(database_, layout, column);
}

void DictionaryFields::update(const UserField& given) {
  AtomicChange change(database_);
  const std::optional<UserField> present = find(given.table, given.index);
  if (!present) throw CompanyError(kNotFound, Text::FieldMissing, given.shape.name, given.table);
  UserField field = given;
  field.table = present->table;
  checkUpdate(field, *present);
  checkShape(field.shape);
  checkDescription(field.description);
  checkValidValues(field);
  FieldRows rows(database_);
  rows.remove(field.table, field.index);
  rows.insert(field);
  // After the rows: a table that is made anew takes its layout from them.
  changeColumn(field.table, columnOf(present->shape), columnOf(field.shape));
  change.commit();
}

void DictionaryFields::changeColumn(const std::string& table, const ColumnLayout& before,
                                    const ColumnLayout& after) {
  if (after == before) return;
  const TableLayout layout = DictionaryLayouts(database_).layoutOf(table);
  const auto keys = database_.tables().changeColumn(database_, layout, before);
  if (keys == EngineTables::Keys::Lost) DictionaryKeys(database_).remakeIndexes(table);
}

}  // namespace qx::desk
