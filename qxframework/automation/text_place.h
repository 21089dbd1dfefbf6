#pragma once

// Places in a text, as messages name them to its author.

#include <algorithm>
#include <compare>
#include <cstddef>
#include <string_view>

namespace qx {

/// A place in a text. Both count from 1, columns in code points.
struct TextPlace {
  std::size_t line = 1;
  std::size_t column = 1;
  auto operator<=>(const TextPlace&) const = default;
};

/// Returns the places of offsets that only move forward, so that the text is counted once. The text
/// is borrowed: well-formed UTF-8, or UTF-16 in units of char16_t.
template <class Unit>
class PlaceCounter {
 public:
  explicit PlaceCounter(std::basic_string_view<Unit> text) : rest_(text) {}

  /// Returns the place of the unit at `offset`; for an offset beyond the end the place at the end,
  /// and for one that has been passed the latest place. A line feed ends a line.
  TextPlace at(std::size_t offset) {
    if (offset <= passed_) return place_;
    std::basic_string_view<Unit> step = rest_.substr(0, offset - passed_);
    rest_.remove_prefix(step.size());
    passed_ += step.size();
    for (auto end = step.find(Unit{'\n'}); end != step.npos; end = step.find(Unit{'\n'})) {
      place_ = {place_.line + 1, 1};
      step.remove_prefix(end + 1);
    }
    place_.column +=
        static_cast<std::size_t>(std::count_if(step.begin(), step.end(), beginsCodePoint));
    return place_;
  }

 private:
  // False for the bytes that follow the first one of a sequence, and for the second half of a pair.
  static bool beginsCodePoint(Unit unit) {
    if constexpr (sizeof(Unit) == 1) {
      return (static_cast<unsigned char>(unit) & 0xC0) != 0x80;
    } else {
      return (unit & 0xFC00) != 0xDC00;
    }
  }

  std::basic_string_view<Unit> rest_;
  std::size_t passed_ = 0;
  TextPlace place_;
};

}  // namespace qx
