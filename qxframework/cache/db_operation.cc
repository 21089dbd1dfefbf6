#include "qxframework/cache/db_operation.h"

namespace Persistence {

CDBOperation::CDBOperation(const CComPtr<ICompany>& company, const CComBSTR& table)
    : m_ptrCache(CDBRecordCache::GetInstance(company, table)) {}

bool CDBOperation::ExistsInDB(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param) const {
  return m_ptrCache->ExistsInDB(param);
}

qx_ptr<TyRow> CDBOperation::GetByKey_DirectFromDB(
    const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param) const {
  return m_ptrCache->GetByKey_DirectFromDB(param);
}

void CDBOperation::Add(const CComBSTR& table, bool addCode, const TyRow& row) const {
  m_ptrCache->Add(table, addCode, row);
}

void CDBOperation::Update(const CComBSTR& table, const TyRow& row) const {
  m_ptrCache->Update(table, row);
}

void CDBOperation::DeleteByKey(const CComBSTR& table, const TyFieldValues& key) const {
  m_ptrCache->DeleteByKey(table, key);
}

void CDBOperation::DeleteByFieldValues(const CComBSTR& table, const TyFieldValues& values) const {
  m_ptrCache->DeleteByFieldValues(table, values);
}

}  // namespace Persistence
