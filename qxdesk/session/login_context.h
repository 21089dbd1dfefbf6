#pragma once

// The login context: a text by which the client lets an add-on's company object open the same
// company. It answers one cookie. The company object draws the cookie at random and shows it to the
// client only, so a context that was written for another cookie or was changed on its way does not
// decode.

#include "qxframework/host/enums.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

struct LoginTarget {
  std::string database;   ///< UTF-8, see database_name.h
  long dbServerType = 1;  ///< the dialect of the statements, see qx::DbServerType
  HvLanguages language = ln_English;
  std::u16string userName;
  std::u16string companyName;
  bool acceptBrackets = false;  ///< see sql::Dialect::Db2Brackets
  bool keepsStatements = true;  ///< false: every statement is translated and prepared anew
  long memoryMegabytes = 0;     ///< for the rows of a statement; 0: the usual limit

  friend bool operator==(const LoginTarget&, const LoginTarget&) = default;
};

/// Returns the context for `target` that answers `cookie`.
std::u16string encodeLoginContext(const LoginTarget& target, std::u16string_view cookie);

/// Returns the target of a context. Returns nothing if the text is no context, was changed or
/// answers another cookie.
std::optional<LoginTarget> decodeLoginContext(std::u16string_view context,
                                              std::u16string_view cookie);

}  // namespace qx::desk
