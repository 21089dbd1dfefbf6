#pragma once

#include "qxframework/automation/bstr.h"

#include <algorithm>
#include <vector>

namespace qx {

/// True if two lists have equal names in the same order. The pointers may differ.
inline bool sameNames(const std::vector<const OLECHAR*>& a, const std::vector<const OLECHAR*>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const OLECHAR* left, const OLECHAR* right) {
                      return left == right || viewOf(left) == viewOf(right);
                    });
}

}  // namespace qx
