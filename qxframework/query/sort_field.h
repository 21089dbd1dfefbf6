#pragma once

#include "qxframework/automation/bstr.h"

#include <vector>

namespace Persistence {

/// Any other number counts as so_Descending.
enum etSORT_ORDER : int { so_Ascending = 0, so_Descending = 1 };

/// One column of an ORDER BY.
class QX_API CQXPersistenceSortField {
 public:
  CQXPersistenceSortField(const OLECHAR* fieldName, etSORT_ORDER order)
      : m_FieldName(fieldName), m_SortOrder(order) {}
  /// Sorts in ascending order.
  CQXPersistenceSortField(const OLECHAR* fieldName)
      : CQXPersistenceSortField(fieldName, so_Ascending) {}

  const CComBSTR& GetFieldName() const { return m_FieldName; }
  etSORT_ORDER GetSortOrder() const { return m_SortOrder; }
  /// Returns " ASC" or " DESC", with the blank.
  const OLECHAR* GetSortOrderAsString() const;

  /// Compares names in the user's locale and with letter case.
  friend QX_API bool operator==(const CQXPersistenceSortField& a, const CQXPersistenceSortField& b);
  friend bool operator!=(const CQXPersistenceSortField& a, const CQXPersistenceSortField& b) {
    return !(a == b);
  }

 private:
  CComBSTR m_FieldName;
  etSORT_ORDER m_SortOrder;
};

using CQXPersistenceSortFieldCollection = std::vector<CQXPersistenceSortField>;

}  // namespace Persistence
