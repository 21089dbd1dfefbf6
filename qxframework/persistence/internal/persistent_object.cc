#include "qxframework/persistence/internal/persistent_object.h"

#include "qxframework/automation/text.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/dialect.h"
#include "qxframework/sql/sql_text.h"

#include <exception>

namespace Persistence {
namespace {

constexpr std::u16string_view kClass = u"CQXPersistentObject";

constexpr const OLECHAR* kNoQueryText =
    u"Query string is empty - it may not have been saved with alst select";

}  // namespace

// No row, several rows and a failed statement are all "no". A failure that is no std::exception,
// such as a _com_error, passes through.
bool CQXPersistentObject::RunExists() {
  try {
    Reload();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void CQXPersistentObject::RunAdd(const qx::Dialect& dialect) {
  CReturnValue<long> hr(ScopeName(kClass, dialect.classSuffix, u"Add"), 0, 0);
  CComBSTR columns;
  CComBSTR values;
  BuildInsertLists(columns, values);
  RunText(hr, AssembleInsert(columns, values), u"Failed to insert into %s", TableText());
}

void CQXPersistentObject::RunRemove(const qx::Dialect& dialect) {
  CReturnValue<long> hr(ScopeName(kClass, dialect.classSuffix, u"Remove"), 0, 0);
  RunText(hr, RemoveText(), u"Failed to delete from %s", TableText());
}

void CQXPersistentObject::RunUpdate(const qx::Dialect& dialect, const TyFieldValues& keyValues) {
  CReturnValue<long> hr(ScopeName(kClass, dialect.classSuffix, u"Update"), 0, 0);
  RunText(hr, UpdateText(keyValues), u"Failed to update %s", TableText());
}

void CQXPersistentObject::RunSelect(const qx::Dialect& dialect) {
  CReturnValue<long> hr(ScopeName(kClass, dialect.classSuffix, u"Select"), 0, 0);
  CComBSTR text = SelectText();
  hr.LogInfo(u"%s", text);
  try {
    QueryOneRow(hr, std::move(text));
  } catch (const _com_error& error) {
    Fail(hr, error, u"Failed to select from %s", SelectTableText());
  } catch (const CQXPersistenceException& exception) {
    hr = 1;
    hr.LogError(u"Failed to select from %s because %s", SelectTableText(),
                exception.GetErrorString());
    throw;
  }
}

void CQXPersistentObject::QueryOneRow(CReturnValue<long>& hr, CComBSTR text) {
  hr = Query(text);
  SetLastQuery(std::move(text));
  const long count = m_ptrRecordSet->GetRecordCount();
  if (count < 1) throw CQXPersistenceException(u"No record was found with the given conditions");
  if (count > 1) throw CQXPersistenceException(u"The given key is not unique");
}

void CQXPersistentObject::Reload() {
  if (m_vecKeyFields.empty()) FillKeyFieldsFromConditions();
  if (m_bSelected) {
    // The stored text, whatever the settings are by now. The rows are not counted here.
    if (m_bstrLastQuery.IsEmpty()) throw CQXPersistenceException(kNoQueryText);
    Query(m_bstrLastQuery);
  } else {
    RequireSelectable();
    Select();
  }
  LoadFieldsFromRecordSet();
  m_bSelected = true;
}

void CQXPersistentObject::RequireSelectable() const {
  if (m_ptrConditions.get() == nullptr && m_vecKeyFields.empty())
    throw CQXPersistenceException(
        u"Persistent Object is not properly initialized, neither conditions nor key fields are "
        u"set");
  if (m_bstrMasterTable.IsEmpty())
    throw CQXPersistenceException(
        u"Persistent Object is not properly initialized, master table name is not set");
}

void CQXPersistentObject::LoadFieldsFromRecordSet() {
  LoadFieldsFromFields(m_ptrRecordSet->GetFields());
}

void CQXPersistentObject::LoadFieldsFromFields(CComPtr<IFields> fields) {
  m_FieldValues.Clear();
  ReadFields(fields, m_FieldValues);
}

qx_ptr<CConditions> CQXPersistentObject::GetConditionsFromOwnFields() const {
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  for (const OLECHAR* key : m_vecKeyFields) {
    CComVariant value = m_FieldValues.GetValue(KeyColumnName(qx::viewOf(key)));
    const VARTYPE kind = value.vt;
    if (kind == VT_DATE) GetSQLDate(value);
    AddKeyCondition(*conditions, key, kind, value);
  }
  return conditions;
}

}  // namespace Persistence
