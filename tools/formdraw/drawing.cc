#include "tools/formdraw/drawing.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"
#include "tools/formdraw/axis.h"
#include "tools/formdraw/canvas.h"
#include "tools/formdraw/text_width.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace qx::formdraw {
namespace {

constexpr long kCellWidth = 8;
constexpr long kLineHeight = 16;
constexpr long kNarrowestCharacter = 4;
// A number beyond any screen, which bounds the drawing.
constexpr long kMostPixels = 4000;
// Many tiny items that all want cells of their own would fill the memory.
constexpr long kMostCells = 1000;
constexpr long kMostLines = 500;

constexpr long kHeadLines = 3;    // of a matrix: the border, the heads, the line beneath them
constexpr long kBorderLines = 1;  // beneath its rows

// The part of an interval that is drawn.
struct Span {
  long from;
  long to;
};

// Returns where an interval ends. A form may have any numbers; those that are far outside of every
// drawing are cut, so that the sum is always a number.
long endOf(long from, long size) {
  constexpr long kFar = 1L << 32;
  return std::clamp(from, -kFar, kFar) + std::clamp(size, 0L, kFar);
}

Span clipped(long from, long size, long limit) {
  const long begin = std::clamp(from, 0L, limit);
  return {begin, std::clamp(endOf(from, size), begin, limit)};
}

// Returns the cells for a text in so many pixels: no more than there can be characters.
long cellsFor(std::u16string_view text, long pixels) {
  return std::min(static_cast<long>(cellsOf(text)), std::max(pixels / kNarrowestCharacter, 1L));
}

// The characters at the sides of an item.
struct Sides {
  std::u16string_view left;
  std::u16string_view right;
};

Sides sidesOf(const ItemPicture& item) {
  if (!item.enabled) return {u"(", u")"};
  return item.hasFocus ? Sides{u"{", u"}"} : Sides{u"[", u"]"};
}

// Returns the first selected row of a matrix, or -1.
long firstSelected(const RowsPicture& rows) {
  for (long row = 0; row < rows.count; ++row)
    if (rows.isSelected(row)) return row;
  return -1;
}

std::string statusLine(std::u16string_view text) {
  const long cells = std::min(static_cast<long>(cellsOf(text)), kMostCells);
  Canvas line(cells + 1, 1);
  line.put(1, 0, text, cells);
  return line.rows().front() + "\n";
}

class Drawing {
 public:
  explicit Drawing(const FormPicture& form)
      : form_(form), width_(extent(form.width, true)), height_(extent(form.height, false)) {}

  std::string run() {
    settleLines();
    settleColumns();
    innerWidth_ = std::min(columns_.cell(width_), kMostCells);
    canvas_.emplace(innerWidth_, std::min(lines_.cell(height_), kMostLines));
    forEachShown([this](const ItemPicture& item) { drawItem(item); });
    std::string out = framed();
    for (const std::u16string& line : form_.status) out += statusLine(line);
    return out;
  }

 private:
  struct Cells {
    long left;
    long top;
    long right;
    long bottom;
    long width() const { return right - left; }
  };

  // A form without a size is as large as its items.
  long extent(long declared, bool horizontal) const {
    long end = 1;
    for (const ItemPicture& item : form_.items) {
      if (!item.visible) continue;
      const Rect& rect = item.rect;
      end = std::max(end, horizontal ? endOf(rect.left, rect.width) : endOf(rect.top, rect.height));
    }
    return std::min(declared > 0 ? declared : end, kMostPixels);
  }

  Span across(const ItemPicture& item) const {
    return clipped(item.rect.left, item.rect.width, width_);
  }
  Span down(const ItemPicture& item) const {
    return clipped(item.rect.top, item.rect.height, height_);
  }

  template <class Visit>
  void forEachShown(Visit visit) const {
    for (const ItemPicture& item : form_.items) {
      const Span x = across(item);
      const Span y = down(item);
      if (item.visible && x.from < x.to && y.from < y.to) visit(item);
    }
  }

