#include "qxdesk/screens/browser/panel_event.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <variant>

namespace qx::screens {
namespace {

using nlohmann::json;

struct NamedType {
  long type;
  const char* name;
};

// The names that an author finds in qxframework/host/item_types.h.
constexpr NamedType kTypes[] = {{kItemPressed, "kItemPressed"},
                                {kKeyDown, "kKeyDown"},
                                {kClick, "kClick"},
                                {kDoubleClick, "kDoubleClick"},
                                {kValidate, "kValidate"},
                                {kFormLoad, "kFormLoad"},
                                {kFormUnload, "kFormUnload"},
                                {kFormDeactivate, "kFormDeactivate"},
                                {kFormClose, "kFormClose"},
                                {kShutDown, "kShutDown"},
                                {kCompanyChanged, "kCompanyChanged"},
                                {kLanguageChanged, "kLanguageChanged"},
                                {kServerTermination, "kServerTermination"}};

std::string typeName(long type) {
  for (const NamedType& named : kTypes) {
    if (named.type == type) return named.name;
  }
  return std::to_string(type);
}

// Fills in what one kind of event has.
class Filler {
 public:
  explicit Filler(json& out) : out_(out) {}

  void operator()(const ItemEvent& event) {
    named("item", typeName(event.type), event.before);
    out_["type"] = event.type;
    out_["form"] = toUtf8(event.formUid);
    out_["formType"] = toUtf8(event.formType);
    out_["item"] = toUtf8(event.itemUid);
    out_["column"] = toUtf8(event.colUid);
    out_["row"] = event.row;
    out_["char"] = event.charPressed;
  }
  void operator()(const MenuEvent& event) {
    named("menu", "kMenuEvent", event.before);
    out_["menu"] = toUtf8(event.menuUid);
  }
  void operator()(const AppEvent& event) {
    named("app", typeName(event.type), false);
    out_["type"] = event.type;
  }
  void operator()(const StatusBarEvent& event) {
    named("status", "kStatusBarEvent", false);
    out_["type"] = event.type;
    out_["text"] = toUtf8(event.text);
  }
  void operator()(const ProgressBarEvent& event) {
    named("progress", "kProgressBarEvent", event.before);
  }
  void operator()(const PrintEvent& event) {
    named("print", "kPrintEvent", event.before);
    out_["form"] = toUtf8(event.formUid);
  }
  void operator()(const ReportDataEvent& event) {
    named("report", "kReportDataEvent", event.before);
    out_["form"] = toUtf8(event.formUid);
  }
  void operator()(const RightClickEvent& event) {
    named("right", "kRightClickEvent", event.before);
    out_["form"] = toUtf8(event.formUid);
    out_["item"] = toUtf8(event.itemUid);
  }
  void operator()(const FormDataEvent& event) {
    named("data", "kFormDataEvent", event.before);
    out_["form"] = toUtf8(event.formUid);
    out_["text"] = toUtf8(event.objectType + u" " + event.objectKey);
  }

 private:
  void named(const char* kind, std::string name, bool before) {
    out_["kind"] = kind;
    out_["name"] = std::move(name);
    out_["before"] = before;
  }

  json& out_;
};

long long microseconds(std::chrono::nanoseconds time) {
  return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

}  // namespace

json panelEvent(const Event& event, const EventRecord& record) {
  json out = json::object();
  for (const char* text : {"form", "formType", "item", "column", "menu", "text"}) out[text] = "";
  for (const char* number : {"type", "row", "char"}) out[number] = 0;
  std::visit(Filler(out), event);
  out["number"] = record.number;
  out["depth"] = record.depth;
  out["microseconds"] = microseconds(record.time);
  json sinks = json::array();
  for (const EventRecord::Answer& answer : record.answers) {
    json sink = json::object();
    sink["sink"] = answer.sink;
    sink["microseconds"] = microseconds(answer.time);
    sink["veto"] = answer.veto;
    sinks.push_back(std::move(sink));
  }
  out["sinks"] = std::move(sinks);
  out["veto"] = record.veto;
  return out;
}

}  // namespace qx::screens
