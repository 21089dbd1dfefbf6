#pragma once

#include "qxframework/automation/variant.h"

namespace Persistence {
struct TyFieldValues;
}

namespace qx {

/// Returns the value of `name` or, if it has none, of the name with its small letters made capital,
/// because some servers return column names in capitals; a VT_I4 of 0 if neither has a value.
CComVariant valueByNameOrCapitals(const Persistence::TyFieldValues& values, const OLECHAR* name);

}  // namespace qx
