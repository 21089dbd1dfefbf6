#pragma once

// Literals of SQL, and the texts of values on their way into a statement.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/query/condition.h"

#include <initializer_list>
#include <string_view>

namespace qx {

/// Returns the pieces one after the other, in one allocation.
CComBSTR joined(std::initializer_list<std::u16string_view> pieces);

/// Returns `text` as a literal, in single quotes and with its own quotes doubled; with `national`
/// the prefix N precedes it. The character 0x7F counts as a quote.
CComBSTR sqlLiteral(std::u16string_view text, bool national);

/// Returns the value as a text in the user's locale. Throws CQXPersistenceException if a value of
/// its type has no text form.
CComBSTR textOf(const CComVariant& value);
/// Returns the value as a text with a decimal point, in every locale. Throws as textOf does.
CComBSTR neutralTextOf(const CComVariant& value);
/// Returns a variant that owns the text.
CComVariant textVariant(CComBSTR text);

/// Return the operator or the word with a blank on either side; " = " and " AND " for a number
/// outside of the enumeration.
const OLECHAR* operationText(Persistence::HvConditionOperation operation);
const OLECHAR* relationshipText(Persistence::HvConditionRelationship relationship);

}  // namespace qx
