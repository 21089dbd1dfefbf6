#pragma once

// An open form as a drawing in plain text: what the user sees of it at the moment.

#include "qxdesk/screens/model/desk.h"

#include <string>

namespace qx::screens {

/// Returns the drawing of the form as tools/formdraw/drawing.h describes it, with the values of the
/// items, the rows of matrices and the status bar: the last message and, while the progress bar is
/// held, its filled part and text. Returns an empty text for a hidden form.
std::u16string drawForm(const FormModel& form, const StatusBar& statusBar);

}  // namespace qx::screens
