#pragma once

// The form of a document as its user will see it when it opens.

#include "tools/formcheck/form.h"
#include "tools/formdraw/form_picture.h"

namespace qx::formcheck {

/// Returns the picture of the form. Edits and combo boxes show no text, since the form's code fills
/// them, and so no matrix has rows.
formdraw::FormPicture pictureOf(const Form& form);

}  // namespace qx::formcheck
