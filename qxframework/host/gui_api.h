#pragma once

// The first object of the host's user-interface half: it takes the connection string and returns
// the application object.
//
// The rules of all interfaces in this folder:
//
// - Every operation is declared twice. The virtual `raw_X` returns a result code and its result
//   through `out`; the inline `X` calls it, throws a _com_error with the code if the code is below
//   0, and returns the result. An `X` without a result returns the code: S_OK, or S_FALSE for an
//   action that an add-on has vetoed.
// - The caller owns a text result and frees it, and holds one reference of an object result; the
//   inline operations return both in owning types. The host copies a text argument and holds a
//   reference of its own if it keeps an object. A null `out` is refused with E_POINTER.
// - Texts are UTF-16. A null BSTR argument counts as the empty text. UIDs compare exactly, case
//   included; those of forms, items, columns and data sources have 1 to 10 units.
// - A VARIANT_BOOL result is VARIANT_TRUE (-1) or VARIANT_FALSE (0); an argument counts as true
//   unless it is 0. A DATE counts days from 1899-12-30, the time of day as a fraction.
// - `Item` of a collection takes a whole number, the index from 0, or a VT_BSTR, the UID; any other
//   kind is refused with DISP_E_TYPEMISMATCH.
// - The objects of a client, and those of a company, are used on one thread. They refer weakly to
//   what they show: once a form is closed, its objects refuse every call with -7000, and those of
//   an item that is removed with -7001. qxframework/logging/result_names.h names the codes.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/application.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

/// Connects to a client. Created by CLSID_HalvexGuiApi.
class IHalvexGuiApi : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0101);
  /// Connects to the client that `connection` names. Returns 0 if it is connected; 1 and every
  /// other value are refusals, such as -7200 for a connection string that makes no sense. A refusal
  /// is the result: nothing is thrown.
  virtual HRESULT raw_Connect(BSTR connection, long* out) = 0;
  /// Returns the application object of the connected client. `which` is -1; any other value is
  /// refused with E_INVALIDARG. Before a successful Connect the call is refused with -1.
  virtual HRESULT raw_GetApplication(long which, IApplication** out) = 0;
  /// Sets the text by which the client recognises the add-on. Call it before Connect. The stand-in
  /// host accepts any text.
  virtual HRESULT raw_PutAddOnIdentifier(BSTR identifier) = 0;

  long Connect(const CComBSTR& connection) {
    return qx::getValue<long>(this, &IHalvexGuiApi::raw_Connect, connection.m_str);
  }
  CComPtr<IApplication> GetApplication(long which) {
    return qx::getObject<IApplication>(this, &IHalvexGuiApi::raw_GetApplication, which);
  }
  HRESULT PutAddOnIdentifier(const CComBSTR& identifier) {
    return qx::call(this, &IHalvexGuiApi::raw_PutAddOnIdentifier, identifier.m_str);
  }

 protected:
  ~IHalvexGuiApi() = default;
};
