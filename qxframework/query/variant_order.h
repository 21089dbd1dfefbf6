#pragma once

#include "qxframework/automation/variant.h"

namespace qx {

/// Returns true if both values are VT_NULL, or if they have the same type and VarCmp finds them
/// equal in the user's default locale.
bool sameValue(const VARIANT& a, const VARIANT& b);
/// Returns a number below 0 if `a` is below `b` and above 0 if it is above: unsigned integers of
/// one type compare as numbers, other values by VarCmp in the user's default locale, whatever their
/// types. Returns 0 for equal values, two VT_NULL and values that VarCmp cannot compare.
int valueOrder(const VARIANT& a, const VARIANT& b);
/// Returns true if valueOrder() is below 0.
inline bool valueBelow(const VARIANT& a, const VARIANT& b) { return valueOrder(a, b) < 0; }

}  // namespace qx
