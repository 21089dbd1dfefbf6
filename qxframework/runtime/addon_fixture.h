#pragma once

// An add-on, its handler and its forms for tests. Their operations are recorded in the host's list
// of calls and run a hook if the test has set one. The hook returns the result, may veto and may
// throw.

#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/qx_idispatch.h"
#include "testing/fake_host.h"
#include "testing/recording_logger.h"

#include <array>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qx::test {

/// A thrown object that is derived from no exception class.
struct ForeignThing {};

using Hook = std::function<long(short* bubble)>;
using Hooks = std::map<std::string, Hook>;

inline long runHook(FakeHost& host, const Hooks& hooks, const std::string& name,
                    short* bubble = nullptr, const std::string& prefix = "") {
  host.calls.push_back(prefix + name);
  const auto entry = hooks.find(name);
  if (entry == hooks.end()) return S_OK;
  const Hook hook = entry->second;  // a hook may remove itself from the map
  return hook(bubble);
}

/// Returns a hook for each kind of object that add-on code may throw. An array, so that no loop
/// over it can be empty.
inline std::array<std::pair<std::string, Hook>, 4> throwers() {
  return {{{"an int", [](short*) -> long { throw 42; }},
           {"a std::exception", [](short*) -> long { throw std::runtime_error("no"); }},
           {"a _com_error", [](short*) -> long { throw _com_error(E_FAIL); }},
           {"a foreign struct", [](short*) -> long { throw ForeignThing(); }}}};
}

class TestDispatch : public CQXIDispatch {
 public:
  TestDispatch(FakeHost& host, const Hooks& hooks) : host_(host), hooks_(hooks) {}
  ~TestDispatch() override { host_.calls.emplace_back("~Dispatch"); }

  long OnReservedEvent() override { return run("OnReservedEvent"); }
  long OnMenuEvent(IMenuEvent*, short* bubble) override { return run("OnMenuEvent", bubble); }
  long OnChangeLanguage() override { return run("OnChangeLanguage"); }
  long OnChangeCompany(ICompany*) override { return run("OnChangeCompany"); }
  long OnApplicationLoad(IDispatch*, ICompany*) override { return run("OnApplicationLoad"); }
  long OnApplicationUnload() override { return run("OnApplicationUnload"); }
  long OnFormLoad(IItemEvent*, short* bubble) override { return run("OnFormLoad", bubble); }
  long OnProgressBarEvent(IMenuEvent* event, short* bubble) override {
    if (event == nullptr) host_.calls.emplace_back("no event");
    return run("OnProgressBarEvent", bubble);
  }
  long OnStatusBarEvent(BSTR text, long type) override {
    host_.calls.push_back("text " + narrow(text) + ", type " + std::to_string(type));
    return run("OnStatusBarEvent");
  }
  long OnPrintEvent(IDispatch*, short* bubble) override { return run("OnPrintEvent", bubble); }
  long OnReportDataEvent(IDispatch*, short* bubble) override {
    return run("OnReportDataEvent", bubble);
  }
  long OnRightClickEvent(IDispatch*, short* bubble) override {
    return run("OnRightClickEvent", bubble);
  }

 private:
  long run(const std::string& name, short* bubble = nullptr) {
    return runHook(host_, hooks_, name, bubble);
  }

  FakeHost& host_;
  const Hooks& hooks_;
};

class TestAddOn final : public CQXAddOn {
 public:
  explicit TestAddOn(FakeHost& host, std::u16string identifier = u"IDENT")
      : CQXAddOn(u"CONNECTION", u"TESTADDON", std::move(identifier)), host_(host) {}

  CQXIDispatch* CreateDispatch() override {
    host_.calls.emplace_back("CreateDispatch");
    return givesDispatch ? new TestDispatch(host_, hooks) : nullptr;
  }
  CQXResourceLoader* GetResourceLoader() override { return &loader_; }

  Hooks hooks;
  bool givesDispatch = true;

 private:
  FakeHost& host_;
  CQXResourceLoader loader_;
};

/// A form on a form of the fake host. Its operations are recorded as "UID.Operation".
class TestForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"TST", 900, u"EXT", {u"TST_TITLE", 901, u"Title"}, {u"TST_ED", 902, u""})

 public:
  TestForm(FakeHost& host, const CQXAddOn* addOn, FakeForm* form)
      : CQXAddOnForm(addOn, -1), host_(host), name_(form == nullptr ? "" : toUtf8(form->uid)) {
    m_ptrForm = form;
    m_strExtId = u"EXT";
  }
  ~TestForm() override { record("~Form"); }

  long OnItemEvent(CComPtr<IItemEvent>, short* bubble) override {
    return run("OnItemEvent", bubble);
  }
  long OnMenuEvent(CComPtr<IMenuEvent>, short* bubble) override {
    return run("OnMenuEvent", bubble);
  }
  long OnFormDataEvent(CComPtr<IBusinessObjectInfo>, short* bubble) override {
    return run("OnFormDataEvent", bubble);
  }
  long OnRightClickEvent(CComPtr<IContextMenuInfo>, short* bubble) override {
    return run("OnRightClickEvent", bubble);
  }
  long OnInitForm() override { return run("OnInitForm"); }
  long OnUnloadForm() override { return run("OnUnloadForm"); }

  void setExtId(std::u16string extId) { m_strExtId = std::move(extId); }

  Hooks hooks;

 protected:
  FakeHost& host_;

 private:
  long run(const std::string& name, short* bubble = nullptr) {
    return runHook(host_, hooks, name, bubble, name_ + ".");
  }
  void record(const std::string& name) { host_.calls.push_back(name_ + "." + name); }

  std::string name_;
};

/// Returns the messages of a function without its trace lines.
inline std::vector<std::string> messagesOf(const RecordingLogger& log,
                                           std::u16string_view function) {
  std::vector<std::string> out;
  for (const std::u16string& message : log.messagesOf(function)) out.push_back(toUtf8(message));
  return out;
}

}  // namespace qx::test
