#pragma once

// The room that a text takes where a form is drawn in pixels. The page of the stand-in host takes
// the first of several fonts that the machine has; their widths differ by a few percent. The widths
// here are those of one of the wider ones, so that a text which fits by them fits in the others.

#include <string_view>

namespace qx::formdraw {

/// Titles and the heads of columns are bold.
enum class Weight { Normal, Bold };

/// Returns the pixels that a text of one line takes in the forms' font of 11 pixels, rounded up.
long drawnWidth(std::u16string_view text, Weight weight = Weight::Normal);

}  // namespace qx::formdraw
