#pragma once

// The tagged value of automation calls. Its conversions and its comparison are in variant_convert.h
// and variant_compare.h, which this header includes.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/variant_compare.h"
#include "qxframework/automation/variant_convert.h"

#include <concepts>
#include <string>
#include <string_view>
#include <utility>

class COleDateTime;
class CString;

/// The kinds of values. Frozen: compiled add-ons and the host exchange these numbers.
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

/// An amount of money in ten-thousandths.
struct CY {
  std::int64_t int64;
};

/// The raw tagged value. It does not own its text or object; CComVariant does.
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

/// The arguments of a call by dispatch id.
struct DISPPARAMS {
  VARIANT* rgvarg = nullptr;  // in reverse order of the call
  DISPID* rgdispidNamedArgs = nullptr;
  UINT cArgs = 0;
  UINT cNamedArgs = 0;
};

/// The failure of a call by dispatch id.
struct EXCEPINFO {
  HRESULT scode = S_OK;
  BSTR bstrDescription = nullptr;
};

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr WORD DISPATCH_PROPERTYGET = 2;

/// Frees the text or releases the object of the value and makes it VT_EMPTY.
QX_API HRESULT VariantClear(VARIANT* value);
/// Clears `to` and copies `from`, with a copy of its text or a reference to its object. `to` keeps
/// its value if memory is out.
QX_API HRESULT VariantCopy(VARIANT* to, const VARIANT* from);

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
  CComVariant(const std::u16string& text) { assignText(text); }
  template <std::same_as<CString> Text>
  CComVariant(const Text& text) {
    assignText(text.View());
  }
  CComVariant(int value) { vt = VT_I4, llVal = 0, lVal = value; }
  /// Takes a whole number: as VT_I4 if it fits 32 bits with a sign, else as VT_I8, or as VT_UI8
  /// if it does not fit that either.
  CComVariant(long value) { assignNumber(value); }
  template <qx::WideInteger Number>
  CComVariant(Number value) {
    const auto number = static_cast<std::int64_t>(value);
    if (std::unsigned_integral<Number> && number < 0) {
      vt = VT_UI8, ullVal = static_cast<std::uint64_t>(value);
    } else {
      assignNumber(number);
    }
  }
  CComVariant(short value) { vt = VT_I2, llVal = 0, iVal = value; }
  /// Takes bool itself only: pointers would convert to it.
  template <std::same_as<bool> Bool>
  CComVariant(Bool value) {
    vt = VT_BOOL, llVal = 0, boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  CComVariant(double value, VARTYPE type = VT_R8) { vt = type, dblVal = value; }
  /// Takes a VT_DATE; 0.0, the empty date of the database, if `day` is not valid.
  QX_API CComVariant(const COleDateTime& day);
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
  /// Converts this value in place, or `source` into it, by the user's default locale.
  HRESULT ChangeType(VARTYPE type, const VARIANT* source = nullptr) {
    return VariantChangeType(this, source == nullptr ? this : source, 0, type);
  }
  /// Moves the value to `*out`, which is overwritten and not cleared.
  HRESULT Detach(VARIANT* out) {
    moveTo(*out);
    return S_OK;
  }

 private:
  // Member by member: the processor cannot forward the earlier writes to single members to one wide
  // read, which would have to wait for them.
  void moveTo(VARIANT& to) {
    to.vt = std::exchange(vt, VT_EMPTY);
    to.ullVal = ullVal;
  }
  // Checked inline, because most values hold nothing to free.
  void drop() {
    if (vt == VT_BSTR || vt == VT_DISPATCH || vt == VT_UNKNOWN) VariantClear(this);
  }
  void assignText(std::u16string_view text) { vt = VT_BSTR, bstrVal = CComBSTR(text).Detach(); }
  void assignNumber(std::int64_t value) {
    if (std::in_range<std::int32_t>(value)) {
      vt = VT_I4, llVal = 0, lVal = static_cast<std::int32_t>(value);
    } else {
      vt = VT_I8, llVal = value;
    }
  }
  void assignObject(IUnknown* object) {
    punkVal = object;
    if (object != nullptr) object->AddRef();
  }
};
