#pragma once

// The conditions of a query: an ordered list of comparisons of a column with a value. The list is
// independent of SQL; the code that writes a statement chooses the text of each condition.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_ptr.h"

#include <memory>
#include <vector>

namespace qx {
struct ConditionAccess;  // tests reach by it what no operation sets
}

namespace Persistence {

/// The comparison of a column with a value. Any other number counts as co_Equal.
enum HvConditionOperation : int {
  co_Like = 0,
  co_Equal = 1,
  co_Greater = 2,
  co_Less = 3,
  co_GreaterOrEqual = 4,
  co_LessOrEqual = 5,
  co_NotEqual = 6
};

/// The word between a condition and the one before it. Any other number counts as cr_And.
enum HvConditionRelationship : int { cr_And = 98, cr_Or = 99 };

/// One comparison. A new one has empty texts and the operation co_Like.
///
/// A text that a getter returns may be null. It is valid until the text is set again.
class QX_API CCondition {
 public:
  CCondition(const CCondition& other) = default;
  CCondition& operator=(const CCondition& other) = default;
  ~CCondition();

  /// Returns VARIANT_TRUE if the condition compares two columns. No operation sets this.
  VARIANT_BOOL GetCompareFields() const { return m_CompareFields; }
  /// Returns the column, without a correlation name.
  const OLECHAR* GetAlias() const { return m_Alias; }
  void PutAlias(CComBSTR alias) { m_Alias = std::move(alias); }
  long GetBracketOpenNum() const { return m_BracketOpenNum; }
  void PutBracketOpenNum(long count) { m_BracketOpenNum = static_cast<std::int32_t>(count); }
  long GetBracketCloseNum() const { return m_BracketCloseNum; }
  void PutBracketCloseNum(long count) { m_BracketCloseNum = static_cast<std::int32_t>(count); }
  /// Returns the kind of the value, which decides the form of its literal: "VT_BSTR", "VT_R8",
  /// "VT_DATE" or another text.
  const OLECHAR* GetComparedAlias() const { return m_ComparedAlias; }
  void PutComparedAlias(CComBSTR kind) { m_ComparedAlias = std::move(kind); }
  /// Returns the value as a text, for every kind of value.
  const OLECHAR* GetCondVal() const { return m_CondVal; }
  void PutCondVal(CComBSTR value) { m_CondVal = std::move(value); }
  HvConditionOperation GetOperation() const { return m_Operation; }
  void PutOperation(HvConditionOperation operation) { m_Operation = operation; }
  HvConditionRelationship GetRelationship() const { return m_Relationship; }
  void PutRelationship(HvConditionRelationship relationship) { m_Relationship = relationship; }

  /// True if all fields are equal. Texts compare unit by unit; a null text equals an empty one.
  friend QX_API bool operator==(const CCondition& a, const CCondition& b);
  friend bool operator!=(const CCondition& a, const CCondition& b) { return !(a == b); }

 private:
  friend class CConditions;
  friend struct qx::ConditionAccess;
  CCondition() = default;

  CComBSTR m_ComparedAlias{u""};
  VARIANT_BOOL m_CompareFields = VARIANT_FALSE;
  HvConditionOperation m_Operation{};
  HvConditionRelationship m_Relationship{};
  CComBSTR m_CondVal{u""};
  CComBSTR m_Alias{u""};
  std::int32_t m_BracketOpenNum = 0;
  std::int32_t m_BracketCloseNum = 0;
};

/// The ordered list of conditions, which owns them.
///
/// A copied or assigned list shares the conditions with the original: a change through one list
/// shows in the other, and a condition lives as long as any list that holds it. Clone returns a
/// list with conditions of its own.
class QX_API CConditions {
 public:
  CConditions(const CConditions& other) = default;
  CConditions& operator=(const CConditions& other) = default;
  ~CConditions();

  static qx_ptr<CConditions> CreateNewInstance();
  /// Releases the given reference. The list is destroyed with its last reference.
  static void Remove(qx_ptr<CConditions> conditions);
  qx_ptr<CConditions> Clone() const;

  /// Appends a new condition and returns it; the list owns it.
  CCondition* Add();
  /// Appends the condition and takes ownership of it; it must belong to no list. Throws a
  /// _com_error of E_POINTER for null.
  void Add(CCondition* condition);
  /// Empties the list. Without `destroy` the conditions stay alive: no list deletes them any more,
  /// and the caller owns them.
  void Clear(bool destroy);

  long GetCount() const { return static_cast<long>(m_Conditions.size()); }
  /// Returns the condition at a position from 0. Throws std::out_of_range.
  CCondition* Item(long index) const;
  /// Returns the condition at the position in `index`, read as VT_I4 whatever its type is.
  CCondition* Item(const VARIANT& index) const { return Item(long{index.lVal}); }

  /// True if the lists have equal conditions in the same order.
  friend QX_API bool operator==(const CConditions& a, const CConditions& b);
  friend bool operator!=(const CConditions& a, const CConditions& b) { return !(a == b); }

 private:
  friend struct qx::ConditionAccess;
  CConditions() = default;

  std::vector<std::shared_ptr<CCondition>> m_Conditions;
};

}  // namespace Persistence
