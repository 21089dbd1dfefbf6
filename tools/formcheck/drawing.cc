#include "tools/formcheck/drawing.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"
#include "tools/formcheck/axis.h"
#include "tools/formcheck/canvas.h"
#include "tools/formcheck/text_width.h"

#include <algorithm>
#include <optional>

namespace qx::formcheck {
namespace {

constexpr long kCellWidth = 8;
constexpr long kLineHeight = 16;
constexpr long kNarrowestCharacter = 4;
// A number beyond any screen, which bounds the drawing.
constexpr long kMostPixels = 4000;
// Many tiny items that all want cells of their own would fill the memory.
constexpr long kMostCells = 1000;
constexpr long kMostLines = 500;

constexpr long kFewestBoxLines = 4;  // the border, the heads, the line beneath them, the border

// The part of an interval that is drawn.
struct Span {
  long from;
  long to;
};

Span clipped(long from, long size, long limit) {
  const long begin = std::clamp(from, 0L, limit);
  return {begin, std::clamp(from + std::max(size, 0L), begin, limit)};
}

// Returns the cells for a text in so many pixels: no more than there can be characters.
long cellsFor(std::u16string_view text, long pixels) {
  return std::min(static_cast<long>(cellsOf(text)), std::max(pixels / kNarrowestCharacter, 1L));
}

class Drawing {
 public:
  explicit Drawing(const Form& form)
      : form_(form),
        width_(extent(form.rect.width, true)),
        height_(extent(form.rect.height, false)) {}

  std::string run() {
    columns_.add(0, width_, cellsFor(form_.title, width_) + 4);
    lines_.add(0, height_, 1);
    forEachShown([this](const Item& item) { addItem(item); });
    columns_.settle();
    lines_.settle();
    innerWidth_ = std::min(columns_.cell(width_), kMostCells);
    canvas_.emplace(innerWidth_, std::min(lines_.cell(height_), kMostLines));
    forEachShown([this](const Item& item) { drawItem(item); });
    return framed();
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
    for (const Item& item : form_.items) {
      if (!item.visible) continue;
      const Rect& rect = item.rect;
      end = std::max(end, horizontal ? rect.left + rect.width : rect.top + rect.height);
    }
    return std::min(declared > 0 ? declared : end, kMostPixels);
  }

  Span across(const Item& item) const { return clipped(item.rect.left, item.rect.width, width_); }
  Span down(const Item& item) const { return clipped(item.rect.top, item.rect.height, height_); }

  template <class Visit>
  void forEachShown(Visit visit) {
    for (const Item& item : form_.items) {
      const Span x = across(item);
      const Span y = down(item);
      if (item.visible && x.from < x.to && y.from < y.to) visit(item);
    }
  }

  static long cellsNeeded(const Item& item) {
    const long text = cellsFor(item.caption, item.rect.width);
    switch (item.type) {
      case kButton:
        return text + 4;
      case kStaticText:
        return text;
      case kComboBox:
        return 5;
      case kMatrix:
        return 2;
      default:
        return 3;
    }
  }

  void addItem(const Item& item) {
    const Span x = across(item);
    const Span y = down(item);
    columns_.add(x.from, x.to, cellsNeeded(item));
    lines_.add(y.from, y.to, item.type == kMatrix ? kFewestBoxLines : 1);
    forEachColumn(item, [this](const Column& column, const Span& span) {
      columns_.add(span.from, span.to, cellsFor(column.title, column.width) + 3);
    });
  }

  // Calls `visit` with the visible columns that begin within their matrix.
  template <class Visit>
  void forEachColumn(const Item& matrix, Visit visit) const {
    const Span whole = across(matrix);
    long left = whole.from;
    for (const Column& column : matrix.columns) {
      const Span span = clipped(left, column.width, whole.to);
      if (!column.visible || span.from == span.to) continue;
      visit(column, span);
      left = span.to;
    }
  }

  Cells cellsOfItem(const Item& item) const {
    const Span x = across(item);
    const Span y = down(item);
    return {columns_.cell(x.from), lines_.cell(y.from), columns_.cell(x.to), lines_.cell(y.to)};
  }

  void drawItem(const Item& item) {
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

  void drawButton(const Item& item, const Cells& cells) {
    const long room = cells.width() - 2;
    const long text = std::min(static_cast<long>(cellsOf(item.caption)), room);
    canvas_->put(cells.left, cells.top, u"[", 1);
    canvas_->fill(cells.left + 1, cells.top, u' ', room);
    canvas_->put(cells.left + 1 + (room - text) / 2, cells.top, item.caption, text);
    canvas_->put(cells.right - 1, cells.top, u"]", 1);
  }

  void drawStatic(const Item& item, const Cells& cells) {
    const long text = std::min(static_cast<long>(cellsOf(item.caption)), cells.width());
    const long left = item.rightJustified ? cells.right - text : cells.left;
    canvas_->put(left, cells.top, item.caption, text);
  }

  // An item of a type that has no picture of its own is a field with a question mark.
  void drawField(const Item& item, const Cells& cells) {
    canvas_->put(cells.left, cells.top, u"[", 1);
    canvas_->fill(cells.left + 1, cells.top, u'_', cells.width() - 2);
    if (item.type == kComboBox) canvas_->put(cells.right - 3, cells.top, u" v", 2);
    if (item.type != kComboBox && item.type != kEditText)
      canvas_->put(cells.left + 1, cells.top, u"?", 1);
    canvas_->put(cells.right - 1, cells.top, u"]", 1);
  }

  void drawMatrix(const Item& item, const Cells& cells) {
    for (const long y : {cells.top, cells.top + 2, cells.bottom - 1})
      canvas_->fill(cells.left, y, u'-', cells.width());
    drawRule(cells.left, cells);
    drawRule(cells.right - 1, cells);
    forEachColumn(item, [&](const Column& column, const Span& span) {
      const long left = columns_.cell(span.from);
      const long right = std::min(columns_.cell(span.to), cells.right - 1);
      drawRule(right, cells);
      canvas_->put(left + 2, cells.top + 1, column.title, right - left - 2);
    });
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

  const Form& form_;
  long width_;
  long height_;
  Axis columns_{kCellWidth};
  Axis lines_{kLineHeight};
  long innerWidth_ = 0;  // in cells
  std::optional<Canvas> canvas_;
};

}  // namespace

std::string draw(const Form& form) { return Drawing(form).run(); }

}  // namespace qx::formcheck
