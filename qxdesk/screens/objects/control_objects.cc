#include "qxdesk/screens/objects/control_objects.h"

#include "qxdesk/screens/objects/combo_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/matrix_objects.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/item_types.h"

#include <utility>

namespace qx::screens {
namespace {

// A button or a static text.
template <class Interface>
class CaptionObject final : public LinkedObject<Interface, ItemLink> {
 public:
  using LinkedObject<Interface, ItemLink>::LinkedObject;

  HRESULT raw_GetCaption(BSTR* out) override {
    return this->giveString(out, [&] { return this->item()->caption; });
  }
  HRESULT raw_PutCaption(BSTR caption) override {
    return this->run([&] { this->item()->caption = viewOfBstr(caption); });
  }
};

class EditTextObject final : public LinkedObject<IEditText, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetString(BSTR* out) override {
    return giveString(out, [&] { return item()->text.get(); });
  }
  // An add-on's text raises no events, needs no validation and leaves the form's mode alone.
  HRESULT raw_PutString(BSTR text) override {
    return run([&] { item()->text.set(viewOfBstr(text)); });
  }
};

}  // namespace

CComPtr<IDispatch> makeControl(std::shared_ptr<Client> client, const ItemLink& link) {
  switch (link.item()->type) {
    case kButton:
      return makeObject<CaptionObject<IButton>>(std::move(client), link);
    case kStaticText:
      return makeObject<CaptionObject<IStaticText>>(std::move(client), link);
    case kEditText:
      return makeObject<EditTextObject>(std::move(client), link);
    case kComboBox:
      return makeComboBox(std::move(client), link);
    default:
      // The form reader and the host's own forms make no other type.
      return makeMatrix(std::move(client), link);
  }
}

}  // namespace qx::screens
