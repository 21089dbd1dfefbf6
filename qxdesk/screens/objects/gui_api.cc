#include "qxdesk/screens/objects/gui_api.h"

#include "qxdesk/screens/browser/web_screens.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/application.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/type_library.h"
#include "qxdesk/screens/user/play_script.h"
#include "qxdesk/session/connection_string.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"

#include <iostream>
#include <string>

namespace qx::screens {
namespace {

// The only accepted argument of GetApplication: the client of this connection.
constexpr long kConnectedClient = -1;

void explain(const std::exception& error) {
  developerTrace(toUtf16(std::string(error.what()) + "\n"));
}

// The author of a script, or the one who opens the browser, runs this program and may not have the
// trace switched on.
void explainToUser(const std::exception& error) {
  std::cerr << error.what() << std::endl;
  explain(error);
}

class GuiApi final : public WithTypeInfo<HostObject<IHalvexGuiApi>> {
 public:
  GuiApi() : WithTypeInfo(nullptr) {}  // the client is known after Connect

  // Writes 0 or the code of the refusal to `out`. The call itself succeeds in both cases.
  HRESULT raw_Connect(BSTR connection, long* out) override {
    return give(out, [&] { return connect(viewOfBstr(connection)); });
  }
  HRESULT raw_GetApplication(long which, IApplication** out) override {
    return giveNew(out, [&] {
      if (which != kConnectedClient) raiseError(E_INVALIDARG);
      if (connected_ == nullptr) raiseError(kGeneralFailure);
      return makeApplication(connected_);
    });
  }
  // Accepts any text: this host admits every add-on.
  HRESULT raw_PutAddOnIdentifier(BSTR identifier) override {
    return run([&] { identifier_ = viewOfBstr(identifier); });
  }

 private:
  long connect(std::u16string_view connection) {
    try {
      connected_ = Client::attach(desk::parseConnectionString(connection));
      return 0;
    } catch (const desk::ConnectionStringError& error) {
      explain(error);
    } catch (const OtherCompanyError& error) {
      explain(error);
    } catch (const PlayScriptError& error) {
      explainToUser(error);
    } catch (const WebScreensError& error) {
      explainToUser(error);
    }
    return kConnectionStringNotValid;
  }

  std::shared_ptr<Client> connected_;
  std::u16string identifier_;
};

}  // namespace

CComPtr<IHalvexGuiApi> makeGuiApi() { return makeObject<GuiApi>(); }

}  // namespace qx::screens
