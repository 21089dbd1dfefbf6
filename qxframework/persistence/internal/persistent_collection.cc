#include "qxframework/persistence/internal/persistent_collection.h"

#include "qxframework/foundation/date_time.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/sql_text.h"

#include <exception>

namespace Persistence {
namespace {

constexpr long kNoRow = 1;

// The scopes of the steps. As views their lengths are known, and not counted with each step.
constexpr std::u16string_view kFirst = u"CQXPersistentCollection::First";
constexpr std::u16string_view kLast = u"CQXPersistentCollection::Last";
constexpr std::u16string_view kNext = u"CQXPersistentCollection::Next";
constexpr std::u16string_view kPrevious = u"CQXPersistentCollection::Previous";

}  // namespace

struct CQXPersistentCollection::SoughtColumn {
  const CCondition* condition;
  CComVariant column;  // its name in the record set
};

long CQXPersistentCollection::Step(std::u16string_view scope,
                                   long (CQXPersistentCollection::*move)(),
                                   CQXPersistentObject* object) {
  CReturnValue<long> hr(scope, 0, 0);
  hr = (this->*move)();
  if (object != nullptr && hr == 0) LoadObjectFromCurrentRow(object);
  return hr;
}

long CQXPersistentCollection::First(CQXPersistentObject* object) {
  return Step(kFirst, &CQXPersistentCollection::ToFirst, object);
}

long CQXPersistentCollection::Last(CQXPersistentObject* object) {
  return Step(kLast, &CQXPersistentCollection::ToLast, object);
}

long CQXPersistentCollection::Next(CQXPersistentObject* object) {
  return Step(kNext, &CQXPersistentCollection::ToNext, object);
}

long CQXPersistentCollection::Previous(CQXPersistentObject* object) {
  return Step(kPrevious, &CQXPersistentCollection::ToPrevious, object);
}

long CQXPersistentCollection::First() { return First(nullptr); }

long CQXPersistentCollection::Last() { return Last(nullptr); }

long CQXPersistentCollection::Next() { return Next(nullptr); }

long CQXPersistentCollection::Previous() { return Previous(nullptr); }

long CQXPersistentCollection::ToFirst() {
  return GetRecordCount() < 1 ? kNoRow : m_ptrRecordSet->MoveFirst();
}

long CQXPersistentCollection::ToLast() {
  return GetRecordCount() < 1 ? kNoRow : m_ptrRecordSet->MoveLast();
}

long CQXPersistentCollection::ToNext() {
  if (Eof()) return kNoRow;
  const long result = m_ptrRecordSet->MoveNext();
  // The host moves after the last row with success.
  return result == 0 && Eof() ? kNoRow : result;
}

// Unlike the step forward, it does not check that there still is a row.
long CQXPersistentCollection::ToPrevious() {
  return Bof() ? kNoRow : m_ptrRecordSet->MovePrevious();
}

// Only a value with all 16 bits set is true.
bool CQXPersistentCollection::Eof() const { return m_ptrRecordSet->GetEoF() == VARIANT_TRUE; }

bool CQXPersistentCollection::Bof() const { return m_ptrRecordSet->GetBoF() == VARIANT_TRUE; }

long CQXPersistentCollection::GetRecordCount() const { return m_ptrRecordSet->GetRecordCount(); }

void CQXPersistentCollection::Refresh() {
  CReturnValue<void> scope(u"CQXPersistentCollection::Refresh", 0, true);
  if (m_bSelected) {
    if (m_bstrLastQuery.IsEmpty())
      throw CQXPersistenceException(
          u"Query string is empty - it may not have been saved with alst select");
    // The stored text, whatever the settings are by now.
    scope.LogInfo(u"%s", static_cast<const CComBSTR&>(m_bstrLastQuery));
    Query(m_bstrLastQuery);
    return;
  }
  PrepareSelect();
  Select();
  m_bSelected = true;
}

void CQXPersistentCollection::PrepareSelect() {
  if (m_ptrConditions.get() == nullptr && m_vecKeyFields.empty())
    throw CQXPersistenceException(
        u"Collection is not properly initialized, neither conditions nor key fields are set");
  if (m_bstrMasterTable.IsEmpty())
    throw CQXPersistenceException(
        u"Collection is not properly initialized, master table name is not set");
  if (m_vecKeyFields.empty()) FillKeyFieldsFromConditions();
}

void CQXPersistentCollection::SetMaxRecordCount(long maximum) {
  const auto count = static_cast<std::int32_t>(maximum);
  if (count == m_lMaxRecordCount) return;
  if (count != -1 && count < 1)
    throw CQXPersistenceException(u"Maximum record count must be greater than zero");
  m_lMaxRecordCount = count;
  m_bSelected = false;  // the one way to a new statement for a collection in use
}

void CQXPersistentCollection::CurrentRowToMap(TyFieldValues& values) const {
  values.Clear();
  ReadFields(m_ptrRecordSet->GetFields(), values);
}

void CQXPersistentCollection::CurrentRowToMap(TyFieldValues& values, long& statement) const {
  const CComPtr<IFields> fields = m_ptrRecordSet->GetFields();
  const long count = fields->Count();
  // The count as well, for a map that the caller has changed.
  if (statement != GetStatementNumber() || count != values.GetCount()) {
    CurrentRowToMap(values);
    statement = GetStatementNumber();
    return;
  }
  for (long i = 0; i < count; ++i) values.SetValueAt(i, fields->Item(CComVariant(i))->GetValue());
}

qx_ptr<CConditions> CQXPersistentCollection::GetConditionsFromCurrentRow() const {
  if (Eof()) throw CQXPersistenceException(u"No valid current record found");
  const CComPtr<IFields> fields = m_ptrRecordSet->GetFields();
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  for (const OLECHAR* key : m_vecKeyFields) {
    CComVariant value = fields->Item(KeyColumnName(qx::viewOf(key)))->GetValue();
    const VARTYPE kind = value.vt;
    WriteDate(value);
    AddKeyCondition(*conditions, key, kind, value);
  }
  return conditions;
}

void CQXPersistentCollection::WriteDate(CComVariant& value) const {
  if (value.vt == VT_DATE) value = qx::textVariant(GetDateString(CQXDateTime(value.date)));
}

void CQXPersistentCollection::LoadObjectFromCurrentRow(CQXPersistentObject* object) {
  CopySettingsToObject(object, false, false);
  if (m_bKeysOnly) {
    object->Reload();
  } else {
    object->LoadFieldsFromFields(m_ptrRecordSet->GetFields());
  }
}

void CQXPersistentCollection::CopySettingsToObject(CQXPersistentObject* object, bool useOwnFields,
                                                   bool skipConditions) const {
  object->SetMasterTable(m_bstrMasterTable);
  object->TakeKeyFieldsOf(*this);  // with the conditions that own the names
  object->SetFields(m_vecFields);
  object->SetUserTable(m_bUserTable);
  object->SetCorrelationName(m_bstrCorrelationName);
  if (skipConditions) return;
  object->SetConditions(useOwnFields ? object->GetConditionsFromOwnFields()
                                     : GetConditionsFromCurrentRow());
}

void CQXPersistentCollection::Add(CQXPersistentObject* object) {
  CopySettingsToObject(object, true, false);
  object->Add();
}

bool CQXPersistentCollection::Exists(qx_ptr<CConditions> conditions, CQXPersistentObject* object) {
  object->SetConditions(conditions);
  CopySettingsToObject(object, false, true);
  return object->Exists();
}

void CQXPersistentCollection::Update(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
                                     const TyFieldValues& keyValues) {
  CopySettingsToObject(object, false, false);
  // The key of the current row gives the columns, the given conditions the values.
  CopyConditionValues(object, conditions);
  object->Update(keyValues);
}

void CQXPersistentCollection::Remove(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
                                     const TyFieldValues& keyValues) {
  CopySettingsToObject(object, false, false);
  CopyConditionValues(object, conditions);
  object->Remove(keyValues);
}

void CQXPersistentCollection::GetByKey(qx_ptr<CConditions> conditions,
                                       CQXPersistentObject* object) {
  const auto count = static_cast<std::size_t>(CountOf(conditions));
  if (count > m_vecKeyFields.size())
    throw CQXPersistenceException(u"More conditions than key fields");
  for (std::size_t i = 0; i < count; ++i)
    if (qx::viewOf(conditions->Item(static_cast<long>(i))->GetAlias()) !=
        qx::viewOf(m_vecKeyFields[i]))
      throw CQXPersistenceException(u"Only primary key is allowed for GetByKey");
  FindInRecordSet(conditions, object);
}

bool CQXPersistentCollection::FindInRecordSetNoThrow(qx_ptr<CConditions> conditions,
                                                     CQXPersistentObject* object) {
  try {
    FindInRecordSet(conditions, object);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void CQXPersistentCollection::FindInRecordSet(qx_ptr<CConditions> conditions,
                                              CQXPersistentObject* object) {
  CReturnValue<void> scope(u"CQXPersistentCollection::FindInRecordSet", 0, true);
  // The number is that of the conditions, although the text speaks of records. This is the
  // contract.
  scope.LogInfo(u"Notice the performance: trying to find in record set from %d records in table %s",
                CountOf(conditions), static_cast<const CComBSTR&>(m_bstrMasterTable));
  // Names are made once and not per row: the scan reads every row.
  const std::vector<SoughtColumn> sought = SoughtColumns(conditions);
  m_ptrRecordSet->MoveFirst();
  while (!Eof()) {
    if (IsMatch(sought)) {
      LoadObjectFromCurrentRow(object);
      return;
    }
    m_ptrRecordSet->MoveNext();
  }
  throw CQXPersistenceException(u"No match found");
}

std::vector<CQXPersistentCollection::SoughtColumn> CQXPersistentCollection::SoughtColumns(
    const qx_ptr<CConditions>& conditions) const {
  std::vector<SoughtColumn> sought;
  for (long i = 0; i < CountOf(conditions); ++i) {
    const CCondition* const condition = conditions->Item(i);
    sought.push_back({condition, KeyColumnName(qx::viewOf(condition->GetAlias()))});
  }
  return sought;
}

bool CQXPersistentCollection::IsMatch(const std::vector<SoughtColumn>& sought) const {
  if (sought.empty()) return false;  // no condition matches no row, not every row
  const CComPtr<IFields> fields = m_ptrRecordSet->GetFields();
  for (const auto& [condition, column] : sought) {
    if (condition->GetOperation() != co_Equal)
      throw CQXPersistenceException(u"Only EQUAL is allowed as condition operator");
    CComVariant value = fields->Item(column)->GetValue();
    WriteDate(value);
    // By the user's locale, unlike the values of conditions. See collection_proxy.h.
    if (value.vt != VT_BSTR && value.ChangeType(VT_BSTR) < 0) return false;
    if (qx::viewOf(value.bstrVal) != qx::viewOf(condition->GetCondVal())) return false;
  }
  return true;
}

}  // namespace Persistence
