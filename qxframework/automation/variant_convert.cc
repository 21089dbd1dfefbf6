#include "qxframework/automation/variant_convert.h"

#include "qxframework/automation/civil_time.h"
#include "qxframework/automation/date_text.h"
#include "qxframework/automation/number.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace qx {
namespace {

// Objects are not asked for their own value.
constexpr WORD kNoValueOfObject = 1;
// Booleans become words.
constexpr WORD kBooleanAsWord = 2;

// The target of a conversion, from VariantChangeTypeEx.
struct Request {
  VARTYPE type;
  LCID locale;
  WORD flags;
};

bool isObject(VARTYPE type) { return type == VT_DISPATCH || type == VT_UNKNOWN; }

// `digits` is the number that the kind holds for certain: with more of them, 0.1 would not be
// written as "0.1".
HRESULT textOfReal(double value, int digits, const Request& request, std::u16string& text) {
  if (!std::isfinite(value)) return DISP_E_OVERFLOW;
  text = textFromReal(value, digits, numberSigns(request.locale));
  return S_OK;
}

HRESULT textOfDate(DATE date, std::u16string& text) {
  const auto written = textFromDate(date);
  if (!written) return DISP_E_OVERFLOW;
  text = *written;
  return S_OK;
}

// The words are English in every locale, since they are read again in English only.
std::u16string textOfBoolean(bool value, const Request& request) {
  if ((request.flags & kBooleanAsWord) != 0) return value ? u"True" : u"False";
  return value ? u"-1" : u"0";
}

std::u16string textOfInteger(const Number& number) {
  return toUtf16((number.negative ? "-" : "") + std::to_string(number.magnitude));
}

HRESULT textOf(const VARIANT& from, const Request& request, std::u16string& text) {
  switch (from.vt) {
    case VT_EMPTY:
      return S_OK;
    case VT_R4:
      return textOfReal(static_cast<double>(from.fltVal), 7, request, text);
    case VT_R8:
      return textOfReal(from.dblVal, 15, request, text);
    case VT_DATE:
      return textOfDate(from.date, text);
    case VT_BOOL:
      text = textOfBoolean(from.boolVal != VARIANT_FALSE, request);
      return S_OK;
    case VT_CY:
      text = textFromMoney(from.cyVal, numberSigns(request.locale));
      return S_OK;
    default:
      break;
  }
  // Integers are left, and the kinds that have no text: VT_NULL, errors and objects.
  const auto number = numberOf(from);
  if (!number) return DISP_E_TYPEMISMATCH;
  text = textOfInteger(*number);
  return S_OK;
}

HRESULT putText(const VARIANT& from, const Request& request, VARIANT& out) {
  std::u16string text;
  const HRESULT result = textOf(from, request, text);
  return result < 0 ? result : giveText(text, &out.bstrVal);
}

std::optional<Number> numberIn(const VARIANT& from, const Request& request) {
  if (from.vt != VT_BSTR) return numberOf(from);
  return numberFromText(viewOfBstr(from.bstrVal), numberSigns(request.locale));
}

// A text is read as a date and never as the number of a date.
HRESULT putDate(const VARIANT& from, const Request& request, VARIANT& out) {
  if (from.vt == VT_BSTR) {
    const auto date = dateFromText(viewOfBstr(from.bstrVal));
    if (!date) return DISP_E_TYPEMISMATCH;
    out.date = *date;
    return S_OK;
  }
  const auto number = numberIn(from, request);
  if (!number) return DISP_E_TYPEMISMATCH;
  // Any number is a date as long as it is in the range of years.
  if (!civilFromDate(number->real)) return DISP_E_OVERFLOW;
  out.date = number->real;
  return S_OK;
}

HRESULT putBoolean(const VARIANT& from, const Request& request, VARIANT& out) {
  if (from.vt == VT_BSTR) {
    const std::u16string_view text = viewOfBstr(from.bstrVal);
    // The words count before numbers. Those between # are compared with case.
    const bool yes = equalsIgnoreCase(text, u"True") || text == u"#TRUE#";
    out.boolVal = yes ? VARIANT_TRUE : VARIANT_FALSE;
    if (yes || equalsIgnoreCase(text, u"False") || text == u"#FALSE#") return S_OK;
  }
  const auto number = numberIn(from, request);
  if (!number) return DISP_E_TYPEMISMATCH;
  out.boolVal = number->real != 0 ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

// Stores a number in the member of an integer kind, or returns DISP_E_OVERFLOW if it does not fit.
template <class T>
HRESULT putInteger(const Number& number, T VARIANT::*member, VARIANT& out) {
  constexpr T kHigh = std::numeric_limits<T>::max();
  if (number.isBits) {
    const std::uint64_t bits = bitsOf(number);
    if (bits > std::numeric_limits<std::make_unsigned_t<T>>::max()) return DISP_E_OVERFLOW;
    out.*member = static_cast<T>(bits);
    return S_OK;
  }
  if constexpr (std::is_signed_v<T>) {
    const auto value = toInteger(number, std::numeric_limits<T>::min(), kHigh);
    if (!value) return DISP_E_OVERFLOW;
    out.*member = static_cast<T>(*value);
  } else {
    const auto value = toUnsigned(number, kHigh);
    if (!value) return DISP_E_OVERFLOW;
    out.*member = static_cast<T>(*value);
  }
  return S_OK;
}

// NaN is not greater than the limit and so passes; infinity does not.
HRESULT putReal(double value, double limit, VARIANT& out) {
  if (std::fabs(value) > limit) return DISP_E_OVERFLOW;
  if (out.vt == VT_R4) {
    out.fltVal = static_cast<float>(value);
  } else {
    out.dblVal = value;
  }
  return S_OK;
}

HRESULT putMoney(const Number& number, VARIANT& out) {
  const auto amount = toMoney(number);
  if (!amount) return DISP_E_OVERFLOW;
  out.cyVal = *amount;
  return S_OK;
}

HRESULT putNumber(const Number& number, VARIANT& out) {
  switch (out.vt) {
    case VT_I1:
      return putInteger(number, &VARIANT::cVal, out);
    case VT_I2:
      return putInteger(number, &VARIANT::iVal, out);
    case VT_I4:
    case VT_INT:
      return putInteger(number, &VARIANT::lVal, out);
    case VT_I8:
      return putInteger(number, &VARIANT::llVal, out);
    case VT_UI1:
      return putInteger(number, &VARIANT::bVal, out);
    case VT_UI2:
      return putInteger(number, &VARIANT::uiVal, out);
    case VT_UI4:
    case VT_UINT:
      return putInteger(number, &VARIANT::ulVal, out);
    case VT_UI8:
      return putInteger(number, &VARIANT::ullVal, out);
    case VT_R4:
      return putReal(number.real, static_cast<double>(std::numeric_limits<float>::max()), out);
    case VT_R8:
      return putReal(number.real, std::numeric_limits<double>::max(), out);
    case VT_CY:
      return putMoney(number, out);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

bool isUnsigned(VARTYPE type) {
  return type == VT_UI1 || type == VT_UI2 || type == VT_UI4 || type == VT_UI8 || type == VT_UINT;
}

bool isInteger(VARTYPE type) {
  return type == VT_I2 || type == VT_I4 || (type >= VT_I1 && type <= VT_UINT);
}

HRESULT putNumber(const VARIANT& from, const Request& request, VARIANT& out) {
  // True has all bits set, as -1 has, which would not fit into an unsigned kind as a number. All
  // members share the lower bytes of the union.
  if (from.vt == VT_BOOL && isUnsigned(out.vt)) {
    out.llVal = from.boolVal != VARIANT_FALSE ? -1 : 0;
    return S_OK;
  }
  // Between kinds that differ in the sign only, the bits stay: -1 becomes the highest number.
  const std::size_t size = sizeOfKind(out.vt);
  if (isInteger(from.vt) && isInteger(out.vt) && size == sizeOfKind(from.vt)) {
    std::memcpy(&out.llVal, &from.llVal, size);
    return S_OK;
  }
  const auto number = numberIn(from, request);
  return number ? putNumber(*number, out) : DISP_E_TYPEMISMATCH;
}

HRESULT putObject(const VARIANT& from, VARIANT& out) {
  if (!isObject(from.vt)) return DISP_E_TYPEMISMATCH;
  if (from.punkVal == nullptr) return S_OK;  // a null object has every interface
  const IID& iid = out.vt == VT_DISPATCH ? IDispatch::kIid : IUnknown::kIid;
  return from.punkVal->QueryInterface(iid, &out.byref);
}

HRESULT convert(const VARIANT& from, const Request& request, VARIANT& out);

// Converts the own value of an object, its property 0. An object whose value is an object again is
// not asked further, since two objects could refer to each other for ever.
HRESULT convertValueOf(IDispatch* object, const Request& request, VARIANT& out) {
  if (object == nullptr || (request.flags & kNoValueOfObject) != 0) return DISP_E_TYPEMISMATCH;
  CComVariant value;
  DISPPARAMS none;
  const HRESULT result = object->Invoke(0, GUID{}, request.locale, DISPATCH_PROPERTYGET, &none,
                                        &value, nullptr, nullptr);
  if (result < 0 || isObject(value.vt)) return DISP_E_TYPEMISMATCH;
  return convert(value, request, out);
}

HRESULT convert(const VARIANT& from, const Request& request, VARIANT& out) {
  if (from.vt == request.type) return VariantCopy(&out, &from);
  // The kind is set before the value: the put functions read it to find the member. On failure the
  // caller discards `out`, which owns nothing then.
  out.vt = request.type;
  if (request.type == VT_EMPTY || request.type == VT_NULL) return S_OK;  // no value to convert
  if (isObject(request.type)) return putObject(from, out);
  if (from.vt == VT_DISPATCH) return convertValueOf(from.pdispVal, request, out);
  switch (request.type) {
    case VT_BSTR:
      return putText(from, request, out);
    case VT_DATE:
      return putDate(from, request, out);
    case VT_BOOL:
      return putBoolean(from, request, out);
    default:
      return putNumber(from, request, out);
  }
}

}  // namespace
}  // namespace qx

HRESULT VariantChangeTypeEx(VARIANT* to, const VARIANT* from, LCID locale, WORD flags,
                            VARTYPE type) {
  if (to == nullptr || from == nullptr) return E_POINTER;
  if (!qx::isKnownKind(from->vt) || !qx::isKnownKind(type) || (type & VT_BYREF) != 0)
    return DISP_E_BADVARTYPE;
  try {
    const auto value = qx::dereferenced(*from);
    if (!value) return DISP_E_TYPEMISMATCH;
    VARIANT converted;
    const HRESULT result = qx::convert(*value, {type, locale, flags}, converted);
    if (result < 0) return result;
    // After the conversion: `to` may be `from`, and keeps its value on failure.
    VariantClear(to);
    *to = converted;
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
