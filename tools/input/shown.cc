#include "tools/input/shown.h"

namespace qx::input {

// Bytes of characters outside of ASCII are left.
std::string shown(std::string_view text) {
  std::string visible(text);
  for (char& unit : visible)
    if (static_cast<unsigned char>(unit) < 0x20 || unit == 0x7F) unit = '?';
  return visible;
}

}  // namespace qx::input
