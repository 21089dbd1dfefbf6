#include "qxdesk/company/company.h"
#include "qxdesk/company/statement_reports.h"
#include "qxdesk/session/call_gate.h"

// The entry through which class activation makes the objects of this library.
extern "C" __attribute__((visibility("default"))) HRESULT DllGetClassObject(REFCLSID clsid,
                                                                            REFIID iid,
                                                                            void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return qx::guarded([&]() -> HRESULT {
    if (clsid == CLSID_HalvexCompany) {
      return qx::makeFactory(qx::desk::makeCompany)->QueryInterface(iid, object);
    }
    if (clsid == qx::desk::kCompanyGateClass) {
      return qx::makeFactory([] { return qx::makeObject<qx::desk::CallGateObject>(); })
          ->QueryInterface(iid, object);
    }
    if (clsid == qx::desk::kStatementLogClass) {
      return qx::makeFactory(qx::desk::makeStatementLog)->QueryInterface(iid, object);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
  });
}
