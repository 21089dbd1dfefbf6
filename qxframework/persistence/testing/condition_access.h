#pragma once

#include "qxframework/query/condition.h"

#include <memory>

namespace qx {

struct ConditionAccess {
  /// Sets what no operation of a condition sets, for tests of those who must refuse it.
  static void compareFields(Persistence::CCondition& condition, VARIANT_BOOL flag) {
    condition.m_CompareFields = flag;
  }
  /// Sees whether a condition is still there, and does not keep it alive.
  static std::weak_ptr<const Persistence::CCondition> watch(const Persistence::CConditions& list,
                                                            std::size_t index) {
    return list.m_Conditions.at(index);
  }
};

}  // namespace qx
