#pragma once

#include "tools/sqlprint/description.h"
#include "tools/sqlprint/toml_input.h"

namespace qx::sqlprint {

/// "file:line:column: warning: what; what to do" for what a statement says and the layer leaves out
/// without a word, or writes in a way that no engine takes. `table` is what it was read from.
std::vector<std::string> warningsOf(const NodeReader& nodes, const toml::table& table,
                                    const Statement& statement);

}  // namespace qx::sqlprint
