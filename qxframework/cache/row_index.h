#pragma once

// An index over the rows of a cached collection: the keys of the rows by the values of some fields.
//
// A search first looks for the values exactly as they are written, in a hash table that remembers
// the rows until the cache changes. Values that are equal in another form, such as a number of
// another type or a text with composed letters, are found by the order of the map.

#include "qxframework/automation/bstr.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/query/field_values.h"

#include <map>
#include <memory>
#include <vector>

namespace qx {
class RowLookup;
}

namespace Persistence {

class CRowsInCache;

/// The keys of rows by the values that they have in the fields of an index.
using TyKeysByValues = std::map<TyFieldValues, qx_ptr<TyVector_KeyCollection>>;

/// An index with its name and its fields. It is empty until a search or RebuildIndexes fills it. A
/// copy has the same content.
class QX_API CRowIndex {
 public:
  CRowIndex(const CComBSTR& name, const std::vector<CComBSTR>& fields);

  const CComBSTR& GetName() const { return m_bstrName; }
  const std::vector<CComBSTR>& GetFields() const { return m_vecFields; }
  const TyKeysByValues& GetKeys() const { return m_mapKeys; }
  /// Replaces the content. The lists must not change any more; without the map the index is empty.
  void SetKeys(TyKeysByValues keys = {});
  /// Appends the rows that the cache has for the keys of these values. Throws the `OLECHAR*` "Not
  /// compatible TyFieldvalues for comparison" if the index has another number of fields.
  void AppendRows(const TyFieldValues& values, const CRowsInCache& cache,
                  std::vector<qx_ptr<TyRow>>& result) const;

 private:
  CComBSTR m_bstrName;
  std::vector<CComBSTR> m_vecFields;
  TyKeysByValues m_mapKeys;
  // Beyond the declared fields. Made by the first search; copies share it until one is filled anew.
  mutable std::shared_ptr<qx::RowLookup> m_ptrLookup;
};

}  // namespace Persistence
