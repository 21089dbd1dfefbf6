#include "qxdesk/screens/browser/desk_state.h"

#include "qxdesk/screens/browser/form_state.h"
#include "qxdesk/session/connection_string.h"
#include "qxdesk/session/language_table.h"
#include "qxframework/automation/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace qx::screens {
namespace {

using nlohmann::json;

// What a page keeps of the status bar; the desk keeps all messages.
constexpr std::size_t kShownMessages = 50;

const char* kindName(HvStatusBarMessageType type) {
  switch (type) {
    case smt_Warning:
      return "warning";
    case smt_Error:
      return "error";
    case smt_Info:
      return "info";
    default:
      return "none";
  }
}

const char* menuTypeName(HvMenuType type) {
  switch (type) {
    case mt_Popup:
      return "popup";
    case mt_Separator:
      return "separator";
    default:
      return "string";
  }
}

json clientState(const Desk& desk) {
  const DeskSettings& settings = desk.settings();
  json out = json::object();
  out["company"] = toUtf8(desk.companyName());
  out["user"] = toUtf8(settings.userName);
  out["language"] = static_cast<long>(settings.language);
  out["locale"] = toUtf8(desk::languageTag(settings.language));
  out["direction"] = settings.language == ln_Hebrew ? "rtl" : "ltr";
  out["started"] = desk.startupDone();
  out["texts"] = desk::languageTable(settings.language);
  return out;
}

json menusState(const MenuEntry& father) {
  json out = json::array();
  for (const auto& entry : father.children()) {
    const MenuProperties& properties = entry->properties();
    json part = json::object();
    part["uid"] = toUtf8(properties.uid);
    part["text"] = toUtf8(properties.text);
    part["type"] = menuTypeName(properties.type);
    part["enabled"] = properties.enabled;
    part["checked"] = properties.checked;
    part["children"] = menusState(*entry);
    out.push_back(std::move(part));
  }
  return out;
}

json uidsOf(const std::vector<std::shared_ptr<FormModel>>& forms) {
  json out = json::array();
  for (const auto& form : forms) out.push_back(toUtf8(form->uid()));
  return out;
}

// Returns the form's part of the former state, or null.
const json* formerPart(const json* former, const std::string& uid) {
  if (former == nullptr) return nullptr;
  const json& forms = former->at("forms");
  const auto found = forms.find(uid);
  return found == forms.end() ? nullptr : &*found;
}

json formsState(const Forms& forms, const json* former) {
  json out = json::object();
  for (const auto& form : forms.all()) {
    std::string uid = toUtf8(form->uid());
    const json* const before = form->freezeCount() > 0 ? formerPart(former, uid) : nullptr;
    json part = before == nullptr ? formState(*form) : *before;
    part["frozen"] = form->freezeCount() > 0;
    out[std::move(uid)] = std::move(part);
  }
  return out;
}

json statusState(const StatusBar& bar) {
  const auto& messages = bar.history();
  const StatusMessage last = messages.empty() ? StatusMessage() : messages.back();
  json out = json::object();
  out["number"] = messages.size();
  out["text"] = toUtf8(last.text);
  out["kind"] = kindName(last.type);
  out["time"] = last.displayTime;
  return out;
}

json messagesState(const StatusBar& bar) {
  const auto& messages = bar.history();
  json out = json::array();
  const std::size_t shown = std::min(messages.size(), kShownMessages);
  for (std::size_t at = messages.size() - shown; at < messages.size(); ++at) {
    json part = json::object();
    part["text"] = toUtf8(messages[at].text);
    part["kind"] = kindName(messages[at].type);
    out.push_back(std::move(part));
  }
  return out;
}

json progressState(const StatusBar& bar) {
  const auto progress = bar.progress();
  if (progress == nullptr) return nullptr;
  json out = json::object();
  out["number"] = progress->number();
  out["text"] = toUtf8(progress->text());
  out["value"] = progress->value();
  out["maximum"] = progress->maximum();
  out["stoppable"] = progress->stoppable();
  return out;
}

json boxState(const OpenBox* box) {
  if (box == nullptr) return nullptr;
  json out = json::object();
  out["number"] = box->number;
  out["text"] = toUtf8(box->call.text);
  json buttons = json::array();
  for (const auto& button : box->call.buttons) buttons.push_back(toUtf8(button));
  out["buttons"] = std::move(buttons);
  out["default"] = box->call.defaultButton;
  return out;
}

}  // namespace

json stateOf(const Desk& desk, const OpenBox* box, const json* former) {
  const auto selected = desk.forms.selected();
  json out = json::object();
  out["client"] = clientState(desk);
  out["menus"] = menusState(*desk.menus.root());
  out["order"] = uidsOf(desk.forms.all());
  out["stack"] = uidsOf(desk.forms.bySelection());
  out["selected"] = selected == nullptr ? std::string() : toUtf8(selected->uid());
  out["forms"] = formsState(desk.forms, former);
  out["status"] = statusState(desk.statusBar);
  out["messages"] = messagesState(desk.statusBar);
  out["progress"] = progressState(desk.statusBar);
  out["box"] = boxState(box);
  return out;
}

json rowsOf(const MatrixModel& matrix, long from, long count) {
  json out = json::array();
  // By the number left, since from + count could overflow.
  const long left = from > matrix.rowCount() ? 0 : matrix.rowCount() - from + 1;
  for (long row = from; row < from + std::min(count, left); ++row) {
    json cells = json::array();
    for (const auto& column : matrix.columns()) cells.push_back(toUtf8(matrix.cell(row, *column)));
    json part = json::object();
    part["cells"] = std::move(cells);
    part["selected"] = matrix.isRowSelected(row);
    out.push_back(std::move(part));
  }
  return out;
}

}  // namespace qx::screens
