#pragma once

// The joins of a statement to its master table: one CQXLinkTableCriteria for each joined table,
// with one CQXLinkFieldCriteria for each comparison after its ON.

#include "qxframework/automation/simple_map.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/query/condition.h"

#include <vector>

namespace Persistence {

/// With any other number a statement has the word JOIN only.
enum etTABLE_JOIN_MODE : int {
  jm_Inner = 0,
  jm_LeftOuter = 1,
  jm_RightOuter = 2,
  jm_FullOuter = 3
};

/// One comparison of a join: of a column of the joined table with a column of the master table or
/// with a constant.
class QX_API CQXLinkFieldCriteria {
 public:
  /// Compares the two columns for equality.
  CQXLinkFieldCriteria(const OLECHAR* sourceField, const OLECHAR* destField);
  /// Compares the column with a constant; the source field is null. A proxy replaces its copy of a
  /// text or a date by the literal when it writes a statement. A second statement quotes the
  /// literal again and matches nothing, so use a new proxy for it. The object passed to the proxy
  /// does not change.
  CQXLinkFieldCriteria(const OLECHAR* destField, const CComVariant& destValue,
                       HvConditionOperation operation);
  CQXLinkFieldCriteria(const CQXLinkFieldCriteria& other) = default;
  CQXLinkFieldCriteria& operator=(const CQXLinkFieldCriteria& other) = default;
  virtual ~CQXLinkFieldCriteria();

  /// Returns the master table's column; null in a comparison with a constant.
  const CQXBSTR& GetSourceField() const { return m_SourceField; }
  const CQXBSTR& GetDestField() const { return m_DestField; }
  void SetSourceField(const OLECHAR* field) { m_SourceField = field; }
  void SetDestField(const OLECHAR* field) { m_DestField = field; }
  HvConditionOperation GetOperation() const { return m_Operation; }
  /// Returns the constant. Writing a statement may change it.
  CComVariant& GetDestValue() { return m_DestValue; }
  const CComVariant& GetDestValue() const { return m_DestValue; }

  /// Compares texts in the user's locale and with letter case. Constants are equal if they have the
  /// same type and are equal in that locale, or if both are VT_NULL.
  friend QX_API bool operator==(const CQXLinkFieldCriteria& a, const CQXLinkFieldCriteria& b);
  friend bool operator!=(const CQXLinkFieldCriteria& a, const CQXLinkFieldCriteria& b) {
    return !(a == b);
  }

 protected:
  CQXLinkFieldCriteria() = default;

 private:
  CQXBSTR m_SourceField{ln_English};
  CQXBSTR m_DestField{ln_English};
  CComVariant m_DestValue;
  HvConditionOperation m_Operation{};
};

/// One joined table.
class QX_API CQXLinkTableCriteria {
 public:
  CQXLinkTableCriteria() = default;
  CQXLinkTableCriteria(const OLECHAR* tableName, const OLECHAR* correlationName,
                       etTABLE_JOIN_MODE joinMode, bool userTable);
  CQXLinkTableCriteria(const CQXLinkTableCriteria& other) = default;
  /// Copies all members, but appends the link fields to the present ones.
  CQXLinkTableCriteria& operator=(CQXLinkTableCriteria other);
  virtual ~CQXLinkTableCriteria();

  const CQXBSTR& GetTableName() const { return m_TableName; }
  void SetTableName(const OLECHAR* name) { m_TableName = name; }
  const CQXBSTR& GetCorrelationName() const { return m_CorrelationName; }
  void SetCorrelationName(const OLECHAR* name) { m_CorrelationName = name; }
  bool GetUpdate() const { return m_Update; }
  etTABLE_JOIN_MODE GetJoinMode() const { return m_JoinMode; }
  void SetJoinMode(etTABLE_JOIN_MODE joinMode) { m_JoinMode = joinMode; }

  /// Returns the link field at a position, in the order of adding. Throws std::out_of_range.
  CQXLinkFieldCriteria& GetLinkFieldCriteriaAt(int index) {
    return m_LinkFieldCriteria.GetValueAt(index);
  }
  const CQXLinkFieldCriteria& GetLinkFieldCriteriaAt(int index) const {
    return m_LinkFieldCriteria.GetValueAt(index);
  }
  void AddLinkFieldCriteria(const CQXLinkFieldCriteria& criteria);
  /// Returns the number of link fields.
  int GetSize() const { return m_LinkFieldCriteria.GetSize(); }

  /// Sets the columns to select. Only the pointers are kept, so the caller keeps the texts alive.
  void SetFields(const std::vector<const OLECHAR*>& fields) { m_Fields = fields; }
  const std::vector<const OLECHAR*>& GetFields() const { return m_Fields; }
  /// Returns true for the name of a user table, which some dialects enclose.
  bool IsUserTable() const { return m_UserTable; }

  /// True if all members are equal, including the names of the columns.
  friend QX_API bool operator==(const CQXLinkTableCriteria& a, const CQXLinkTableCriteria& b);
  friend bool operator!=(const CQXLinkTableCriteria& a, const CQXLinkTableCriteria& b) {
    return !(a == b);
  }

 private:
  CQXBSTR m_TableName{ln_English};
  bool m_Update = false;
  etTABLE_JOIN_MODE m_JoinMode = jm_Inner;
  CSimpleMap<int, CQXLinkFieldCriteria> m_LinkFieldCriteria;  // by the index at which it was added
  CQXBSTR m_CorrelationName{ln_English};
  std::vector<const OLECHAR*> m_Fields;
  bool m_UserTable = false;
};

}  // namespace Persistence
