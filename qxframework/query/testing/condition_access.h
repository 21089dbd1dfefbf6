#pragma once

#include "qxframework/query/condition.h"

#include <memory>

namespace qx {

struct ConditionAccess {
  /// Sets the flag that no operation of a condition sets, for tests of code that must refuse it.
  static void compareFields(Persistence::CCondition& condition, VARIANT_BOOL flag) {
    condition.m_CompareFields = flag;
  }
  /// Returns a reference that does not keep the condition alive.
  static std::weak_ptr<const Persistence::CCondition> watch(const Persistence::CConditions& list,
                                                            std::size_t index) {
    return list.m_Conditions.at(index);
  }
};

}  // namespace qx
