#include "qxdesk/screens/objects/control_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/host/controls.h"

#include <utility>

namespace qx::screens {
namespace {

/// A button or a static text.
template <class Interface>
class CaptionObject final : public HostObject<Interface> {
 public:
  CaptionObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
                const std::shared_ptr<ItemModel>& item)
      : HostObject<Interface>(std::move(client)), link_(form, item) {}

  HRESULT raw_GetCaption(BSTR* out) override {
    return this->giveString(out, [&] { return link_.item()->caption; });
  }
  HRESULT raw_PutCaption(BSTR caption) override {
    return this->run([&] { link_.item()->caption = viewOfBstr(caption); });
  }

 private:
  ItemLink link_;
};

class EditTextObject final : public HostObject<IEditText> {
 public:
  EditTextObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
                 const std::shared_ptr<ItemModel>& item)
      : HostObject(std::move(client)), link_(form, item) {}

  HRESULT raw_GetString(BSTR* out) override {
    return giveString(out, [&] { return link_.item()->text.get(); });
  }
  HRESULT raw_PutString(BSTR text) override {
    return run([&] { link_.item()->text.set(viewOfBstr(text)); });
  }

 private:
  ItemLink link_;
};

}  // namespace

CComPtr<IDispatch> makeControl(std::shared_ptr<Client> client,
                               const std::shared_ptr<FormModel>& form,
                               const std::shared_ptr<ItemModel>& item) {
  switch (item->type) {
    case kButton:
      return CComPtr<IDispatch>(
          makeObject<CaptionObject<IButton>>(std::move(client), form, item).p);
    case kStaticText:
      return CComPtr<IDispatch>(
          makeObject<CaptionObject<IStaticText>>(std::move(client), form, item).p);
    case kEditText:
      return CComPtr<IDispatch>(makeObject<EditTextObject>(std::move(client), form, item).p);
    case kComboBox:
      return makeComboBox(std::move(client), form, item);
    default:
      return makeMatrix(std::move(client), form, item);
  }
}

}  // namespace qx::screens
