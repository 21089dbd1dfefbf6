#pragma once

// The elements and attributes of form documents.

#include "tools/formcheck/document.h"

namespace qx::formcheck {

/// Reports elements and attributes that form documents do not have, attributes that are missing or
/// spelled so that their symbols stay, and values that are no numbers. Symbols are to be replaced
/// before. A root that is no form document's is not looked at.
void checkVocabulary(const Element& root, Findings& findings);

}  // namespace qx::formcheck