  // The lines come first: they decide which rows are seen, and so how wide the columns are.
  void settleLines() {
    lines_.add(0, height_, 1);
    forEachShown([this](const ItemPicture& item) {
      const Span y = down(item);
      // Where there are rows, one of them is seen.
      const long matrixLines = kHeadLines + kBorderLines + (item.rows.count > 0 ? 1 : 0);
      lines_.add(y.from, y.to, item.type == kMatrix ? matrixLines : 1);
    });
    lines_.settle();
  }

  void settleColumns() {
    columns_.add(0, width_, cellsFor(form_.title, width_) + 4);
    forEachShown([this](const ItemPicture& item) {
      const Span x = across(item);
      columns_.add(x.from, x.to, cellsNeeded(item));
      if (item.type == kMatrix) addColumns(item);
    });
    columns_.settle();
  }

  static long cellsNeeded(const ItemPicture& item) {
    const long text = cellsFor(item.text, item.rect.width);
    switch (item.type) {
      case kButton:
        return text + 4;
      case kStaticText:
        return text;
      case kEditText:
        return std::max(text + 2, 3L);
      case kComboBox:
        return std::max(text + 4, 5L);
      case kMatrix:
        return 2;
      default:
        return 3;
    }
  }

  void addColumns(const ItemPicture& matrix) {
    const Span rows = rowsSeen(matrix);
    const long end = across(matrix).to;
    forEachColumn(matrix, [&](std::size_t index, const Span& span) {
      const ColumnPicture& column = matrix.columns[index];
      long text = cellsFor(column.title, column.width);
      for (long row = rows.from; row < rows.to; ++row)
        text = std::max(text, cellsFor(matrix.rows.text(row, index), column.width));
      // The line to its left and a blank on both sides. The border is within the last column.
      columns_.add(span.from, span.to, text + 3 + (span.to == end ? 1 : 0));
    });
  }

  // Calls `visit` with the visible columns that begin within their matrix.
  template <class Visit>
  void forEachColumn(const ItemPicture& matrix, Visit visit) const {
    const Span whole = across(matrix);
    long left = whole.from;
    for (std::size_t index = 0; index < matrix.columns.size(); ++index) {
      const ColumnPicture& column = matrix.columns[index];
      const Span span = clipped(left, column.width, whole.to);
      if (!column.visible || span.from == span.to) continue;
      visit(index, span);
      left = span.to;
    }
  }

  // Returns the rows for which a matrix has room: the first ones or, if the first selected row is
  // further down, those that end with it.
  Span rowsSeen(const ItemPicture& matrix) const {
    const Span y = down(matrix);
    const long lines = lines_.cell(y.to) - lines_.cell(y.from);
    const long seen = std::min(lines - kHeadLines - kBorderLines, matrix.rows.count);
    const long from = std::max(firstSelected(matrix.rows) - seen + 1, 0L);
    return {from, from + seen};
  }

  Cells cellsOfItem(const ItemPicture& item) const {
    const Span x = across(item);
    const Span y = down(item);
    return {columns_.cell(x.from), lines_.cell(y.from), columns_.cell(x.to), lines_.cell(y.to)};
  }

  void drawItem(const ItemPicture& item) {
    const Cells cells = cellsOfItem(item);
    switch (item.type) {
      case kButton:
        drawButton(item, cells);
        break;
      case kStaticText:
        drawStatic(item, cells);
        break;
      case kMatrix:
        drawMatrix(item, cells);
        break;
      default:
        drawField(item, cells);
    }
  }

  void drawSides(const ItemPicture& item, const Cells& cells, long line) {
    const Sides sides = sidesOf(item);
    canvas_->put(cells.left, line, sides.left, 1);
    canvas_->put(cells.right - 1, line, sides.right, 1);
  }

  void drawButton(const ItemPicture& item, const Cells& cells) {
    const long room = cells.width() - 2;
    const long text = std::min(static_cast<long>(cellsOf(item.text)), room);
    canvas_->fill(cells.left + 1, cells.top, u' ', room);
    canvas_->put(cells.left + 1 + (room - text) / 2, cells.top, item.text, text);
    drawSides(item, cells, cells.top);
  }

  void drawStatic(const ItemPicture& item, const Cells& cells) {
    putText(cells.left, cells.top, item.text, cells.width(), item.rightJustified);
  }

