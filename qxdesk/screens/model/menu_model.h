#pragma once

// The menu bar: a tree of entries under a root that is not shown. A UID is unique in the whole
// tree. The host's own entries stay; those that add-ons add can be removed again.

#include "qxframework/host/enums.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qx::screens {

struct MenuProperties {
  std::u16string uid;
  std::u16string text;
  HvMenuType type = mt_String;
  bool checked = false;
  bool enabled = true;
  std::u16string image;
};

/// An entry of the tree. Keep a std::weak_ptr to it across calls: removing an entry ends it
/// together with all entries under it.
class MenuEntry {
 public:
  MenuEntry(MenuProperties properties, MenuEntry* father, bool system)
      : properties_(std::move(properties)), father_(father), system_(system) {}

  const std::u16string& uid() const { return properties_.uid; }
  MenuProperties& properties() { return properties_; }
  const MenuProperties& properties() const { return properties_; }
  /// Returns null for the root and for an entry that has been removed.
  MenuEntry* father() const { return father_; }
  bool isSystem() const { return system_; }
  const std::vector<std::shared_ptr<MenuEntry>>& children() const { return children_; }
  /// True if `ancestor` is this entry's father, or the father of its father, and so on.
  bool isBelow(const MenuEntry& ancestor) const;

 private:
  friend class MenuModel;

  MenuProperties properties_;
  MenuEntry* father_;
  bool system_;
  std::vector<std::shared_ptr<MenuEntry>> children_;
};

class MenuModel {
 public:
  MenuModel();
  MenuModel(const MenuModel&) = delete;
  MenuModel& operator=(const MenuModel&) = delete;

  const std::shared_ptr<MenuEntry>& root() const { return root_; }
  /// Returns the entry with that UID, or null. The empty UID is the root's.
  std::shared_ptr<MenuEntry> find(std::u16string_view uid) const;
  /// Adds an entry at `position` among the father's entries, from 0; -1 or a position past the end
  /// adds it as the last one. Throws kInvalidMenuItem for an empty UID or a father that is no
  /// popup, kMenuAlreadyExists, kMenuInvalidType, and kMenuPositionNotValid for a position less
  /// than -1.
  std::shared_ptr<MenuEntry> add(MenuEntry& father, MenuProperties properties, long position);
  /// Adds one of the host's own entries as the last one. Throws as add() does.
  std::shared_ptr<MenuEntry> addSystem(MenuEntry& father, MenuProperties properties);
  /// Removes the entry and all entries under it. Throws kNotAUserMenuItem for one of the host's own
  /// and kInvalidMenuItem for one that is already removed.
  void remove(MenuEntry& entry);
  /// Removes the entries of add-ons and leaves the host's own as they are.
  void removeAddOnEntries();
  /// Returns one line per entry, indented by two blanks per level: `UID "text"` and, if they apply,
  /// the words popup, separator, checked and disabled. A separator has no text.
  std::u16string tree() const;

 private:
  std::shared_ptr<MenuEntry> insert(MenuEntry& father, MenuProperties properties, long position,
                                    bool system);
  void forget(MenuEntry& entry);
  void removeAddOnEntriesBelow(MenuEntry& entry);

  std::shared_ptr<MenuEntry> root_;
  std::unordered_map<std::u16string, std::weak_ptr<MenuEntry>> byUid_;
};

}  // namespace qx::screens
