#pragma once

#include "qxframework/automation/export.h"

#include <cstdint>
#include <string>
#include <utility>

/// One row of a symbol table: what a symbolic name in a resource stands for. A table ends with a
/// row of default construction.
struct QX_API XMLMAP {
  XMLMAP() = default;
  XMLMAP(std::u16string tagText, std::uint32_t number, std::u16string fallback)
      : tag(std::move(tagText)), id(number), value(std::move(fallback)) {}

  std::u16string tag;             // the symbol, as it stands in the XML
  std::uint32_t id = 0xFFFFFFFF;  // string id for a text attribute, numeric UID for an identifier
  std::u16string value;           // the text if the string table has no entry for the id
};
