#include "qxdesk/screens/objects/form_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/item_objects.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/automation/text.h"

#include <string>
#include <utility>

namespace qx::screens {
namespace {

class FormObject final : public LinkedObject<IForm, FormLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetUniqueID(BSTR* out) override {
    return giveString(out, [&] { return form()->uid(); });
  }
  HRESULT raw_GetTypeEx(BSTR* out) override {
    return giveString(out, [&] { return form()->typeEx(); });
  }
  HRESULT raw_GetSelected(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return form()->isSelected(); });
  }
  HRESULT raw_Freeze(VARIANT_BOOL freeze) override {
    return run([&] { form()->freeze(freeze != VARIANT_FALSE); });
  }
  // Tests ask for the count; the screens in a browser are drawn at once.
  HRESULT raw_Update() override {
    return run([&] {
      ++form()->updates;
      desk().showNow();
    });
  }
  HRESULT raw_GetItems(IItems** out) override {
    return giveNew(out, [&] {
      form();  // throws if the form is closed
      return makeItems(clientPtr(), link());
    });
  }
  HRESULT raw_GetDataSources(IDataSources** out) override {
    return giveNew(out, [&] {
      form();
      return makeDataSources(clientPtr(), link());
    });
  }
  // S_OK also if the form closes after the event that is being handled: no veto is known by then.
  HRESULT raw_Close() override {
    return run([&] { return outcome(desk().forms.close(form())); });
  }
  HRESULT raw_GetVisible(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return form()->visible; });
  }
  HRESULT raw_PutVisible(VARIANT_BOOL visible) override {
    return run([&] { desk().forms.show(form(), visible != VARIANT_FALSE); });
  }
  HRESULT raw_Select() override {
    return run([&] { return outcome(desk().forms.select(form())); });
  }
  HRESULT raw_GetMode(long* out) override {
    return give(out, [&] { return form()->mode(); });
  }
  // No event and no saving goes with a mode that an add-on sets.
  HRESULT raw_PutMode(long mode) override {
    return run([&] { form()->setMode(mode); });
  }
  HRESULT raw_GetDefaultItem(BSTR* out) override {
    return giveString(out, [&] { return form()->defaultItem(); });
  }
  HRESULT raw_PutDefaultItem(BSTR uid) override {
    return run([&] { form()->setDefaultItem(viewOfBstr(uid)); });
  }
  HRESULT raw_GetTitle(BSTR* out) override {
    return giveString(out, [&] { return form()->title; });
  }
  HRESULT raw_PutTitle(BSTR title) override {
    return run([&] { form()->title = viewOfBstr(title); });
  }
  HRESULT raw_GetHeight(long* out) override {
    return give(out, [&] { return form()->rect.height; });
  }
  HRESULT raw_PutHeight(long height) override {
    return run([&] { form()->setHeight(height); });
  }
  HRESULT raw_GetWidth(long* out) override {
    return give(out, [&] { return form()->rect.width; });
  }
  HRESULT raw_PutWidth(long width) override {
    return run([&] { form()->setWidth(width); });
  }
  HRESULT raw_GetClientHeight(long* out) override {
    return give(out, [&] { return form()->clientHeight(); });
  }
  // The frame has a fixed size, so the inner size sets the outer one.
  HRESULT raw_PutClientHeight(long height) override {
    return run([&] { form()->setClientHeight(height); });
  }
  HRESULT raw_GetClientWidth(long* out) override {
    return give(out, [&] { return form()->clientWidth(); });
  }
  HRESULT raw_PutClientWidth(long width) override {
    return run([&] { form()->setClientWidth(width); });
  }
};

class FormsObject final : public HostObject<IForms> {
 public:
  using HostObject::HostObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return desk().forms.all().size(); });
  }
  HRESULT raw_Item(const VARIANT& index, IForm** out) override {
    return giveNew(out, [&] { return object(entryOf(desk().forms.all(), index, kFormNotFound)); });
  }
  HRESULT raw_GetFormByUID(BSTR uid, IForm** out) override {
    return giveNew(out, [&] { return object(desk().forms.find(viewOfBstr(uid))); });
  }
  HRESULT raw_GetFormByTypeAndCount(long type, long count, IForm** out) override {
    return giveNew(out, [&] {
      // Types are texts; this operation reaches only those that are numbers.
      return object(desk().forms.byTypeAndCount(toUtf16(std::to_string(type)), count));
    });
  }
  HRESULT raw_GetActiveForm(IForm** out) override {
    return giveNew(out, [&] { return object(desk().forms.selected()); });
  }

 private:
  // Throws kFormNotFound for null: unlike a menu entry, a missing form is an error.
  CComPtr<IForm> object(const std::shared_ptr<FormModel>& form) const {
    if (form == nullptr) raiseError(kFormNotFound);
    return makeObject<FormObject>(clientPtr(), FormLink(form));
  }
};

}  // namespace

CComPtr<IForms> makeForms(std::shared_ptr<Client> client) {
  return makeObject<FormsObject>(std::move(client));
}

}  // namespace qx::screens
