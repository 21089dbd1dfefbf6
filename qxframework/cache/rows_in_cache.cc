#include "qxframework/cache/rows_in_cache.h"

#include <iterator>

namespace Persistence {

CRowsInCache::CRowsInCache(const CComPtr<ICompany>& company, const CComBSTR& table)
    : m_ptrCache(CDBRecordCache::GetInstance(company, table)) {}

int CRowsInCache::Load(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param) {
  m_mapRows.clear();
  return m_ptrCache->Load(param, m_mapRows);
}

qx_ptr<TyVector_KeyCollection> CRowsInCache::GetKeyCollection() const {
  qx_ptr<TyVector_KeyCollection> keys(new TyVector_KeyCollection, true);
  keys->reserve(m_mapRows.size());
  for (const auto& [key, row] : m_mapRows) keys->push_back(key);
  return keys;
}

void CRowsInCache::AppendRows(const TyVector_KeyCollection& keys,
                              std::vector<qx_ptr<TyRow>>& result) const {
  for (const TyFieldValues& key : keys) {
    const qx_ptr<TyRow> row = GetByKey(key);
    if (row != nullptr) result.push_back(row);
  }
}

CRowsInCache::const_iterator CRowsInCache::GetLastIterator() const {
  return m_mapRows.empty() ? m_mapRows.end() : std::prev(m_mapRows.end());
}

}  // namespace Persistence
