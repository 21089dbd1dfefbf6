#pragma once

// Converts texts for libxml2, which works in UTF-8, and back. Unlike text.h, nothing is replaced by
// U+FFFD: a text that cannot be converted is refused, since it could not be read back.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/variant.h"

#include <libxml/xmlstring.h>

#include <optional>
#include <string>
#include <string_view>

namespace qx::xml {

/// Returns the UTF-8 of `text`. Returns nothing for an unpaired surrogate, and for a text whose
/// UTF-8 might reach 2 GiB, the limit of the parser.
std::optional<std::string> strictUtf8(std::u16string_view text);
/// Returns the UTF-8 of `text` as strictUtf8 does; throws E_INVALIDARG where that returns nothing.
std::string utf8OrRaise(std::u16string_view text);
/// Stores well-formed UTF-8 in an out parameter as a new wide string. Returns E_OUTOFMEMORY if
/// memory is out or the text is too long for a wide string.
HRESULT giveUtf8(std::string_view text, BSTR* out);
/// Writes the UTF-16 of `text` to `out`, which has room for a unit per byte. Returns the number of
/// units, or nothing if `text` is malformed.
std::optional<std::size_t> writeUtf16(std::string_view text, char16_t* out);
/// True if an XML document may contain every character of the text.
bool isXmlText(std::string_view utf8);
/// Returns the value as text, converted by the user's default locale. Throws the error of the
/// conversion.
std::string textOf(const VARIANT& value);

/// Returns the text as libxml2 takes it, borrowed.
inline const xmlChar* asXml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}
/// Returns a view of a text of libxml2; empty for null.
inline std::string_view viewOfXml(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

}  // namespace qx::xml
