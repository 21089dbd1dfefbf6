#pragma once

// A form as a drawing in plain text.
//
//   +- Title -------------------+   An item is drawn between brackets: [enabled], (disabled),
//   | Label   [value__________] |   {with the focus}. A matrix has them at the corners of its
//   | +---+---+                 |   border. A selected row begins with ">". Arrows show that there
//   | | # | Name |              |   are further rows above or below.
//   +---------------------------+
//    status bar

#include "tools/formdraw/form_picture.h"

#include <string>

namespace qx::formdraw {

/// Returns the form in UTF-8: a frame with the title, in it the visible items at their places, and
/// beneath it the status bar. A cell is 8 pixels wide and a line 16 high, or less where a text
/// needs more cells. A text that is certainly wider than its item ends in an ellipsis. A matrix
/// shows the rows for which it has room, the first selected one among them. What is outside of the
/// form is left out, and what is beyond 4000 pixels.
std::string draw(const FormPicture& form);

}  // namespace qx::formdraw
