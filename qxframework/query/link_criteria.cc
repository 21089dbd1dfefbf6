#include "qxframework/query/link_criteria.h"

#include "qxframework/query/field_names.h"
#include "qxframework/query/variant_order.h"

namespace Persistence {

CQXLinkFieldCriteria::CQXLinkFieldCriteria(const OLECHAR* sourceField, const OLECHAR* destField)
    : m_SourceField(sourceField, ln_English),
      m_DestField(destField, ln_English),
      m_Operation(co_Equal) {}

CQXLinkFieldCriteria::CQXLinkFieldCriteria(const OLECHAR* destField, const CComVariant& destValue,
                                           HvConditionOperation operation)
    : m_DestField(destField, ln_English), m_DestValue(destValue), m_Operation(operation) {}

CQXLinkFieldCriteria::~CQXLinkFieldCriteria() = default;

bool operator==(const CQXLinkFieldCriteria& a, const CQXLinkFieldCriteria& b) {
  return a.m_DestField == b.m_DestField && a.m_SourceField == b.m_SourceField &&
         qx::sameValue(a.m_DestValue, b.m_DestValue) && a.m_Operation == b.m_Operation;
}

CQXLinkTableCriteria::CQXLinkTableCriteria(const OLECHAR* tableName, const OLECHAR* correlationName,
                                           etTABLE_JOIN_MODE joinMode, bool userTable)
    : m_TableName(tableName, ln_English),
      m_JoinMode(joinMode),
      m_CorrelationName(correlationName, ln_English),
      m_UserTable(userTable) {}

// The argument is a copy, so that an object assigned to itself does not loop over its growing list.
CQXLinkTableCriteria& CQXLinkTableCriteria::operator=(CQXLinkTableCriteria other) {
  m_TableName = other.m_TableName;
  m_Update = other.m_Update;
  m_JoinMode = other.m_JoinMode;
  for (int i = 0; i < other.GetSize(); ++i) AddLinkFieldCriteria(other.GetLinkFieldCriteriaAt(i));
  m_CorrelationName = other.m_CorrelationName;
  m_Fields = std::move(other.m_Fields);
  m_UserTable = other.m_UserTable;
  return *this;
}

CQXLinkTableCriteria::~CQXLinkTableCriteria() = default;

void CQXLinkTableCriteria::AddLinkFieldCriteria(const CQXLinkFieldCriteria& criteria) {
  m_LinkFieldCriteria.Add(GetSize(), criteria);
}

bool operator==(const CQXLinkTableCriteria& a, const CQXLinkTableCriteria& b) {
  if (a.m_TableName != b.m_TableName || a.m_Update != b.m_Update || a.m_JoinMode != b.m_JoinMode ||
      a.GetSize() != b.GetSize())
    return false;
  for (int i = 0; i < a.GetSize(); ++i)
    if (a.m_LinkFieldCriteria.GetKeyAt(i) != b.m_LinkFieldCriteria.GetKeyAt(i) ||
        a.GetLinkFieldCriteriaAt(i) != b.GetLinkFieldCriteriaAt(i))
      return false;
  return a.m_CorrelationName == b.m_CorrelationName && qx::sameNames(a.m_Fields, b.m_Fields) &&
         a.m_UserTable == b.m_UserTable;
}

}  // namespace Persistence