  // Draws a text at the left or the right end of so many cells.
  void putText(long left, long line, std::u16string_view text, long room, bool rightJustified) {
    const long taken = std::min(static_cast<long>(cellsOf(text)), room);
    canvas_->put(rightJustified ? left + room - taken : left, line, text, taken);
  }

  // An item of a type that has no picture of its own is a field with a question mark.
  void drawField(const ItemPicture& item, const Cells& cells) {
    const bool isCombo = item.type == kComboBox;
    const bool isKnown = isCombo || item.type == kEditText;
    canvas_->fill(cells.left + 1, cells.top, u'_', cells.width() - 2);
    putText(cells.left + 1, cells.top, isKnown ? std::u16string_view(item.text) : u"?",
            cells.width() - (isCombo ? 4 : 2), item.rightJustified);
    if (isCombo) canvas_->put(cells.right - 3, cells.top, u" v", 2);
    drawSides(item, cells, cells.top);
  }

  void drawMatrix(const ItemPicture& item, const Cells& cells) {
    for (const long y : {cells.top, cells.top + 2, cells.bottom - 1})
      canvas_->fill(cells.left, y, u'-', cells.width());
    drawRule(cells.left, cells);
    drawRule(cells.right - 1, cells);
    const Span rows = rowsSeen(item);
    forEachColumn(item, [&](std::size_t index, const Span& span) {
      const long left = columns_.cell(span.from);
      const long right = std::min(columns_.cell(span.to), cells.right - 1);
      drawRule(right, cells);
      const ColumnPicture& column = item.columns[index];
      const long room = right - left - 2;
      canvas_->put(left + 2, cells.top + 1, column.title, room);
      // A text at the right end keeps a blank before the line.
      for (long row = rows.from; row < rows.to; ++row)
        putText(left + 2, cells.top + kHeadLines + row - rows.from, item.rows.text(row, index),
                column.rightJustified ? room - 1 : room, column.rightJustified);
    });
    drawRowMarks(item, cells, rows);
    if (!item.enabled || item.hasFocus)
      for (const long y : {cells.top, cells.bottom - 1}) drawSides(item, cells, y);
  }

  // Marks the selected rows, and that there are rows above or below those that are seen.
  void drawRowMarks(const ItemPicture& matrix, const Cells& cells, const Span& rows) {
    for (long row = rows.from; row < rows.to; ++row) {
      const long y = cells.top + kHeadLines + row - rows.from;
      if (matrix.rows.isSelected(row)) canvas_->put(cells.left, y, u">", 1);
      const bool more = row == rows.to - 1 && rows.to < matrix.rows.count;
      const bool before = row == rows.from && rows.from > 0;
      if (more || before)
        canvas_->put(cells.right - 1, y, more && before ? u"↕" : more ? u"↓" : u"↑", 1);
    }
  }

  // Draws a vertical line through a matrix, which crosses the horizontal ones.
  void drawRule(long x, const Cells& cells) {
    for (long y = cells.top; y < cells.bottom; ++y) {
      const bool crossing = y == cells.top || y == cells.top + 2 || y == cells.bottom - 1;
      canvas_->put(x, y, crossing ? u"+" : u"|", 1);
    }
  }

  std::string framed() const {
    Canvas top(innerWidth_, 1);
    top.fill(0, 0, u'-', innerWidth_);
    if (!form_.title.empty()) {
      const long text = std::min(static_cast<long>(cellsOf(form_.title)), innerWidth_ - 4);
      top.fill(1, 0, u' ', text + 2);
      top.put(2, 0, form_.title, text);
    }
    std::string out = "+" + top.rows().front() + "+\n";
    for (const std::string& row : canvas_->rows()) {
      const long cells = static_cast<long>(cellsOf(toUtf16(row)));
      out += "|" + row + std::string(static_cast<std::size_t>(innerWidth_ - cells), ' ') + "|\n";
    }
    return out + "+" + std::string(static_cast<std::size_t>(innerWidth_), '-') + "+\n";
  }

  const FormPicture& form_;
  long width_;
  long height_;
  Axis columns_{kCellWidth};
  Axis lines_{kLineHeight};
  long innerWidth_ = 0;  // in cells
  std::optional<Canvas> canvas_;
};

}  // namespace

std::string draw(const FormPicture& form) { return Drawing(form).run(); }

}  // namespace qx::formdraw
