#pragma once

#include "qxframework/cache/db_record_cache.h"

#include <cstddef>
#include <vector>

namespace Persistence {

/// The rows of one load from the cache of a table. They stay as they are until the next load; the
/// cache itself is shared with all who read the table. A copy has the rows too.
class CRowsInCache {
 public:
  using const_iterator = TyRowsByKey::const_iterator;

  /// Throw as CDBRecordCache::GetInstance does.
  CRowsInCache(const CComPtr<ICompany>& company, const CComBSTR& table);

  /// Replaces the rows by those of the parameter and returns their number as CDBRecordCache::Load
  /// does.
  int Load(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param);
  /// Returns the row that the cache has under this key, whichever load read it; null if none.
  qx_ptr<TyRow> GetByKey(const TyFieldValues& key) const { return m_ptrCache->GetRowByKey(key); }
  /// Appends the rows that the cache has under these keys; a key without a row is passed over.
  void AppendRows(const TyVector_KeyCollection& keys, std::vector<qx_ptr<TyRow>>& result) const;
  /// Returns the version of the cache's rows, see CDBRecordCache::RowsVersion.
  unsigned long Version() const { return m_ptrCache->RowsVersion(); }
  /// Counts rows that GetByKey would have found, but that the caller knew by the version.
  void CountFound(std::size_t rows) const { m_ptrCache->CountFoundRows(rows); }
  long GetRecordCount() const { return static_cast<long>(m_mapRows.size()); }
  /// Returns a new list of the keys, in their order.
  qx_ptr<TyVector_KeyCollection> GetKeyCollection() const;
  const_iterator GetFirstIterator() const { return m_mapRows.begin(); }
  /// Returns the last row; the end if there are none.
  const_iterator GetLastIterator() const;
  const_iterator GetEndIterator() const { return m_mapRows.end(); }
  /// Releases the rows; the cache keeps its own.
  void Clear() { m_mapRows.clear(); }
  /// Does nothing.
  void CheckConsistency() const {}

 private:
  qx_ptr<CDBRecordCache> m_ptrCache;
  CComBSTR m_bstrUnused;  // stays empty
  TyRowsByKey m_mapRows;
};

}  // namespace Persistence
