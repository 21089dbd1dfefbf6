#include "qxdesk/screens/objects/menu_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"

#include <utility>

namespace qx::screens {
namespace {

/// The entry that an object shows; raises kInvalidMenuItem when it has been removed.
class EntryLink {
 public:
  explicit EntryLink(const std::shared_ptr<MenuEntry>& entry) : entry_(entry) {}
  std::shared_ptr<MenuEntry> get() const {
    auto entry = entry_.lock();
    const bool isRoot = entry != nullptr && entry->uid().empty();
    if (entry == nullptr || (!isRoot && entry->father() == nullptr)) raiseError(kInvalidMenuItem);
    return entry;
  }

 private:
  std::weak_ptr<MenuEntry> entry_;
};

class MenuItemObject final : public HostObject<IMenuItem> {
 public:
  MenuItemObject(std::shared_ptr<Client> client, const std::shared_ptr<MenuEntry>& entry)
      : HostObject(std::move(client)), entry_(entry) {}

  HRESULT raw_GetUID(BSTR* out) override {
    return giveString(out, [&] { return entry()->uid(); });
  }
  HRESULT raw_GetString(BSTR* out) override {
    return giveString(out, [&] { return entry()->properties().text; });
  }
  HRESULT raw_GetType(HvMenuType* out) override {
    return give(out, [&] { return entry()->properties().type; });
  }
  HRESULT raw_GetSubMenus(IMenus** out) override {
    return giveNew(out, [&] { return makeMenus(clientPtr(), entry()); });
  }
  HRESULT raw_GetChecked(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return entry()->properties().checked; });
  }
  HRESULT raw_PutChecked(VARIANT_BOOL checked) override {
    return run([&] { entry()->properties().checked = checked != VARIANT_FALSE; });
  }
  HRESULT raw_GetEnabled(VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return entry()->properties().enabled; });
  }
  HRESULT raw_PutEnabled(VARIANT_BOOL enabled) override {
    return run([&] { entry()->properties().enabled = enabled != VARIANT_FALSE; });
  }
  std::shared_ptr<MenuEntry> entry() const { return entry_.get(); }

 private:
  EntryLink entry_;
};

CComPtr<IMenuItem> makeMenuItem(const std::shared_ptr<Client>& client,
                                const std::shared_ptr<MenuEntry>& entry) {
  if (entry == nullptr) return nullptr;
  return CComPtr<IMenuItem>(makeObject<MenuItemObject>(client, entry).p);
}

class MenusObject final : public HostObject<IMenus> {
 public:
  MenusObject(std::shared_ptr<Client> client, const std::shared_ptr<MenuEntry>& father)
      : HostObject(std::move(client)), father_(father) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return father_.get()->children().size(); });
  }
  HRESULT raw_Item(const VARIANT& uid, IMenuItem** out) override {
    return giveNew(out, [&] { return makeMenuItem(clientPtr(), find(entryNameOf(uid))); });
  }
  HRESULT raw_Add(BSTR uid, BSTR text, HvMenuType type, long position, IMenuItem** out) override {
    return giveNew(out, [&] {
      MenuProperties properties;
      properties.uid = viewOfBstr(uid);
      properties.text = viewOfBstr(text);
      properties.type = type;
      return makeMenuItem(clientPtr(),
                          desk().menus.add(*father_.get(), std::move(properties), position));
    });
  }
  HRESULT raw_Remove(IMenuItem* item) override {
    return run([&]() -> HRESULT {
      if (item == nullptr) return E_POINTER;
      const auto* object = dynamic_cast<MenuItemObject*>(item);
      if (object == nullptr) return E_INVALIDARG;
      const auto entry = object->entry();
      if (!entry->isBelow(*father_.get())) return kInvalidMenuItem;
      desk().menus.remove(*entry);
      return S_OK;
    });
  }

 private:
  std::shared_ptr<MenuEntry> find(const EntryName& name) const {
    const auto father = father_.get();
    if (name.byIndex) {
      return findEntry(father->children(), name,
                       [](const MenuEntry& entry) { return entry.uid(); });
    }
    const auto entry = name.uid.empty() ? nullptr : desk().menus.find(name.uid);
    return entry != nullptr && entry->isBelow(*father) ? entry : nullptr;
  }

  EntryLink father_;
};

}  // namespace

CComPtr<IMenus> makeMenus(std::shared_ptr<Client> client,
                          const std::shared_ptr<MenuEntry>& father) {
  return CComPtr<IMenus>(makeObject<MenusObject>(std::move(client), father).p);
}

}  // namespace qx::screens
