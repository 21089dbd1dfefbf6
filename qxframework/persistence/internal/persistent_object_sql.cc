// The statements of one row.

#include "qxframework/automation/text.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/dialect.h"
#include "qxframework/sql/sql_text.h"
#include "qxframework/util/qx_util.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>

namespace Persistence {
namespace {

// Finds fields by name, or by the name in capitals: some servers return column names in capitals.
// The capitals are made once for many names.
class FieldLookup {
 public:
  explicit FieldLookup(const TyFieldValues& fields) : fields_(fields) {}

  // Returns the position; -1 if there is none.
  long indexOf(const OLECHAR* name) {
    const long index = fields_.FindIndex(name);
    if (index != -1) return index;
    if (!capitals_) readCapitals();
    const auto found = capitals_->find(std::u16string(qx::viewOf(name)));
    return found == capitals_->end() ? -1 : found->second;
  }

 private:
  void readCapitals() {
    capitals_.emplace();
    for (long i = 0; i < fields_.GetCount(); ++i)
      capitals_->emplace(qx::toUpperByUnit(qx::viewOf(fields_.keyAt(i))), i);
  }

  const TyFieldValues& fields_;
  std::optional<std::unordered_map<std::u16string, long>> capitals_;  // the first position of each
};

}  // namespace

long CQXPersistentObject::FindFieldIndex(const OLECHAR* name) const {
  return FieldLookup(m_FieldValues).indexOf(name);
}

CComBSTR CQXPersistentObject::InsertText(const CComBSTR& nextCode) {
  CComBSTR columns;
  CComBSTR values;
  AppendInsertLists(nextCode, columns, values);
  return AssembleInsert(columns, values);
}

CComBSTR CQXPersistentObject::AssembleInsert(const CComBSTR& columns,
                                             const CComBSTR& values) const {
  return qx::joined(
      {u"INSERT INTO ", TableText().View(), u" ", columns.View(), u" ", values.View()});
}

void CQXPersistentObject::BuildInsertLists(CComBSTR& columns, CComBSTR& values) {
  CComBSTR code;
  if (m_bUserTable) code = CQXUtil::GetNextCodeValue(0, m_ptrCompany, m_bstrMasterTable, nullptr);
  AppendInsertLists(code, columns, values);
}

void CQXPersistentObject::AppendInsertLists(const CComBSTR& nextCode, CComBSTR& columns,
                                            CComBSTR& values) {
  // On a user table the code columns come first, each followed by a comma.
  columns = u"( ";
  values = u"VALUES ( ";
  if (m_bUserTable) {
    AppendCode(u"Code", nextCode, columns, values);
    AppendCode(u"Name", nextCode, columns, values);
  }
  for (long i = 0; i < m_FieldValues.GetCount(); ++i) {
    if (i > 0) {
      columns += u", ";
      values += u", ";
    }
    columns += GetSQLColumnName(m_FieldValues.keyAt(i)).View();
    CComVariant value = m_FieldValues.valueAt(i);  // a copy, since GetSQLValue changes it
    values += GetSQLValue(value).View();
  }
  columns += u") ";
  values += u") ";
}

void CQXPersistentObject::AppendCode(const OLECHAR* name, const CComBSTR& code, CComBSTR& columns,
                                     CComBSTR& values) {
  if (m_FieldValues.contains(name)) {
    m_FieldValues.SetValue(name, code);  // the caller's own code never counts
    return;
  }
  columns += GetSQLColumnName(name).View();
  columns += u", ";
  values += GetSQLString(code).View();
  values += u", ";
}

CComBSTR CQXPersistentObject::UpdateText(const TyFieldValues& keyValues) {
  // The WHERE first: of two values that are refused, the one of the key is reported.
  CComBSTR where;
  BuildUpdateWhereClause(where, keyValues);
  CComBSTR set;
  BuildSetClause(set);
  return qx::joined({u"UPDATE ", TableText().View(), u" ", set.View(), u" ", where.View()});
}

bool CQXPersistentObject::IsKeyField(const CComBSTR& name) const {
  return std::any_of(m_vecKeyFields.begin(), m_vecKeyFields.end(),
                     [&](const OLECHAR* key) { return qx::viewOf(key) == qx::viewOf(name); });
}

void CQXPersistentObject::BuildSetClause(CComBSTR& target) {
  target += u" SET ";
  bool isFirst = true;
  for (long i = 0; i < m_FieldValues.GetCount(); ++i) {
    const CComBSTR& name = m_FieldValues.keyAt(i);
    if (IsKeyField(name)) continue;
    if (!isFirst) target += u", ";
    isFirst = false;
    target += GetSQLColumnName(name).View();
    target += u" = ";
    CComVariant value = m_FieldValues.valueAt(i);
    target += GetSQLValue(value).View();
  }
}

void CQXPersistentObject::BuildUpdateWhereClause(CComBSTR& target, const TyFieldValues& keyValues) {
  target += u" WHERE ";
  if (CountOf(m_ptrConditions) > 0) {
    AppendComparisons(target, {});
  } else {
    AppendKeyValues(target, keyValues);
  }
}

std::u16string_view CQXPersistentObject::KeyNameOf(std::u16string_view column) const {
  if (m_bstrCorrelationName.IsEmpty() || m_vecFields.empty()) return column;
  return column.substr(column.find(u'.') + 1);  // all of it where there is no point
}

std::vector<CQXPersistentObject::KeyColumn> CQXPersistentObject::KeyColumns(
    const TyFieldValues& keyValues) const {
  FieldLookup fields(m_FieldValues);
  std::vector<KeyColumn> columns;
  for (long i = 0; i < keyValues.GetCount(); ++i) {
    CComBSTR name(KeyNameOf(qx::viewOf(keyValues.keyAt(i))));
    if (fields.indexOf(name) != -1) columns.push_back({std::move(name), i});
  }
  return columns;
}

void CQXPersistentObject::AppendKeyValues(CComBSTR& target, const TyFieldValues& keyValues) const {
  bool isFirst = true;
  for (const KeyColumn& column : KeyColumns(keyValues)) {
    if (!isFirst) target += u" AND ";
    isFirst = false;
    target += GetSQLColumnName(column.name).View();
    target += u" = ";
    CComVariant value = keyValues.valueAt(column.position);
    target += GetSQLValue(value).View();
  }
}

CComBSTR CQXPersistentObject::RemoveText() const { return DeleteText(m_ptrConditions); }

CComBSTR CQXPersistentObject::SelectText() {
  CComBSTR fields;
  BuildSelectFieldList(fields);
  CComBSTR where(u" ");
  BuildSelectWhereClause(where);  // before the joins: a refusal leaves their constants unquoted
  CComBSTR joins(u" ");
  if (HasLinkTables()) AppendJoins(joins);
  return AssembleSelect({}, fields, SelectTableText(), joins, where);
}

void CQXPersistentObject::BuildSelectWhereClause(CComBSTR& target) {
  if (m_ptrConditions.get() == nullptr)
    throw CQXPersistenceException(u"No conditions are set for select");
  target += u" WHERE ";
  AppendComparisons(target, {.withCorrelation = true});
}

CComBSTR CQXPersistentObject::ChooseListText(const CSimpleMap<CComBSTR, CComBSTR>& fields,
                                             const CComBSTR& where,
                                             const qx::Enclosure& title) const {
  CComBSTR text(u"SELECT ");
  for (int i = 0; i < fields.GetSize(); ++i) {
    if (i > 0) text += u",";
    text += GetSQLColumnName(fields.GetKeyAt(i)).View();
    for (const std::u16string_view piece :
         {title.opening, fields.GetValueAt(i).View(), title.closing})
      text += piece;
  }
  if (fields.GetSize() == 0) text += u"* ";
  text += u"FROM ";
  // A host's table is bare here, also in kordb.
  text += m_bUserTable ? TableText().View() : m_bstrMasterTable.View();
  if (!where.IsEmpty()) {
    text += u" WHERE ";
    text += where.View();
  }
  return text;
}

}  // namespace Persistence
