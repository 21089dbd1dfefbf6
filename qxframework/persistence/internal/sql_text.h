#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"

#include <initializer_list>
#include <string_view>

namespace qx {

/// The pieces one behind the other, in one allocation.
CComBSTR joined(std::initializer_list<std::u16string_view> pieces);

/// `text` between the quotes of a literal, with its own quotes doubled. 0x7F counts as a quote.
CComBSTR sqlLiteral(std::u16string_view text, bool national);

/// The value as a text: by the user's locale, and by one that always writes a decimal point. A
/// value that has no text form raises a CQXPersistenceException.
CComBSTR textOf(const CComVariant& value);
CComBSTR neutralTextOf(const CComVariant& value);
/// A variant that takes the text over.
CComVariant textVariant(CComBSTR text);

}  // namespace qx
