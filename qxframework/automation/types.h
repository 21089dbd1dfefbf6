#pragma once

// The basic types of automation: UTF-16 text, result codes, class and interface identities, and the
// two base interfaces.
//
// A result code is a `long` that always holds a sign-extended 32-bit value: 0 is success, a
// positive value is success with a reservation, a negative one is a failure. `long` has 64 bits
// here, so a literal such as 0x80004005 is positive until it passes through qx::resultCode().

#include "qxframework/automation/export.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>

using OLECHAR = char16_t;
using BSTR = OLECHAR*;
using HRESULT = long;
using VARIANT_BOOL = short;
using DATE = double;
using DISPID = long;
using LCID = std::uint32_t;
using ULONG = unsigned long;
using UINT = unsigned int;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using VARTYPE = unsigned short;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// The id of the default locale of the user who runs the process.
inline constexpr LCID LOCALE_USER_DEFAULT = 1024;

namespace qx {

/// Returns the lower 32 bits of `code`, sign-extended.
constexpr HRESULT resultCode(std::int64_t code) {
  return static_cast<HRESULT>(static_cast<std::int32_t>(static_cast<std::uint32_t>(code)));
}

/// A result code as exceptions return it. It converts to a HRESULT, but equals every whole number
/// with the same lower 32 bits: `error.Error() == 0x80040500` is true for that code, although the
/// literal is a positive number.
class ResultCode {
 public:
  constexpr explicit ResultCode(HRESULT code) : code_(resultCode(code)) {}
  constexpr operator HRESULT() const { return code_; }

  friend constexpr bool operator==(ResultCode a, ResultCode b) { return a.code_ == b.code_; }
  template <std::integral Number>
  friend constexpr bool operator==(ResultCode code, Number number) {
    return code.code_ == resultCode(static_cast<std::int64_t>(number));
  }

 private:
  HRESULT code_;
};

/// The integer types from int upwards. The smaller ones convert to int.
template <class T>
concept WideInteger = std::integral<T> && sizeof(T) >= sizeof(int);

}  // namespace qx

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = qx::resultCode(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = qx::resultCode(0x80004002);
inline constexpr HRESULT E_POINTER = qx::resultCode(0x80004003);
inline constexpr HRESULT E_ABORT = qx::resultCode(0x80004004);
inline constexpr HRESULT E_FAIL = qx::resultCode(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = qx::resultCode(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = qx::resultCode(0x80070005);
inline constexpr HRESULT E_HANDLE = qx::resultCode(0x80070006);
inline constexpr HRESULT E_OUTOFMEMORY = qx::resultCode(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = qx::resultCode(0x80070057);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = qx::resultCode(0x80020005);
inline constexpr HRESULT DISP_E_BADVARTYPE = qx::resultCode(0x80020008);
inline constexpr HRESULT DISP_E_OVERFLOW = qx::resultCode(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = qx::resultCode(0x8002000B);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = qx::resultCode(0x80020003);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = qx::resultCode(0x80040154);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = qx::resultCode(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = qx::resultCode(0x80040111);
inline constexpr HRESULT CO_E_DLLNOTFOUND = qx::resultCode(0x800401F8);
inline constexpr HRESULT CO_E_CLASSSTRING = qx::resultCode(0x800401F3);
inline constexpr HRESULT CONNECT_E_NOCONNECTION = qx::resultCode(0x80040200);
inline constexpr HRESULT CONNECT_E_ADVISELIMIT = qx::resultCode(0x80040201);
inline constexpr HRESULT CONNECT_E_CANNOTCONNECT = qx::resultCode(0x80040202);

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

/// An identity of 128 bits.
struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
  friend constexpr auto operator<=>(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

struct VARIANT;
struct DISPPARAMS;
struct EXCEPINFO;
class ITypeInfo;

/// The base of every interface. An interface class declares its identity as `kIid`.
class IUnknown {
 public:
  static constexpr GUID kIid{0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  /// Stores the interface with a new reference in `*object`. Returns E_NOINTERFACE and stores null
  /// if the object does not have the interface.
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  /// Add and release a reference; return the number of references that remain.
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

/// The base of the interfaces whose operations can be called by dispatch id.
class IDispatch : public IUnknown {
 public:
  static constexpr GUID kIid{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID locale,
                                DISPID* ids) = 0;
  /// Calls the operation `id`. `params->rgvarg` holds the arguments in reverse order.
  virtual HRESULT Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                         VARIANT* result, EXCEPINFO* exception, UINT* badArgument) = 0;

 protected:
  ~IDispatch() = default;
};
