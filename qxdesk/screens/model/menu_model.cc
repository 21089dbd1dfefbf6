#include "qxdesk/screens/model/menu_model.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

void print(const MenuEntry& entry, std::size_t level, std::u16string& out) {
  const MenuProperties& properties = entry.properties();
  out.append(2 * level, u' ').append(properties.uid);
  if (properties.type != mt_Separator) out.append(u" \"").append(properties.text).append(u"\"");
  if (properties.type == mt_Popup) out += u" popup";
  if (properties.type == mt_Separator) out += u" separator";
  if (properties.checked) out += u" checked";
  if (!properties.enabled) out += u" disabled";
  out += u'\n';
  for (const auto& child : entry.children()) print(*child, level + 1, out);
}

}  // namespace

bool MenuEntry::isBelow(const MenuEntry& ancestor) const {
  for (const MenuEntry* at = father_; at != nullptr; at = at->father_) {
    if (at == &ancestor) return true;
  }
  return false;
}

MenuModel::MenuModel() {
  MenuProperties properties;
  properties.type = mt_Popup;
  root_ = std::make_shared<MenuEntry>(std::move(properties), nullptr, true);
}

std::shared_ptr<MenuEntry> MenuModel::find(std::u16string_view uid) const {
  if (uid.empty()) return root_;
  // An index, since a batch may add thousands of entries and each addition looks for its UID.
  const auto found = byUid_.find(std::u16string(uid));
  return found == byUid_.end() ? nullptr : found->second.lock();
}

std::shared_ptr<MenuEntry> MenuModel::add(MenuEntry& father, MenuProperties properties,
                                          long position) {
  return insert(father, std::move(properties), position, false);
}

std::shared_ptr<MenuEntry> MenuModel::addSystem(MenuEntry& father, MenuProperties properties) {
  return insert(father, std::move(properties), -1, true);
}

std::shared_ptr<MenuEntry> MenuModel::insert(MenuEntry& father, MenuProperties properties,
                                             long position, bool system) {
  // The root has the empty UID.
  if (properties.uid.empty() || father.properties_.type != mt_Popup) raiseError(kInvalidMenuItem);
  if (properties.type < mt_String || properties.type > mt_Separator) raiseError(kMenuInvalidType);
  if (position < -1) raiseError(kMenuPositionNotValid);
  if (find(properties.uid) != nullptr) raiseError(kMenuAlreadyExists);
  auto entry = std::make_shared<MenuEntry>(std::move(properties), &father, system);
  auto& siblings = father.children_;
  const auto end = static_cast<long>(siblings.size());
  const long at = position < 0 ? end : std::min(position, end);
  siblings.insert(siblings.begin() + at, entry);
  byUid_.emplace(entry->uid(), entry);
  return entry;
}

void MenuModel::remove(MenuEntry& entry) {
  if (entry.system_) raiseError(kNotAUserMenuItem);  // the root counts as one of these
  if (entry.father_ == nullptr) raiseError(kInvalidMenuItem);
  auto& siblings = entry.father_->children_;
  const auto at = std::find_if(siblings.begin(), siblings.end(),
                               [&](const auto& sibling) { return sibling.get() == &entry; });
  const std::shared_ptr<MenuEntry> gone = *at;  // `entry` must live until it is forgotten
  siblings.erase(at);
  forget(*gone);
}

void MenuModel::forget(MenuEntry& entry) {
  // An add-on may still hold the entry. Without a father it is recognised as removed.
  byUid_.erase(entry.uid());
  entry.father_ = nullptr;
  for (const auto& child : entry.children_) forget(*child);
}

void MenuModel::removeAddOnEntries() { removeAddOnEntriesBelow(*root_); }

void MenuModel::removeAddOnEntriesBelow(MenuEntry& entry) {
  const auto children = entry.children_;  // a copy, since removal changes the list
  for (const auto& child : children) {
    if (child->system_) {
      removeAddOnEntriesBelow(*child);
    } else {
      remove(*child);
    }
  }
}

std::u16string MenuModel::tree() const {
  std::u16string out;
  for (const auto& child : root_->children()) print(*child, 0, out);
  return out;
}

}  // namespace qx::screens
