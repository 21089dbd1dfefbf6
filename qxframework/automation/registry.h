#pragma once

#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

struct HKEY__;
using HKEY = HKEY__*;
inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t{0x80000000});

namespace qx {

class QX_API Registry {
 public:
  static const Registry& current();
  static void reload();
  std::optional<std::u16string> readString(HKEY root, std::u16string_view key,
                                           std::u16string_view valueName) const;
};

}  // namespace qx
