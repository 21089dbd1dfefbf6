#pragma once

// What a query asks for: an ordered list of comparisons of a column with a value. The list says
// nothing of the SQL that it becomes; that is the business of who writes the statement.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_ptr.h"

#include <memory>
#include <vector>

namespace qx {
struct ConditionAccess;  // what no operation of a condition or a list reaches
}

namespace Persistence {

/// How a column compares with the value. Any other number is taken as co_Equal.
enum HvConditionOperation : int {
  co_Like = 0,
  co_Equal = 1,
  co_Greater = 2,
  co_Less = 3,
  co_GreaterOrEqual = 4,
  co_LessOrEqual = 5,
  co_NotEqual = 6
};

/// How a condition joins the one before it. Any other number is taken as cr_And.
enum HvConditionRelationship : int { cr_And = 98, cr_Or = 99 };

/// One comparison. A fresh one has empty texts and the operation co_Like.
///
/// The texts that are given out may be null and live until they are put anew.
class QX_API CCondition {
 public:
  CCondition(const CCondition& other) = default;
  CCondition& operator=(const CCondition& other) = default;
  ~CCondition() = default;

  /// VARIANT_TRUE if the condition compares two columns, which nothing can ask for as yet.
  VARIANT_BOOL GetCompareFields() const { return m_CompareFields; }
  /// The column, without any correlation name.
  const OLECHAR* GetAlias() const { return m_Alias; }
  void PutAlias(CComBSTR alias) { m_Alias = std::move(alias); }
  long GetBracketOpenNum() const { return m_BracketOpenNum; }
  void PutBracketOpenNum(long count) { m_BracketOpenNum = static_cast<std::int32_t>(count); }
  long GetBracketCloseNum() const { return m_BracketCloseNum; }
  void PutBracketCloseNum(long count) { m_BracketCloseNum = static_cast<std::int32_t>(count); }
  /// The kind of the value, by which it is written: "VT_BSTR", "VT_R8", "VT_DATE", or another text.
  const OLECHAR* GetComparedAlias() const { return m_ComparedAlias; }
  void PutComparedAlias(CComBSTR kind) { m_ComparedAlias = std::move(kind); }
  /// The value as text, whatever its kind.
  const OLECHAR* GetCondVal() const { return m_CondVal; }
  void PutCondVal(CComBSTR value) { m_CondVal = std::move(value); }
  HvConditionOperation GetOperation() const { return m_Operation; }
  void PutOperation(HvConditionOperation operation) { m_Operation = operation; }
  HvConditionRelationship GetRelationship() const { return m_Relationship; }
  void PutRelationship(HvConditionRelationship relationship) { m_Relationship = relationship; }

  /// All fields alike, the texts unit by unit; a null text equals an empty one.
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
/// A copy made by copying or assigning the list itself shares the conditions: a change through one
/// list shows in the other, and a condition lives as long as any list that holds it. Clone gives a
/// list of its own.
class QX_API CConditions {
 public:
  CConditions(const CConditions& other) = default;
  CConditions& operator=(const CConditions& other) = default;
  ~CConditions();

  static qx_ptr<CConditions> CreateNewInstance();
  /// Gives up the reference that it is handed; the list dies with its last one.
  static void Remove(qx_ptr<CConditions> conditions);
  qx_ptr<CConditions> Clone() const;

  /// A fresh condition at the end, owned by the list.
  CCondition* Add();
  /// Takes the condition over; it must belong to no list. Null raises E_POINTER.
  void Add(CCondition* condition);
  /// Empties the list. Without `destroy` the conditions live on, in the care of whoever holds them.
  void Clear(bool destroy);

  long GetCount() const { return static_cast<long>(m_Conditions.size()); }
  /// Raises std::out_of_range.
  CCondition* Item(long index) const;
  /// By the 32-bit integer of `index`, whatever its kind.
  CCondition* Item(const VARIANT& index) const { return Item(long{index.lVal}); }

  /// Equal conditions in the same order.
  friend QX_API bool operator==(const CConditions& a, const CConditions& b);
  friend bool operator!=(const CConditions& a, const CConditions& b) { return !(a == b); }

 private:
  friend struct qx::ConditionAccess;
  CConditions() = default;

  std::vector<std::shared_ptr<CCondition>> m_Conditions;
};

}  // namespace Persistence
