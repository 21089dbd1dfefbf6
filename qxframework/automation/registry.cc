#include "qxframework/automation/registry.h"

// Interim: knows no keys until the registry file is read.
namespace qx {

const Registry& Registry::current() {
  static const Registry empty;
  return empty;
}

void Registry::reload() {}

std::optional<std::u16string> Registry::readString(HKEY, std::u16string_view,
                                                   std::u16string_view) const {
  return std::nullopt;
}

}  // namespace qx
