#pragma once

// Conversions of a tagged value to another kind.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

/// Converts `from` to `type` by the number forms of `locale` (1024 is the user's default, 1033 is
/// English, United States) and stores it in `to`, which may be `from`. Dates have the forms of 1033
/// in every locale. Every value converts to VT_EMPTY and VT_NULL. Between integer kinds of one size
/// the bits stay, so -1 becomes the highest unsigned number. Flag 1 does not ask an object for its
/// own value; flag 2 writes booleans as "True" and "False" instead of -1 and 0.
///
/// Returns DISP_E_TYPEMISMATCH if there is no such conversion or the text has no such form,
/// DISP_E_OVERFLOW if the value does not fit, and DISP_E_BADVARTYPE if one of the kinds is unknown
/// or `type` is a reference; `to` is unchanged then.
QX_API HRESULT VariantChangeTypeEx(VARIANT* to, const VARIANT* from, LCID locale, WORD flags,
                                   VARTYPE type);
/// Converts as VariantChangeTypeEx does, by the user's default locale.
inline HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, WORD flags, VARTYPE type) {
  return VariantChangeTypeEx(to, from, LOCALE_USER_DEFAULT, flags, type);
}
