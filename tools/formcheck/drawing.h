#pragma once

// A form as a drawing in plain text.

#include "tools/formcheck/form.h"

#include <string>

namespace qx::formcheck {

/// Returns the form in UTF-8: a frame with the title, and in it the visible items at their places.
/// A cell is 8 pixels wide and a line 16 high, or less where a text needs more cells. A text that
/// is certainly wider than its item ends in an ellipsis. What is outside of the form is left out,
/// and what is beyond 4000 pixels.
std::string draw(const Form& form);

}  // namespace qx::formcheck
