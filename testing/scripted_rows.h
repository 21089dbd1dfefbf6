#pragma once

// The rows with which a scripted company answers a statement.

#include "qxframework/automation/variant.h"

#include <string>
#include <vector>

namespace qx::test {

using ScriptedRow = std::vector<CComVariant>;

/// Rows of one width. Without column names, a row's values are reached by their numbers only.
struct ScriptedRows {
  std::vector<std::u16string> columns = {};
  std::vector<ScriptedRow> rows = {};
};

}  // namespace qx::test
