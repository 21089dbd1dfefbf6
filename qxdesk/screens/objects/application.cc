#include "qxdesk/screens/objects/application.h"

#include "qxdesk/screens/batch/batch.h"
#include "qxdesk/screens/objects/company_info.h"
#include "qxdesk/screens/objects/connection_point.h"
#include "qxdesk/screens/objects/desk_user.h"
#include "qxdesk/screens/objects/form_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/menu_objects.h"
#include "qxdesk/screens/objects/status_bar_objects.h"
#include "qxdesk/screens/objects/type_library.h"
#include "qxdesk/session/ui_session.h"
#include "qxframework/automation/connection_point.h"

#include <utility>

namespace qx::screens {
namespace {

// Leads to the one connection point that there is.
class EventContainer final : public ComObject<IConnectionPointContainer> {
 public:
  explicit EventContainer(std::shared_ptr<Client> client) : client_(std::move(client)) {}

  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) override {
    return desk::hostCall([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = nullptr;
      if (iid != DIID_IApplicationEvents) return CONNECT_E_NOCONNECTION;
      return giveObject<IConnectionPoint>(makeConnectionPoint(client_), out);
    });
  }

 private:
  std::shared_ptr<Client> client_;
};

// Answers a company object of this process.
class UiSession final : public ComObject<desk::IUiSession> {
 public:
  explicit UiSession(std::shared_ptr<Client> client) : client_(std::move(client)) {}
  HRESULT GetLoginContext(BSTR cookie, BSTR* out) override {
    return desk::hostCall(
        [&] { return giveText(loginContextOf(client_->desk(), viewOfBstr(cookie)), out); });
  }

 private:
  std::shared_ptr<Client> client_;
};

class Application final : public WithTypeInfo<HostObject<IApplication>> {
 public:
  using WithTypeInfo::WithTypeInfo;

  HRESULT QueryInterface(REFIID iid, void** object) override;
  HRESULT raw_GetForms(IForms** out) override {
    return giveNew(out, [&] { return makeForms(clientPtr()); });
  }
  HRESULT raw_GetCompanyInfo(IHostCompany** out) override {
    return giveNew(out, [&] { return makeCompanyInfo(clientPtr()); });
  }
  HRESULT raw_GetAppId(long* out) override {
    return give(out, [&] { return desk().settings().appId; });
  }
  HRESULT raw_GetLanguage(HvLanguages* out) override {
    return give(out, [&] { return desk().settings().language; });
  }
  HRESULT raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2, BSTR button3,
                         long* out) override {
    return give(out, [&] {
      MessageBoxCall box;
      box.text = viewOfBstr(text);
      box.defaultButton = defaultButton;
      box.buttons = {textOf(button1), textOf(button2), textOf(button3)};
      return desk().boxes.show(std::move(box));
    });
  }
  HRESULT raw_GetMenus(IMenus** out) override {
    return giveNew(out, [&] { return makeMenus(clientPtr(), desk().menus.root()); });
  }
  // A batch with errors fails with the code of the first one, but what could be applied is applied.
  HRESULT raw_LoadBatchActions(BSTR xml) override {
    return run([&] { return applyBatch(desk(), viewOfBstr(xml)); });
  }
  HRESULT raw_GetLastBatchResults(BSTR* out) override {
    return giveString(out, [&] { return desk().lastBatchResults; });
  }
  HRESULT raw_GetStatusBar(IStatusBar** out) override {
    return giveNew(out, [&] { return makeStatusBar(clientPtr()); });
  }
  HRESULT raw_GetStartupDone(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return desk().startupDone(); });
  }
  HRESULT raw_PutStartupDone(VARIANT_BOOL done) override {
    return run([&] { desk().setStartupDone(done != VARIANT_FALSE); });
  }
};

HRESULT Application::QueryInterface(REFIID iid, void** object) {
  // Each query for another interface makes an object of its own, so this class implements the
  // add-on's interface and nothing else.
  const HRESULT own = WithTypeInfo::QueryInterface(iid, object);
  if (own != E_NOINTERFACE) return own;
  return guarded([&]() -> HRESULT {
    if (iid == IConnectionPointContainer::kIid) {
      return makeObject<EventContainer>(clientPtr())->QueryInterface(iid, object);
    }
    if (iid == desk::IUiSession::kIid) {
      return makeObject<UiSession>(clientPtr())->QueryInterface(iid, object);
    }
    if (iid == desk::IDeskUser::kIid) return makeDeskUser(clientPtr())->QueryInterface(iid, object);
    return E_NOINTERFACE;
  });
}

}  // namespace

CComPtr<IApplication> makeApplication(std::shared_ptr<Client> client) {
  return makeObject<Application>(std::move(client));
}

}  // namespace qx::screens
