#include "qxdesk/screens/model/desk_printer.h"

#include "qxframework/automation/text.h"

#include <string_view>

namespace qx::screens {
namespace {

std::u16string number(long value) { return toUtf16(std::to_string(value)); }

std::u16string quoted(std::u16string_view text) { return u"\"" + std::u16string(text) + u"\""; }

std::u16string_view nameOf(long mode) {
  switch (mode) {
    case kFindMode:
      return u" find";
    case kUpdateMode:
      return u" update";
    case kAddMode:
      return u" add";
    default:
      return u"";
  }
}

std::u16string formLine(const FormModel& form) {
  std::u16string line = form.uid() + u" " + form.typeEx() + u" " + quoted(form.title);
  if (!form.visible) line += u" hidden";
  if (form.isSelected()) line += u" selected";
  if (form.freezeCount() > 0) line += u" frozen";
  line += nameOf(form.mode());
  return line + u"\n";
}

std::u16string comboText(const ItemModel& item) {
  const auto selected = item.combo->selected();
  std::u16string out = u"combo";
  if (selected) {
    const ValidValue& entry = item.combo->values()[*selected];
    out += u" " + quoted(entry.value) + u" key " + quoted(entry.description);
  }
  return out + u" of " + number(static_cast<long>(item.combo->values().size()));
}

std::u16string itemText(const ItemModel& item) {
  switch (item.type) {
    case kButton:
      return u"button " + quoted(item.caption);
    case kStaticText:
      return u"static " + quoted(item.caption);
    case kEditText:
      return u"edit " + quoted(item.text.get());
    case kComboBox:
      return comboText(item);
    default:
      return u"matrix of " + number(item.matrix->rowCount()) + u" rows";
  }
}

std::u16string matrixText(const MatrixModel& matrix) {
  std::u16string out = u"   ";
  for (const auto& column : matrix.columns()) {
    out += u" " + column->uid + u" " + quoted(column->title);
    if (!column->visible) out += u" hidden";
  }
  out += u"\n";
  for (long row = 1; row <= matrix.rowCount(); ++row) {
    out += matrix.isRowSelected(row) ? u"   *" : u"    ";
    for (const auto& column : matrix.columns()) out += u" " + quoted(matrix.cell(row, *column));
    out += u"\n";
  }
  return out;
}

std::u16string_view prefixOf(HvStatusBarMessageType type) {
  switch (type) {
    case smt_Warning:
      return u"warning: ";
    case smt_Error:
      return u"error: ";
    case smt_Info:
      return u"info: ";
    default:
      return u"";
  }
}

}  // namespace

std::u16string printForms(const Forms& forms) {
  std::u16string out;
  for (const auto& form : forms.all()) out += formLine(*form);
  return out;
}

std::u16string printForm(const FormModel& form) {
  std::u16string out = formLine(form);
  for (const auto& source : form.sources()) {
    out += u"  source " + source->uid() + u" " + quoted(source->value()) + u"\n";
  }
  for (const auto& item : form.items()) {
    out += u"  " + item->uid + u" " + itemText(*item);
    if (!item->visible) out += u" hidden";
    if (!item->enabled) out += u" disabled";
    if (item->uid == form.defaultItem()) out += u" default";
    if (item->uid == form.focus) out += u" focus";
    out += u"\n";
    if (item->matrix != nullptr) out += matrixText(*item->matrix);
  }
  return out;
}

std::u16string statusLine(const StatusMessage& message) {
  return std::u16string(prefixOf(message.type)) + message.text;
}

std::u16string printStatus(const StatusBar& statusBar) {
  std::u16string out;
  for (const StatusMessage& message : statusBar.history()) {
    out += statusLine(message) + u"\n";
  }
  if (const auto bar = statusBar.progress()) {
    out += u"progress " + quoted(bar->text()) + u" " + number(bar->value()) + u"/" +
           number(bar->maximum()) + u"\n";
  }
  return out;
}

std::u16string printBoxes(const MessageBoxes& boxes) {
  std::u16string out;
  for (const MessageBoxCall& box : boxes.history()) {
    out += quoted(box.text);
    for (const auto& button : box.buttons) {
      if (!button.empty()) out += u" [" + button + u"]";
    }
    out += u" -> " + number(box.answer) + u"\n";
  }
  return out;
}

}  // namespace qx::screens
