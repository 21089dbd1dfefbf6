#pragma once

// The symbol tables of XML resources. CQXResourceLoader::LoadXML replaces symbols by such a table:
//
// | attributes                                                     | a symbol becomes |
// |----------------------------------------------------------------|-------------------------------|
// | uid, alias, linkto, UniqueID, FatherUID, default_button        | the row's id, as a decimal |
// | caption, description, title, value, String                     | string `id` in the user's | |
// | language, else the row's text |
//
// The value of an attribute is a symbol, or `prefix@symbol`: the prefix stays, and the "@" goes if
// the symbol has a row. With a row (QX_MENU, 302) UniqueID="QX_@QX_MENU" becomes UniqueID="QX_302".
//
// A value without a row stays as it is, so numbers and literal UIDs need none. But the symbol of an
// identifier, with its "@", is cut to the ten characters of a UID; a prefix comes on top of the
// ten.
//
// A table ends with a row without a tag. That row serves the attributes with an empty value: uid=""
// becomes uid="-1", caption="" stays empty. Names of attributes count with case, and an attribute
// whose name only ends in one of these, such as myuid, is rewritten too.

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
