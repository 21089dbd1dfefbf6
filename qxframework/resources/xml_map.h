#pragma once

// The symbol tables of XML resources, see resource_loader.h.

#include "qxframework/automation/export.h"

#include <cstdint>
#include <string>
#include <utility>

/// One row of a symbol table, which says what a symbolic name in an XML resource is replaced by. A
/// table ends with a default-constructed row.
struct QX_API XMLMAP {
  XMLMAP() = default;
  XMLMAP(std::u16string tagText, std::uint32_t number, std::u16string fallback)
      : tag(std::move(tagText)), id(number), value(std::move(fallback)) {}

  std::u16string tag;             ///< the symbol as the XML has it; case counts
  std::uint32_t id = 0xFFFFFFFF;  ///< string id for a text attribute, numeric UID for an identifier
  std::u16string value;           ///< the text if the string tables have no entry for the id
};
