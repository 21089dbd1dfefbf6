#include "qxframework/persistence/internal/persistent_base.h"

#include "qxframework/logging/function_log.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/sql_text.h"

#include <stdexcept>

namespace Persistence {
namespace {

// The spelling is part of the contract.
constexpr const OLECHAR* kKeyMismatch =
    u"The given map of key fields does not match the key field list of this obejct";

// Returns the tag of a type in a condition; empty if the value is written without a literal.
const OLECHAR* tagOf(VARTYPE kind) {
  switch (kind) {
    case VT_BSTR:
      return u"VT_BSTR";
    case VT_R8:
      return u"VT_R8";
    case VT_DATE:
      return u"VT_DATE";
    default:
      return u"";
  }
}

/// Sets the values of a map that has the names of the fields; returns false if it has others.
bool SetValuesOf(IFields* fields, TyFieldValues& values) {
  const long count = fields->Count();
  if (count != values.GetCount()) return false;
  for (long i = 0; i < count; ++i) {
    const CComPtr<IField> field = fields->Item(CComVariant(i));
    if (field->GetName().View() != values.keyAt(i).View()) return false;
    values.SetValueAt(i, field->GetValue());
  }
  return true;
}

}  // namespace

CQXPersistentBase::CQXPersistentBase() = default;

CQXPersistentBase::CQXPersistentBase(CComPtr<ICompany> company) : m_ptrCompany(std::move(company)) {
  m_ptrRecordSet = CComQIPtr<IRecordset>(m_ptrCompany->GetBusinessObject(qx::kRecordset));
}

// Remove keeps failures in, unlike the release of the member.
CQXPersistentBase::~CQXPersistentBase() { CConditions::Remove(m_ptrConditions); }

void CQXPersistentBase::TakeKeyFieldsOf(const CQXPersistentBase& other) {
  m_vecKeyFields = other.m_vecKeyFields;
  if (other.m_ptrKeyNames != nullptr) m_ptrKeyNames = other.m_ptrKeyNames;
}

void CQXPersistentBase::SetConditions(qx_ptr<CConditions> conditions) {
  if (m_ptrConditions != nullptr) {
    CConditions::Remove(m_ptrConditions);
    m_ptrConditions = 0;
  }
  if (conditions != nullptr) m_ptrConditions = conditions->Clone();
}

void CQXPersistentBase::FillKeyFieldsFromConditions() {
  m_vecKeyFields.clear();
  m_ptrKeyNames = m_ptrConditions;
  for (long i = 0; i < CountOf(m_ptrConditions); ++i)
    m_vecKeyFields.push_back(m_ptrConditions->Item(i)->GetAlias());
}

qx_ptr<CConditions> CQXPersistentBase::BuildConditionsFromValues(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations,
    bool check) const {
  const auto count = static_cast<std::size_t>(values.GetCount());
  if (!operations.empty() && operations.size() < count)
    throw CQXPersistenceException(u"Operations count is less than the count of key fields");
  if (check && count != m_vecKeyFields.size()) throw CQXPersistenceException(kKeyMismatch);
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  for (std::size_t i = 0; i < count; ++i) {
    const CComBSTR& name = values.keyAt(static_cast<long>(i));
    if (check && qx::viewOf(name) != qx::viewOf(m_vecKeyFields[i]))
      throw CQXPersistenceException(kKeyMismatch);
    AddValueCondition(*conditions, name, values.valueAt(static_cast<long>(i)),
                      operations.empty() ? co_Equal : operations[i]);
  }
  return conditions;
}

// A value in a condition always has a decimal point, unlike the value of a row in AddKeyCondition.
void CQXPersistentBase::AddValueCondition(CConditions& conditions, const CComBSTR& name,
                                          CComVariant value, HvConditionOperation operation) const {
  CCondition* const condition = AddCondition(conditions, name, operation);
  condition->PutComparedAlias(tagOf(value.vt));
  if (value.vt == VT_DATE) GetSQLDate(value);
  condition->PutCondVal(qx::neutralTextOf(value));
}

CCondition* CQXPersistentBase::AddCondition(CConditions& conditions, const OLECHAR* column,
                                            HvConditionOperation operation) {
  CCondition* const condition = conditions.Add();
  condition->PutAlias(column);
  condition->PutOperation(operation);
  condition->PutRelationship(cr_And);
  return condition;
}

void CQXPersistentBase::AddKeyCondition(CConditions& conditions, const OLECHAR* column,
                                        VARTYPE kind, const CComVariant& value) {
  CCondition* const condition = AddCondition(conditions, column, co_Equal);
  condition->PutComparedAlias(tagOf(kind));
  condition->PutCondVal(qx::textOf(value));
}

void CQXPersistentBase::CopyConditionValues(CQXPersistentBase* object,
                                            const qx_ptr<CConditions>& given) {
  const qx_ptr<CConditions> own = object->GetConditions();
  if (CountOf(given) > CountOf(own))
    throw CQXPersistenceException(u"More conditions than key fields");
  for (long i = 0; i < CountOf(own); ++i) {
    if (i >= CountOf(given)) throw std::out_of_range("fewer conditions than key fields");
    CCondition& to = *own->Item(i);
    const CCondition& from = *given->Item(i);
    if (qx::viewOf(to.GetAlias()) != qx::viewOf(from.GetAlias()))
      throw CQXPersistenceException(qx::format(u"Field mismatch - field %s expected, %s received",
                                               to.GetAlias(), from.GetAlias())
                                        .c_str());
    to.PutCondVal(qx::viewOfBstr(from.GetCondVal()));
    to.PutComparedAlias(from.GetComparedAlias());
  }
}

// A field list with a correlation name gives each column the alias "T0.Code"; "*" and fields
// without a correlation name keep the plain name.
CComBSTR CQXPersistentBase::KeyColumnName(std::u16string_view key) const {
  if (m_bstrCorrelationName.IsEmpty() || m_vecFields.empty()) return CComBSTR(key);
  return qx::joined({m_bstrCorrelationName.View(), u".", key});
}

// Most rows have the names of the row before, of the same object or of another one. They share
// them, since making a map with its names takes longer than reading the values.
void CQXPersistentBase::ReadFields(IFields* fields, TyFieldValues& values) {
  thread_local TyFieldValues names;  // those of the last row, without its values
  values = names;
  if (SetValuesOf(fields, values)) return;
  values.Clear();
  const long count = fields->Count();
  for (long i = 0; i < count; ++i) {
    const CComPtr<IField> field = fields->Item(CComVariant(i));
    values.Add(field->GetName(), field->GetValue());
  }
  names = values;
  for (long i = 0; i < count; ++i) names.SetValueAt(i, CComVariant());
}

void CQXPersistentBase::FillExceptionFromCompany(CQXPersistenceException& exception) const {
  if (m_ptrCompany == nullptr) return;
  try {
    long code = 0;
    CComBSTR text;
    m_ptrCompany->GetLastError(code, text);
    if (code != 0) exception.SetErrorCode(code);
    if (!text.IsEmpty()) exception.SetErrorString(text);
  } catch (const _com_error&) {
    // The failed statement is the failure to report, not the failed question about it.
  }
}

long CQXPersistentBase::Query(const CComBSTR& text) {
  // Before the query: after a failed one the names of the last row are of no use either.
  ++m_lStatementNumber;
  return m_ptrRecordSet->DoQuery(text);
}

_bstr_t CQXPersistentBase::ScopeName(std::u16string_view className, std::u16string_view dialect,
                                     std::u16string_view operation) {
  return _bstr_t(qx::joined({className, dialect, u"::", operation}));
}

void CQXPersistentBase::RunText(CReturnValue<long>& hr, const CComBSTR& text,
                                const OLECHAR* failure, const CComBSTR& table) {
  hr.LogInfo(u"%s", text);
  try {
    hr = Query(text);
  } catch (const _com_error& error) {
    Fail(hr, error, failure, table);
  }
}

void CQXPersistentBase::Fail(CReturnValue<long>& hr, const _com_error& error,
                             const OLECHAR* failure, const CComBSTR& table) const {
  CQXPersistenceException exception;
  FillExceptionFromCompany(exception);
  hr = error.Error();
  hr.LogError(failure, table);
  throw exception;
}

}  // namespace Persistence
