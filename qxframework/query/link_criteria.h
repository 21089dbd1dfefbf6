#pragma once

// How a statement joins further tables to its master table: one CQXLinkTableCriteria for each
// table, with one CQXLinkFieldCriteria for each comparison behind its ON.

#include "qxframework/automation/simple_map.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/query/condition.h"

#include <vector>

namespace Persistence {

/// Any other number writes no kind of join.
enum etTABLE_JOIN_MODE : int {
  jm_Inner = 0,
  jm_LeftOuter = 1,
  jm_RightOuter = 2,
  jm_FullOuter = 3
};

/// One comparison of a join: a column of the joined table with one of the master table, or with a
/// constant.
class QX_API CQXLinkFieldCriteria {
 public:
  /// The two columns are equal.
  CQXLinkFieldCriteria(const OLECHAR* sourceField, const OLECHAR* destField);
  /// The column compares with a constant; the source field is null. A proxy replaces a text or a
  /// date by its literal when it writes a statement, so that a second statement has it quoted twice
  /// and matches nothing: take a new proxy. What was given to the proxy stays as it is.
  CQXLinkFieldCriteria(const OLECHAR* destField, const CComVariant& destValue,
                       HvConditionOperation operation);
  CQXLinkFieldCriteria(const CQXLinkFieldCriteria& other) = default;
  CQXLinkFieldCriteria& operator=(const CQXLinkFieldCriteria& other) = default;
  virtual ~CQXLinkFieldCriteria();

  /// The master table's column; null if the comparison is with a constant.
  const CQXBSTR& GetSourceField() const { return m_SourceField; }
  const CQXBSTR& GetDestField() const { return m_DestField; }
  void SetSourceField(const OLECHAR* field) { m_SourceField = field; }
  void SetDestField(const OLECHAR* field) { m_DestField = field; }
  HvConditionOperation GetOperation() const { return m_Operation; }
  /// The constant. Who writes it into a statement may change it.
  CComVariant& GetDestValue() { return m_DestValue; }
  const CComVariant& GetDestValue() const { return m_DestValue; }

  /// Texts compare by the user's locale, letter case included. Constants are equal if they are of
  /// the same kind and equal by that locale, or both VT_NULL.
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
  /// Takes everything over, but adds the link fields behind those that are there.
  CQXLinkTableCriteria& operator=(CQXLinkTableCriteria other);
  virtual ~CQXLinkTableCriteria();

  const CQXBSTR& GetTableName() const { return m_TableName; }
  void SetTableName(const OLECHAR* name) { m_TableName = name; }
  const CQXBSTR& GetCorrelationName() const { return m_CorrelationName; }
  void SetCorrelationName(const OLECHAR* name) { m_CorrelationName = name; }
  bool GetUpdate() const { return m_Update; }
  etTABLE_JOIN_MODE GetJoinMode() const { return m_JoinMode; }
  void SetJoinMode(etTABLE_JOIN_MODE joinMode) { m_JoinMode = joinMode; }

  /// By position, in the order of adding. Raises std::out_of_range.
  CQXLinkFieldCriteria& GetLinkFieldCriteriaAt(int index) {
    return m_LinkFieldCriteria.GetValueAt(index);
  }
  const CQXLinkFieldCriteria& GetLinkFieldCriteriaAt(int index) const {
    return m_LinkFieldCriteria.GetValueAt(index);
  }
  void AddLinkFieldCriteria(const CQXLinkFieldCriteria& criteria);
  /// The number of link fields.
  int GetSize() const { return m_LinkFieldCriteria.GetSize(); }

  /// The columns to select. Only the pointers are kept: the caller keeps the texts alive.
  void SetFields(const std::vector<const OLECHAR*>& fields) { m_Fields = fields; }
  const std::vector<const OLECHAR*>& GetFields() const { return m_Fields; }
  /// Whether the name is that of a user table, which an engine may want in another form.
  bool IsUserTable() const { return m_UserTable; }

  /// All of it alike, the names of the columns too.
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
