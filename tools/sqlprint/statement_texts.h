#pragma once

// From a description to the statements that the persistence layer sends for it. The layer writes
// the texts itself: it is set up as by an add-on, but without a company.

#include "qxframework/host/company.h"
#include "tools/sqlprint/description.h"

#include <string>
#include <vector>

namespace qx::sqlprint {

/// Returns the statements in the order in which they are sent. Throws Diagnostic with the layer's
/// text if the layer refuses the statement.
std::vector<std::u16string> statementTexts(const Statement& statement, DbServerType serverType);

/// Returns the positions of the key values that the layer leaves out of an update, in ascending
/// order.
std::vector<std::size_t> skippedKeyValues(const Statement& statement);

}  // namespace qx::sqlprint
