#pragma once

#include "qxframework/persistence/condition.h"

namespace qx::test {

/// Sets what no operation of a condition sets, for tests of those who must refuse it.
struct ConditionFlags {
  static void compareFields(Persistence::CCondition& condition, VARIANT_BOOL flag) {
    condition.m_CompareFields = flag;
  }
};

}  // namespace qx::test
