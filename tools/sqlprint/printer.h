#pragma once

// The statements of a description as text in UTF-8.

#include "tools/sqlprint/statement_texts.h"

namespace qx::sqlprint {

/// For the eye: the engines one below the other for each statement, under a heading if there are
/// several statements. Throws Diagnostic as statementTexts does.
std::string sideBySide(const std::vector<Statement>& statements);

/// For a pipe: one engine's statements, each with `end` behind it and nothing else.
std::string bare(const std::vector<Statement>& statements, DbServerType serverType, char end);

}  // namespace qx::sqlprint
