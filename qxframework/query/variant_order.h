#pragma once

#include "qxframework/automation/variant.h"

namespace qx {

/// Returns true if both values are VT_NULL, or if they have the same type and VarCmp finds them
/// equal in the user's default locale.
bool sameValue(const VARIANT& a, const VARIANT& b);
/// Returns true if `a` is below `b`: unsigned integers of one type compare as numbers, other values
/// by VarCmp in the user's default locale, whatever their types. Returns false for two VT_NULL and
/// for values that VarCmp cannot compare.
bool valueBelow(const VARIANT& a, const VARIANT& b);

}  // namespace qx
