#pragma once

// The texts of a form that are cut where the form is drawn in pixels. checkWidths() of
// form_checks.h reports what fits in no font; this one measures.

#include "tools/formcheck/form.h"

#include <string>
#include <vector>

namespace qx::formcheck {

/// A text that is wider than its place.
struct WideText {
  const Item* item = nullptr;      ///< null for the form's title
  const Column* column = nullptr;  ///< null outside of a matrix
  std::u16string text;
  Place place;      ///< of the attribute with the text
  long needed = 0;  ///< pixels of all lines together
  long room = 0;    ///< the same
};

/// Returns the texts that do not fit, the title first and then in the order of the items. Invisible
/// items count, since the form's code may show them.
std::vector<WideText> wideTexts(const Form& form);

}  // namespace qx::formcheck
