#pragma once

// The tagged value of the automation calls, its comparison and its conversions.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

#include <concepts>

enum : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_UNKNOWN = 13,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_BYREF = 0x4000
};

/// An amount in ten-thousandths.
struct CY {
  std::int64_t int64;
};

/// The raw tagged value. It owns nothing by itself; CComVariant does.
struct VARIANT {
  VARTYPE vt = VT_EMPTY;
  union {
    std::int64_t llVal = 0;
    std::uint64_t ullVal;
    std::int32_t lVal;
    std::uint32_t ulVal;
    std::int16_t iVal;
    std::uint16_t uiVal;
    std::int8_t cVal;
    std::uint8_t bVal;
    std::int32_t intVal;
    std::uint32_t uintVal;
    float fltVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    std::int32_t scode;
    CY cyVal;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    void* byref;
    VARIANT_BOOL* pboolVal;  // VT_BYREF | VT_BOOL: the veto of an event
    std::int32_t* plVal;
    BSTR* pbstrVal;
  };
};

struct DISPPARAMS {
  VARIANT* rgvarg = nullptr;  // in reverse order of the call
  DISPID* rgdispidNamedArgs = nullptr;
  UINT cArgs = 0;
  UINT cNamedArgs = 0;
};

struct EXCEPINFO {
  HRESULT scode = S_OK;
  BSTR bstrDescription = nullptr;
};

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr WORD DISPATCH_PROPERTYGET = 2;
inline constexpr LCID LOCALE_USER_DEFAULT = 1024;
inline constexpr HRESULT VARCMP_LT = 0;
inline constexpr HRESULT VARCMP_EQ = 1;
inline constexpr HRESULT VARCMP_GT = 2;
inline constexpr HRESULT VARCMP_NULL = 3;

/// Frees what the value holds and makes it VT_EMPTY.
QX_API HRESULT VariantClear(VARIANT* value);
/// Clears `to` and copies `from` with its text or object.
QX_API HRESULT VariantCopy(VARIANT* to, const VARIANT* from);
/// Converts `from` to `type` by the number and date forms of `locale` (1024 the user's default,
/// 1033 English, United States). `to` may be `from`. DISP_E_TYPEMISMATCH when there is no such
/// conversion or the text does not read, DISP_E_OVERFLOW when the value does not fit; `to` is left
/// as it was then. Dates have the forms of 1033 in every locale. Of the flags, 1 keeps an object
/// from being asked for its own value and 2 writes booleans as "True" and "False", not -1 and 0.
QX_API HRESULT VariantChangeTypeEx(VARIANT* to, const VARIANT* from, LCID locale, WORD flags,
                                   VARTYPE type);
inline HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, WORD flags, VARTYPE type) {
  return VariantChangeTypeEx(to, from, LOCALE_USER_DEFAULT, flags, type);
}
/// VARCMP_LT, VARCMP_EQ, VARCMP_GT; VARCMP_NULL when one side is VT_NULL. Numbers of all kinds
/// compare by value and come before texts, which compare as VarBstrCmp does; VT_EMPTY counts as 0
/// or as the empty text. DISP_E_TYPEMISMATCH for other pairs.
QX_API HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID locale, ULONG flags);
/// The comparison of two texts, up to their terminators, by the locale's collation; null counts as
/// empty. Flag 1 ignores case.
QX_API HRESULT VarBstrCmp(const OLECHAR* left, const OLECHAR* right, LCID locale, ULONG flags);

/// A VARIANT that owns its text or object.
class CComVariant : public VARIANT {
 public:
  CComVariant() = default;
  CComVariant(const VARIANT& other) { VariantCopy(this, &other); }
  CComVariant(const CComVariant& other) : VARIANT() { VariantCopy(this, &other); }
  CComVariant(CComVariant&& other) noexcept { other.moveTo(*this); }
  CComVariant(const OLECHAR* text) { assignText(qx::viewOf(text)); }
  CComVariant(const CComBSTR& text) { assignText(text.View()); }
  CComVariant(std::u16string_view text) { assignText(text); }
  CComVariant(int value) { vt = VT_I4, llVal = 0, lVal = value; }
  /// With its lower 32 bits.
  CComVariant(long value) { vt = VT_I4, llVal = 0, lVal = static_cast<std::int32_t>(value); }
  CComVariant(short value) { vt = VT_I2, llVal = 0, iVal = value; }
  template <std::same_as<bool> Bool>  // and nothing that converts to one, as pointers do
  CComVariant(Bool value) {
    vt = VT_BOOL, llVal = 0, boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  CComVariant(double value, VARTYPE type = VT_R8) { vt = type, dblVal = value; }
  CComVariant(IDispatch* object) { vt = VT_DISPATCH, assignObject(object); }
  CComVariant(IUnknown* object) { vt = VT_UNKNOWN, assignObject(object); }
  ~CComVariant() { drop(); }

  CComVariant& operator=(const CComVariant& other) {
    VariantCopy(this, &other);
    return *this;
  }
  CComVariant& operator=(CComVariant&& other) noexcept {
    if (this != &other) {
      drop();
      other.moveTo(*this);
    }
    return *this;
  }

  HRESULT Clear() { return VariantClear(this); }
  /// Converts in place, or from `source`, by the user's default locale.
  HRESULT ChangeType(VARTYPE type, const VARIANT* source = nullptr) {
    return VariantChangeType(this, source == nullptr ? this : source, 0, type);
  }
  /// Gives the value away; `out` is overwritten.
  HRESULT Detach(VARIANT* out) {
    moveTo(*out);
    return S_OK;
  }

 private:
  // Member by member: a copy in one piece would wait for the single writes before it.
  void moveTo(VARIANT& to) {
    to.vt = std::exchange(vt, VT_EMPTY);
    to.ullVal = ullVal;
  }
  // Most values hold nothing that is to be freed.
  void drop() {
    if (vt == VT_BSTR || vt == VT_DISPATCH || vt == VT_UNKNOWN) VariantClear(this);
  }
  void assignText(std::u16string_view text) { vt = VT_BSTR, bstrVal = CComBSTR(text).Detach(); }
  void assignObject(IUnknown* object) {
    punkVal = object;
    if (object != nullptr) object->AddRef();
  }
};
