#pragma once

// The comparison of tagged values and of texts.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

inline constexpr HRESULT VARCMP_LT = 0;
inline constexpr HRESULT VARCMP_EQ = 1;
inline constexpr HRESULT VARCMP_GT = 2;
inline constexpr HRESULT VARCMP_NULL = 3;

/// Returns VARCMP_LT, VARCMP_EQ or VARCMP_GT, or VARCMP_NULL if one side is VT_NULL. Numbers of all
/// kinds compare by value and precede texts, which compare as in VarBstrCmp but with all their
/// units. VT_EMPTY counts as 0 or as the empty text. Returns DISP_E_TYPEMISMATCH for other pairs.
QX_API HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID locale, ULONG flags);
/// Compares two texts, up to their terminators, by the locale's collation; null counts as empty.
/// Flag 1 ignores case. Returns VARCMP_LT, VARCMP_EQ or VARCMP_GT.
QX_API HRESULT VarBstrCmp(const OLECHAR* left, const OLECHAR* right, LCID locale, ULONG flags);
