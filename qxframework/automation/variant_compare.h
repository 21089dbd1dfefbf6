#pragma once

// The comparison of tagged values and of texts.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

inline constexpr HRESULT VARCMP_LT = 0;
inline constexpr HRESULT VARCMP_EQ = 1;
inline constexpr HRESULT VARCMP_GT = 2;
inline constexpr HRESULT VARCMP_NULL = 3;

/// Returns VARCMP_LT, VARCMP_EQ or VARCMP_GT, or VARCMP_NULL if one side is VT_NULL. Numbers of all
/// kinds compare by value and precede texts, which compare as in VarBstrCmp. A VT_R4 beside a VT_R8
/// or a date compares with the precision of VT_R4, so 0.1F equals 0.1. VT_EMPTY counts as 0 or as
/// the empty text. Returns DISP_E_TYPEMISMATCH for other pairs, and DISP_E_BADVARTYPE if one of the
/// kinds is unknown.
QX_API HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID locale, ULONG flags);
/// Compares two texts with all their units, zeros included, by the locale's collation; null counts
/// as empty. Flag 1 ignores case. Returns VARCMP_LT, VARCMP_EQ or VARCMP_GT.
QX_API HRESULT VarBstrCmp(BSTR left, BSTR right, LCID locale, ULONG flags);
/// Compares two texts that need not be a BSTR, up to their terminators.
QX_API HRESULT VarBstrCmp(const OLECHAR* left, const OLECHAR* right, LCID locale, ULONG flags);
