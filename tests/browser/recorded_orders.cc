// The example `orders` with a second sink on its client, which prints each event as a line that
// begins with "event ". So the events of a script can be compared with those of a real browser.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/application.h"
#include "qxframework/host/events.h"
#include "qxframework/host/gui_api.h"

#include <iostream>
#include <string>

// The main() of the example, which this program is built with under another name.
int ordersMain(int argc, char** argv);

namespace {

std::string utf8(const CComBSTR& text) { return qx::toUtf8(text.View()); }

std::string when(VARIANT_BOOL before) { return before == VARIANT_TRUE ? " before" : " after"; }

std::string lineOf(IItemEvent& event) {
  std::string line = "item " + std::to_string(event.GetEventType()) + " " +
                     utf8(event.GetFormUID()) + " " + utf8(event.GetItemUID());
  if (!event.GetColUID().IsEmpty() || event.GetRow() != 0)
    line += " cell " + utf8(event.GetColUID()) + "," + std::to_string(event.GetRow());
  if (event.GetCharPressed() != 0) line += " key " + std::to_string(event.GetCharPressed());
  return line + when(event.GetBeforeAction());
}

std::string lineOf(IMenuEvent& event) {
  return "menu " + utf8(event.GetMenuUID()) + when(event.GetBeforeAction());
}

std::string lineOf(IContextMenuInfo& event) {
  return "right click " + utf8(event.GetFormUID()) + " " + utf8(event.GetItemUID()) +
         when(event.GetBeforeAction());
}

std::string lineOf(IBusinessObjectInfo& event) {
  return "data " + utf8(event.GetFormUID()) + " " + utf8(event.GetType()) + " " +
         utf8(event.GetObjectKey()) + when(event.GetBeforeAction());
}

template <class Argument>
std::string lineOf(const VARIANT& argument) {
  const CComQIPtr<Argument> event(argument.pdispVal);
  return lineOf(*event);
}

// The arguments come in reverse order; the veto is the first of an event that can be vetoed.
std::string lineOf(DISPID id, const VARIANT* arguments) {
  switch (id) {
    case qx::kItemEvent:
      return lineOf<IItemEvent>(arguments[1]);
    case qx::kMenuEvent:
      return lineOf<IMenuEvent>(arguments[1]);
    case qx::kRightClickEvent:
      return lineOf<IContextMenuInfo>(arguments[1]);
    case qx::kFormDataEvent:
      return lineOf<IBusinessObjectInfo>(arguments[1]);
    case qx::kAppEvent:
      return "application " + std::to_string(arguments[0].lVal);
    case qx::kStatusBarEvent:
      return "status " + qx::toUtf8(qx::viewOfBstr(arguments[1].bstrVal));
    default:
      return "event of kind " + std::to_string(id);
  }
}

class Recorder final : public qx::ComObject<qx::NoDispatch<IDispatch>> {
 public:
  HRESULT Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    return qx::guarded([&]() -> HRESULT {
      std::cout << "event " + lineOf(id, params->rgvarg) + "\n" << std::flush;
      return S_OK;
    });
  }
};

// Starts the client, which the add-on joins, since it has the same connection string.
CComPtr<IApplication> record(const char* connection) {
  CComPtr<IHalvexGuiApi> api;
  qx::raiseIfFailed(qx::createInstance(CLSID_HalvexGuiApi, CLSCTX_ALL, &api.p));
  qx::raiseIfFailed(api->Connect(CComBSTR(qx::toUtf16(connection))));
  CComPtr<IApplication> application = api->GetApplication(-1);
  const CComQIPtr<IConnectionPointContainer> points(application.p);
  CComPtr<IConnectionPoint> point;
  qx::raiseIfFailed(points->FindConnectionPoint(DIID_IApplicationEvents, &point));
  DWORD cookie = 0;
  qx::raiseIfFailed(point->Advise(qx::makeObject<Recorder>().p, &cookie));
  return application;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::cerr << "usage: recorded_orders CONNECTION\n", 2;
  try {
    const CComPtr<IApplication> application = record(argv[1]);
    return ordersMain(argc, argv);
  } catch (const _com_error& error) {
    std::cerr << "the client cannot be recorded: " << error.Error() << '\n';
    return 1;
  }
}
