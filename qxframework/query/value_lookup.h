#pragma once

#include "qxframework/automation/variant.h"

namespace Persistence {
struct TyFieldValues;
}

namespace qx {

/// The value of `name`, or of the name with its small letters made capital, since some engines name
/// columns so; a VT_I4 of 0 if there is neither.
CComVariant valueByNameOrCapitals(const Persistence::TyFieldValues& values, const OLECHAR* name);

}  // namespace qx
