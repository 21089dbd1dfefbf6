#pragma once

// The places of the elements in the text of a document. The parser reports no places of elements,
// so the text is scanned a second time. The scan relies on the parser's verdict: it checks nothing.

#include <string_view>
#include <vector>

namespace qx::screens {

/// A place in a text. Line and column count from 1; 0 means that the place is unknown.
struct Place {
  long line = 0;
  long column = 0;
};

/// Returns the place of the "<" of each start tag of a well-formed text, in their order. A column
/// counts characters, so a surrogate pair is one.
std::vector<Place> elementPlaces(std::u16string_view text);

}  // namespace qx::screens
