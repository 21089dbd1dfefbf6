#pragma once

// A rectangle of cells on which text is drawn. A wide character takes two cells.

#include <string>
#include <string_view>
#include <vector>

namespace qx::formdraw {

class Canvas {
 public:
  Canvas(long width, long height)
      : rows_(static_cast<std::size_t>(height),
              std::vector<std::string>(static_cast<std::size_t>(width), " ")) {}

  /// Draws text from a cell on, over what is there. It ends before the canvas does; a text of more
  /// than `limit` cells ends in an ellipsis.
  void put(long x, long y, std::u16string_view text, long limit);
  /// Draws the same character in `count` cells.
  void fill(long x, long y, char16_t character, long count);
  /// Returns the rows in UTF-8, without their blanks at the end.
  std::vector<std::string> rows() const;

 private:
  void putCharacter(std::vector<std::string>& row, std::size_t x, char32_t character,
                    std::size_t cells);

  // A cell holds a character with its combining marks; the second cell of a wide one is empty.
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace qx::formdraw
