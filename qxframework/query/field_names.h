#pragma once

#include "qxframework/automation/bstr.h"

#include <algorithm>
#include <vector>

namespace qx {

/// Whether two lists have the same names in the same order, wherever these stand.
inline bool sameNames(const std::vector<const OLECHAR*>& a, const std::vector<const OLECHAR*>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const OLECHAR* left, const OLECHAR* right) {
                      return left == right || viewOf(left) == viewOf(right);
                    });
}

}  // namespace qx
