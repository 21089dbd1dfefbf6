#include "qxdesk/screens/objects/event_args.h"

#include "qxdesk/session/host_object_base.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/host/events.h"

#include <utility>

namespace qx::screens {
namespace {

// Unlike a HostObject, an argument holds no client: an add-on that keeps one does not keep the
// client alive.
template <class Out>
HRESULT giveValue(Out value, Out* out) {
  return desk::hostCall([&] { return desk::giveValue(value, out); });
}

HRESULT giveFlag(bool value, VARIANT_BOOL* out) { return giveValue(desk::variantBool(value), out); }

HRESULT giveString(const std::u16string& text, BSTR* out) {
  return desk::hostCall([&] { return giveText(text, out); });
}

template <class Interface, class Data>
class EventArgument : public ComObject<NoDispatch<Interface>> {
 public:
  explicit EventArgument(Data event) : event_(std::move(event)) {}

 protected:
  const Data event_;
};

class ItemEventArgument final : public EventArgument<IItemEvent, ItemEvent> {
 public:
  using EventArgument::EventArgument;
  HRESULT raw_GetEventType(long* out) override { return giveValue(event_.type, out); }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override { return giveFlag(event_.before, out); }
  HRESULT raw_GetFormTypeEx(BSTR* out) override { return giveString(event_.formType, out); }
  HRESULT raw_GetFormUID(BSTR* out) override { return giveString(event_.formUid, out); }
  HRESULT raw_GetItemUID(BSTR* out) override { return giveString(event_.itemUid, out); }
  HRESULT raw_GetColUID(BSTR* out) override { return giveString(event_.colUid, out); }
  HRESULT raw_GetRow(long* out) override { return giveValue(event_.row, out); }
  HRESULT raw_GetCharPressed(long* out) override { return giveValue(event_.charPressed, out); }
};

class MenuEventArgument final : public EventArgument<IMenuEvent, MenuEvent> {
 public:
  using EventArgument::EventArgument;
  HRESULT raw_GetMenuUID(BSTR* out) override { return giveString(event_.menuUid, out); }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override { return giveFlag(event_.before, out); }
  HRESULT raw_GetInnerEvent(VARIANT_BOOL* out) override { return giveFlag(event_.inner, out); }
};

class ContextMenuArgument final : public EventArgument<IContextMenuInfo, RightClickEvent> {
 public:
  using EventArgument::EventArgument;
  HRESULT raw_GetFormUID(BSTR* out) override { return giveString(event_.formUid, out); }
  HRESULT raw_GetItemUID(BSTR* out) override { return giveString(event_.itemUid, out); }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override { return giveFlag(event_.before, out); }
};

class BusinessObjectArgument final : public EventArgument<IBusinessObjectInfo, FormDataEvent> {
 public:
  using EventArgument::EventArgument;
  HRESULT raw_GetFormUID(BSTR* out) override { return giveString(event_.formUid, out); }
  HRESULT raw_GetType(BSTR* out) override { return giveString(event_.objectType, out); }
  HRESULT raw_GetObjectKey(BSTR* out) override { return giveString(event_.objectKey, out); }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override { return giveFlag(event_.before, out); }
};

// These events have an object as argument, but it has nothing to say.
class PlainArgument final : public ComObject<NoDispatch<IDispatch>> {};

struct Maker {
  template <class Argument, class Data>
  static CComPtr<IDispatch> make(const Data& event) {
    return makeObject<Argument>(event);
  }
  CComPtr<IDispatch> operator()(const ItemEvent& event) const {
    return make<ItemEventArgument>(event);
  }
  CComPtr<IDispatch> operator()(const MenuEvent& event) const {
    return make<MenuEventArgument>(event);
  }
  CComPtr<IDispatch> operator()(const RightClickEvent& event) const {
    return make<ContextMenuArgument>(event);
  }
  CComPtr<IDispatch> operator()(const FormDataEvent& event) const {
    return make<BusinessObjectArgument>(event);
  }
  CComPtr<IDispatch> operator()(const AppEvent&) const { return nullptr; }
  CComPtr<IDispatch> operator()(const StatusBarEvent&) const { return nullptr; }
  template <class Other>
  CComPtr<IDispatch> operator()(const Other&) const {
    return makeObject<PlainArgument>();
  }
};

}  // namespace

CComPtr<IDispatch> makeEventArgument(const Event& event) { return std::visit(Maker(), event); }

}  // namespace qx::screens
