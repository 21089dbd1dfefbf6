#include "qxframework/automation/variant_compare.h"

#include "qxframework/automation/number.h"
#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

namespace qx {
namespace {

constexpr ULONG kIgnoreCase = 1;

HRESULT asResult(int order) { return order < 0 ? VARCMP_LT : order > 0 ? VARCMP_GT : VARCMP_EQ; }

HRESULT compareText(std::u16string_view left, std::u16string_view right, LCID locale, ULONG flags) {
  return asResult(collate(left, right, locale, (flags & kIgnoreCase) != 0));
}

bool isTextLike(const VARIANT& value) { return value.vt == VT_BSTR || value.vt == VT_EMPTY; }

// Returns the text of a VT_BSTR with all its units; VT_EMPTY counts as the empty text.
std::u16string_view textIn(const VARIANT& value) {
  return value.vt == VT_BSTR ? viewOfBstr(value.bstrVal) : std::u16string_view();
}

HRESULT compareValues(const VARIANT& left, const VARIANT& right, LCID locale, ULONG flags) {
  // The order of these steps decides for VT_EMPTY: beside a text it is the empty text, else 0.
  if (left.vt == VT_NULL || right.vt == VT_NULL) return VARCMP_NULL;
  if (left.vt == VT_ERROR && right.vt == VT_ERROR)
    return asResult(left.scode < right.scode ? -1 : left.scode > right.scode ? 1 : 0);
  if (isTextLike(left) && isTextLike(right))
    return compareText(textIn(left), textIn(right), locale, flags);
  const auto leftNumber = numberOf(left);
  const auto rightNumber = numberOf(right);
  if (leftNumber && rightNumber) return asResult(compareNumbers(*leftNumber, *rightNumber));
  // A text is not read as a number here: "9" and 9 are different, and numbers precede texts.
  if (leftNumber && right.vt == VT_BSTR) return VARCMP_LT;
  if (left.vt == VT_BSTR && rightNumber) return VARCMP_GT;
  return DISP_E_TYPEMISMATCH;
}

}  // namespace
}  // namespace qx

HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID locale, ULONG flags) {
  if (left == nullptr || right == nullptr) return E_POINTER;
  const auto leftValue = qx::dereferenced(*left);
  const auto rightValue = qx::dereferenced(*right);
  if (!leftValue || !rightValue) return DISP_E_TYPEMISMATCH;
  return qx::compareValues(*leftValue, *rightValue, locale, flags);
}

HRESULT VarBstrCmp(const OLECHAR* left, const OLECHAR* right, LCID locale, ULONG flags) {
  if (left == right) return VARCMP_EQ;
  return qx::compareText(qx::viewOf(left), qx::viewOf(right), locale, flags);
}
