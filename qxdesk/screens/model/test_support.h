#pragma once

// What the tests of the screens share: a sink that records events and can veto them, and a form.

#include "qxdesk/screens/model/desk.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/text.h"
#include "testing/raised_by.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx::screens {

using test::raisedBy;

/// Events or calls in a few words each, in their order.
using Log = std::vector<std::string>;

/// Describes an event in a few words: "before item 1 F_1.4", "after menu 3001".
struct EventWords {
  static std::string phase(bool before) { return before ? "before " : "after "; }
  std::string operator()(const ItemEvent& event) const {
    std::string out =
        phase(event.before) + "item " + std::to_string(event.type) + " " + toUtf8(event.formUid);
    if (!event.itemUid.empty()) out += "." + toUtf8(event.itemUid);
    if (!event.colUid.empty() || event.row != 0) {
      out += "." + toUtf8(event.colUid) + "." + std::to_string(event.row);
    }
    if (event.charPressed != 0) out += " key " + std::to_string(event.charPressed);
    return out;
  }
  std::string operator()(const MenuEvent& event) const {
    return phase(event.before) + (event.inner ? "inner " : "") + "menu " + toUtf8(event.menuUid);
  }
  std::string operator()(const AppEvent& event) const {
    return "app " + std::to_string(event.type);
  }
  std::string operator()(const StatusBarEvent& event) const {
    return "status " + toUtf8(event.text) + " " + std::to_string(event.type);
  }
  std::string operator()(const ProgressBarEvent& event) const {
    return phase(event.before) + "progress";
  }
  std::string operator()(const PrintEvent& event) const {
    return phase(event.before) + "print " + toUtf8(event.formUid);
  }
  std::string operator()(const ReportDataEvent& event) const {
    return phase(event.before) + "report " + toUtf8(event.formUid);
  }
  std::string operator()(const RightClickEvent& event) const {
    return phase(event.before) + "right " + toUtf8(event.formUid) + "." + toUtf8(event.itemUid);
  }
  std::string operator()(const FormDataEvent& event) const {
    return phase(event.before) + "data " + toUtf8(event.formUid) + " " + toUtf8(event.objectType) +
           " " + toUtf8(event.objectKey);
  }
};

inline std::string wordsOf(const Event& event) { return std::visit(EventWords(), event); }

/// Records the words of each event and hands them to a handler, which may veto.
class ProbeSink final : public EventSink {
 public:
  using Handler = std::function<void(const std::string& words, bool& bubble)>;

  explicit ProbeSink(Handler handler = nullptr) : handler_(std::move(handler)) {}
  void deliver(const Event& event, bool& bubble) noexcept override {
    log.push_back(wordsOf(event));
    if (handler_) handler_(log.back(), bubble);
  }

  Log log;

 private:
  Handler handler_;
};

/// Attaches a probe to the desk and returns it.
inline std::shared_ptr<ProbeSink> listen(Desk& desk, ProbeSink::Handler handler = nullptr) {
  auto sink = std::make_shared<ProbeSink>(std::move(handler));
  desk.events.attach(sink);
  return sink;
}

/// Returns a handler that vetoes one event.
inline ProbeSink::Handler veto(std::string words) {
  return [words](const std::string& event, bool& bubble) {
    if (event == words) bubble = false;
  };
}

inline DeskSettings testSettings() {
  DeskSettings settings;
  settings.database = "/data/Harbour.db";
  return settings;
}

/// Returns an add-on's form with OK, Cancel, an edit "5" and a button "6".
inline std::shared_ptr<FormModel> makeAddOnForm(std::u16string uid) {
  auto form = std::make_shared<FormModel>(std::move(uid), u"-1", false);
  const auto add = [&](const char16_t* item, long type) {
    ItemModel model;
    model.uid = item;
    model.type = type;
    form->addItem(std::move(model));
  };
  add(kOkButton, kButton);
  add(kCancelButton, kButton);
  add(u"5", kEditText);
  add(u"6", kButton);
  form->setDefaultItem(kOkButton);
  form->visible = true;
  return form;
}

}  // namespace qx::screens
