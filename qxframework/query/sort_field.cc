#include "qxframework/query/sort_field.h"

namespace Persistence {

const OLECHAR* CQXPersistenceSortField::GetSortOrderAsString() const {
  return m_SortOrder == so_Ascending ? u" ASC" : u" DESC";
}

bool operator==(const CQXPersistenceSortField& a, const CQXPersistenceSortField& b) {
  return a.m_FieldName == b.m_FieldName && a.m_SortOrder == b.m_SortOrder;
}

}  // namespace Persistence
