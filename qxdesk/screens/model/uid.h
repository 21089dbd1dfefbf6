#pragma once

// The ids of forms, items, columns, data sources and menu entries, and the look-up of an entry by
// its id or its index.

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <string>
#include <string_view>

namespace qx::screens {

/// The most UTF-16 units of a UID.
inline constexpr std::size_t kUidLimit = 10;

/// Throws kStringTooLong10 if the UID has more than 10 UTF-16 units, and `ifEmpty` if it is empty.
inline void checkUid(std::u16string_view uid, UiCode ifEmpty) {
  if (uid.empty()) raiseError(ifEmpty);
  if (uid.size() > kUidLimit) raiseError(kStringTooLong10);
}

/// Returns the UID of an entry, which has it as a member or as an operation.
template <class Entry>
const std::u16string& uidOf(const Entry& entry) {
  if constexpr (requires { entry.uid(); }) {
    return entry.uid();
  } else {
    return entry.uid;
  }
}

/// Returns the entry with that UID, or null.
template <class Entries>
typename Entries::value_type findByUid(const Entries& entries, std::u16string_view uid) {
  for (const auto& entry : entries) {
    if (uidOf(*entry) == uid) return entry;
  }
  return nullptr;
}

/// The name of an entry in a collection: an index from 0, or a UID.
struct EntryName {
  bool byIndex = false;
  long index = 0;
  std::u16string uid;
};

/// Returns the entry with that name, or null.
template <class Entries>
typename Entries::value_type findEntry(const Entries& entries, const EntryName& name) {
  if (!name.byIndex) return findByUid(entries, name.uid);
  const bool inside = name.index >= 0 && static_cast<std::size_t>(name.index) < entries.size();
  return inside ? entries[static_cast<std::size_t>(name.index)] : nullptr;
}

}  // namespace qx::screens
