#include "tools/input/utf8.h"

#include "qxframework/automation/utf.h"

namespace qx::input {

// Not toUtf16(): that replaces malformed bytes, and here the place of the first one is needed.
std::u16string convertUtf8(std::string_view text, const Location& start) {
  std::u16string out;
  out.reserve(text.size());
  Location place = start;
  for (std::size_t offset = 0; offset < text.size(); ++place.column) {
    const auto point = codePointAt(text, offset);
    if (!point) {
      throw Diagnostic(place, "the text is not valid UTF-8", "save the file as UTF-8");
    }
    appendCodePoint(out, point->value);
    offset += point->length;
  }
  return out;
}

std::size_t codePointCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t offset = 0; offset < text.size(); ++count) {
    const auto point = codePointAt(text, offset);
    offset += point ? point->length : 1;
  }
  return count;
}

}  // namespace qx::input
