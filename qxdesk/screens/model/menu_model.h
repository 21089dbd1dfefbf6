#pragma once

// The menu bar: a tree of entries below a root that is not shown. An entry's UID is unique in the
// whole tree. Entries of the client itself stay; those that add-ons bring can be removed again.

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

/// An entry of the tree. Whoever keeps one across calls keeps a std::weak_ptr: an entry that is
/// removed is gone with everything below it.
class MenuEntry {
 public:
  MenuEntry(MenuProperties properties, MenuEntry* father, bool system)
      : properties_(std::move(properties)), father_(father), system_(system) {}

  const std::u16string& uid() const { return properties_.uid; }
  MenuProperties& properties() { return properties_; }
  const MenuProperties& properties() const { return properties_; }
  /// Null for the root and for an entry that has been removed.
  MenuEntry* father() const { return father_; }
  bool isSystem() const { return system_; }
  const std::vector<std::shared_ptr<MenuEntry>>& children() const { return children_; }
  /// True when this entry stands somewhere below `ancestor`.
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
  /// Null when no entry has that UID; the empty UID is the root's.
  std::shared_ptr<MenuEntry> find(std::u16string_view uid) const;
  /// Adds an entry ahead of the one that now has `position` among the father's entries, counted
  /// from 0; -1 or a position behind the end puts it last. Raises kInvalidMenuItem for an empty UID
  /// or a father that is no popup, kMenuAlreadyExists, kMenuInvalidType, kMenuPositionNotValid for
  /// a position below -1.
  std::shared_ptr<MenuEntry> add(MenuEntry& father, MenuProperties properties, long position);
  /// The same for an entry of the client itself.
  std::shared_ptr<MenuEntry> addSystem(MenuEntry& father, MenuProperties properties);
  /// Removes the entry and all below it. Raises kNotAUserMenuItem for one of the client's own,
  /// kInvalidMenuItem for one that is removed already.
  void remove(MenuEntry& entry);
  /// Removes what add-ons have added, and leaves the client's own entries as they are.
  void removeAddOnEntries();
  /// One line per entry, two blanks of indentation per level: `UID "text"`, and behind it what is
  /// not as usual: popup or separator, checked, disabled.
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
