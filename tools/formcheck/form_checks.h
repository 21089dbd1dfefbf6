#pragma once

// The checks of a form whose outline is complete.

#include "tools/formcheck/form.h"

namespace qx::formcheck {

/// Reports UIDs that two sources, two items or two columns of a matrix share.
void checkUids(const Form& form, Findings& findings);
/// Reports data binds, labels and a default button whose partner the form does not have.
void checkLinks(const Form& form, Findings& findings);
/// Reports items that lie outside the form at least in part.
void checkPlaces(const Form& form, Findings& findings);
/// Reports texts that do not fit into their item, column or form in any font.
void checkWidths(const Form& form, Findings& findings);

}  // namespace qx::formcheck
