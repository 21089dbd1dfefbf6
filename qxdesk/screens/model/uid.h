#pragma once

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <string>
#include <string_view>

namespace qx::screens {

inline constexpr std::size_t kUidLimit = 10;

/// Refuses a UID of more than 10 UTF-16 units with kStringTooLong10, an empty one with `ifEmpty`.
inline void checkUid(std::u16string_view uid, UiCode ifEmpty) {
  if (uid.empty()) raiseError(ifEmpty);
  if (uid.size() > kUidLimit) raiseError(kStringTooLong10);
}

/// An index from 0 or a UID: how an entry of a collection is named.
struct EntryName {
  bool byIndex = false;
  long index = 0;
  std::u16string uid;
};

/// The entry of `entries` that `name` names, by `uidOf(*entry)`; null when there is none.
template <class Entries, class UidOf>
auto findEntry(const Entries& entries, const EntryName& name, UidOf uidOf) ->
    typename Entries::value_type {
  if (name.byIndex) {
    const bool inside = name.index >= 0 && static_cast<std::size_t>(name.index) < entries.size();
    return inside ? entries[static_cast<std::size_t>(name.index)] : nullptr;
  }
  for (const auto& entry : entries) {
    if (uidOf(*entry) == name.uid) return entry;
  }
  return nullptr;
}

}  // namespace qx::screens
