#pragma once

#include "qxframework/automation/variant.h"

namespace qx {

/// Two VT_NULL are the same, values of different kinds never are; for the rest VarCmp decides by
/// the user's default locale.
bool sameValue(const VARIANT& a, const VARIANT& b);
/// Neither of two VT_NULL is below the other; for the rest VarCmp decides, also between kinds. What
/// does not compare is not below.
bool valueBelow(const VARIANT& a, const VARIANT& b);

}  // namespace qx
