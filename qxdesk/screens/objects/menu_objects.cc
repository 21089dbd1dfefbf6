#include "qxdesk/screens/objects/menu_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"

#include <utility>

namespace qx::screens {
namespace {

// A weak reference to an entry.
class EntryLink {
 public:
  explicit EntryLink(const std::shared_ptr<MenuEntry>& entry) : entry_(entry) {}
  // Returns the entry. Throws kInvalidMenuItem if it has been removed.
  std::shared_ptr<MenuEntry> entry() const {
    auto entry = entry_.lock();
    // A removed entry may still be held; it has no father. The root has none either.
    const bool isRoot = entry != nullptr && entry->uid().empty();
    if (entry == nullptr || (!isRoot && entry->father() == nullptr)) raiseError(kInvalidMenuItem);
    return entry;
  }

 private:
  std::weak_ptr<MenuEntry> entry_;
};

class MenuItemObject final : public LinkedObject<IMenuItem, EntryLink> {
 public:
  using LinkedObject::LinkedObject;

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
  std::shared_ptr<MenuEntry> entry() const { return link().entry(); }
};

// Returns null for null: a miss is no error in the host's menus.
CComPtr<IMenuItem> makeMenuItem(const std::shared_ptr<Client>& client,
                                const std::shared_ptr<MenuEntry>& entry) {
  if (entry == nullptr) return nullptr;
  return makeObject<MenuItemObject>(client, EntryLink(entry));
}

class MenusObject final : public LinkedObject<IMenus, EntryLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return father()->children().size(); });
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
                          desk().menus.add(*father(), std::move(properties), position));
    });
  }
  HRESULT raw_Remove(IMenuItem* item) override {
    return run([&]() -> HRESULT {
      if (item == nullptr) return E_POINTER;
      // An item that is not of this host cannot be in its tree.
      const auto* object = dynamic_cast<MenuItemObject*>(item);
      if (object == nullptr) return E_INVALIDARG;
      const auto entry = object->entry();
      if (!entry->isBelow(*father())) return kInvalidMenuItem;
      desk().menus.remove(*entry);
      return S_OK;
    });
  }

 private:
  std::shared_ptr<MenuEntry> father() const { return link().entry(); }
  // Returns the entry, or null. An index counts the father's own entries, while a UID is found at
  // any depth under the father.
  std::shared_ptr<MenuEntry> find(const EntryName& name) const {
    const auto owner = father();
    if (name.byIndex) return findEntry(owner->children(), name);
    const auto entry = name.uid.empty() ? nullptr : desk().menus.find(name.uid);
    return entry != nullptr && entry->isBelow(*owner) ? entry : nullptr;
  }
};

}  // namespace

CComPtr<IMenus> makeMenus(std::shared_ptr<Client> client,
                          const std::shared_ptr<MenuEntry>& father) {
  return makeObject<MenusObject>(std::move(client), EntryLink(father));
}

}  // namespace qx::screens
