#include "qxdesk/screens/user/form_drawing.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxframework/automation/text.h"
#include "tools/formdraw/drawing.h"

#include <utility>

namespace qx::screens {
namespace {

constexpr long kProgressCells = 20;

std::u16string textOf(const ItemModel& item) {
  if (item.type == kEditText) return item.text.get();
  if (item.combo == nullptr) return item.caption;
  const auto selected = item.combo->selected();
  return selected ? item.combo->values()[*selected].value : std::u16string();
}

void addMatrix(const MatrixModel& matrix, formdraw::ItemPicture& picture) {
  for (const auto& column : matrix.columns())
    picture.columns.push_back(
        {column->title, column->width, column->visible, column->rightJustified});
  picture.rows.count = matrix.rowCount();
  // The model counts rows from 1.
  picture.rows.text = [&matrix](long row, std::size_t column) {
    return matrix.cell(row + 1, *matrix.columns()[column]);
  };
  picture.rows.isSelected = [&matrix](long row) { return matrix.isRowSelected(row + 1); };
}

formdraw::ItemPicture pictureOf(const FormModel& form, const ItemModel& item) {
  formdraw::ItemPicture picture;
  picture.type = item.type;
  picture.rect = {item.rect.left, item.rect.top, item.rect.width, item.rect.height};
  picture.visible = item.visible && item.isOnPane(form.pane);
  picture.enabled = item.enabled;
  picture.hasFocus = item.uid == form.focus;
  picture.rightJustified = item.rightJustified;
  picture.text = textOf(item);
  if (item.matrix != nullptr) addMatrix(*item.matrix, picture);
  return picture;
}

std::u16string gaugeOf(const Progress& progress) {
  // In double, since the product may be beyond the range of long.
  const double part = progress.maximum() > 0 ? static_cast<double>(progress.value()) /
                                                   static_cast<double>(progress.maximum())
                                             : 0;
  const long filled = static_cast<long>(part * kProgressCells);
  const auto cells = [](long count, char16_t cell) {
    return std::u16string(static_cast<std::size_t>(count), cell);
  };
  return u"[" + cells(filled, u'#') + cells(kProgressCells - filled, u'_') + u"] " +
         progress.text();
}

std::vector<std::u16string> linesOf(const StatusBar& statusBar) {
  std::vector<std::u16string> lines;
  // A message without a text clears the bar.
  const auto& messages = statusBar.history();
  if (!messages.empty() && !messages.back().text.empty())
    lines.push_back(statusLine(messages.back()));
  if (const auto progress = statusBar.progress()) lines.push_back(gaugeOf(*progress));
  return lines;
}

}  // namespace

std::u16string drawForm(const FormModel& form, const StatusBar& statusBar) {
  if (!form.visible) return {};
  formdraw::FormPicture picture;
  picture.title = form.title;
  picture.width = form.clientWidth();
  picture.height = form.clientHeight();
  for (const auto& item : form.items()) picture.items.push_back(pictureOf(form, *item));
  picture.status = linesOf(statusBar);
  return toUtf16(formdraw::draw(picture));
}

}  // namespace qx::screens
