#pragma once

#include "tools/sqlprint/description.h"
#include "tools/sqlprint/toml_input.h"

namespace qx::sqlprint {

/// Returns "file:line:column: warning: problem; remedy" for each part of a statement that the layer
/// ignores, or writes in a form that no server accepts. `table` is the statement's table in the
/// file.
std::vector<std::string> warningsOf(const NodeReader& nodes, const toml::table& table,
                                    const Statement& statement);

}  // namespace qx::sqlprint
