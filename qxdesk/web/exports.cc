// The entry of libqxweb.so.

#include "qxdesk/web/page_files.h"
#include "qxdesk/web/server.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/export.h"

extern "C" QX_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return qx::guarded([&]() -> HRESULT {
    if (clsid != qx::desk::kWebServerClass) return CLASS_E_CLASSNOTAVAILABLE;
    const auto make = [] { return qx::web::makeWebServer({.files = qx::web::embeddedPage()}); };
    return qx::makeFactory(make)->QueryInterface(iid, object);
  });
}
