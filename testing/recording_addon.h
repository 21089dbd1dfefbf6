#pragma once

// An add-on that records one line for each call that reaches it and runs the hook that the test has
// set for the operation. It attaches a form object to every form that the client opens.

#include "qxframework/automation/text.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/qx_idispatch.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qx::test {

/// Returns the result of the operation. `bubble` is null for operations without a veto.
using Hook = std::function<long(short* bubble)>;

/// The state that the add-on, its handler and its forms share with the test.
struct Record {
  std::vector<std::string> lines;
  /// By the name of the operation, which begins with "Form." for a form's.
  std::map<std::string, Hook> hooks;
  CComPtr<IApplication> application;
  CComPtr<ICompany> company;

  long run(const std::string& name, const std::string& detail, short* bubble = nullptr) {
    lines.push_back(detail.empty() ? name : name + " " + detail);
    const auto hook = hooks.find(name);
    if (hook == hooks.end()) return S_OK;
    const Hook copy = hook->second;  // a hook may remove itself from the map
    return copy(bubble);
  }
  /// Returns the lines so far and clears the list.
  std::vector<std::string> take() { return std::exchange(lines, {}); }
};

inline std::string phase(VARIANT_BOOL before) {
  return before == VARIANT_TRUE ? " before" : " after";
}

class RecordingForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"REC", -1, u"REC")

 public:
  RecordingForm(const CQXAddOn* addOn, Record& record) : CQXAddOnForm(addOn, -1), record_(record) {}
  ~RecordingForm() override { record_.lines.emplace_back("~Form"); }

  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override {
    return record_.run("Form.OnItemEvent",
                       std::to_string(event->GetEventType()) + " '" +
                           toUtf8(event->GetItemUID().View()) + "'" +
                           phase(event->GetBeforeAction()),
                       bubble);
  }
  long OnMenuEvent(CComPtr<IMenuEvent> event, short* bubble) override {
    return record_.run("Form.OnMenuEvent",
                       toUtf8(event->GetMenuUID().View()) + phase(event->GetBeforeAction()),
                       bubble);
  }
  long OnFormDataEvent(CComPtr<IBusinessObjectInfo> info, short* bubble) override {
    return record_.run("Form.OnFormDataEvent",
                       toUtf8(info->GetType().View()) + " " + toUtf8(info->GetObjectKey().View()) +
                           phase(info->GetBeforeAction()),
                       bubble);
  }
  long OnRightClickEvent(CComPtr<IContextMenuInfo> info, short* bubble) override {
    return record_.run("Form.OnRightClickEvent",
                       toUtf8(info->GetItemUID().View()) + phase(info->GetBeforeAction()), bubble);
  }
  long OnInitForm() override { return record_.run("Form.OnInitForm", ""); }
  long OnFormLoaded() override { return record_.run("Form.OnFormLoaded", ""); }
  long OnUnloadForm() override { return record_.run("Form.OnUnloadForm", ""); }

 private:
  Record& record_;
};

class RecordingHandler : public CQXIDispatch {
 public:
  RecordingHandler(const CQXAddOn* addOn, Record& record) : addOn_(addOn), record_(record) {}

  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    record_.application = CComQIPtr<IApplication>(application);
    record_.company = company;
    return record_.run("OnApplicationLoad", "");
  }
  long OnApplicationUnload() override {
    record_.company.Release();
    return record_.run("OnApplicationUnload", "");
  }
  long OnFormLoad(IItemEvent* event, short* bubble) override {
    const CComBSTR uid = event->GetFormUID();
    const long result = record_.run("OnFormLoad", toUtf8(event->GetFormTypeEx().View()), bubble);
    if (result < 0) return result;
    auto* form = new RecordingForm(addOn_, record_);  // passes to the event sink
    form->PutCompany(record_.company);
    form->InitForm(record_.application, record_.application->GetForms()->GetFormByUID(uid));
    return result;
  }
  long OnReservedEvent() override { return record_.run("OnReservedEvent", ""); }
  long OnMenuEvent(IMenuEvent* event, short* bubble) override {
    return record_.run("OnMenuEvent",
                       toUtf8(event->GetMenuUID().View()) + phase(event->GetBeforeAction()),
                       bubble);
  }
  long OnChangeLanguage() override { return record_.run("OnChangeLanguage", ""); }
  long OnChangeCompany(ICompany* company) override {
    record_.company = company;
    return record_.run("OnChangeCompany", "");
  }
  long OnProgressBarEvent(IMenuEvent* event, short* bubble) override {
    return record_.run("OnProgressBarEvent", event == nullptr ? "null" : "menu event", bubble);
  }
  long OnStatusBarEvent(BSTR text, long type) override {
    return record_.run("OnStatusBarEvent",
                       std::to_string(type) + " '" + toUtf8(viewOfBstr(text)) + "'");
  }
  long OnPrintEvent(IDispatch*, short* bubble) override {
    return record_.run("OnPrintEvent", "", bubble);
  }
  long OnReportDataEvent(IDispatch*, short* bubble) override {
    return record_.run("OnReportDataEvent", "", bubble);
  }
  long OnRightClickEvent(IDispatch* info, short* bubble) override {
    const CComQIPtr<IContextMenuInfo> typed(info);
    return record_.run("OnRightClickEvent",
                       toUtf8(typed->GetItemUID().View()) + phase(typed->GetBeforeAction()),
                       bubble);
  }

 private:
  const CQXAddOn* addOn_;
  Record& record_;
};

class RecordingAddOn : public CQXAddOn {
 public:
  RecordingAddOn(const std::u16string& connection, Record& record)
      : CQXAddOn(connection, u"SYSTEMTEST", u""), record_(record) {}
  CQXIDispatch* CreateDispatch() override {
    const auto hook = record_.hooks.find("CreateDispatch");
    if (hook != record_.hooks.end() && hook->second(nullptr) < 0) return nullptr;
    return new RecordingHandler(this, record_);
  }
  CQXResourceLoader* GetResourceLoader() override { return &loader_; }

 private:
  Record& record_;
  CQXResourceLoader loader_;
};

}  // namespace qx::test
