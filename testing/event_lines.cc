#include "testing/event_lines.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/events.h"

#include <utility>

namespace qx::test {
namespace {

std::string utf8(const CComBSTR& text) { return toUtf8(text.View()); }

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
    case kItemEvent:
      return lineOf<IItemEvent>(arguments[1]);
    case kMenuEvent:
      return lineOf<IMenuEvent>(arguments[1]);
    case kRightClickEvent:
      return lineOf<IContextMenuInfo>(arguments[1]);
    case kFormDataEvent:
      return lineOf<IBusinessObjectInfo>(arguments[1]);
    case kAppEvent:
      return "application " + std::to_string(arguments[0].lVal);
    case kStatusBarEvent:
      return "status " + toUtf8(viewOfBstr(arguments[1].bstrVal));
    default:
      return "event of kind " + std::to_string(id);
  }
}

class Recorder final : public ComObject<NoDispatch<IDispatch>> {
 public:
  explicit Recorder(std::function<void(const std::string&)> take) : take_(std::move(take)) {}
  HRESULT Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    return guarded([&]() -> HRESULT {
      take_(lineOf(id, params->rgvarg));
      return S_OK;
    });
  }

 private:
  std::function<void(const std::string&)> take_;
};

}  // namespace

void listEvents(IApplication* application, std::function<void(const std::string& line)> take) {
  const CComQIPtr<IConnectionPointContainer> points(application);
  CComPtr<IConnectionPoint> point;
  raiseIfFailed(points->FindConnectionPoint(DIID_IApplicationEvents, &point));
  DWORD cookie = 0;
  raiseIfFailed(point->Advise(makeObject<Recorder>(std::move(take)).p, &cookie));
}

}  // namespace qx::test
