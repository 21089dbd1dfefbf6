#include "tools/formdraw/canvas.h"

#include "qxframework/automation/utf.h"
#include "tools/formdraw/text_width.h"

#include <algorithm>
#include <utility>

namespace qx::formdraw {
namespace {

constexpr char32_t kEllipsis = U'…';

bool isControl(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

}  // namespace

void Canvas::put(long x, long y, std::u16string_view text, long limit) {
  if (y < 0 || y >= static_cast<long>(rows_.size()) || x < 0) return;
  std::vector<std::string>& row = rows_[static_cast<std::size_t>(y)];
  const long end = std::min(x + limit, static_cast<long>(row.size()));
  long left = static_cast<long>(cellsOf(text));
  long at = x;
  for (std::size_t next = 0; next < text.size();) {
    const auto point = codePointAt(text, next);
    next += point ? point->length : 1;
    char32_t character = point ? point->value : kReplacementCharacter;
    if (isControl(character)) character = U' ';
    const long cells = static_cast<long>(cellsOf(character));
    // Of a text that does not fit, the last cell is kept for the ellipsis.
    const bool fits = at + left <= end;
    if (!fits && at + cells >= end) {
      if (at < end) putCharacter(row, static_cast<std::size_t>(at), kEllipsis, 1);
      return;
    }
    if (cells > 0) {
      putCharacter(row, static_cast<std::size_t>(at), character, static_cast<std::size_t>(cells));
    } else if (at > x) {
      std::string& last = row[static_cast<std::size_t>(at - 1)];
      appendCodePoint(last.empty() ? row[static_cast<std::size_t>(at - 2)] : last, character);
    }
    at += cells;
    left -= cells;
  }
}

void Canvas::fill(long x, long y, char16_t character, long count) {
  if (count > 0) put(x, y, std::u16string(static_cast<std::size_t>(count), character), count);
}

// A wide character of which one half is drawn over loses the other half.
void Canvas::putCharacter(std::vector<std::string>& row, std::size_t x, char32_t character,
                          std::size_t cells) {
  if (row[x].empty()) row[x - 1] = " ";
  const std::size_t behind = x + cells;
  if (behind < row.size() && row[behind].empty()) row[behind] = " ";
  row[x].clear();
  appendCodePoint(row[x], character);
  if (cells == 2) row[x + 1].clear();
}

std::vector<std::string> Canvas::rows() const {
  std::vector<std::string> out;
  for (const auto& row : rows_) {
    std::string line;
    for (const std::string& cell : row) line += cell;
    line.erase(line.find_last_not_of(' ') + 1);
    out.push_back(std::move(line));
  }
  return out;
}

}  // namespace qx::formdraw
