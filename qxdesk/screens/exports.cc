// The exports of libqxdesk.so.

#include "qxdesk/screens/objects/gui_api.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/export.h"

using qx::desk::CallGateObject;
using qx::desk::kScreensGateClass;
using qx::screens::makeGuiApi;

extern "C" QX_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return qx::guarded([&]() -> HRESULT {
    if (clsid == CLSID_HalvexGuiApi) {
      return qx::makeFactory([] { return makeGuiApi(); })->QueryInterface(iid, object);
    }
    if (clsid == kScreensGateClass) {
      const auto make = [] { return qx::makeObject<CallGateObject>(); };
      return qx::makeFactory(make)->QueryInterface(iid, object);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
  });
}
