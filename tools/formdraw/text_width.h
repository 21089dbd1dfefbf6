#pragma once

// How much room a text takes.

#include "qxframework/automation/utf.h"

#include <cstddef>
#include <string_view>

namespace qx::formdraw {

/// Returns the number of pixels that a text takes at least, in any font that the client uses: 4 for
/// a narrow character, 5 for another one, 10 for a wide East Asian one, 0 for a mark that combines
/// with the character ahead of it.
long pixelsAtLeast(std::u16string_view text);

/// Returns the number of cells that a character takes in a text of fixed width: 0, 1 or 2.
std::size_t cellsOf(char32_t character);
/// Returns the number of cells of a text.
std::size_t cellsOf(std::u16string_view text);

/// Calls `visit` with each character of a text; half of a pair of surrogates counts as one.
template <class Visit>
void forEachCharacter(std::u16string_view text, Visit visit) {
  for (std::size_t at = 0; at < text.size();) {
    const auto point = codePointAt(text, at);
    visit(point ? point->value : kReplacementCharacter);
    at += point ? point->length : 1;
  }
}

}  // namespace qx::formdraw
