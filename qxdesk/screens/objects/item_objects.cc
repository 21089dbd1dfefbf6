#include "qxdesk/screens/objects/item_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/control_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/links.h"
#include "qxdesk/screens/user/user_actions.h"

#include <utility>

namespace qx::screens {
namespace {

class ItemObject final : public HostObject<IItem> {
 public:
  ItemObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
             const std::shared_ptr<ItemModel>& item)
      : HostObject(std::move(client)), link_(form, item) {}

  HRESULT raw_GetUniqueID(BSTR* out) override {
    return giveString(out, [&] { return link_.item()->uid; });
  }
  HRESULT raw_GetType(long* out) override {
    return give(out, [&] { return link_.item()->type; });
  }
  HRESULT raw_GetSpecific(IDispatch** out) override {
    return giveNew(out, [&] {
      const auto item = link_.item();
      return makeControl(clientPtr(), link_.form(), item);
    });
  }
  HRESULT raw_Click(long mode) override {
    return run([&]() -> HRESULT {
      if (mode != 0) return E_INVALIDARG;
      const auto item = link_.item();
      return outcome(UserActions(desk(), Hand::kAddOn).click({link_.form()->uid(), item->uid}));
    });
  }
  HRESULT raw_GetVisible(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return link_.item()->visible; });
  }
  HRESULT raw_PutVisible(VARIANT_BOOL visible) override {
    return run([&] { link_.item()->visible = visible != VARIANT_FALSE; });
  }
  HRESULT raw_GetEnabled(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return link_.item()->enabled; });
  }
  HRESULT raw_PutEnabled(VARIANT_BOOL enabled) override {
    return run([&] { link_.item()->enabled = enabled != VARIANT_FALSE; });
  }

 private:
  ItemLink link_;
};

class ItemsObject final : public HostObject<IItems> {
 public:
  ItemsObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form)
      : HostObject(std::move(client)), link_(form) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return link_.form()->items().size(); });
  }
  HRESULT raw_Item(const VARIANT& uid, IItem** out) override {
    return giveNew(out, [&] {
      const auto form = link_.form();
      const auto item = findEntry(form->items(), entryNameOf(uid),
                                  [](const ItemModel& each) { return each.uid; });
      if (item == nullptr) raiseError(kInvalidItem);
      return CComPtr<IItem>(makeObject<ItemObject>(clientPtr(), form, item).p);
    });
  }

 private:
  FormLink link_;
};

class UserDataSourceObject final : public HostObject<IUserDataSource> {
 public:
  UserDataSourceObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
                       const std::shared_ptr<UserDataSource>& source)
      : HostObject(std::move(client)), link_(form), source_(source) {}

  HRESULT raw_GetValue(BSTR* out) override {
    return giveString(out, [&] { return source()->value(); });
  }
  HRESULT raw_PutValue(BSTR value) override {
    return run([&] { source()->setValue(viewOfBstr(value)); });
  }

 private:
  std::shared_ptr<UserDataSource> source() const {
    link_.form();
    auto source = source_.lock();
    if (source == nullptr) raiseError(kNotAUserDataSource);
    return source;
  }

  FormLink link_;
  std::weak_ptr<UserDataSource> source_;
};

class UserDataSourcesObject final : public HostObject<IUserDataSources> {
 public:
  UserDataSourcesObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form)
      : HostObject(std::move(client)), link_(form) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return link_.form()->sources().size(); });
  }
  HRESULT raw_Item(const VARIANT& uid, IUserDataSource** out) override {
    return giveNew(out, [&] {
      const auto form = link_.form();
      const auto source = findEntry(form->sources(), entryNameOf(uid),
                                    [](const UserDataSource& each) { return each.uid(); });
      if (source == nullptr) raiseError(kNotAUserDataSource);
      return CComPtr<IUserDataSource>(
          makeObject<UserDataSourceObject>(clientPtr(), form, source).p);
    });
  }

 private:
  FormLink link_;
};

class DataSourcesObject final : public HostObject<IDataSources> {
 public:
  DataSourcesObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form)
      : HostObject(std::move(client)), link_(form) {}

  HRESULT raw_GetUserDataSources(IUserDataSources** out) override {
    return giveNew(out, [&] {
      return CComPtr<IUserDataSources>(
          makeObject<UserDataSourcesObject>(clientPtr(), link_.form()).p);
    });
  }

 private:
  FormLink link_;
};

}  // namespace

CComPtr<IItems> makeItems(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form) {
  return CComPtr<IItems>(makeObject<ItemsObject>(std::move(client), form).p);
}

CComPtr<IDataSources> makeDataSources(std::shared_ptr<Client> client,
                                      const std::shared_ptr<FormModel>& form) {
  return CComPtr<IDataSources>(makeObject<DataSourcesObject>(std::move(client), form).p);
}

}  // namespace qx::screens
