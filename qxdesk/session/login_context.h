#pragma once

// What the client hands to an add-on's company object, so that it opens the same company: a text
// that answers one cookie. The company object draws the cookie at random and keeps it to itself
// until the client has answered, so a context that was written for another cookie, or was changed
// on its way, does not decode.

#include "qxframework/host/enums.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

struct LoginTarget {
  /// UTF-8: the company database, see database_name.h.
  std::string database;
  /// See qx::DbServerType: the dialect in which statements are written.
  long dbServerType = 1;
  HvLanguages language = ln_English;
  std::u16string userName;
  std::u16string companyName;

  friend bool operator==(const LoginTarget&, const LoginTarget&) = default;
};

/// The context for `target` that answers `cookie`.
std::u16string encodeLoginContext(const LoginTarget& target, std::u16string_view cookie);

/// Nothing when `context` is no such text, was changed, or answers another cookie.
std::optional<LoginTarget> decodeLoginContext(std::u16string_view context,
                                              std::u16string_view cookie);

}  // namespace qx::desk
