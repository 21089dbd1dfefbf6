#pragma once

// Reading one cell of a company's recordset, without regard to nulls and ends.

#include "qxframework/automation/variant.h"

#include <string>

class IRecordset;

namespace qx {

/// Returns field `index` of the current row as text; an empty text for null and if there is no row.
/// Throws a _com_error for an index that the row does not have.
std::u16string cellText(IRecordset* recordset, long index);
/// Returns the same as a value of `type`, where an empty text counts as 0. Throws a _com_error if
/// the value cannot be converted.
CComVariant cellValue(IRecordset* recordset, long index, VARTYPE type);

}  // namespace qx
