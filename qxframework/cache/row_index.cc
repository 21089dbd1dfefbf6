#include "qxframework/cache/row_index.h"

#include "qxframework/cache/internal/row_lookup.h"
#include "qxframework/cache/rows_in_cache.h"

#include <utility>

namespace Persistence {

CRowIndex::CRowIndex(const CComBSTR& name, const std::vector<CComBSTR>& fields)
    : m_bstrName(name), m_vecFields(fields) {}

void CRowIndex::SetKeys(TyKeysByValues keys) {
  m_mapKeys = std::move(keys);
  m_ptrLookup.reset();
}

void CRowIndex::AppendRows(const TyFieldValues& values, const CRowsInCache& cache,
                           std::vector<qx_ptr<TyRow>>& result) const {
  if (m_mapKeys.empty()) return;
  if (m_ptrLookup == nullptr) m_ptrLookup = std::make_shared<qx::RowLookup>(m_mapKeys);
  if (m_ptrLookup->appendRows(values, cache, result)) return;
  const auto found = m_mapKeys.find(values);
  if (found != m_mapKeys.end()) cache.AppendRows(*found->second, result);
}

}  // namespace Persistence
