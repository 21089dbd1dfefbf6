#pragma once

// From a description to the statements that the persistence layer sends for it. The texts are the
// layer's own: it is set up as an add-on would set it up, but for a company.

#include "qxframework/host/company.h"
#include "tools/sqlprint/description.h"

#include <array>

namespace qx::sqlprint {

struct Engine {
  const char* name;
  DbServerType serverType;
};

inline constexpr std::array<Engine, 4> kEngines{
    {{"mssql", kMssql}, {"sybase", kSybase}, {"db2", kDb2}, {"kordb", kKordb}}};

/// The statements in the order in which they are sent. What the layer refuses is a Diagnostic with
/// the layer's own text.
std::vector<std::u16string> statementTexts(const Statement& statement, DbServerType serverType);

/// The positions of the key values that the layer leaves out of an update.
std::vector<std::size_t> skippedKeyValues(const Statement& statement);

}  // namespace qx::sqlprint
