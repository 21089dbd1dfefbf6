#pragma once

// A connected client and a sink as an add-on has it, for tests of the objects.

#include "qxdesk/screens/model/test_support.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/gui_api.h"
#include "qxdesk/screens/user/user.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/host/application.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/events.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace qx::screens {

inline std::string utf8(const CComBSTR& text) { return toUtf8(text.View()); }

/// Records each call as "id(arguments)", the arguments in the order in which a caller writes them.
class AutomationSink final : public ComObject<NoDispatch<IDispatch>> {
 public:
  /// Gets the words of the call and its veto, null for an event without one. Returns the result of
  /// the call.
  using Handler = std::function<HRESULT(const std::string& words, VARIANT_BOOL* veto)>;

  explicit AutomationSink(Handler handler = nullptr) : handler_(std::move(handler)) {}

  HRESULT Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    std::string words = std::to_string(id) + "(";
    VARIANT_BOOL* veto = nullptr;
    for (UINT i = params->cArgs; i-- > 0;) {
      const VARIANT& argument = params->rgvarg[i];
      if (argument.vt == (VT_BYREF | VT_BOOL)) {
        veto = argument.pboolVal;
        words += std::to_string(*veto);
      } else {
        words += wordsOf(argument);
      }
      if (i > 0) words += ", ";
    }
    log.push_back(words + ")");
    return handler_ ? handler_(log.back(), veto) : S_OK;
  }

  Log log;

 private:
  static std::string phase(VARIANT_BOOL before) { return before ? "before" : "after"; }

  static std::string wordsOf(const VARIANT& argument) {
    if (argument.vt == VT_BSTR) return toUtf8(viewOfBstr(argument.bstrVal));
    if (argument.vt == VT_I4) return std::to_string(argument.lVal);
    if (argument.vt != VT_DISPATCH) return "?";
    if (CComQIPtr<IItemEvent> item(argument.pdispVal); item != nullptr) return itemWords(item);
    if (CComQIPtr<IMenuEvent> menu(argument.pdispVal); menu != nullptr) {
      return phase(menu->GetBeforeAction()) + (menu->GetInnerEvent() ? " inner " : " ") +
             utf8(menu->GetMenuUID());
    }
    if (CComQIPtr<IContextMenuInfo> info(argument.pdispVal); info != nullptr) {
      return phase(info->GetBeforeAction()) + " " + utf8(info->GetFormUID()) + "." +
             utf8(info->GetItemUID());
    }
    if (CComQIPtr<IBusinessObjectInfo> data(argument.pdispVal); data != nullptr) {
      return phase(data->GetBeforeAction()) + " " + utf8(data->GetFormUID()) + " " +
             utf8(data->GetType()) + " " + utf8(data->GetObjectKey());
    }
    return "object";
  }

  static std::string itemWords(IItemEvent* item) {
    return phase(item->GetBeforeAction()) + " " + std::to_string(item->GetEventType()) + " " +
           utf8(item->GetFormTypeEx()) + " " + utf8(item->GetFormUID()) + "." +
           utf8(item->GetItemUID()) + "." + utf8(item->GetColUID()) + "." +
           std::to_string(item->GetRow()) + "." + std::to_string(item->GetCharPressed());
  }

  Handler handler_;
};

class EmbeddedTest : public testing::Test {
 protected:
  EmbeddedTest() : EmbeddedTest(u"embedded:?db=/data/Harbour.db&appid=7") {}
  explicit EmbeddedTest(const CComBSTR& connection) {
    EXPECT_EQ(api_->Connect(connection), 0);
    app_ = api_->GetApplication(-1);
    EXPECT_EQ(app_.QueryInterface(&user_), S_OK);
  }
  ~EmbeddedTest() override { desk::CallGate::instance().refuse(0, 0); }

  CComPtr<IConnectionPoint> point() {
    CComQIPtr<IConnectionPointContainer> container(app_.p);
    CComPtr<IConnectionPoint> point;
    EXPECT_EQ(container->FindConnectionPoint(DIID_IApplicationEvents, &point), S_OK);
    return point;
  }
  CComPtr<AutomationSink> listen(AutomationSink::Handler handler = nullptr) {
    auto sink = makeObject<AutomationSink>(std::move(handler));
    EXPECT_EQ(point()->Advise(sink.p, &cookie_), S_OK);
    return sink;
  }
  CComPtr<IForm> openOrder() {
    CComBSTR uid;
    EXPECT_EQ(user_->OpenForm(CComBSTR(u"3101"), &uid), S_OK);
    return app_->GetForms()->Item(CComVariant(uid));
  }
  template <class Control>
  CComPtr<Control> control(IForm* form, const char16_t* uid) {
    const CComQIPtr<Control> control(form->GetItems()->Item(CComVariant(uid))->GetSpecific());
    EXPECT_NE(control, nullptr);
    return control;
  }

  CComPtr<IHalvexGuiApi> api_ = makeGuiApi();
  CComPtr<IApplication> app_;
  CComPtr<desk::IDeskUser> user_;
  DWORD cookie_ = 0;
};

}  // namespace qx::screens
