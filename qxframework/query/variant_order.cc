#include "qxframework/query/variant_order.h"

#include "qxframework/automation/user_locale.h"

#include <compare>
#include <optional>

namespace qx {
namespace {

// Returns the order of two values of one of the integer types, or of two VT_NULL; nothing for all
// other values.
std::optional<std::strong_ordering> plainOrder(const VARIANT& a, const VARIANT& b) {
  if (a.vt != b.vt) return std::nullopt;
  switch (a.vt) {
    case VT_NULL:
      return std::strong_ordering::equal;
    case VT_I1:
      return a.cVal <=> b.cVal;
    case VT_UI2:
      return a.uiVal <=> b.uiVal;
    case VT_UI4:
      return a.ulVal <=> b.ulVal;
    case VT_UI8:
      return a.ullVal <=> b.ullVal;
    default:
      return std::nullopt;
  }
}

}  // namespace

bool sameValue(const VARIANT& a, const VARIANT& b) {
  if (a.vt != b.vt) return false;
  if (const auto order = plainOrder(a, b)) return *order == 0;
  return VarCmp(&a, &b, LOCALE_USER_DEFAULT, 0) == VARCMP_EQ;
}

int valueOrder(const VARIANT& a, const VARIANT& b) {
  // Most keys are texts, and maps of many rows compare them at each step of a search.
  if (a.vt == VT_BSTR && b.vt == VT_BSTR)
    return collate(viewOfBstr(a.bstrVal), viewOfBstr(b.bstrVal), LOCALE_USER_DEFAULT, false);
  if (const auto order = plainOrder(a, b)) return *order < 0 ? -1 : *order > 0 ? 1 : 0;
  const HRESULT order = VarCmp(&a, &b, LOCALE_USER_DEFAULT, 0);
  return order == VARCMP_LT ? -1 : order == VARCMP_GT ? 1 : 0;
}

}  // namespace qx
