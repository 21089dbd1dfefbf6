#pragma once

// A form as its user sees it, whoever describes it: a document that is checked, or a host that
// shows the form.

#include <functional>
#include <string>
#include <vector>

namespace qx::formdraw {

/// A place and a size on the screen, in pixels. An item's place is relative to the form.
struct Rect {
  long left = 0;
  long top = 0;
  long width = 0;
  long height = 0;
};

struct ColumnPicture {
  std::u16string title;
  long width = 0;
  bool visible = true;
  bool rightJustified = false;  ///< the texts of its rows; the title is not
};

/// The rows of a matrix. They are asked for one by one, since few of many are seen. Rows and
/// columns count from 0.
struct RowsPicture {
  long count = 0;
  std::function<std::u16string(long row, std::size_t column)> text{};
  std::function<bool(long row)> isSelected{};
};

struct ItemPicture {
  long type = 0;  ///< a qx::ItemType, or the number of another type
  Rect rect;
  bool visible = true;
  bool enabled = true;
  bool hasFocus = false;
  bool rightJustified = false;         ///< the text of a static text, edit or combo box
  std::u16string text;                 ///< the caption, or what an edit or a combo box shows
  std::vector<ColumnPicture> columns;  ///< of a matrix
  RowsPicture rows;                    ///< of a matrix
};

struct FormPicture {
  std::u16string title;
  long width = 0;   ///< of the area in which the items are; 0 for that of the items
  long height = 0;  ///< the same
  std::vector<ItemPicture> items;
  std::vector<std::u16string> status;  ///< the lines of the client's status bar
};

}  // namespace qx::formdraw
