#pragma once

// The statements of a description as text in UTF-8.

#include "tools/sqlprint/statement_texts.h"

namespace qx::sqlprint {

/// Returns all dialects of each statement below each other, for people to compare. Several
/// statements have headings. Throws Diagnostic as statementTexts does.
std::string sideBySide(const std::vector<Statement>& statements);

/// Returns the statements of one dialect, each followed by `end`, for another program to read.
/// Throws as sideBySide does.
std::string bare(const std::vector<Statement>& statements, DbServerType serverType, char end);

}  // namespace qx::sqlprint
