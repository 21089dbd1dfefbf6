#pragma once

#include "qxframework/cache/db_record_cache.h"

namespace Persistence {

/// The write side of a table's cache, and the reads past it: each operation is that of
/// CDBRecordCache. A copy shares the cache.
class CDBOperation {
 public:
  /// Throws as CDBRecordCache::GetInstance does.
  CDBOperation(const CComPtr<ICompany>& company, const CComBSTR& table);

  CQXSQLGenerator* GetSQLGenerator() const { return m_ptrCache->GetSQLGenerator(); }
  bool ExistsInDB(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param) const;
  qx_ptr<TyRow> GetByKey_DirectFromDB(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param) const;
  void Add(const CComBSTR& table, bool addCode, const TyRow& row) const;
  void Update(const CComBSTR& table, const TyRow& row) const;
  void DeleteByKey(const CComBSTR& table, const TyFieldValues& key) const;
  void DeleteByFieldValues(const CComBSTR& table, const TyFieldValues& values) const;

 private:
  qx_ptr<CDBRecordCache> m_ptrCache;
};

}  // namespace Persistence
