#include "qxdesk/screens/browser/web_screens.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/result_names.h"

#include <utility>

namespace qx::screens {
namespace {

CComPtr<desk::IWebServer> makeServer() {
  CComPtr<desk::IWebServer> server;
  const HRESULT made = createInstance(desk::kWebServerClass, CLSCTX_ALL, &server.p);
  if (made >= 0 && server != nullptr) return server;
  throw WebScreensError(
      "web: the web server of the host could not be loaded; install its library and name it in the "
      "registry file, or leave the key out. " +
      toUtf8(errorText(made)));
}

}  // namespace

std::unique_ptr<DeskPages> showInBrowsers(Desk& desk, DeskPages::Keep keep,
                                          const std::string& address,
                                          const std::function<void(std::string_view)>& print) {
  const CComPtr<desk::IWebServer> server = makeServer();
  auto pages = std::make_unique<DeskPages>(desk, server, std::move(keep));
  CComBSTR words;
  const HRESULT started =
      server->Start(CComBSTR(toUtf16(address)), pages->receiver(), &words.m_str);
  if (started < 0) throw WebScreensError("web=" + address + ": " + toUtf8(words.View()));
  print("open " + toUtf8(words.View()) + " in a browser\n");
  return pages;
}

}  // namespace qx::screens
