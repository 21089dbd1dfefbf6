#pragma once

// Texts on their way into and out of the parser, which works in UTF-8.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/variant.h"

#include <libxml/xmlstring.h>

#include <optional>
#include <string>
#include <string_view>

namespace qx::xml {

/// UTF-8 of `text`; none when a surrogate stands alone, or when its length may not fit into the
/// parser's, which is less than 2 GiB.
std::optional<std::string> strictUtf8(std::u16string_view text);
/// As strictUtf8; raises E_INVALIDARG when there is none.
std::string utf8OrRaise(std::u16string_view text);
/// Gives well-formed UTF-8 to an out parameter as a new wide string; E_OUTOFMEMORY when it is
/// longer than that can be.
HRESULT giveUtf8(std::string_view text, BSTR* out);
/// True when every character may stand in an XML document.
bool isXmlText(std::string_view utf8);
/// The value as text, by the user's default locale; raises what the conversion says.
std::string textOf(const VARIANT& value);

inline const xmlChar* asXml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}
/// Empty for null.
inline std::string_view viewOfXml(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

}  // namespace qx::xml
