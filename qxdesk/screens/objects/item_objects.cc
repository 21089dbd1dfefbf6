#include "qxdesk/screens/objects/item_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/control_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/user/user_actions.h"

#include <utility>

namespace qx::screens {
namespace {

class ItemObject final : public LinkedObject<IItem, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetUniqueID(BSTR* out) override {
    return giveString(out, [&] { return item()->uid; });
  }
  HRESULT raw_GetType(long* out) override {
    return give(out, [&] { return item()->type; });
  }
  HRESULT raw_GetSpecific(IDispatch** out) override {
    return giveNew(out, [&] { return makeControl(clientPtr(), link()); });
  }
  HRESULT raw_Click(long mode) override {
    return run([&]() -> HRESULT {
      if (mode != 0) return E_INVALIDARG;
      // By ids, which the action resolves itself: its events may close the form.
      const Spot spot{form()->uid(), item()->uid};
      return outcome(UserActions(desk(), Actor::kAddOn).click(spot));
    });
  }
  HRESULT raw_GetVisible(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return item()->visible; });
  }
  // An item that is hidden or disabled keeps the focus until the user acts on another one.
  HRESULT raw_PutVisible(VARIANT_BOOL visible) override {
    return run([&] { item()->visible = visible != VARIANT_FALSE; });
  }
  HRESULT raw_GetEnabled(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return item()->enabled; });
  }
  HRESULT raw_PutEnabled(VARIANT_BOOL enabled) override {
    return run([&] { item()->enabled = enabled != VARIANT_FALSE; });
  }
};

class ItemsObject final : public LinkedObject<IItems, FormLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return form()->items().size(); });
  }
  HRESULT raw_Item(const VARIANT& uid, IItem** out) override {
    return giveNew(out, [&] {
      const auto found = entryOf(form()->items(), uid, kInvalidItem);
      return makeObject<ItemObject>(clientPtr(), ItemLink(link(), found));
    });
  }
};

class SourceLink : public FormLink {
 public:
  SourceLink(const FormLink& form, const std::shared_ptr<UserDataSource>& source)
      : FormLink(form), source_(source) {}
  // Returns the data source. Throws as form() does.
  std::shared_ptr<UserDataSource> source() const {
    form();
    // A form keeps its sources as long as it is open, so this is only a safeguard.
    auto source = source_.lock();
    if (source == nullptr) raiseError(kNotAUserDataSource);
    return source;
  }

 private:
  std::weak_ptr<UserDataSource> source_;
};

class UserDataSourceObject final : public LinkedObject<IUserDataSource, SourceLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetValue(BSTR* out) override {
    return giveString(out, [&] { return link().source()->value(); });
  }
  // All controls that are bound to the source show the value at once.
  HRESULT raw_PutValue(BSTR value) override {
    return run([&] { link().source()->setValue(viewOfBstr(value)); });
  }
};

class UserDataSourcesObject final : public LinkedObject<IUserDataSources, FormLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return form()->sources().size(); });
  }
  HRESULT raw_Item(const VARIANT& uid, IUserDataSource** out) override {
    return giveNew(out, [&] {
      const auto source = entryOf(form()->sources(), uid, kNotAUserDataSource);
      return makeObject<UserDataSourceObject>(clientPtr(), SourceLink(link(), source));
    });
  }
};

class DataSourcesObject final : public LinkedObject<IDataSources, FormLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetUserDataSources(IUserDataSources** out) override {
    return giveNew(out, [&] {
      form();  // throws if the form is closed
      return makeObject<UserDataSourcesObject>(clientPtr(), link());
    });
  }
};

}  // namespace

CComPtr<IItems> makeItems(std::shared_ptr<Client> client, const FormLink& link) {
  return makeObject<ItemsObject>(std::move(client), link);
}

CComPtr<IDataSources> makeDataSources(std::shared_ptr<Client> client, const FormLink& link) {
  return makeObject<DataSourcesObject>(std::move(client), link);
}

}  // namespace qx::screens
