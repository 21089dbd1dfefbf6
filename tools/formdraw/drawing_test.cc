// Drawings are compared whole.

#include "tools/formdraw/drawing.h"

#include "qxframework/host/item_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace qx::formdraw {
namespace {

constexpr long kFar = std::numeric_limits<long>::max();

ItemPicture item(long type, Rect rect, std::u16string text = {}) {
  ItemPicture picture;
  picture.type = type;
  picture.rect = rect;
  picture.text = std::move(text);
  return picture;
}

ItemPicture disabled(ItemPicture picture) {
  picture.enabled = false;
  return picture;
}

ItemPicture focused(ItemPicture picture) {
  picture.hasFocus = true;
  return picture;
}

ItemPicture hidden(ItemPicture picture) {
  picture.visible = false;
  return picture;
}

std::string drawn(std::vector<ItemPicture> items, long width = 160, long height = 64) {
  return draw({u"T", width, height, std::move(items), {}});
}

/// Returns a matrix whose rows are numbered from 1; the rows `selected` are selected.
ItemPicture numbered(long rows, std::vector<long> selected = {}, Rect rect = {8, 0, 80, 96}) {
  ItemPicture matrix = item(kMatrix, rect);
  matrix.columns = {{u"#", 24, true}, {u"Hidden", 24, false}, {u"Name", 56, true}};
  matrix.rows.count = rows;
  matrix.rows.text = [](long row, std::size_t column) {
    const std::u16string number(1, static_cast<char16_t>(u'1' + row));
    return (column == 2 ? u"Row " : u"") + number;
  };
  matrix.rows.isSelected = [selected = std::move(selected)](long row) {
    return std::find(selected.begin(), selected.end(), row + 1) != selected.end();
  };
  return matrix;
}

TEST(Drawing, HasAPictureForEachTypeOfItem) {
  ItemPicture right = item(kStaticText, {8, 16, 48, 14}, u"Sum");
  right.rightJustified = true;
  EXPECT_EQ(drawn({item(kStaticText, {8, 0, 48, 14}, u"Label"), item(kEditText, {64, 0, 80, 14}),
                   item(kComboBox, {64, 16, 80, 14}), item(99, {64, 32, 80, 14}, u"text"), right,
                   item(kButton, {8, 48, 64, 16}, u"設")}),
            R"(+- T ----------------+
| Label  [________]  |
|    Sum [______ v]  |
|        [?_______]  |
| [  設  ]           |
+--------------------+
)");
}

TEST(Drawing, ShowsTextsAtTheirRightEnd) {
  ItemPicture edit = item(kEditText, {8, 0, 80, 14}, u"12.50");
  edit.rightJustified = true;
  ItemPicture combo = item(kComboBox, {8, 16, 80, 14}, u"Cash");
  combo.rightJustified = true;
  ItemPicture matrix = numbered(1, {}, {8, 32, 112, 80});
  matrix.columns = {{u"#", 40, true, true}, {u"Hidden", 24, false}, {u"Name", 72, true, true}};
  EXPECT_EQ(drawn({edit, combo, matrix}, 128, 112), R"(+- T ------------+
| [___12.50]     |
| [__Cash v]     |
| +----+-------+ |
| | #  | Name  | |
| +----+-------+ |
| |  1 | Row 1 | |
| +----+-------+ |
+----------------+
)");
}

TEST(Drawing, ShowsWhatIsTypedAndChosen) {
  EXPECT_EQ(
      drawn({item(kEditText, {8, 0, 80, 14}, u"C2000"), item(kComboBox, {8, 16, 80, 14}, u"Cash"),
             item(kEditText, {8, 32, 24, 14}, u"x"), item(kComboBox, {8, 48, 24, 14}, u"ab")}),
      R"(+- T -------------------+
| [C2000______]         |
| [Cash_____ v]         |
| [x___]                |
| [ab v]                |
+-----------------------+
)");
}

TEST(Drawing, MarksDisabledItemsAndTheFocus) {
  const Rect edit{8, 0, 40, 14};
  const Rect combo{56, 0, 40, 14};
  const Rect button{104, 0, 48, 14};
  const auto row = [&](const auto& change) {
    return drawn({change(item(kEditText, edit, u"a")), change(item(kComboBox, combo, u"b")),
                  change(item(kButton, button, u"c"))},
                 160, 16);
  };
  EXPECT_EQ(row(disabled),
            "+- T ----------------+\n| (a__) (b v) ( c  ) |\n+--------------------+\n");
  EXPECT_EQ(row(focused),
            "+- T ----------------+\n| {a__} {b v} { c  } |\n+--------------------+\n");
  // A disabled item takes no keys, even if it has the focus.
  EXPECT_EQ(row([](ItemPicture each) { return disabled(focused(std::move(each))); }),
            "+- T ----------------+\n| (a__) (b v) ( c  ) |\n+--------------------+\n");
}

TEST(Drawing, LeavesOutWhatIsInvisibleOrOutside) {
  EXPECT_EQ(drawn({hidden(item(kEditText, {0, 0, 80, 14})), item(kEditText, {200, 0, 80, 14}),
                   item(kEditText, {0, 64, 80, 14}), item(kEditText, {-80, -14, 80, 14}),
                   item(kEditText, {0, 0, 0, 14}), item(kEditText, {120, 16, 80, 14}),
                   item(kEditText, {0, 0, 80, -1}), item(kEditText, {kFar, kFar, kFar, kFar}),
                   item(kEditText, {-kFar, 0, kFar, 14})}),
            R"(+- T ----------------+
|                    |
|               [___]|
|                    |
|                    |
+--------------------+
)");
}

TEST(Drawing, AMatrixHasTheHeadsOfItsVisibleColumns) {
  ItemPicture matrix = item(kMatrix, {8, 0, 136, 60});
  matrix.columns = {{u"#", 24, true},
                    {u"Hidden", 24, false},
                    {u"A text that is too wide", 40, true},
                    {u"Name", kFar, true},
                    {u"Out", 9, true}};
  EXPECT_EQ(drawn({matrix}), R"(+- T -------------------------+
| +---+------------+-------+  |
| | # | A text tha…| Name  |  |
| +---+------------+-------+  |
| +---+------------+-------+  |
+-----------------------------+
)");
}

TEST(Drawing, AMatrixShowsItsRowsAndMarksTheSelectedOnes) {
  EXPECT_EQ(drawn({numbered(2, {2}, {8, 0, 80, 112})}, 96, 112), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| > 2 | Row 2 | |
| |   |       | |
| +---+-------+ |
+---------------+
)");
}

TEST(Drawing, AMatrixShowsTheRowsForWhichItHasRoom) {
  EXPECT_EQ(drawn({numbered(9)}, 96, 96), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| | 2 | Row 2 ↓ |
| +---+-------+ |
+---------------+
)");
  EXPECT_EQ(drawn({numbered(9, {2})}, 96, 96), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| > 2 | Row 2 ↓ |
| +---+-------+ |
+---------------+
)");
  EXPECT_EQ(drawn({numbered(9, {5, 9})}, 96, 96), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 4 | Row 4 ↑ |
| > 5 | Row 5 ↓ |
| +---+-------+ |
+---------------+
)");
  EXPECT_EQ(drawn({numbered(9, {9})}, 96, 96), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 8 | Row 8 ↑ |
| > 9 | Row 9 | |
| +---+-------+ |
+---------------+
)");
}

TEST(Drawing, ALowMatrixShowsOneRow) {
  const Rect low{8, 0, 80, 30};
  EXPECT_EQ(drawn({numbered(1, {}, low)}, 96, 32), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| +---+-------+ |
+---------------+
)");
  EXPECT_EQ(drawn({numbered(3, {2}, low)}, 96, 32), R"(+- T -----------+
| +---+-------+ |
| | # | Name  | |
| +---+-------+ |
| > 2 | Row 2 ↕ |
| +---+-------+ |
+---------------+
)");
  EXPECT_EQ(drawn({numbered(0, {}, low)}, 96, 32), R"(+- T ----------+
| +---+------+ |
| | # | Name | |
| +---+------+ |
| +---+------+ |
+--------------+
)");
}

TEST(Drawing, AMatrixShowsItsStateAtItsCorners) {
  EXPECT_EQ(drawn({disabled(numbered(1, {}, {8, 0, 80, 60}))}, 96, 64), R"(+- T -----------+
| (---+-------) |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| (---+-------) |
|               |
+---------------+
)");
  EXPECT_EQ(drawn({focused(numbered(1, {}, {8, 0, 80, 60}))}, 96, 64), R"(+- T -----------+
| {---+-------} |
| | # | Name  | |
| +---+-------+ |
| | 1 | Row 1 | |
| {---+-------} |
|               |
+---------------+
)");
}

TEST(Drawing, AColumnIsWidenedForTheRowsThatAreSeen) {
  ItemPicture matrix = item(kMatrix, {0, 0, 96, 80});
  matrix.columns = {{u"A", 64, true}, {u"B", 16, true}};
  matrix.rows.count = 2;
  matrix.rows.text = [](long row, std::size_t column) {
    if (row == 1) return std::u16string(u"not seen at all");
    return std::u16string(column == 0 ? u"Twelve chars" : u"cut off");
  };
  matrix.rows.isSelected = [](long) { return false; };
  EXPECT_EQ(drawn({matrix}, 96, 80), R"(+- T --------------------+
|+--------------+------++|
|| A            | B    |||
|+--------------+------++|
|| Twelve chars | cut …|↓|
|+--------------+------++|
+------------------------+
)");
}

TEST(Drawing, WidensAnItemForItsText) {
  EXPECT_EQ(drawn({item(kStaticText, {8, 0, 64, 14}, u"Twelve chars"),
                   item(kEditText, {80, 0, 40, 14}, u"12345678"),
                   item(kComboBox, {8, 16, 40, 14}, u"12345678"),
                   item(kButton, {8, 32, 64, 14}, u"Twelve chars")}),
            R"(+- T -----------------------------+
| Twelve chars     [12345678]     |
| [12345678 v]                    |
| [ Twelve chars ]                |
|                                 |
+---------------------------------+
)");
}

TEST(Drawing, ATextThatIsCertainlyTooWideEndsInAnEllipsis) {
  EXPECT_EQ(drawn({item(kStaticText, {8, 0, 16, 14}, u"Twelve chars"),
                   item(kEditText, {8, 16, 16, 14}, u"Twelve chars"),
                   item(kComboBox, {8, 32, 16, 14}, u"Twelve chars"),
                   item(kButton, {8, 48, 16, 14}, u"Twelve chars")}),
            R"(+- T ----------------------+
| Twelve …                 |
| [Twelv…]                 |
| [Twe… v]                 |
| [Twelv…]                 |
+--------------------------+
)");
}

TEST(Drawing, HasTheStatusBarBeneathTheForm) {
  FormPicture form{
      u"T", 40, 16, {}, {u"error: a\nb", u"[##__] Working", std::u16string(2000, u'x')}};
  EXPECT_EQ(draw(form), "+- T -+\n|     |\n+-----+\n error: a b\n [##__] Working\n " +
                            std::string(999, 'x') + "…\n");
}

TEST(Drawing, AFormWithoutASizeIsAsLargeAsItsItems) {
  const std::string small = "+------+\n|      |\n| [___]|\n+------+\n";
  const ItemPicture edit = item(kEditText, {8, 16, 40, 14});
  EXPECT_EQ(draw({u"", 0, 0, {hidden(item(kEditText, {0, 0, 99, 99})), edit}, {}}), small);
  EXPECT_EQ(draw({u"", -1, -kFar, {edit}, {}}), small);
  EXPECT_EQ(draw({}), "+----+\n|    |\n+----+\n");
}

TEST(Drawing, AFormBeyondAnyScreenIsCut) {
  const std::string huge = draw({u"", kFar, kFar, {}, {}});
  EXPECT_EQ(huge.substr(0, huge.find('\n')), "+" + std::string(500, '-') + "+");
  EXPECT_EQ(std::count(huge.begin(), huge.end(), '\n'), 252);
}

TEST(Drawing, ManyTinyItemsDoNotMakeItEndless) {
  std::vector<ItemPicture> items;
  for (long at = 0; at < 1000; at += 4) {
    items.push_back(item(kMatrix, {at, at, 4, 4}));
    items.push_back(item(kComboBox, {at, at, 4, 4}));
  }
  const std::string drawing = drawn(std::move(items), 1000, 1000);
  EXPECT_EQ(drawing.find('\n'), 1002U);
  EXPECT_EQ(std::count(drawing.begin(), drawing.end(), '\n'), 502);
}

}  // namespace
}  // namespace qx::formdraw
