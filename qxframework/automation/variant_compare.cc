#include "qxframework/automation/variant_compare.h"

#include "qxframework/automation/number.h"
#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

#include <cmath>
#include <limits>

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

// Returns the number that a VT_R4 can hold for `value`; beyond its range that is an infinity.
double inShortReal(double value) {
  constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
  if (std::fabs(value) > kMost)
    return std::copysign(std::numeric_limits<double>::infinity(), value);
  return static_cast<double>(static_cast<float>(value));
}

bool isLongReal(const VARIANT& value) { return value.vt == VT_R8 || value.vt == VT_DATE; }

// Returns the number of `value` for a comparison with `other`.
std::optional<Number> numberBeside(const VARIANT& value, const VARIANT& other) {
  if (isLongReal(value) && other.vt == VT_R4) return numberFromReal(inShortReal(value.dblVal));
  return numberOf(value);
}

HRESULT compareValues(const VARIANT& left, const VARIANT& right, LCID locale, ULONG flags) {
  // The order of these steps decides for VT_EMPTY: beside a text it is the empty text, else 0.
  if (left.vt == VT_NULL || right.vt == VT_NULL) return VARCMP_NULL;
  if (left.vt == VT_ERROR && right.vt == VT_ERROR)
    return asResult(left.scode < right.scode ? -1 : left.scode > right.scode ? 1 : 0);
  if (isTextLike(left) && isTextLike(right))
    return compareText(textIn(left), textIn(right), locale, flags);
  const auto leftNumber = numberBeside(left, right);
  const auto rightNumber = numberBeside(right, left);
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
  if (!qx::isKnownKind(left->vt) || !qx::isKnownKind(right->vt)) return DISP_E_BADVARTYPE;
  const auto leftValue = qx::dereferenced(*left);
  const auto rightValue = qx::dereferenced(*right);
  if (!leftValue || !rightValue) return DISP_E_TYPEMISMATCH;
  return qx::compareValues(*leftValue, *rightValue, locale, flags);
}

HRESULT VarBstrCmp(BSTR left, BSTR right, LCID locale, ULONG flags) {
  return qx::compareText(qx::viewOfBstr(left), qx::viewOfBstr(right), locale, flags);
}

HRESULT VarBstrCmp(const OLECHAR* left, const OLECHAR* right, LCID locale, ULONG flags) {
  if (left == right) return VARCMP_EQ;
  return qx::compareText(qx::viewOf(left), qx::viewOf(right), locale, flags);
}
